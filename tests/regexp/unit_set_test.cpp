// Sets as sets of units: none too few for a search, none too many for a run.
#include "regexp/unit_set.h"

#include <gtest/gtest.h>

#include <random>

namespace qxut::regexp {
namespace {

char16_t first_unit(char32_t c) {
    return static_cast<char16_t>(c < 0x10000 ? c : 0xD7C0 + (c >> 10));
}

CharacterSet generated(std::mt19937& random) {
    const auto below = [&](uint32_t n) { return static_cast<uint32_t>(random() % n); };
    CharacterSetBuilder builder;
    for (uint32_t i = below(6); i > 0; --i) {
        constexpr char32_t kBases[] = {0x20,   0x60,   0xF0,   0x400,  0x4E00,
                                       0xD7F0, 0xDBF0, 0xFFF0, 0x10FF0};
        const char32_t first = kBases[below(std::size(kBases))] + below(40);
        if (below(5) == 0) {
            builder.add_class("dDwWsS"[below(6)]);
        } else {
            builder.add_range(first, first + below(40) * (below(4) == 0 ? 500 : 1), below(2) != 0);
        }
    }
    return builder.finish(below(3) == 0);
}

TEST(UnitSet, HoldsTheFirstUnitsOfTheMembers) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        const CharacterSet set = generated(random);
        const UnitSet units = units_of(set);
        for (char32_t c = 0; c <= kLastCharacter; c += c < 0x12000 ? 1 : 113) {
            const bool is_found = units.contains(first_unit(c));
            ASSERT_TRUE(is_found || !set.contains(c)) << round << ' ' << +c;
            ASSERT_TRUE(c >= 0x100 || !is_found || set.contains(c)) << round << ' ' << +c;
        }
    }
}

TEST(UnitSet, HoldsOnlyWhatIsSurelyInTheSet) {
    std::mt19937 random(2);
    for (int round = 0; round < 300; ++round) {
        const CharacterSet set = generated(random);
        const UnitSet units = units_surely_in(set);
        for (char32_t c = 0; c <= 0xFFFF; ++c) {
            const bool is_sure = units.contains(static_cast<char16_t>(c));
            ASSERT_TRUE(!is_sure || set.contains(c)) << round << ' ' << +c;
            ASSERT_TRUE(c >= 0x100 || is_sure || !set.contains(c)) << round << ' ' << +c;
        }
        if (!units.contains(0xD83D) && !units.contains(0xDE00)) continue;
        for (char32_t c = 0x10000; c <= kLastCharacter; c += 97) ASSERT_TRUE(set.contains(c));
    }
    EXPECT_TRUE(units_surely_in(CharacterSet::of_class('w')).contains(u'\u0430'));
    EXPECT_TRUE(units_surely_in(CharacterSet::of_class('S')).contains(u'\u4E00'));
}

}  // namespace
}  // namespace qxut::regexp
