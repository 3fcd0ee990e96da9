// number_rounded.cpp - a double rounded to a given decimal place, by one product of 192 bits.
//
// The value, its significand m shifted up to 64 bits, is divided by 10^exponent through the 128-bit
// power T of number_powers.h:
//
//     m * T  =  [ quotient | fraction : 64-bit word | 64-bit word ]      quotient < 10^17 < 2^57
//               '-- the upper word --'
//
// The true product is m * (T + t) with 0 <= t < 1: it is at least the computed one and less than
// 2^64 above it, one unit of the middle word. So a fraction of at least one half rounds up - an
// inexact power cannot make a tie, for the true product is strictly larger - and one below rounds
// down unless adding a unit to the middle word would carry it to the half. Then the function
// declines; that happens to ties divided by an inexact power and to one in 2^64 others.
//
// Tested by tests/util/fpc_format_test.cpp.
#include <bit>

#include "util/number_decimal.h"
#include "util/number_powers.h"
#include "util/wide_multiply.h"

namespace qxut::number {

int floor_log10(Binary value) {
    // With 2^e <= value, the logarithm of 2^e is the result or one less than it.
    const int e = value.exponent + static_cast<int>(std::bit_width(value.significand)) - 1;
    const int k = floor_log10_power_of_two(e);
    const int next_e = floor_log2_power_of_ten(k + 1);
    if (next_e != e) return next_e < e ? k + 1 : k;
    // Both lie between 2^e and 2^(e+1): their leading words decide, and where these are equal,
    // whether the power has anything behind its first.
    const uint64_t word = value.significand << std::countl_zero(value.significand);
    const PowerOfTen& next = power_of_ten(k + 1);
    return word > next.high || (word == next.high && next.low == 0) ? k + 1 : k;
}

std::optional<Decimal> rounded_decimal(Binary value, int exponent) {
    if (-exponent > kMaxPower) return std::nullopt;
    const int shift = std::countl_zero(value.significand);
    const uint64_t word = value.significand << shift;
    const PowerOfTen& power = power_of_ten(-exponent);
    const Wide low = wide_multiply(word, power.low);
    const Wide high = wide_multiply(word, power.high);
    const uint64_t middle_word = high.low + low.high;
    const uint64_t upper_word = high.high + (middle_word < high.low ? 1 : 0);

    // Bits of fraction in the upper word, from 7 to 63 for 1 to 17 digits.
    const int bits = shift - value.exponent - floor_log2_power_of_ten(-exponent) - 1;
    const uint64_t quotient = upper_word >> bits;
    const uint64_t fraction = upper_word & ((uint64_t{1} << bits) - 1);
    const uint64_t half = uint64_t{1} << (bits - 1);
    bool up = fraction >= half;
    if (is_exact_power(-exponent)) {
        const bool tie = fraction == half && middle_word == 0 && low.low == 0;
        if (tie) up = (quotient & 1) != 0;
    } else if (fraction == half - 1 && middle_word == UINT64_MAX) {
        return std::nullopt;
    }
    return Decimal{quotient + (up ? 1 : 0), exponent};
}

std::optional<uint64_t> rounded_to_few_places(Binary value, int places) {
    // The significand is below 2^53 and 10^3 below 2^10, so the product is exact.
    if (places < 0 || places > 3 || value.exponent > -1 || value.exponent < -63)
        return std::nullopt;
    const int bits = -value.exponent;
    const uint64_t product = value.significand * kSmallPowers[places];
    const uint64_t quotient = product >> bits;
    const uint64_t fraction = product & ((uint64_t{1} << bits) - 1);
    const uint64_t half = uint64_t{1} << (bits - 1);
    if (quotient >= kSmallPowers[kMaxRoundedDigits]) return std::nullopt;
    const bool up = fraction > half || (fraction == half && (quotient & 1) != 0);
    return quotient + (up ? 1 : 0);
}

}  // namespace qxut::number
