// search.cpp - see search.h. Tested by tests/tools/qxre_test.py.
#include "search.h"

#include <memory>

namespace qxre {

bool find_line(const RE_Tree& tree, std::u16string_view text, size_t& from, Line& line) {
    while (from < text.size()) {
        line = line_at(text, from);
        RE_Search_Info info;
        info.length = line.end - line.begin;
        size_t start = 0;
        if (tree.match_bool(text.data() + line.begin, &start, &info)) return true;
        from = line.next;
    }
    return false;
}

std::vector<Match> all_matches(const RE_Tree& tree, std::u16string_view text) {
    std::vector<Match> matches;
    const std::unique_ptr<RE_Results> found{tree.match(text.data(), text.size(), 0)};
    for (bool more = found != nullptr; more; more = found->next()) {
        const RE_Token_Stack& tokens = found->tokens();
        Match match;
        match.tokens.reserve(tokens.count() + 1);
        for (size_t i = 0; i <= tokens.count(); ++i) {
            const RE_TokenInfo* token = tokens.get(i);
            match.tokens.push_back({token->start, token->end, token->is_set});
        }
        matches.push_back(std::move(match));
    }
    return matches;
}

}  // namespace qxre
