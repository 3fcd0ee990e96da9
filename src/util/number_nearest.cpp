// number_nearest.cpp - the double nearest to w * 10^e for a 64-bit w, by one product of 192 bits.
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
#include <bit>

#include "util/number_binary.h"
#include "util/number_powers.h"
#include "util/number_read.h"
#include "util/wide_multiply.h"

namespace qxut::number {
namespace {

constexpr int kMaxBinaryExponent = 1023;
constexpr int kMinNormalExponent = -1022;
constexpr int kMaxDecimalExponent = 308;

}  // namespace

Nearest nearest_double(uint64_t significand, int64_t exponent) {
    if (exponent < kMinPower) return {0, true};  // below 2^64 * 10^-343 < 2^-1075
    if (exponent > kMaxDecimalExponent) return {kInfinityBits, true};
    const auto e = static_cast<int>(exponent);
    const int shift = std::countl_zero(significand);
    const uint64_t word = significand << shift;
    const PowerOfTen& power = power_of_ten(e);
    const Wide low = wide_multiply(word, power.low);
    const Wide high = wide_multiply(word, power.high);
    const uint64_t middle_word = high.low + low.high;
    const uint64_t upper_word = high.high + (middle_word < high.low ? 1 : 0);

    // The product's highest bit is the last or the last but one; 2^binary is its place value.
    const int top = 62 + static_cast<int>(upper_word >> 63);
    const int binary = top + 1 + floor_log2_power_of_ten(e) - shift;
    if (binary > kMaxBinaryExponent) return {kInfinityBits, true};
    int dropped = top - kFractionBits;
    uint64_t magnitude = 0;  // biased exponent less one: the hidden bit adds it
    if (binary >= kMinNormalExponent) {
        magnitude = static_cast<uint64_t>(binary - kMinNormalExponent) << kFractionBits;
    } else {
        if (binary < kMinExponent) return {0, binary < kMinExponent - 2};
        dropped += kMinNormalExponent - binary;
    }
    magnitude += upper_word >> dropped;

    const uint64_t rest = upper_word & ((uint64_t{1} << dropped) - 1);
    const uint64_t half = uint64_t{1} << (dropped - 1);
    if (is_exact_power(e)) {
        const bool tie = rest == half && middle_word == 0 && low.low == 0;
        const bool up = tie ? (magnitude & 1) != 0 : rest >= half;
        return {magnitude + (up ? 1 : 0), true};
    }
    if (rest == half - 1 && middle_word == UINT64_MAX) return {magnitude, false};
    return {magnitude + (rest >= half ? 1 : 0), true};
}

}  // namespace qxut::number
