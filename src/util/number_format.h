// number_format.h - what the two formatting functions share.
#ifndef QXUT_SRC_UTIL_NUMBER_FORMAT_H
#define QXUT_SRC_UTIL_NUMBER_FORMAT_H

#include <qxut/util/fpc.h>

#include "util/number_text.h"

namespace qxut::number {

// Raises FPC_BUFFER_TOO_SMALL for a buffer of `size` characters.
[[noreturn]] void raise_buffer_too_small(const ut_fpc_context& context, size_t size);

// The bits of a double without its sign.
inline uint64_t magnitude_bits(double value) { return std::bit_cast<uint64_t>(value) & ~kSignBit; }
inline bool has_sign(double value) { return (std::bit_cast<uint64_t>(value) & kSignBit) != 0; }

// The shortest digits of a finite value that is not zero. An integer below 2^53 is its own shortest
// decimal: the interval around it is not longer than 1.
[[gnu::always_inline]] inline DecimalText shortest_text(uint64_t magnitude, Boundaries boundaries) {
    const Binary value = decompose(magnitude);
    const auto fraction_bits = static_cast<unsigned>(-value.exponent);
    if (fraction_bits <= kFractionBits) {
        const uint64_t integer = value.significand >> fraction_bits;
        if (integer << fraction_bits == value.significand) return make_text({integer, 0});
    }
    return make_text(shortest_decimal(value, boundaries));
}

}  // namespace qxut::number

#endif
