// crc.cpp - CRC-32: the byte step on a register that is inverted before and after.
//
// The step, its table and its fast forms are byte_step.h's. Tested by tests/util/crc_test.cpp.
#include <qxut/util/crc.h>

#include <cstring>

#include <qxut/util/crc_initializer.hpp>

#include "util/byte_step.h"

namespace {

const unsigned char* as_bytes(const void* bytes) {
    return static_cast<const unsigned char*>(bytes);
}

}  // namespace

constinit crc_initializer crc_i;

bool init_crc_i() { return true; }

uint32_t ut_crc_update(uint32_t crc, const void* bytes, uint32_t n) {
    return ~qxut::byte_steps(~crc, as_bytes(bytes), n);
}

uint32_t ut_crc_string_array(uint32_t crc, const char* const* texts) {
    if (texts == nullptr || *texts == nullptr) return 0;
    uint32_t h = ~crc;
    for (; *texts != nullptr; ++texts) {
        h = qxut::byte_steps(h, as_bytes(*texts), std::strlen(*texts));
    }
    return ~h;
}
