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
    const uint64_t left = scale_to_odd(power, (quarters - (dense_below ? 1 : 2)) << h);
    const uint64_t middle = scale_to_odd(power, quarters << h);
    const uint64_t right = scale_to_odd(power, (quarters + 2) << h);
    const bool open = boundaries == Boundaries::excluded || (c & 1) != 0;
    const auto is_inside = [&](uint64_t n) {
        return open ? left < 4 * n && 4 * n < right : left <= 4 * n && 4 * n <= right;
    };

    const uint64_t below = middle / 4;
    const uint64_t tens = below / 10;
    if (tens != 0 && is_inside(10 * tens)) return {tens, k + 1};
    if (is_inside(10 * tens + 10)) return {tens + 1, k + 1};

    const bool below_inside = is_inside(below);
    const bool above_inside = is_inside(below + 1);
    if (below_inside != above_inside) return {below + (above_inside ? 1 : 0), k};
    const uint64_t half = 4 * below + 2;
    const bool up = middle > half || (middle == half && (below & 1) != 0);
    return {below + (up ? 1 : 0), k};
}

}  // namespace qxut::number
