// byte_step.cpp - the byte step by tables, and the choice between tables and folding.
//
// Entry point: byte_steps. Tested by tests/util/byte_step_test.cpp.
#include "util/byte_step.h"

#include "util/byte_step_wide.h"

namespace qxut {
namespace {

constexpr ByteStepTables make_tables() {
    ByteStepTables tables{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t h = i;
        for (int bit = 0; bit < 8; ++bit) h = bit_step(h);
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

// Feeds fewer than 8 bytes, which stand in the high end of `word`. Zero bytes in front of a run do
// nothing to h = 0, so h goes in beside the first bytes and the word is fed as if it were whole.
// Where the run is shorter than h, the upper bytes of h only move down.
uint32_t steps_below_8(uint32_t h, uint64_t word, size_t n) {
    const uint64_t h_wide = h;
    return byte_steps_of_word<0>(word ^ (h_wide << (64 - 8 * n))) ^
           static_cast<uint32_t>(h_wide >> (8 * n));
}

// Feeds 16 bytes.
uint32_t steps_16(uint32_t h, const unsigned char* bytes) {
    return byte_steps_of_word<8>(load_little_endian_8(bytes) ^ h) ^
           byte_steps_of_word<0>(load_little_endian_8(bytes + 8));
}

}  // namespace

constexpr ByteStepTables byte_step_tables = kTables;

uint32_t byte_steps_plain(uint32_t h, const unsigned char* bytes, size_t n) {
    for (size_t i = 0; i < n; ++i) h = byte_step(h, bytes[i]);
    return h;
}

uint32_t byte_steps_by_table(uint32_t h, const unsigned char* bytes, size_t n) {
    for (; n >= 16; n -= 16, bytes += 16) h = steps_16(h, bytes);
    if (n >= 8) {
        h = byte_steps_8(h, bytes);
        n -= 8;
        bytes += 8;
    }
    return n == 0 ? h : steps_below_8(h, load_short(bytes, n), n);
}

uint32_t byte_steps(uint32_t h, const unsigned char* bytes, size_t n) {
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    const Carryless width = carryless_width();
    if (n >= kLeastForWide) {
        if (width == Carryless::four_blocks) return byte_steps_by_folding_4(h, bytes, n);
        if (width == Carryless::two_blocks) return byte_steps_by_folding_2(h, bytes, n);
    }
    if (width >= Carryless::one_block) return byte_steps_by_folding(h, bytes, n);
#endif
    return byte_steps_by_table(h, bytes, n);
}

}  // namespace qxut
