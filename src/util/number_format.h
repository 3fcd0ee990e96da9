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

// The shortest digits of a finite value that is not zero.
inline DecimalText shortest_text(uint64_t magnitude, Boundaries boundaries) {
    return make_text(shortest_decimal(decompose(magnitude), boundaries));
}

}  // namespace qxut::number

#endif
