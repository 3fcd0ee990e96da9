// wide_registers.h - what the forms with 64-byte registers share; see processor.h.
#ifndef QXUT_SRC_I18N_WIDE_REGISTERS_H
#define QXUT_SRC_I18N_WIDE_REGISTERS_H

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "i18n/processor.h"

// g++ 12 takes the operand that its own header leaves undefined for a mistake.
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace qxut {

// Where a constant is: in a loop, in a register, as the compiler would make it anew wherever it is
// used, which costs two instructions each time; elsewhere, where many are not used, as it likes.
enum class Constant { anywhere, in_register };

template <Constant kWhere>
struct Every {
    QXUT_TARGET_WIDE_VECTORS static __m512i value(__m512i constant) {
        if constexpr (kWhere == Constant::in_register) asm("" : "+v"(constant));
        return constant;
    }
    QXUT_TARGET_WIDE_VECTORS static __m512i byte(int byte) {
        return value(_mm512_set1_epi8(static_cast<char>(byte)));
    }
    QXUT_TARGET_WIDE_VECTORS static __m512i unit(int unit) {
        return value(_mm512_set1_epi16(static_cast<short>(unit)));
    }
    QXUT_TARGET_WIDE_VECTORS static __m512i lane(uint32_t lane) {
        return value(_mm512_set1_epi32(static_cast<int>(lane)));
    }
};

// All bits for 64 and more.
QXUT_TARGET_WIDE_VECTORS inline uint64_t lowest_bits(size_t count) {
    return _bzhi_u64(~uint64_t{0}, static_cast<uint32_t>(count));
}

}  // namespace qxut

#endif
