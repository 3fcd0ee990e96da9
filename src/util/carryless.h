// carryless.h - how wide the processor multiplies polynomials over GF(2) (carry-less).
//
// Asked of the processor on first use, by whichever thread comes first: all find the same. No
// constructor is needed, and nothing keeps the library from being unloaded.
#ifndef QXUT_SRC_UTIL_CARRYLESS_H
#define QXUT_SRC_UTIL_CARRYLESS_H

// QXUT_WITHOUT_CARRYLESS_MULTIPLICATION builds the library as for other processors.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(QXUT_WITHOUT_CARRYLESS_MULTIPLICATION)
#define QXUT_CARRYLESS_MULTIPLICATION 1
#endif

#include <atomic>

namespace qxut {

// Blocks of 16 bytes that one instruction multiplies. Each width has the ones before it, too.
enum class Carryless : int { unknown, none, one_block, two_blocks, four_blocks };

extern std::atomic<Carryless> carryless;

// Asks the processor, and keeps the answer.
Carryless detect_carryless();

inline Carryless carryless_width() {
    const Carryless known = carryless.load(std::memory_order_relaxed);
    if (known == Carryless::unknown) [[unlikely]]
        return detect_carryless();
    return known;
}

inline bool has_carryless_multiplication() { return carryless_width() >= Carryless::one_block; }

// For people: what serves long runs of byte steps at this width.
const char* carryless_name(Carryless width);

}  // namespace qxut

#endif
