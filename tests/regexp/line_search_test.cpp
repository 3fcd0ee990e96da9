// A search in lines finds what searches of the lines one by one find.
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <qxut/regexp/tree.hpp>

namespace {

struct Found {
    bool is_there = false;
    std::vector<size_t> extents;  // SIZE_MAX where a token is not set
    bool operator==(const Found&) const = default;
};

Found match(const RE_Tree& tree, std::u16string_view text, size_t start, unsigned flags,
            size_t shift) {
    RE_Search_Info info;
    info.flags = flags;
    const std::unique_ptr<RE_Results> results{
        tree.match(text.data(), text.size(), start, nullptr, &info)};
    Found found;
    if (results == nullptr) return found;
    if ((flags & RE_SEARCH_LINES) != 0) {
        EXPECT_LE(info.line_start, results->start());
        EXPECT_LE(results->end(), info.line_end);
        EXPECT_TRUE(info.line_start == 0 || text[info.line_start - 1] == u'\n');
        EXPECT_TRUE(info.line_end == text.size() || text[info.line_end] == u'\n');
    }
    found.is_there = true;
    for (size_t i = 0; i <= results->tokens().count(); ++i) {
        const RE_TokenInfo* token = results->tokens().get(i);
        found.extents.push_back(token->is_set ? token->start + shift : SIZE_MAX);
        found.extents.push_back(token->is_set ? token->end + shift : SIZE_MAX);
    }
    return found;
}

Found match_one_by_one(const RE_Tree& tree, const std::u16string& text, size_t start,
                       unsigned flags) {
    size_t begin = start == 0 ? 0 : text.rfind(u'\n', start - 1) + 1;
    for (;;) {
        const size_t end = std::min(text.find(u'\n', begin), text.size());
        const std::u16string line = text.substr(begin, end - begin);
        const Found found = match(tree, line, start - begin, flags, begin);
        if (found.is_there || end == text.size() || (flags & RE_SEARCH_ANCHORED) != 0) return found;
        start = begin = end + 1;
    }
}

TEST(LineSearch, FindsWhatSearchesOfEachLineFind) {
    const char16_t* const patterns[] = {
        u"a",
        u"ab",
        u"^a",
        u"a$",
        u"^",
        u"$",
        u"^$",
        u"b+$",
        u"[^a]",
        u"[^a]+b",
        u"\\sb",
        u"a\\s*b",
        u"(?s)a.*b",
        u"(?s)b.*+",
        u"(?m)^b$",
        u"(?<!b)a",
        u"(?<=\\s)b",
        u"(?<!\\s)b",
        u"(?<=^|b)a",
        u"(?<=a.*)b",
        u"(?!\\s)b\\>",
        u"b(?!\\s)",
        u"b(?=\\s|$)",
        u"(a|b)\\1",
        u"(?>\\s*)a",
        u"\\s++b|ab",
        u"\\n",
        u"a\\nb",
        u"[\\na]b",
        u"b*",
        u"\\<[ab]+\\>",
        u"(?:ab|ba|c)",
        u"[a-b]+c",
        u"\\W*c",
        u"(a)?(?(1)b|c)",
        u"x*?c",
        u"(?i)AB",
        u"c[^c]*c",
        u"(a+|b+)+c",
        u"(??b+)$",
        u".*c",
        u".+?c",
        u"\\w+c",
        u"(?m)(?<=^)c",
        u"[^\\n]c$",
        u"(?<=(?>b|\\na))b",
    };
    std::mt19937 random(20241130);
    const std::u16string alphabet = u"aaabbc \n\nA\t\u6c34\U00010000";
    for (int round = 0; round < 300; ++round) {
        std::u16string text;
        const size_t length = random() % (round % 10 == 0 ? 400 : 24);
        while (text.size() < length) text += alphabet[random() % alphabet.size()];
        for (const char16_t* pattern : patterns) {
            const std::u16string_view units(pattern);
            const RE_Tree tree(units.data(), units.size(), RE_NO_FLAGS, nullptr);
            for (const unsigned flags :
                 {unsigned{0}, unsigned{RE_SEARCH_NOT_EMPTY}, unsigned{RE_SEARCH_ANCHORED}}) {
                const size_t start = random() % (text.size() + 1);
                EXPECT_EQ(match(tree, text, start, flags | RE_SEARCH_LINES, 0),
                          match_one_by_one(tree, text, start, flags))
                    << testing::PrintToString(std::u16string(pattern)) << " on "
                    << testing::PrintToString(text) << " from " << start << ", flags " << flags;
            }
        }
    }
}

TEST(LineSearch, IteratesOverLines) {
    const std::u16string_view text = u"ab\n\nb a\nab";
    const RE_Tree tree(u"^\\w*|b$", 7, RE_NO_FLAGS, nullptr);
    RE_Search_Info info;
    info.flags = RE_SEARCH_LINES;
    const std::unique_ptr<RE_Results> found{
        tree.match(text.data(), text.size(), 0, nullptr, &info)};
    std::vector<std::pair<size_t, size_t>> extents;
    for (bool more = found != nullptr; more; more = found->next())
        extents.emplace_back(found->start(), found->end());
    const std::vector<std::pair<size_t, size_t>> expected = {{0, 2}, {3, 3}, {4, 5}, {8, 10}};
    EXPECT_EQ(extents, expected);
}

}  // namespace
