// byte_step.h - the step h = T[(b ^ h) & 0xFF] ^ (h >> 8) over runs of bytes.
//
// T is the reflected CRC-32 table, polynomial 0xEDB88320. Byte hashes and checksums differ in
// what they start from and whether they invert; both run this.
//
// The step is linear over exclusive-or: what a run of bytes does to h is the exclusive-or of what
// each byte does alone, and zero bytes do nothing to h = 0. The fast forms rest on that. Table k
// of the step tables tells what a byte does that k more bytes follow, so that eight or sixteen
// bytes take independent look-ups instead of a chain of them; long runs are folded by carry-less
// multiplication where the processor has it.
//
// byte_steps_plain is the definition; the others give the same values. Constant data only:
// everything works before any constructor ran. Tested by tests/util/hash_bytes_test.cpp.
#ifndef QXUT_SRC_UTIL_BYTE_STEP_H
#define QXUT_SRC_UTIL_BYTE_STEP_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qxut {

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

// What eight bytes followed by `Behind` more make of h = 0; the first byte in the low bits.
template <int Behind>
inline uint32_t byte_steps_of_word(uint64_t word) {
    const auto& after = byte_step_tables.after;
    const auto byte = [word](int i) { return (word >> (8 * i)) & 0xFF; };
    return after[Behind + 7][byte(0)] ^ after[Behind + 6][byte(1)] ^ after[Behind + 5][byte(2)] ^
           after[Behind + 4][byte(3)] ^ after[Behind + 3][byte(4)] ^ after[Behind + 2][byte(5)] ^
           after[Behind + 1][byte(6)] ^ after[Behind][byte(7)];
}

// Feeds eight bytes.
inline uint32_t byte_steps_8(uint32_t h, const void* bytes) {
    return byte_steps_of_word<0>(load_little_endian_8(bytes) ^ h);
}

}  // namespace qxut

#endif
