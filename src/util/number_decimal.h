// number_decimal.h - from a binary significand to a decimal one, by products of 192 bits.
//
// Both functions need no memory and no floating-point arithmetic. shortest_decimal always answers;
// rounded_decimal declines where its error bound does not decide, and exact_digits
// (number_exact.h) does instead.
#ifndef QXUT_SRC_UTIL_NUMBER_DECIMAL_H
#define QXUT_SRC_UTIL_NUMBER_DECIMAL_H

#include <optional>

#include "util/number_binary.h"

namespace qxut::number {

// significand * 10^exponent; the significand has at most 18 digits, the last may be zeros.
struct Decimal {
    uint64_t significand;
    int exponent;
};

// Whether the ends of the rounding interval, which are half-way between two doubles, read back as
// the double: under round-half-even they do when its significand is even.
enum class Boundaries { round_half_even, excluded };

// The decimal with the fewest digits inside the rounding interval of `value` (not zero); of several
// the one closest to the value, of two equally close the even one.
Decimal shortest_decimal(Binary value, Boundaries boundaries);

// The k with 10^k <= value < 10^(k+1); the value is not zero.
int floor_log10(Binary value);

inline constexpr int kMaxRoundedDigits = 17;

// The multiple of 10^exponent nearest to `value` (not zero), of two equally near the even one. The
// value must have from 1 to kMaxRoundedDigits digits from its first to the one at 10^exponent. No
// answer when the value is too close to the middle of two multiples to tell.
std::optional<Decimal> rounded_decimal(Binary value, int exponent);

// The value rounded to so many decimal places, as a multiple of 10^-places, where one word suffices
// for it: for up to three places, a value that is not tiny, and a result of at most
// kMaxRoundedDigits digits (or one more for a carry).
std::optional<uint64_t> rounded_to_few_places(Binary value, int places);

}  // namespace qxut::number

#endif
