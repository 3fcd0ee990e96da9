// number_shortest.cpp - the shortest decimal that reads back to the same double.
//
// The method is R. Giulietti's Schubfach ("The Schubfach way to render doubles"), written from its
// mathematics. Let v = c * 2^q, and let 10^k be the largest power of ten that is not longer than
// v's rounding interval. Then
//
//   - the interval contains at most one multiple of 10^(k+1), and if it contains one, that is the
//     shortest decimal in it (its trailing zeros are dropped later);
//   - else it contains one of the multiples of 10^k on either side of v, and the shortest decimals
//     are multiples of 10^k: the nearer one to v that is inside is the answer.
//
//            left                 v                right
//     ---------[------------------*------------------]---------
//        |           |           |           |           |      multiples of 10^k
//
// The comparisons use v and the ends of the interval in units of 10^k / 4, "rounded to odd": an
// inexact quantity x is replaced by floor(x) with its lowest bit set, an exact one is kept. This
// keeps its order relative to every even integer, and all candidates are multiples of 4 and their
// middles of 2.
//
// Why 192 bits suffice: x = m * 2^h * 10^-k with an integer m < 2^55; the 128-bit power, rounded
// up, makes the computed x too large by less than m * 2^h / 2^128 < 2^-68. That can matter only
// when x is that close to an even integer without being equal to it. An exhaustive search (by
// continued fractions, over every exponent; fpc_bounds_test.cpp repeats it) shows that a
// non-integral x keeps a distance of at least 2^-62.6 from every even integer. So the integer part
// is right, and the first 64 bits of the fraction are zero exactly when x is an integer. Near an
// odd integer floor(x) may be off by one, but both give the same result.
//
// Tested by tests/util/fpc_format_test.cpp.
#include "util/number_decimal.h"
#include "util/number_powers.h"
#include "util/wide_multiply.h"

namespace qxut::number {
namespace {

// power * factor / 2^128, rounded to odd.
uint64_t scale_to_odd(const PowerOfTen& power, uint64_t factor) {
    const Wide low = wide_multiply(power.low, factor);
    const Wide high = wide_multiply(power.high, factor);
    const uint64_t fraction = high.low + low.high;
    const uint64_t carry = fraction < high.low ? 1 : 0;
    return (high.high + carry) | (fraction != 0 ? 1 : 0);
}

}  // namespace

Decimal shortest_decimal(Binary value, Boundaries boundaries) {
    const uint64_t c = value.significand;
    const int q = value.exponent;
    // Below a power of two the doubles are twice as dense, so the interval is shorter on the left.
    const bool dense_below = c == kHiddenBit && q > kMinExponent;
    const int k =
        dense_below ? floor_log10_three_quarters_power_of_two(q) : floor_log10_power_of_two(q);
    const int h = q + floor_log2_power_of_ten(-k) + 1;

    const PowerOfTen& floor_power = power_of_ten(-k);
    const PowerOfTen power = {floor_power.high + (floor_power.low == UINT64_MAX ? 1 : 0),
                              floor_power.low + 1};
    const uint64_t quarters = 4 * c;
    const uint64_t middle = scale_to_odd(power, quarters << h);
    // The interval's first and last integers: an open end that is one itself is left out, and one
    // that was rounded to odd is no candidate.
    const uint64_t open = boundaries == Boundaries::excluded ? 1 : c & 1;
    const uint64_t left = scale_to_odd(power, (quarters - (dense_below ? 1 : 2)) << h) + open;
    const uint64_t right = scale_to_odd(power, (quarters + 2) << h) - open;

    // Candidates below v are not above the right end, and those above it not below the left. All of
    // them are looked at and the answer is put together from masks, without branches: which one it
    // is, is no better predictable than a coin. A `tens` of 0 is outside, for the left end is not
    // 0.
    const uint64_t below = middle / 4;
    const uint64_t tens = below / 10 * 10;
    const uint64_t tens_below_inside = left <= 4 * tens ? 1 : 0;
    const uint64_t tens_above_inside = 4 * tens + 40 <= right ? 1 : 0;
    const uint64_t below_outside = left <= 4 * below ? 0 : 1;
    const uint64_t above_inside = 4 * below + 4 <= right ? 1 : 0;
    const uint64_t nearer_above = middle + (below & 1) > 4 * below + 2 ? 1 : 0;
    const uint64_t by_ones = below + (above_inside & (nearer_above | below_outside));
    const uint64_t by_tens = tens + 10 * tens_above_inside;
    const uint64_t mask = 0 - (tens_below_inside | tens_above_inside);
    return {by_ones ^ ((by_ones ^ by_tens) & mask), k};
}

}  // namespace qxut::number
