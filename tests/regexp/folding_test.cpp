// Folding and its classes against ICU, for every code point; ambiguous ranges against the
// definition.
#include "regexp/folding.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <map>
#include <random>
#include <set>

namespace qxut::regexp {
namespace {

char32_t icu_fold(char32_t c) {
    return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}

TEST(Folding, IsIcusForEveryCodePoint) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) ASSERT_EQ(fold(c), icu_fold(c)) << std::hex << +c;
}

TEST(Folding, ClassesHoldWhatFoldsAlike) {
    std::map<char32_t, std::set<char32_t>> classes;
    for (char32_t c = 0; c <= 0x10FFFF; ++c) classes[icu_fold(c)].insert(c);
    char32_t cased = next_with_case(0, 0x10FFFF);
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        char32_t members[kLargestFoldingClass];
        const size_t count = folding_class(c, members);
        ASSERT_EQ(members[0], c);
        ASSERT_EQ(std::set<char32_t>(members, members + count), classes[icu_fold(c)]);
        if (count > 1) {
            ASSERT_EQ(cased, c);
            cased = next_with_case(c + 1, 0x10FFFF);
        }
    }
    EXPECT_EQ(cased, 0x110000U);
}

// The definition: the folded range is one run of the original length.
bool is_one_run(char32_t first, char32_t last) {
    std::set<char32_t> folded;
    for (char32_t c = first; c <= last; ++c) folded.insert(icu_fold(c));
    return folded.size() == last - first + 1 && *folded.rbegin() - *folded.begin() == last - first;
}

TEST(Folding, AmbiguousRanges) {
    EXPECT_FALSE(is_ambiguous_ignoring_case(U'a', U'z'));
    EXPECT_FALSE(is_ambiguous_ignoring_case(U'A', U'Z'));
    EXPECT_TRUE(is_ambiguous_ignoring_case(U'A', U'z'));
    EXPECT_FALSE(is_ambiguous_ignoring_case(U'0', U'9'));
    EXPECT_FALSE(is_ambiguous_ignoring_case(U'z', U'a'));
    EXPECT_TRUE(is_ambiguous_ignoring_case(0, 0x10FFFF));
    std::mt19937 random(20);
    const auto below = [&](uint32_t n) { return static_cast<char32_t>(random() % n); };
    for (int round = 0; round < 20000; ++round) {
        const char32_t first = below(0x600) + (round % 3 == 0 ? 0x1E00U : 0U);
        const char32_t last = first + below(64);
        ASSERT_EQ(is_ambiguous_ignoring_case(first, last), !is_one_run(first, last))
            << std::hex << +first << ' ' << +last;
    }
}

}  // namespace
}  // namespace qxut::regexp
