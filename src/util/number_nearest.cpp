// number_nearest.cpp - the general form of the rounding described in number_nearest.h.
//
// Tested by tests/util/fpc_parse_test.cpp.
#include "util/number_nearest.h"

namespace qxut::number {

Nearest nearest_double(uint64_t significand, int64_t exponent) {
    if (exponent < kMinPower) return {0, true};  // below 2^64 * 10^-343 < 2^-1075
    if (exponent > kMaxDecimalExponent) return {kInfinityBits, true};
    const auto e = static_cast<int>(exponent);
    const int shift = std::countl_zero(significand);
    const ScaledWord scaled = scale_word(significand << shift, power_of_ten(e));

    // The product's highest bit is the last or the last but one; 2^binary is its place value.
    const int top = 62 + static_cast<int>(scaled.upper >> 63);
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
    magnitude += scaled.upper >> dropped;

    const uint64_t rest = scaled.upper & ((uint64_t{1} << dropped) - 1);
    const uint64_t half = uint64_t{1} << (dropped - 1);
    if (is_exact_power(e)) {
        const bool tie = rest == half && scaled.middle == 0 && !scaled.has_low;
        const bool up = tie ? (magnitude & 1) != 0 : rest >= half;
        return {magnitude + (up ? 1 : 0), true};
    }
    if (rest == half - 1 && scaled.middle == UINT64_MAX) return {magnitude, false};
    return {magnitude + (rest >= half ? 1 : 0), true};
}

}  // namespace qxut::number
