// number_exact.h - decimal digits of a double by exact arithmetic, to any place.
#ifndef QXUT_SRC_UTIL_NUMBER_EXACT_H
#define QXUT_SRC_UTIL_NUMBER_EXACT_H

#include "util/number_binary.h"
#include "util/number_pool.h"

namespace qxut::number {

// A double has at most 767 significant digits; they are made in groups of nine.
inline constexpr int kMaxExactDigits = 792;

// Digits d1 d2 d3 ... as characters, the value being 0.d1d2d3... * 10^point. No leading and no
// trailing zeros; a value that was rounded away has none at all.
struct DigitString {
    char digits[kMaxExactDigits];
    int count;
    int point;
};

// Rounds `value` (not zero) to the multiple of 10^exponent that is nearest, of two equally near the
// even one. Raises OUT_OF_MEMORY where the context's memory does, see number_pool.h.
void exact_digits(ut_fpc_context& context, Binary value, int64_t exponent, DigitString& result);

}  // namespace qxut::number

#endif
