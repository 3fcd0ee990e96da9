// byte_step_wide.h - folding with registers of two and of four blocks.
//
// Newer processors multiply every 16-byte block of a wide register at once. The mathematics is that
// of byte_step_folding.h; here it only brings a run down to one block and the few bytes behind it,
// which the narrow form ends. Tested by tests/util/byte_step_test.cpp.
#ifndef QXUT_SRC_UTIL_BYTE_STEP_WIDE_H
#define QXUT_SRC_UTIL_BYTE_STEP_WIDE_H

#include "util/byte_step_folding.h"

#if defined(QXUT_CARRYLESS_MULTIPLICATION)

// For functions that are called only where carryless_width() is at least two, four blocks.
#define QXUT_TARGET_CARRYLESS_2 __attribute__((target("avx2,pclmul,vpclmulqdq")))
#define QXUT_TARGET_CARRYLESS_4 __attribute__((target("avx512f,pclmul,vpclmulqdq")))

namespace qxut {

// Shorter runs gain nothing, and the wide forms do not take them.
inline constexpr size_t kLeastForWide = 128;

// Feed n bytes, kLeastForWide or more.
QXUT_TARGET_CARRYLESS_2 uint32_t byte_steps_by_folding_2(uint32_t h, const unsigned char* bytes,
                                                         size_t n);
QXUT_TARGET_CARRYLESS_4 uint32_t byte_steps_by_folding_4(uint32_t h, const unsigned char* bytes,
                                                         size_t n);

}  // namespace qxut

#endif

#endif
