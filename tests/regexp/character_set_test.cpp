// Sets of generated items against the definition of their items, and the comparisons of two sets
// against a walk over their characters.
#include "regexp/character_set.h"

#include <gtest/gtest.h>
#include <qxut/i18n/classification.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "regexp/folding.h"

namespace qxut::regexp {
namespace {

bool in_class(char letter, char32_t c) {
    const auto i = static_cast<int32_t>(c);
    switch (letter) {
        case 'd':
            return qxu_isdigit(i) != 0;
        case 'D':
            return qxu_isdigit(i) == 0;
        case 'w':
            return qxu_isalnum(i) != 0 || c == U'_';
        case 'W':
            return qxu_isalnum(i) == 0 && c != U'_';
        case 's':
            return qxu_isspace(i) != 0;
        default:
            return qxu_isspace(i) == 0;
    }
}

// A set with the tests that define it.
struct Case {
    CharacterSet set;
    std::vector<std::function<bool(char32_t)>> items;
    bool negated = false;
    bool contains(char32_t c) const {
        bool found = false;
        for (const auto& item : items) found = found || item(c);
        return found != negated;
    }
};

class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }

    char32_t character() {
        constexpr char32_t kBases[] = {0,      'A',    'a',    0xE0,   0x100,   0x370,   0x410,
                                       0x1E00, 0x4E00, 0xD800, 0xFF00, 0x10400, 0x1E900, 0x10FFC0};
        return kBases[below(std::size(kBases))] + below(64);
    }

    Case make() {
        Case result;
        CharacterSetBuilder builder;
        for (uint32_t i = below(5); i > 0; --i) {
            const bool ignore_case = below(2) != 0;
            if (below(4) == 0) {
                const char letter = "dDwWsS"[below(6)];
                builder.add_class(letter);
                result.items.push_back([letter](char32_t c) { return in_class(letter, c); });
                continue;
            }
            const char32_t first = character();
            const char32_t last = below(3) == 0   ? first
                                  : below(2) != 0 ? first + below(40)
                                                  : character();
            builder.add_range(first, last, ignore_case);
            result.items.push_back([=](char32_t c) {
                char32_t members[kLargestFoldingClass] = {c};
                const size_t count = ignore_case ? folding_class(c, members) : 1;
                for (size_t m = 0; m < count; ++m) {
                    if (members[m] >= first && members[m] <= last) return true;
                }
                return false;
            });
        }
        result.negated = below(3) == 0;
        result.set = builder.finish(result.negated);
        return result;
    }

  private:
    std::mt19937 random_;
};

TEST(CharacterSet, HoldsWhatItsItemsHold) {
    Generator generate(1);
    for (int round = 0; round < 400; ++round) {
        const Case made = generate.make();
        for (char32_t c = 0; c < 0x800; ++c)
            ASSERT_EQ(made.set.contains(c), made.contains(c)) << round << ' ' << std::hex << +c;
        for (int i = 0; i < 2000; ++i) {
            const char32_t c = generate.character();
            ASSERT_EQ(made.set.contains(c), made.contains(c)) << round << ' ' << std::hex << +c;
        }
    }
}

TEST(CharacterSet, ClassEscapesHoldWhatTheClassificationSays) {
    for (const char letter : std::string("dDwWsS")) {
        const CharacterSet set = CharacterSet::of_class(letter);
        for (char32_t c = 0; c <= kLastCharacter; ++c)
            ASSERT_EQ(set.contains(c), in_class(letter, c)) << letter << ' ' << std::hex << +c;
    }
}

TEST(CharacterSet, ComparisonsErrOnTheSafeSide) {
    Generator generate(2);
    size_t told_apart = 0;
    size_t told_within = 0;
    for (int round = 0; round < 600; ++round) {
        const CharacterSet a = generate.make().set;
        const CharacterSet b = generate.make().set;
        CharacterSetBuilder builder;
        builder.add_set(a);
        builder.add_set(b);
        const CharacterSet both = builder.finish(false);
        bool meet = false;
        bool within = true;
        for (char32_t c = 0; c <= kLastCharacter; c += c < 0x2000 ? 1 : 7) {
            meet = meet || (a.contains(c) && b.contains(c));
            within = within && (!a.contains(c) || b.contains(c));
            ASSERT_TRUE(both.contains(c) || !(a.contains(c) || b.contains(c)));
        }
        const bool may_meet = a.may_intersect(b);
        ASSERT_TRUE(may_meet || !meet);
        ASSERT_EQ(may_meet, b.may_intersect(a));
        const bool surely_within = a.is_surely_within(b);
        ASSERT_TRUE(within || !surely_within);
        told_apart += may_meet ? 0 : 1;
        told_within += surely_within ? 1 : 0;
        for (char32_t c = 0; c < CharacterSet::kLowEnd; ++c)
            ASSERT_EQ(both.contains(c), a.contains(c) || b.contains(c));
    }
    EXPECT_GT(told_apart, 50U);
    EXPECT_GT(told_within, 50U);
}

TEST(CharacterSet, WhatTheMatcherReliesOn) {
    const CharacterSet word = CharacterSet::of_class('w');
    const CharacterSet space = CharacterSet::of_class('s');
    const CharacterSet digit = CharacterSet::of_class('d');
    EXPECT_FALSE(word.may_intersect(space));
    EXPECT_TRUE(digit.is_surely_within(word));
    EXPECT_FALSE(word.is_surely_within(digit));
    EXPECT_FALSE(CharacterSet::of_class('W').may_intersect(word));

    CharacterSetBuilder builder;
    builder.add(U',', false);
    const CharacterSet comma = builder.finish(false);
    builder.add(U',', false);
    const CharacterSet no_comma = builder.finish(true);
    EXPECT_FALSE(comma.may_intersect(no_comma));
    EXPECT_FALSE(comma.may_intersect(word));
    EXPECT_TRUE(word.is_surely_within(no_comma));
    EXPECT_TRUE(no_comma.ranges().empty());

    char32_t members[4];
    builder.add(U'k', true);
    const CharacterSet k = builder.finish(false);
    ASSERT_EQ(k.members(members, 4), 3U);
    EXPECT_EQ(members[0], U'K');
    EXPECT_EQ(members[1], U'k');
    EXPECT_EQ(members[2], U'\u212A');
    EXPECT_EQ(k.members(members, 2), 3U);
    EXPECT_EQ(word.members(members, 4), 5U);

    EXPECT_TRUE(CharacterSet().is_empty());
    EXPECT_TRUE(builder.finish(true).is_everything());
    EXPECT_FALSE(CharacterSet::of_line().contains(U'\n'));
    EXPECT_TRUE(CharacterSet::of_line().contains(U'\u2028'));
}

}  // namespace
}  // namespace qxut::regexp
