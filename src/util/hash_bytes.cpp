// hash_bytes.cpp - the byte hash of numbers and texts, over the byte step.
//
// Tested by tests/util/hash_bytes_test.cpp.
#include <qxut/util/hash_bytes.h>

#include <bit>
#include <cstring>

#include "util/ascii_case.h"
#include "util/byte_step_folding.h"

using qxut::byte_step;
using qxut::byte_steps;

namespace {

const unsigned char* as_bytes(const void* bytes) {
    return static_cast<const unsigned char*>(bytes);
}

}  // namespace

uint32_t ut_hash_byte(uint32_t seed, unsigned char byte) { return byte_step(seed, byte); }

uint32_t ut_hash_n_bytes(uint32_t seed, size_t n, const void* bytes) {
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    // Words are the commonest keys.
    if (n == 8 && qxut::has_carryless_multiplication()) {
        return qxut::remainder_of_word(qxut::load_little_endian_8(bytes) ^ seed);
    }
#endif
    return byte_steps(seed, as_bytes(bytes), n);
}

uint32_t ut_hash_uint(uint32_t seed, uint32_t value) {
    uint32_t h = seed;
    do {
        h = byte_step(h, static_cast<unsigned char>(value & 0xFF));
        value >>= 8;
    } while (value != 0);
    return h;
}

uint32_t ut_hash_int(uint32_t seed, int32_t value) {
    return ut_hash_uint(seed, static_cast<uint32_t>(value));
}

uint32_t ut_hash_pointer(uint32_t seed, const void* value) {
    return ut_hash_uint(seed, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(value)));
}

uint32_t ut_hash_float(uint32_t seed, float value) {
    return ut_hash_uint(seed, std::bit_cast<uint32_t>(value));
}

uint32_t ut_hash_double(uint32_t seed, double value) {
    const auto bits = std::bit_cast<uint64_t>(value);
    return ut_hash_uint(ut_hash_uint(seed, static_cast<uint32_t>(bits)),
                        static_cast<uint32_t>(bits >> 32));
}

uint32_t ut_hash_string(uint32_t seed, const char* text) {
    return byte_steps(seed, as_bytes(text), std::strlen(text) + 1);
}

uint32_t ut_hash_reverse_string(uint32_t seed, const char* text) {
    uint32_t h = seed;
    for (size_t i = std::strlen(text); i > 0; --i) h = byte_step(h, as_bytes(text)[i - 1]);
    return byte_step(h, 0);
}

uint32_t ut_hash_lower_string(uint32_t seed, const char* text) {
    uint32_t h = seed;
    const unsigned char* bytes = as_bytes(text);
    for (; *bytes != 0; ++bytes) h = byte_step(h, qxut::ascii_lower(*bytes));
    return byte_step(h, 0);
}

uint32_t ut_hash_stringi(uint32_t seed, const char* text) {
    return ut_hash_lower_string(seed, text);
}
