// Matches one after the other.
#include <qxut/regexp/results.hpp>

#include <gtest/gtest.h>

#include <qxut/regexp/tree.hpp>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Extent = std::pair<size_t, size_t>;
using Extents = std::vector<Extent>;
using Results = std::unique_ptr<RE_Results>;

Extents all(Results results) {
    Extents found;
    for (bool more = results != nullptr; more && found.size() < 50; more = results->next())
        found.emplace_back(results->start(), results->end());
    return found;
}

Extents all(std::u16string_view pattern, std::u16string_view text, unsigned flags = 0) {
    const RE_Tree tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr);
    RE_Search_Info info;
    info.flags = flags;
    RE_Seek_Table table;
    Extents plain = all(Results(tree.match(text.data(), text.size(), 0, nullptr, &info)));
    EXPECT_EQ(all(Results(tree.match(text.data(), text.size(), 0, &table, &info))), plain);
    return plain;
}

TEST(Results, FollowOneAnother) {
    const struct {
        const char16_t* pattern;
        std::u16string_view text;
        Extents extents;
    } rows[] = {
        {u"x*", u"abxc", {{0, 0}, {1, 1}, {2, 3}, {3, 3}, {4, 4}}},
        {u"|a", u"aa", {{0, 0}, {0, 1}, {1, 1}, {1, 2}, {2, 2}}},
        {u"", u"\U0001F600a", {{0, 0}, {2, 2}, {3, 3}}},
        {u"", u"", {{0, 0}}},
        {u"\\<", u"ab cd", {{0, 0}, {3, 3}}},
        {u"(?=a)|a", u"ba", {{1, 1}, {1, 2}}},
        {u"a", u"aaba", {{0, 1}, {1, 2}, {3, 4}}},
        {u"^a", u"aaa", {{0, 1}}},
        {u"(?<=a)b", u"abab", {{1, 2}, {3, 4}}},
        {u"(?<=(a))|x", u"axa", {{1, 1}, {1, 2}, {3, 3}}},
        {u"$", u"a\nb", {{3, 3}}},
        {u"q", u"abc", {}},
    };
    for (const auto& row : rows) EXPECT_EQ(all(row.pattern, row.text), row.extents) << &row - rows;
    EXPECT_EQ(all(u"x*", u"abxc", RE_SEARCH_NOT_EMPTY), (Extents{{2, 3}}));
    EXPECT_EQ(all(u"a|", u"aaba", RE_SEARCH_ANCHORED), (Extents{{0, 1}, {1, 2}, {2, 2}}));
}

TEST(Results, ShowTokensByNumberAndName) {
    const std::u16string_view pattern = u"(?<k>[a-z]+)=(\\d+)?(?<k>;)?";
    const RE_Tree tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr);
    const std::u16string text = u"one=1;two=";
    const Results results(tree.match(text.data(), text.size(), 0));
    ASSERT_NE(results, nullptr);
    const auto token = [&](size_t number) {
        size_t length = 99;
        const char16_t* const units = results->text(number, &length);
        return units != nullptr ? std::u16string(units, length)
                                : u"<unset " + std::u16string(length, u'!') + u">";
    };
    EXPECT_EQ(results->tokens().count(), 3u);
    EXPECT_EQ(token(0), u"one=1;");
    EXPECT_EQ(token(1), u"one");
    EXPECT_EQ(token(2), u"1");
    EXPECT_EQ(token(3), u";");
    EXPECT_EQ(token(4), u"<unset >");
    EXPECT_EQ(results->text(1, nullptr), text.data());
    EXPECT_EQ(results->tokens().get(u"k"), results->tokens().get(1));
    EXPECT_EQ(results->tokens().get(u"j"), nullptr);

    ASSERT_TRUE(results->next());
    EXPECT_EQ(token(0), u"two=");
    EXPECT_EQ(token(1), u"two");
    EXPECT_EQ(token(2), u"<unset >");
    EXPECT_FALSE(results->tokens().get(2)->is_set);
    EXPECT_FALSE(results->next());
    EXPECT_FALSE(results->next());
    EXPECT_EQ(token(0), u"two=") << "they stay";
    EXPECT_EQ(results->start(), 6u);
}

TEST(Results, OfNarrowTextsOwnTheirCopy) {
    const RE_Tree tree("(?<c>[\u00E9\uFFFD])", false);
    std::string text = "a\u00E9b\u65E5\xFF\u00E9";
    Results results(tree.match(text.data(), text.size()));
    text.assign(text.size(), '#');
    size_t length = 0;
    ASSERT_NE(results, nullptr);
    EXPECT_EQ(std::u16string(results->text(1, &length), 1), u"\u00E9");
    EXPECT_EQ(all(std::move(results)), (Extents{{1, 3}, {7, 8}, {8, 10}}));
}

}  // namespace
