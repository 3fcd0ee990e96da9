// byte_step_wide.cpp - folding with wide registers; see byte_step_wide.h.
//
// Four registers go side by side through the run, so that the multiplications of one do not wait
// for those of another. Then they are folded into one, its blocks into one, and that one goes on in
// byte_steps_after_block. Tested by tests/util/byte_step_test.cpp.
#include "util/byte_step_wide.h"

#if defined(QXUT_CARRYLESS_MULTIPLICATION)

// g++ 12 takes the operand that its own header leaves undefined, and masks out, for a mistake.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace qxut {
namespace {

using Wide2 = __m256i;
using Wide4 = __m512i;

// --- two blocks a register --------------------------------------------------------------------

QXUT_TARGET_CARRYLESS_2 inline Wide2 load_2(const unsigned char* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const Wide2*>(bytes));
}

// Multiplies each block by the factors that stand at its place, and adds it to `onto`.
QXUT_TARGET_CARRYLESS_2 inline Wide2 multiply_2(Wide2 blocks, Wide2 factors, Wide2 onto) {
    const Wide2 first = _mm256_clmulepi64_epi128(blocks, factors, 0x00);
    const Wide2 second = _mm256_clmulepi64_epi128(blocks, factors, 0x11);
    return _mm256_xor_si256(_mm256_xor_si256(first, second), onto);
}

// Moves every block Bits ahead.
template <int Bits>
QXUT_TARGET_CARRYLESS_2 inline Wide2 fold_2(Wide2 blocks, Wide2 onto) {
    const Wide2 factors = _mm256_set_epi64x(fold_factor(Bits), fold_factor(Bits + 64),
                                            fold_factor(Bits), fold_factor(Bits + 64));
    return multiply_2(blocks, factors, onto);
}

// --- four blocks a register -------------------------------------------------------------------

QXUT_TARGET_CARRYLESS_4 inline Wide4 load_4(const unsigned char* bytes) {
    return _mm512_loadu_si512(bytes);
}

QXUT_TARGET_CARRYLESS_4 inline Wide4 multiply_4(Wide4 blocks, Wide4 factors, Wide4 onto) {
    const Wide4 first = _mm512_clmulepi64_epi128(blocks, factors, 0x00);
    const Wide4 second = _mm512_clmulepi64_epi128(blocks, factors, 0x11);
    constexpr int kExclusiveOrOfThree = 0x96;
    return _mm512_ternarylogic_epi64(first, second, onto, kExclusiveOrOfThree);
}

template <int Bits>
QXUT_TARGET_CARRYLESS_4 inline Wide4 fold_4(Wide4 blocks, Wide4 onto) {
    const Wide4 factors = _mm512_set4_epi64(fold_factor(Bits), fold_factor(Bits + 64),
                                            fold_factor(Bits), fold_factor(Bits + 64));
    return multiply_4(blocks, factors, onto);
}

}  // namespace

uint32_t byte_steps_by_folding_2(uint32_t h, const unsigned char* bytes, size_t n) {
    Wide2 a = _mm256_xor_si256(load_2(bytes),
                               _mm256_zextsi128_si256(_mm_cvtsi32_si128(static_cast<int32_t>(h))));
    Wide2 b = load_2(bytes + 32);
    Wide2 c = load_2(bytes + 64);
    Wide2 d = load_2(bytes + 96);
    for (bytes += 128, n -= 128; n >= 128; bytes += 128, n -= 128) {
        a = fold_2<1024>(a, load_2(bytes));
        b = fold_2<1024>(b, load_2(bytes + 32));
        c = fold_2<1024>(c, load_2(bytes + 64));
        d = fold_2<1024>(d, load_2(bytes + 96));
    }
    a = fold_2<512>(a, c);
    b = fold_2<512>(b, d);
    a = fold_2<256>(a, b);
    for (; n >= 32; bytes += 32, n -= 32) a = fold_2<256>(a, load_2(bytes));

    // The first block, moved ahead onto the last.
    const __m128i factors = _mm_set_epi64x(fold_factor(128), fold_factor(128 + 64));
    const __m128i first = _mm256_castsi256_si128(a);
    const __m128i moved = _mm_xor_si128(_mm_clmulepi64_si128(first, factors, 0x00),
                                        _mm_clmulepi64_si128(first, factors, 0x11));
    return byte_steps_after_block(_mm_xor_si128(moved, _mm256_extracti128_si256(a, 1)), bytes, n);
}

uint32_t byte_steps_by_folding_4(uint32_t h, const unsigned char* bytes, size_t n) {
    Wide4 a = _mm512_xor_si512(load_4(bytes),
                               _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int32_t>(h))));
    bytes += 64;
    n -= 64;
    if (n >= 192) {
        Wide4 b = load_4(bytes);
        Wide4 c = load_4(bytes + 64);
        Wide4 d = load_4(bytes + 128);
        for (bytes += 192, n -= 192; n >= 256; bytes += 256, n -= 256) {
            a = fold_4<2048>(a, load_4(bytes));
            b = fold_4<2048>(b, load_4(bytes + 64));
            c = fold_4<2048>(c, load_4(bytes + 128));
            d = fold_4<2048>(d, load_4(bytes + 192));
        }
        a = fold_4<1024>(a, c);
        b = fold_4<1024>(b, d);
        a = fold_4<512>(a, b);
    }
    for (; n >= 64; bytes += 64, n -= 64) a = fold_4<512>(a, load_4(bytes));

    // The first three blocks, each moved ahead onto the last.
    const Wide4 factors =
        _mm512_set_epi64(0, 0, fold_factor(128), fold_factor(128 + 64), fold_factor(256),
                         fold_factor(256 + 64), fold_factor(384), fold_factor(384 + 64));
    const Wide4 last = _mm512_maskz_mov_epi64(0xC0, a);
    const Wide4 moved = multiply_4(a, factors, last);
    const Wide2 half =
        _mm256_xor_si256(_mm512_castsi512_si256(moved), _mm512_extracti64x4_epi64(moved, 1));
    return byte_steps_after_block(
        _mm_xor_si128(_mm256_castsi256_si128(half), _mm256_extracti128_si256(half, 1)), bytes, n);
}

}  // namespace qxut

#endif
