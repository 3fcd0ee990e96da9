// number_text.h - the digits of a decimal significand as characters, eight at a time.
//
// Eight digits live in one word, first digit in the lowest byte, so that a store of the word in
// little-endian order is the text. Trailing zeros are zero bytes at the high end, which one
// instruction counts; no division loop looks for them.
#ifndef QXUT_SRC_UTIL_NUMBER_TEXT_H
#define QXUT_SRC_UTIL_NUMBER_TEXT_H

#include <bit>
#include <cassert>
#include <cstring>

#include "util/number_decimal.h"
#include "util/number_powers.h"

namespace qxut::number {

inline constexpr uint64_t kEightZeros = 0x3030303030303030;  // the characters "00000000"
inline constexpr int kTextDigits = 17;

// Stores a word as eight characters, its lowest byte first.
inline void store_characters(char* out, uint64_t word) {
    if constexpr (std::endian::native == std::endian::big) {
        for (int i = 0; i < 8; ++i) out[i] = static_cast<char>(word >> (8 * i));
    } else {
        std::memcpy(out, &word, sizeof word);
    }
}

inline uint64_t load_characters(const char* in) {
    uint64_t word = 0;
    if constexpr (std::endian::native == std::endian::big) {
        for (int i = 0; i < 8; ++i) word |= uint64_t{static_cast<unsigned char>(in[i])} << (8 * i);
    } else {
        std::memcpy(&word, in, sizeof word);
    }
    return word;
}

// The eight digits of n < 10^8, one a byte: halves, then quarters, then digits are split in all
// lanes at once. The products with 10486 / 2^20 and 103 / 2^10 are exact quotients by 100 and by 10
// for all lane values that occur, below 10^4 and 10^2.
constexpr uint64_t spread_eight_digits(uint32_t n) {
    const uint64_t halves = n / 10000 | uint64_t{n % 10000} << 32;
    const uint64_t hundreds = ((halves * 10486) >> 20) & 0x0000007F0000007F;
    const uint64_t pairs = hundreds | (halves - 100 * hundreds) << 16;
    const uint64_t tens = ((pairs * 103) >> 10) & 0x000F000F000F000F;
    return tens | (pairs - 10 * tens) << 8;
}

// The 17 digits of a decimal scaled to have that many, and how many of them count.
struct DecimalText {
    uint64_t first;   // one digit
    uint64_t middle;  // eight digits
    uint64_t last;    // eight digits
    int count;        // without trailing zeros
    int point;        // the value is 0.digits * 10^point

    // Writes all 17 characters, the ones after `count` being '0'.
    void store(char* out) const {
        out[0] = static_cast<char>('0' + first);
        store_characters(out + 1, middle | kEightZeros);
        store_characters(out + 9, last | kEightZeros);
    }
};

// Number of decimal digits of n > 0: those of the power of two below it, or one more.
constexpr int count_digits(uint64_t n) {
    const int least = floor_log10_power_of_two(static_cast<int>(std::bit_width(n)) - 1) + 1;
    return least + static_cast<int>(n >= kSmallPowers[least]);
}

// The text of a number of exactly 17 digits, the first not zero.
constexpr DecimalText split_text(uint64_t significand, int point) {
    const auto leading = static_cast<uint32_t>(significand / kSmallPowers[8]);
    const auto trailing = static_cast<uint32_t>(significand % kSmallPowers[8]);
    const uint64_t middle = spread_eight_digits(leading % 100000000);
    const uint64_t last = spread_eight_digits(trailing);
    int count = 1;
    if (last != 0)
        count = 17 - std::countl_zero(last) / 8;
    else if (middle != 0)
        count = 9 - std::countl_zero(middle) / 8;
    return {leading / 100000000, middle, last, count, point};
}

// The significand must be in [1, 10^17]; of the largest the trailing zero is dropped. The usual
// numbers of digits are asked for first: a guessed branch is faster than a computed scale.
[[gnu::always_inline]] constexpr DecimalText make_text(Decimal decimal) {
    const uint64_t significand = decimal.significand;
    if (significand >= kSmallPowers[16]) {
        if (significand < kSmallPowers[17]) return split_text(significand, decimal.exponent + 17);
        return split_text(significand / 10, decimal.exponent + 18);
    }
    if (significand >= kSmallPowers[15]) return split_text(significand * 10, decimal.exponent + 16);
    if (significand < kSmallPowers[8]) {
        const uint64_t all = spread_eight_digits(static_cast<uint32_t>(significand));
        assert(all != 0);
        const int leading_zeros = std::countr_zero(all) / 8;
        const uint64_t digits = all >> (8 * leading_zeros);
        return {digits & 0xF, digits >> 8, 0, 8 - std::countl_zero(digits) / 8,
                decimal.exponent + 8 - leading_zeros};
    }
    const int digits = count_digits(significand);
    return split_text(significand * kSmallPowers[kTextDigits - digits], decimal.exponent + digits);
}

}  // namespace qxut::number

#endif
