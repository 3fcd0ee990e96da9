// number_nearest.h - the double nearest to w * 10^e for a 64-bit w, by one product of 192 bits.
//
// The idea is D. Lemire's and M. Eisel's ("Number parsing at a gigabyte per second"), written from
// its mathematics with an error bound of its own. With w shifted up to 64 bits, and the power
// 10^e = (T + t) * 2^r of number_powers.h, 0 <= t < 1:
//
//     w * T  =  [ 53 bits of significand | rest ][ middle word ][ low word ]
//               '-------- upper word ----------'
//
// The true product w * (T + t) is at least the computed one and less than one unit of the middle
// word above it. So if the rest is at least one half, the number is above the middle of two doubles
// (on it only when the power and the product are exact: a tie), and if it is less, below, unless a
// unit more in the middle word would carry to the half: only then is the answer left open. A
// carry out of an all-ones rest gives the next significand, the result of rounding up anyway.
// Subnormal results have fewer bits of significand and more of rest; nothing else changes.
//
// No floating-point arithmetic is done, so the rounding mode of the process does not matter.
// Tested by tests/util/fpc_parse_test.cpp.
#ifndef QXUT_SRC_UTIL_NUMBER_NEAREST_H
#define QXUT_SRC_UTIL_NUMBER_NEAREST_H

#include <bit>

#include "util/number_binary.h"
#include "util/number_powers.h"
#include "util/wide_multiply.h"

namespace qxut::number {

inline constexpr int kMaxBinaryExponent = 1023;
inline constexpr int kMinNormalExponent = -1022;
inline constexpr int kMaxDecimalExponent = 308;

// A bound on a decimal's double from 64 bits of its digits.
struct Nearest {
    uint64_t magnitude;  // bits of a double without its sign
    bool is_known;       // else the nearest is `magnitude` or the next larger double
};

// The upper two words of word * T for the power of ten T, and whether the low one is not zero.
struct ScaledWord {
    uint64_t upper;
    uint64_t middle;
    bool has_low;
};

inline ScaledWord scale_word(uint64_t word, const PowerOfTen& power) {
    const Wide low = wide_multiply(word, power.low);
    const Wide high = wide_multiply(word, power.high);
    const uint64_t middle = high.low + low.high;
    return {high.high + (middle < high.low ? 1 : 0), middle, low.low != 0};
}

// The double nearest to significand * 10^exponent (significand not zero), ties to even.
Nearest nearest_double(uint64_t significand, int64_t exponent);

// The same for the ordinary case, in as few instructions as possible: the bits of a normal double,
// or 0 when the result may not be normal, is a tie or is left open.
inline uint64_t quick_nearest_double(uint64_t significand, int64_t exponent) {
    if (static_cast<uint64_t>(exponent - kMinPower) > kMaxDecimalExponent - kMinPower) return 0;
    const auto e = static_cast<int>(exponent);
    const int shift = std::countl_zero(significand);
    const ScaledWord scaled = scale_word(significand << shift, power_of_ten(e));
    const int top = static_cast<int>(scaled.upper >> 63);
    const int dropped = 62 + top - kFractionBits;

    // A middle word of zero may belong to a tie, one of all ones may carry into a half.
    if (scaled.middle + 1 <= 1) [[unlikely]] {
        const uint64_t rest = scaled.upper & ((uint64_t{1} << dropped) - 1);
        const bool is_open = scaled.middle != 0 || rest == uint64_t{1} << (dropped - 1);
        if (is_open) return 0;
    }
    const int binary = 63 + top + floor_log2_power_of_ten(e) - shift;
    const auto biased = static_cast<uint64_t>(binary - kMinNormalExponent);
    if (biased > kMaxBinaryExponent - kMinNormalExponent) return 0;
    // The hidden bit counts the exponent up by one; a carry of the rounding does so too.
    const uint64_t rounded = ((scaled.upper >> (dropped - 1)) + 1) >> 1;
    return (biased << kFractionBits) + rounded;
}

}  // namespace qxut::number

#endif
