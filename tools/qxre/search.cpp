// search.cpp - see search.h. Tested by tests/tools/qxre_test.py.
#include "search.h"

#include <algorithm>
#include <memory>

#include <qxut/system/throwable.hpp>

namespace qxre {

LineSearch::LineSearch(const RE_Tree& tree, const Block& block)
    : tree_(tree), text_(block.text), at_once_(!block.may_have_returns) {
    // The last newline is kept from the library, as no line begins behind it.
    at_once_info_.length = text_.size() - (text_.ends_with(u'\n') ? 1 : 0);
    at_once_info_.flags = RE_SEARCH_LINES;
}

// The library itself searches in lines, which end with a newline alone.
bool LineSearch::find_at_once(size_t from, Line& line) {
    if (!tree_.match_bool(text_.data(), &from, &at_once_info_)) return false;
    const size_t end = at_once_info_.line_end;
    line = {at_once_info_.line_start, end, std::min(end + 1, text_.size())};
    return true;
}

bool LineSearch::find(size_t& from, Line& line) {
    if (from == text_.size()) return false;
    if (at_once_) {
        try {
            return find_at_once(from, line);
        } catch (const Quorvanix::System::UserException&) {
            // Some line is hard: searched one by one, the others are spared.
            at_once_ = false;
        }
    }
    while (from < text_.size()) {
        line = line_at(text_, from);
        RE_Search_Info info;
        info.length = line.end - line.begin;
        size_t start = 0;
        if (tree_.match_bool(text_.data() + line.begin, &start, &info)) return true;
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
