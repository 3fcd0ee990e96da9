// byte_step_folding.cpp - folding runs of bytes; see byte_step_folding.h for the technique.
//
// Entry point: byte_steps_by_folding. Tested by tests/util/byte_step_test.cpp.
#include "util/byte_step_folding.h"

#if defined(QXUT_CARRYLESS_MULTIPLICATION)

namespace qxut {

namespace {

QXUT_TARGET_CARRYLESS inline __m128i load_block(const void* bytes) {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

QXUT_TARGET_CARRYLESS inline __m128i widened(uint32_t h) {
    return _mm_cvtsi32_si128(static_cast<int32_t>(h));
}

// Moves a block Bits ahead and adds it to the block that stands there.
template <int Bits>
QXUT_TARGET_CARRYLESS inline __m128i fold(__m128i block, __m128i onto) {
    const __m128i factors = _mm_set_epi64x(fold_factor(Bits), fold_factor(Bits + 64));
    const __m128i first = _mm_clmulepi64_si128(block, factors, 0x00);
    const __m128i second = _mm_clmulepi64_si128(block, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(first, second), onto);
}

// Brings 16 bytes down to 8, the second half of the result. The first 8 bytes, 64 bits ahead,
// become 12, of which the first 4 become 8 in the same way.
QXUT_TARGET_CARRYLESS inline __m128i eight_of_block(__m128i block) {
    const __m128i factor = _mm_cvtsi64_si128(fold_factor(64));
    const __m128i second_half = _mm_unpackhi_epi64(_mm_setzero_si128(), block);
    const __m128i twelve = _mm_xor_si128(_mm_clmulepi64_si128(block, factor, 0x00), second_half);
    return _mm_xor_si128(_mm_clmulepi64_si128(twelve, factor, 0x00), twelve);
}

// What the second half of `eight` makes of h = 0: remainder_of_word within the register.
QXUT_TARGET_CARRYLESS inline uint32_t remainder_of_eight(__m128i eight) {
    const __m128i factors =
        _mm_set_epi64x(static_cast<int64_t>(kDivisor), static_cast<int64_t>(kReciprocal));
    const __m128i quotient = _mm_clmulepi64_si128(eight, factors, 0x01);
    const __m128i product = _mm_clmulepi64_si128(quotient, factors, 0x10);
    return static_cast<uint32_t>(_mm_extract_epi32(product, 2));
}

// What 16 bytes make of h = 0.
QXUT_TARGET_CARRYLESS inline uint32_t remainder_of_block(__m128i block) {
    return remainder_of_eight(eight_of_block(block));
}

// Feeds 16 bytes. Where one checksum seeds the next one, h comes last: so it does not go in with
// the bytes it stands on but is moved onto the last 8 on its own: shifted up it stands on
// bytes 5 to 8, and 32 bits more than the 64 from there make up for that.
QXUT_TARGET_CARRYLESS inline uint32_t steps_16(uint32_t h, const unsigned char* bytes) {
    const __m128i shifted = _mm_cvtsi64_si128(static_cast<int64_t>(uint64_t{h} << 32));
    const __m128i factor = _mm_cvtsi64_si128(fold_factor(96));
    return remainder_of_eight(_mm_xor_si128(_mm_clmulepi64_si128(shifted, factor, 0x00),
                                            eight_of_block(load_block(bytes))));
}

// The same after r more bytes, 1 to 15, the last of the 16 that end at `end`. Together block and
// bytes are 16 + r long; the first r go 128 bits ahead, onto the 16 that remain.
QXUT_TARGET_CARRYLESS inline __m128i fold_last(__m128i block, const unsigned char* end, size_t r) {
    // Indices of bytes to take, from any place on: nothing, then all in order, then nothing.
    alignas(16) static constexpr unsigned char kTake[48] = {
        0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
        0x80, 0x80, 0x80, 0x80, 0,    1,    2,    3,    4,    5,    6,    7,
        8,    9,    10,   11,   12,   13,   14,   15,   0x80, 0x80, 0x80, 0x80,
        0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};
    const __m128i take_first = load_block(kTake + r);
    const __m128i take_rest = load_block(kTake + 16 + r);
    const __m128i first = _mm_shuffle_epi8(block, take_first);
    const __m128i rest = _mm_shuffle_epi8(block, take_rest);
    return fold<128>(first, _mm_blendv_epi8(load_block(end - 16), rest, take_first));
}

// Feeds fewer than 16 bytes. They are moved to the end of a block, h with them; zero bytes in front
// do nothing. Where the run is shorter than h, the upper bytes of h only move down.
QXUT_TARGET_CARRYLESS inline uint32_t steps_below_16(uint32_t h, const unsigned char* bytes,
                                                     size_t n) {
    const uint64_t h_wide = h;
    if (n > 8) {
        const size_t r = n - 8;
        const uint64_t first = (load_little_endian_8(bytes) ^ h_wide) << (64 - 8 * r);
        const uint64_t second = load_little_endian_8(bytes + r) ^ (h_wide >> (8 * r));
        return remainder_of_block(
            _mm_set_epi64x(static_cast<int64_t>(second), static_cast<int64_t>(first)));
    }
    if (n == 8) return remainder_of_word(load_little_endian_8(bytes) ^ h_wide);
    if (n == 0) return h;
    return remainder_of_word(load_short(bytes, n) ^ (h_wide << (64 - 8 * n))) ^
           static_cast<uint32_t>(h_wide >> (8 * n));
}

}  // namespace

uint32_t remainder_of_9_to_32(const unsigned char* bytes, size_t n) {
    // Indices of bytes to take: from place n - 9 on, nothing as often as 32 - n, then all in order.
    alignas(16) static constexpr unsigned char kMoveUp[39] = {
        0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
        0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0,    1,    2,
        3,    4,    5,    6,    7,    8,    9,    10,   11,   12,   13,   14,   15};
    // The run stands at the end of two blocks, zero bytes in front of it. In a run below 16 all of
    // it is in the last block, and the first one moves out of sight.
    const auto above_16 = static_cast<int64_t>(n) - 16;
    const auto below_16 = static_cast<size_t>(-above_16 & (above_16 >> 63));
    const __m128i start =
        _mm_set_epi64x(static_cast<int64_t>(load_little_endian_8(bytes + 8 - below_16)),
                       static_cast<int64_t>(load_little_endian_8(bytes)));
    const __m128i first = _mm_shuffle_epi8(start, load_block(kMoveUp + n - 9));
    const uint64_t before_last_8 = load_little_endian_8(bytes + n + below_16 - 16)
                                   << (8 * below_16);
    const __m128i last = _mm_set_epi64x(static_cast<int64_t>(load_little_endian_8(bytes + n - 8)),
                                        static_cast<int64_t>(before_last_8));
    return remainder_of_block(fold<128>(first, last));
}

uint32_t byte_steps_by_folding(uint32_t h, const unsigned char* bytes, size_t n) {
    if (n < 16) return steps_below_16(h, bytes, n);
    if (n == 16) return steps_16(h, bytes);
    __m128i block = _mm_xor_si128(load_block(bytes), widened(h));
    if (n >= 64) {
        // Four blocks side by side.
        __m128i b = load_block(bytes + 16);
        __m128i c = load_block(bytes + 32);
        __m128i d = load_block(bytes + 48);
        for (bytes += 64, n -= 64; n >= 64; bytes += 64, n -= 64) {
            block = fold<512>(block, load_block(bytes));
            b = fold<512>(b, load_block(bytes + 16));
            c = fold<512>(c, load_block(bytes + 32));
            d = fold<512>(d, load_block(bytes + 48));
        }
        block = fold<128>(fold<128>(fold<128>(block, b), c), d);
    } else {
        bytes += 16;
        n -= 16;
    }
    return byte_steps_after_block(block, bytes, n);
}

uint32_t byte_steps_after_block(__m128i block, const unsigned char* bytes, size_t n) {
    const unsigned char* const end = bytes + n;
    for (; n >= 16; bytes += 16, n -= 16) block = fold<128>(block, load_block(bytes));
    if (n != 0) block = fold_last(block, end, n);
    return remainder_of_block(block);
}

}  // namespace qxut

#endif
