// number_powers.cpp - computes the table of powers of ten while compiling.
//
// Only powers of five need computing, the twos go to the binary exponent. The positive ones are
// kept exactly and cut to 128 bits when stored. For the negative ones a large power of two is
// divided by five again and again: floor(floor(x / 5^k) / 5) = floor(x / 5^(k+1)), so each step is
// the exact floor, and cutting it to 128 bits floors it once more. Tested by
// tests/util/fpc_bounds_test.cpp, which recomputes every entry.
#include "util/number_powers.h"

#include <bit>

namespace qxut::number {
namespace {

// 1024 bits, least significant word first: room for 5^340 and for 2^960.
struct Natural {
    static constexpr int kWords = 32;
    uint32_t words[kWords]{};

    constexpr void multiply_by_five() {
        uint64_t carry = 0;
        for (uint32_t& word : words) {
            carry += uint64_t{word} * 5;
            word = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
    }

    constexpr void divide_by_five() {
        uint64_t rest = 0;
        for (int i = kWords - 1; i >= 0; --i) {
            rest = (rest << 32) | words[i];
            words[i] = static_cast<uint32_t>(rest / 5);
            rest %= 5;
        }
    }

    // The 128 bits from the highest set one downwards, zeros following the lowest.
    constexpr PowerOfTen leading_bits() const {
        int top = kWords - 1;
        while (words[top] == 0) --top;
        const int shift = std::countl_zero(words[top]);
        uint32_t leading[4]{};
        for (int i = 0; i < 4; ++i) {
            const uint64_t pair = (uint64_t{word_at(top - i)} << 32) | word_at(top - i - 1);
            leading[i] = static_cast<uint32_t>((pair << shift) >> 32);
        }
        return {(uint64_t{leading[0]} << 32) | leading[1],
                (uint64_t{leading[2]} << 32) | leading[3]};
    }

  private:
    constexpr uint32_t word_at(int i) const { return i < 0 ? 0 : words[i]; }
};

constexpr PowerTable make_table() {
    PowerTable table{};
    Natural power;
    power.words[0] = 1;
    for (int k = 0; k <= kMaxPower; ++k) {
        table.entries[k - kMinPower] = power.leading_bits();
        power.multiply_by_five();
    }
    // 2^960 / 5^342 still has 166 bits.
    Natural inverse;
    inverse.words[960 / 32] = 1;
    for (int k = -1; k >= kMinPower; --k) {
        inverse.divide_by_five();
        table.entries[k - kMinPower] = inverse.leading_bits();
    }
    return table;
}

}  // namespace

constexpr PowerTable power_table = make_table();

}  // namespace qxut::number
