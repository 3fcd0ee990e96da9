// byte_step.h - the step h = T[(b ^ h) & 0xFF] ^ (h >> 8) over runs of bytes.
//
// T is the reflected CRC-32 table, polynomial 0xEDB88320. Byte hashes and checksums differ in
// what they start from and whether they invert; both run this.
//
// The step is linear over exclusive-or: what a run of bytes does to h is the exclusive-or of what
// each byte does alone, and zero bytes do nothing to h = 0. The fast forms rest on that: table k of
// the step tables tells what a byte does that k more bytes follow, so that eight or sixteen bytes
// take independent look-ups instead of a chain of them; and where the processor multiplies
// polynomials, runs are folded (byte_step_folding.h, byte_step_wide.h; carryless.h asks which).
//
// byte_steps_plain is the definition; the others give the same values. Constant data only:
// everything works before any constructor ran. Tested by tests/util/byte_step_test.cpp.
#ifndef QXUT_SRC_UTIL_BYTE_STEP_H
#define QXUT_SRC_UTIL_BYTE_STEP_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qxut {

inline constexpr uint32_t kByteStepPolynomial = 0xEDB88320;

// One of the eight bits of a byte step: multiplies by x, the high bit being the coefficient of x^0.
constexpr uint32_t bit_step(uint32_t h) {
    return (h >> 1) ^ ((h & 1) != 0 ? kByteStepPolynomial : 0);
}

inline constexpr int kByteStepTables = 16;

struct ByteStepTables {
    uint32_t after[kByteStepTables][256];  // [k]: the byte is followed by k more
};

extern const ByteStepTables byte_step_tables;

inline uint32_t byte_step(uint32_t h, unsigned char byte) {
    return byte_step_tables.after[0][(byte ^ h) & 0xFF] ^ (h >> 8);
}

// Feeds n bytes.
uint32_t byte_steps(uint32_t h, const unsigned char* bytes, size_t n);

// The same, one byte at a time; the same, by tables on every processor.
uint32_t byte_steps_plain(uint32_t h, const unsigned char* bytes, size_t n);
uint32_t byte_steps_by_table(uint32_t h, const unsigned char* bytes, size_t n);

// The first of the eight bytes ends up in the low bits.
inline uint64_t load_little_endian_8(const void* bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
}

// Fewer than eight bytes, moved to the high end of a word; zero bytes come before them.
inline uint64_t load_short(const unsigned char* bytes, size_t n) {
    if (n >= 4) {
        uint32_t first = 0;
        uint32_t last = 0;
        std::memcpy(&first, bytes, 4);
        std::memcpy(&last, bytes + n - 4, 4);
        if constexpr (std::endian::native == std::endian::big) {
            first = __builtin_bswap32(first);
            last = __builtin_bswap32(last);
        }
        return (uint64_t{last} << 32) | (uint64_t{first} << (64 - 8 * n));
    }
    if (n == 0) return 0;
    // First, middle and last byte: the same one or two of them where n is 1 or 2.
    return (uint64_t{bytes[n - 1]} << 56) | (uint64_t{bytes[n / 2]} << (64 - 8 * (n - n / 2))) |
           (uint64_t{bytes[0]} << (64 - 8 * n));
}

// What eight bytes followed by `Behind` more make of h = 0; the first byte in the low bits.
template <int Behind>
inline uint32_t byte_steps_of_word(uint64_t word) {
    const auto& after = byte_step_tables.after;
    const auto byte = [word](int i) { return (word >> (8 * i)) & 0xFF; };
    // As a tree: the look-ups run side by side, and so do the exclusive-ors.
    return ((after[Behind + 7][byte(0)] ^ after[Behind + 6][byte(1)]) ^
            (after[Behind + 5][byte(2)] ^ after[Behind + 4][byte(3)])) ^
           ((after[Behind + 3][byte(4)] ^ after[Behind + 2][byte(5)]) ^
            (after[Behind + 1][byte(6)] ^ after[Behind][byte(7)]));
}

// Feeds eight bytes by table.
inline uint32_t byte_steps_8(uint32_t h, const void* bytes) {
    return byte_steps_of_word<0>(load_little_endian_8(bytes) ^ h);
}

}  // namespace qxut

#endif
