// carryless.cpp - the question to the processor; see carryless.h.
//
// Tested by tests/util/byte_step_test.cpp.
#include "util/carryless.h"

namespace qxut {

constinit std::atomic<Carryless> carryless{Carryless::unknown};

Carryless detect_carryless() {
    Carryless found = Carryless::none;
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1")) {
        found = Carryless::one_block;
        if (__builtin_cpu_supports("vpclmulqdq") && __builtin_cpu_supports("avx2")) {
            found = Carryless::two_blocks;
            if (__builtin_cpu_supports("avx512f")) found = Carryless::four_blocks;
        }
    }
#endif
    carryless.store(found, std::memory_order_relaxed);
    return found;
}

const char* carryless_name(Carryless width) {
    switch (width) {
        case Carryless::one_block:
            return "PCLMULQDQ, 16 bytes wide";
        case Carryless::two_blocks:
            return "VPCLMULQDQ with AVX2, 32 bytes wide";
        case Carryless::four_blocks:
            return "VPCLMULQDQ with AVX-512, 64 bytes wide";
        case Carryless::unknown:
        case Carryless::none:
            break;
    }
    return "tables, 16 bytes a step";
}

}  // namespace qxut
