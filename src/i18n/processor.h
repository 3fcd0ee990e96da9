// processor.h - whether the processor has the vector instructions that the fast paths use.
//
// They are those up to SSE 4.1, found in every x86-64 processor of the last fifteen years; other
// processors take the plain paths. The question is asked when first needed, not while loading.
#ifndef QXUT_SRC_I18N_PROCESSOR_H
#define QXUT_SRC_I18N_PROCESSOR_H

#if defined(__x86_64__) && defined(__GNUC__)
#define QXUT_I18N_VECTORS 1

#include <atomic>

// For functions that are called only where has_vectors() is true.
#define QXUT_TARGET_VECTORS __attribute__((target("sse4.1,popcnt")))

namespace qxut {

enum class Vectors : int { unknown, absent, present };
inline constinit std::atomic<Vectors> vectors_known = Vectors::unknown;

// Whichever thread asks first: all find the same.
inline bool has_vectors() {
    Vectors known = vectors_known.load(std::memory_order_relaxed);
    if (known == Vectors::unknown) [[unlikely]] {
        __builtin_cpu_init();
        known = __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("popcnt")
                    ? Vectors::present
                    : Vectors::absent;
        vectors_known.store(known, std::memory_order_relaxed);
    }
    return known == Vectors::present;
}

}  // namespace qxut

#endif

#endif
