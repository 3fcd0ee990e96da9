// number_binary.h - a double taken apart: sign, integer significand, power of two.
//
// Everything works on the bits, never by floating-point arithmetic, so that the process's
// rounding mode and denormal settings have no influence.
#ifndef QXUT_SRC_UTIL_NUMBER_BINARY_H
#define QXUT_SRC_UTIL_NUMBER_BINARY_H

#include <bit>
#include <cstdint>
#include <limits>

namespace qxut::number {

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == sizeof(uint64_t));

inline constexpr int kFractionBits = 52;  // significand bits without the hidden one
inline constexpr uint64_t kHiddenBit = uint64_t{1} << kFractionBits;
inline constexpr uint64_t kSignBit = uint64_t{1} << 63;
inline constexpr uint64_t kInfinityBits = uint64_t{0x7FF} << kFractionBits;
inline constexpr uint64_t kNaNBits = kInfinityBits | (kHiddenBit >> 1);
inline constexpr int kMinExponent = -1074;  // of the lowest significand bit, subnormals included

// A positive finite double: significand * 2^exponent, the significand below 2^53.
struct Binary {
    uint64_t significand;
    int exponent;
};

// `magnitude` are the bits of a finite double without its sign; counting them up by one gives the
// next larger double.
constexpr Binary decompose(uint64_t magnitude) {
    const auto biased = static_cast<int>(magnitude >> kFractionBits);
    const uint64_t fraction = magnitude & (kHiddenBit - 1);
    if (biased == 0) return {fraction, kMinExponent};
    return {fraction | kHiddenBit, biased - 1 + kMinExponent};
}

}  // namespace qxut::number

#endif
