// number_read.h - from a decimal number to the nearest double.
#ifndef QXUT_SRC_UTIL_NUMBER_READ_H
#define QXUT_SRC_UTIL_NUMBER_READ_H

#include <cstddef>
#include <cstdint>

#include <qxut/util/fpc.h>

namespace qxut::number {

constexpr bool is_digit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

// A finite decimal as it stands in a text.
struct DecimalDigits {
    const char* begin;  // digits, with at most one point among them
    const char* end;
    int64_t point;     // how many of the digits are in front of the point
    int64_t exponent;  // the one written after the digits
};

// Decides by exact arithmetic between `lower` and the next larger double, one of which is nearest
// to the number; its first non-zero digit is in front of 10^310 and not behind 10^-330.
uint64_t nearest_double_exact(ut_fpc_context& context, const DecimalDigits& number, uint64_t lower);

}  // namespace qxut::number

#endif
