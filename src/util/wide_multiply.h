// wide_multiply.h - the product of two 64-bit words in 128 bits, on every compiler.
#ifndef QXUT_SRC_UTIL_WIDE_MULTIPLY_H
#define QXUT_SRC_UTIL_WIDE_MULTIPLY_H

#include <cstdint>

namespace qxut {

struct Wide {  // high * 2^64 + low
    uint64_t high;
    uint64_t low;
};

// The schoolbook form, from four products of 32-bit halves. The middle column is the sum of three
// numbers below 2^32 and so fits one word.
constexpr Wide wide_multiply_portable(uint64_t a, uint64_t b) {
    const uint64_t a0 = a & 0xFFFFFFFFu;
    const uint64_t a1 = a >> 32;
    const uint64_t b0 = b & 0xFFFFFFFFu;
    const uint64_t b1 = b >> 32;
    const uint64_t low = a0 * b0;
    const uint64_t cross1 = a1 * b0;
    const uint64_t cross2 = a0 * b1;
    const uint64_t middle = (low >> 32) + (cross1 & 0xFFFFFFFFu) + (cross2 & 0xFFFFFFFFu);
    return {a1 * b1 + (cross1 >> 32) + (cross2 >> 32) + (middle >> 32),
            (middle << 32) | (low & 0xFFFFFFFFu)};
}

constexpr Wide wide_multiply(uint64_t a, uint64_t b) {
#if defined(__SIZEOF_INT128__)
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return {static_cast<uint64_t>(product >> 64), static_cast<uint64_t>(product)};
#else
    return wide_multiply_portable(a, b);
#endif
}

}  // namespace qxut

#endif
