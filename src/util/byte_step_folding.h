// byte_step_folding.h - the byte step by carry-less multiplication, where the processor has it.
//
// Take a run of bytes as a polynomial over GF(2), the low bit of its first byte being the highest
// coefficient. The steps make of h = 0 the remainder of (run * x^32) modulo P; and an h goes in as
// if it stood on the first four bytes. Remainders do not change when a piece A of the run, d bits
// ahead of another, is replaced by A * (x^d mod P) added to that other piece. So blocks of 16 bytes
// are folded into one, that into 8 bytes, and these are divided by P: the quotient comes from a
// multiplication by the reciprocal of P (Barrett's method, exact here), the remainder from one by
// P.
//
// In this bit order the product of two 64-bit words comes out one place short. Hence factors for
// x^d hold x^(d-1).
#ifndef QXUT_SRC_UTIL_BYTE_STEP_FOLDING_H
#define QXUT_SRC_UTIL_BYTE_STEP_FOLDING_H

#include "util/byte_step.h"
#include "util/carryless.h"

#if defined(QXUT_CARRYLESS_MULTIPLICATION)

#include <immintrin.h>

// For functions that are called only where has_carryless_multiplication() is true.
#define QXUT_TARGET_CARRYLESS __attribute__((target("pclmul,sse4.1")))

namespace qxut {

// Feeds n bytes.
QXUT_TARGET_CARRYLESS uint32_t byte_steps_by_folding(uint32_t h, const unsigned char* bytes,
                                                     size_t n);

// The same from h = 0 when a block is fed first, which stands for all that came before. `bytes` is
// the end of a run of 16 or more.
QXUT_TARGET_CARRYLESS uint32_t byte_steps_after_block(__m128i block, const unsigned char* bytes,
                                                      size_t n);

// x^bits modulo P, one place short.
constexpr int64_t fold_factor(int bits) {
    uint32_t remainder = 0x80000000;  // x^0
    for (int i = 0; i < bits - 1; ++i) remainder = bit_step(remainder);
    return static_cast<int64_t>(uint64_t{remainder} << 32);
}

// What n bytes, 9 to 32, make of h = 0. Without a branch on n, which for texts nobody foresees.
QXUT_TARGET_CARRYLESS uint32_t remainder_of_9_to_32(const unsigned char* bytes, size_t n);

// The reciprocal of P: the quotient of x^96 by P, from the coefficient of x^64 in the low bit up to
// that of x^1. The division takes one bit of the dividend at a time, P's own top bit aside.
constexpr uint64_t make_reciprocal() {
    uint64_t reciprocal = 0;
    uint32_t remainder = 0x80000000;  // x^0: the first bit of the dividend, before 96 zeros
    for (int power = 95; power >= 1; --power) {
        const bool carry = (remainder & 1) != 0;
        remainder = bit_step(remainder);
        if (power <= 64 && carry) reciprocal |= uint64_t{1} << (64 - power);
    }
    return reciprocal;
}

inline constexpr uint64_t kReciprocal = make_reciprocal();
inline constexpr uint64_t kDivisor = (uint64_t{kByteStepPolynomial} << 1) | 1;

// What 8 bytes make of h = 0; the first byte in the low bits. Only where the processor can. In
// assembly, since a function with a target of its own cannot be made part of its callers, and
// whoever looks up words by the million wants few instructions.
inline uint32_t remainder_of_word(uint64_t word) {
    const __m128i factors =
        _mm_set_epi64x(static_cast<int64_t>(kDivisor), static_cast<int64_t>(kReciprocal));
    __m128i value = _mm_cvtsi64_si128(static_cast<int64_t>(word));
    __asm__("pclmulqdq $0x00, %1, %0" : "+x"(value) : "x"(factors));  // the quotient
    __asm__("pclmulqdq $0x10, %1, %0" : "+x"(value) : "x"(factors));  // times P
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_shuffle_epi32(value, 2)));
}

}  // namespace qxut

#endif

#endif
