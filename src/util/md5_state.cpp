// md5_state.cpp - MD5 as RFC 1321 gives it: blocks of 64 bytes are compressed into four words.
//
// Entry points: add, finish. Each of the 64 steps waits for the word that the one before it made,
// so the time is that of this chain; every step is written so that only the operations that need
// that word come after it. Tested by tests/util/md5_test.cpp.
#include "util/md5_state.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace {

uint32_t load_little_endian_4(const unsigned char* bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    return word;
}

void store_little_endian_4(unsigned char* bytes, uint32_t word) {
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap32(word);
    std::memcpy(bytes, &word, sizeof word);
}

// The step's additive constants: the whole part of 2^32 * |sin(i + 1)|, i counted in radians.
constexpr uint32_t kSines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

constexpr int kRotations[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// Which word of the block each round takes at its step i: (first + i * stride) modulo 16.
constexpr size_t kFirstWord[4] = {0, 1, 5, 0};
constexpr size_t kWordStride[4] = {1, 5, 3, 7};

struct Words {
    uint32_t a, b, c, d;
};

// Step I. `w.b` is the word that the step before made.
template <int I>
[[gnu::always_inline]] inline void step(Words& w, const unsigned char* block) {
    constexpr int kRound = I / 16;
    constexpr size_t kWord = (kFirstWord[kRound] + I * kWordStride[kRound]) % 16;
    uint32_t sum = w.a + kSines[I] + load_little_endian_4(block + 4 * kWord);
    if constexpr (kRound == 0) {
        sum += w.d ^ (w.b & (w.c ^ w.d));
    } else if constexpr (kRound == 1) {
        // No bit is in both terms, so they may be added one by one, the one without b ahead.
        sum += w.c & ~w.d;
        sum += w.b & w.d;
    } else if constexpr (kRound == 2) {
        sum += w.b ^ (w.c ^ w.d);
    } else {
        sum += w.c ^ (w.b | ~w.d);
    }
    w = {w.d, w.b + std::rotl(sum, kRotations[kRound][I % 4]), w.b, w.c};
}

template <int... I>
[[gnu::always_inline]] inline void steps(Words& w, const unsigned char* block,
                                         std::integer_sequence<int, I...>) {
    (step<I>(w, block), ...);
}

}  // namespace

ut_md5ChecksumState::~ut_md5ChecksumState() = default;

void ut_md5ChecksumState::clear() {
    a = 0x67452301;
    b = 0xEFCDAB89;
    c = 0x98BADCFE;
    d = 0x10325476;
    bits_low = 0;
    bits_high = 0;
}

void ut_md5ChecksumState::count(uint64_t n) {
    const auto low = static_cast<uint32_t>(n << 3);
    bits_low += low;
    bits_high += static_cast<uint32_t>(n >> 29) + (bits_low < low ? 1 : 0);
}

void ut_md5ChecksumState::compress(const unsigned char* blocks, uint64_t count) {
    Words w{a, b, c, d};
    for (; count != 0; --count, blocks += kBlock) {
        const Words before = w;
        steps(w, blocks, std::make_integer_sequence<int, 64>());
        w = {w.a + before.a, w.b + before.b, w.c + before.c, w.d + before.d};
    }
    a = w.a;
    b = w.b;
    c = w.c;
    d = w.d;
}

void ut_md5ChecksumState::add(const unsigned char* bytes, uint64_t n) {
    if (n == 0) return;
    const size_t held = buffered();
    count(n);
    if (held != 0) {
        const size_t taken = static_cast<size_t>(std::min<uint64_t>(n, kBlock - held));
        std::memcpy(block + held, bytes, taken);
        if (held + taken < kBlock) return;
        compress(block, 1);
        bytes += taken;
        n -= taken;
    }
    compress(bytes, n / kBlock);
    bytes += n / kBlock * kBlock;
    std::memcpy(block, bytes, static_cast<size_t>(n % kBlock));
}

ut_md5ChecksumValue ut_md5ChecksumState::finish() {
    size_t held = buffered();
    block[held++] = 0x80;
    if (held > kLengthAt) {
        std::memset(block + held, 0, kBlock - held);
        compress(block, 1);
        held = 0;
    }
    std::memset(block + held, 0, kLengthAt - held);
    store_little_endian_4(block + kLengthAt, bits_low);
    store_little_endian_4(block + kLengthAt + 4, bits_high);
    compress(block, 1);

    ut_md5ChecksumValue value;
    store_little_endian_4(value.bytes, a);
    store_little_endian_4(value.bytes + 4, b);
    store_little_endian_4(value.bytes + 8, c);
    store_little_endian_4(value.bytes + 12, d);
    clear();
    return value;
}
