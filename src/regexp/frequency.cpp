// frequency.cpp - see frequency.h. Tested by tests/regexp/analysis_test.cpp.
#include "regexp/frequency.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace qxut::regexp {
namespace {

// Units of 1/4096, by ASCII character from the blank on.
constexpr uint16_t kPrintable[] = {
    //    !   "   #   $   %   &   '   (   )   *   +   ,   -   .   /
    600, 4, 24, 2, 2, 2, 2, 16, 6, 6, 3, 2, 48, 24, 48, 12,
    // 0  1   2   3   4   5   6   7   8   9   :   ;   <   =   >   ?
    40, 40, 40, 24, 24, 24, 20, 20, 20, 20, 24, 6, 3, 12, 3, 6,
    // @ A   B   C   D   E   F   G   H   I   J   K   L   M   N   O
    2, 14, 10, 12, 9, 12, 8, 8, 12, 20, 4, 3, 9, 12, 11, 9,
    // P Q   R   S   T   U   V   W   X   Y   Z   [   \   ]   ^   _
    9, 1, 10, 14, 18, 5, 3, 10, 1, 4, 1, 3, 1, 3, 1, 8,
    // ` a   b   c   d   e   f   g   h   i   j   k   l   m   n   o
    1, 240, 48, 90, 124, 380, 66, 62, 170, 215, 4, 26, 128, 80, 210, 226,
    // p q   r   s   t   u   v   w   x   y   z   {   |   }   ~
    64, 3, 190, 196, 280, 92, 30, 62, 6, 60, 3, 2, 2, 2, 1, 1};
static_assert(std::size(kPrintable) == 0x60);

constexpr unsigned of_unit(char16_t unit) {
    if (unit >= 0x80) {
        if (unit >= 0x0430 && unit <= 0x044F) return 90;  // Cyrillic, lower case
        return unit >= 0x0410 && unit < 0x0430 ? 6 : 4;
    }
    if (unit >= 0x20) return kPrintable[unit - 0x20];
    return unit == u'\n' ? 70 : 2;
}

// Of all units of each word of a set's bits.
constexpr std::array<unsigned, 4> kWords = [] {
    std::array<unsigned, 4> sums{};
    for (char16_t unit = 0; unit < 256; ++unit) sums[unit / 64] += of_unit(unit);
    return sums;
}();

constexpr float kAll = 4096;
// Of a set that reaches beyond U+00FF by classes of characters, or by many of them.
constexpr unsigned kOtherCharacters = 400;

template <class Unit>
RarePlaces rarest_of(const Unit* units, size_t length) {
    RarePlaces places{0, 0};
    float least = 2;
    float second_least = 2;
    for (size_t i = 0; i < length; ++i) {
        const float here = frequency(units[i]);
        if (here < least) {
            places.second = std::exchange(places.rarest, i);
            second_least = std::exchange(least, here);
        } else if (here < second_least) {
            places.second = i;
            second_least = here;
        }
    }
    if (length < 2) places.second = places.rarest;
    return places;
}

}  // namespace

float frequency(char16_t unit) noexcept { return static_cast<float>(of_unit(unit)) / kAll; }

float frequency(const UnitVariants& variants) noexcept {
    unsigned sum = of_unit(variants.units[0]);
    for (int i = 1; i < 4 && variants.units[i] != variants.units[i - 1]; ++i)
        sum += of_unit(variants.units[i]);
    return static_cast<float>(sum) / kAll;
}

float frequency(const CharacterSet& set) noexcept {
    unsigned sum = 0;
    for (unsigned word = 0; word < set.low().size(); ++word) {
        if (~set.low()[word] == 0) {
            sum += kWords[word];
            continue;
        }
        for (uint64_t bits = set.low()[word]; bits != 0; bits &= bits - 1)
            sum += of_unit(
                static_cast<char16_t>(64 * word + static_cast<unsigned>(std::countr_zero(bits))));
    }
    if (set.is_negated() || set.classes() != 0) {
        sum += kOtherCharacters;
    } else {
        for (const CharacterSet::Range& range : set.ranges())
            sum += std::min<unsigned>(kOtherCharacters, 4 * (range.last - range.first + 1));
    }
    return std::min(1.0F, static_cast<float>(sum) / kAll);
}

RarePlaces rare_places(const char16_t* units, size_t length) noexcept {
    return rarest_of(units, length);
}
RarePlaces rare_places(const UnitVariants* units, size_t length) noexcept {
    return rarest_of(units, length);
}

}  // namespace qxut::regexp
