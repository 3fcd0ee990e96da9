// processor.h - which of the fast paths' vector instructions the processor has.
//
// Narrow are those up to SSE 4.1, 16 bytes a register, found in every x86-64 processor of the last
// fifteen years; wide are those of AVX-512 with the shuffles and compressions of bytes (VBMI2), 64
// bytes a register, of servers since 2019. Other processors take the plain paths. The question is
// asked when first needed, not while loading.
#ifndef QXUT_SRC_I18N_PROCESSOR_H
#define QXUT_SRC_I18N_PROCESSOR_H

#if defined(__x86_64__) && defined(__GNUC__)
#define QXUT_I18N_VECTORS 1

#include <atomic>

// For functions that are called only where has_vectors(), has_wide_vectors() is true.
#define QXUT_TARGET_VECTORS __attribute__((target("sse4.1,popcnt")))
#define QXUT_TARGET_WIDE_VECTORS \
    __attribute__((              \
        target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,lzcnt,popcnt")))

namespace qxut {

enum class Vectors : int { unknown, none, narrow, wide };
inline constinit std::atomic<Vectors> vectors_known = Vectors::unknown;

// Whichever thread asks first: all find the same.
inline Vectors vectors() {
    Vectors known = vectors_known.load(std::memory_order_relaxed);
    if (known == Vectors::unknown) [[unlikely]] {
        __builtin_cpu_init();
        known = Vectors::none;
        if (__builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("popcnt")) {
            known = Vectors::narrow;
            // Every processor with these has the instructions for single bits, too.
            if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2")) {
                known = Vectors::wide;
            }
        }
        vectors_known.store(known, std::memory_order_relaxed);
    }
    return known;
}
inline bool has_vectors() { return vectors() >= Vectors::narrow; }
inline bool has_wide_vectors() { return vectors() >= Vectors::wide; }

}  // namespace qxut

#endif

#endif
