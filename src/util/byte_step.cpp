// byte_step.cpp - tables and the fast forms of the byte step; see byte_step.h for the technique.
//
// Entry point: byte_steps. Tested by tests/util/hash_bytes_test.cpp.
#include "util/byte_step.h"

#include <atomic>

#if defined(__x86_64__) && defined(__GNUC__)
#define QXUT_CARRYLESS_MULTIPLICATION 1
#include <immintrin.h>
#endif

namespace qxut {
namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;

constexpr uint32_t shift_right_once(uint32_t h) {
    return (h >> 1) ^ ((h & 1) != 0 ? kPolynomial : 0);
}

constexpr ByteStepTables make_tables() {
    ByteStepTables tables{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t h = i;
        for (int bit = 0; bit < 8; ++bit) h = shift_right_once(h);
        tables.after[0][i] = h;
    }
    for (int k = 1; k < kByteStepTables; ++k) {
        for (uint32_t i = 0; i < 256; ++i) {
            const uint32_t h = tables.after[k - 1][i];
            tables.after[k][i] = tables.after[0][h & 0xFF] ^ (h >> 8);
        }
    }
    return tables;
}

constexpr ByteStepTables kTables = make_tables();
static_assert(kTables.after[0][1] == 0x77073096);
static_assert(kTables.after[0][255] == 0x2D02EF8D);

// Feeds 16 bytes.
uint32_t steps_16(uint32_t h, const unsigned char* bytes) {
    return byte_steps_of_word<8>(load_little_endian_8(bytes) ^ h) ^
           byte_steps_of_word<0>(load_little_endian_8(bytes + 8));
}

// Feeds r bytes, 1 to 7, that stand in the high end of `word`. Zero bytes in front of a run do
// nothing to h = 0, so h goes in beside the first bytes and the word is fed as if it were whole.
// Of a run shorter than h, the upper bytes of h only move down.
uint32_t steps_below_8(uint32_t h, uint64_t word, size_t r) {
    const uint64_t h_wide = h;
    return byte_steps_of_word<0>(word ^ (h_wide << (64 - 8 * r))) ^
           static_cast<uint32_t>(h_wide >> (8 * r));
}

// The r bytes before `end`, 1 to 7, in the high end of a word; at least 8 bytes stand there.
uint64_t load_last(const unsigned char* end, size_t r) {
    const size_t shift = 64 - 8 * r;
    return load_little_endian_8(end - 8) >> shift << shift;
}

// Feeds fewer than 8 bytes.
uint32_t steps_short(uint32_t h, const unsigned char* bytes, size_t n) {
    if (n == 0) return h;
    uint64_t word = 0;
    if (n >= 4) {
        uint32_t first = 0;
        uint32_t last = 0;
        std::memcpy(&first, bytes, 4);
        std::memcpy(&last, bytes + n - 4, 4);
        if constexpr (std::endian::native == std::endian::big) {
            first = __builtin_bswap32(first);
            last = __builtin_bswap32(last);
        }
        word = (uint64_t{last} << 32) | (uint64_t{first} << (64 - 8 * n));
    } else {
        // First, middle and last byte: the same one or two of them where n is 1 or 2.
        word = (uint64_t{bytes[n - 1]} << 56) | (uint64_t{bytes[n / 2]} << (64 - 8 * (n - n / 2))) |
               (uint64_t{bytes[0]} << (64 - 8 * n));
    }
    return steps_below_8(h, word, n);
}

// Feeds the last n bytes of a run, fewer than 16; the run has 8 or more.
uint32_t steps_last(uint32_t h, const unsigned char* bytes, size_t n) {
    const unsigned char* const end = bytes + n;
    if (n >= 8) {
        h = byte_steps_8(h, bytes);
        n -= 8;
    }
    return n == 0 ? h : steps_below_8(h, load_last(end, n), n);
}

#if defined(QXUT_CARRYLESS_MULTIPLICATION)

// Folding. Take 16 bytes as a polynomial over GF(2), the low bit of the first byte its highest
// coefficient. What they do, n bits ahead of the end, is their product with x^n modulo P; so a
// block A may be replaced by (A * x^d mod P) exclusive-or'ed into the block d bits further on. The
// product of two 64-bit halves comes out one place short in this bit order, hence n - 1.
constexpr uint64_t fold_factor(int n) {
    uint32_t remainder = 0x80000000;  // x^0
    for (int i = 0; i < n - 1; ++i) remainder = shift_right_once(remainder);
    return uint64_t{remainder} << 32;
}

#define QXUT_TARGET_CARRYLESS __attribute__((target("pclmul,sse4.1")))

QXUT_TARGET_CARRYLESS inline __m128i load_block(const unsigned char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Moves a block Bits ahead and adds it to the block that stands there.
template <int Bits>
QXUT_TARGET_CARRYLESS inline __m128i fold(__m128i block, __m128i onto) {
    const __m128i factors = _mm_set_epi64x(static_cast<int64_t>(fold_factor(Bits)),
                                           static_cast<int64_t>(fold_factor(Bits + 64)));
    const __m128i first = _mm_clmulepi64_si128(block, factors, 0x00);
    const __m128i second = _mm_clmulepi64_si128(block, factors, 0x11);
    return _mm_xor_si128(_mm_xor_si128(first, second), onto);
}

constexpr size_t kLeastFolded = 64;

// Feeds kLeastFolded bytes or more: four blocks side by side, then one, whose 16 bytes stand for
// all before them and go through the tables with what is left.
QXUT_TARGET_CARRYLESS uint32_t steps_by_folding(uint32_t h, const unsigned char* bytes, size_t n) {
    __m128i a = _mm_xor_si128(load_block(bytes), _mm_cvtsi32_si128(static_cast<int32_t>(h)));
    __m128i b = load_block(bytes + 16);
    __m128i c = load_block(bytes + 32);
    __m128i d = load_block(bytes + 48);
    bytes += 64;
    n -= 64;
    for (; n >= 64; n -= 64, bytes += 64) {
        a = fold<512>(a, load_block(bytes));
        b = fold<512>(b, load_block(bytes + 16));
        c = fold<512>(c, load_block(bytes + 32));
        d = fold<512>(d, load_block(bytes + 48));
    }
    __m128i block = fold<128>(fold<128>(fold<128>(a, b), c), d);
    for (; n >= 16; n -= 16, bytes += 16) block = fold<128>(block, load_block(bytes));

    unsigned char last[16];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(last), block);
    return steps_last(steps_16(0, last), bytes, n);
}

// Asked of the processor on first use, by whichever thread comes first: all find the same.
bool has_carryless_multiplication() {
    enum : int { unknown, absent, present };
    static constinit std::atomic<int> state{unknown};
    int known = state.load(std::memory_order_relaxed);
    if (known == unknown) [[unlikely]] {
        __builtin_cpu_init();
        known =
            __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1") ? present : absent;
        state.store(known, std::memory_order_relaxed);
    }
    return known == present;
}

#endif

}  // namespace

constexpr ByteStepTables byte_step_tables = kTables;

uint32_t byte_steps_plain(uint32_t h, const unsigned char* bytes, size_t n) {
    for (size_t i = 0; i < n; ++i) h = byte_step(h, bytes[i]);
    return h;
}

uint32_t byte_steps_by_table(uint32_t h, const unsigned char* bytes, size_t n) {
    if (n < 8) return steps_short(h, bytes, n);
    for (; n >= 16; n -= 16, bytes += 16) h = steps_16(h, bytes);
    return steps_last(h, bytes, n);
}

uint32_t byte_steps(uint32_t h, const unsigned char* bytes, size_t n) {
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    if (n >= kLeastFolded && has_carryless_multiplication()) return steps_by_folding(h, bytes, n);
#endif
    return byte_steps_by_table(h, bytes, n);
}

}  // namespace qxut
