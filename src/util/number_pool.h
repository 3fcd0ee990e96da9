// number_pool.h - storage of big integers: a private pool, free lists by size, the memory context.
//
// A big integer is a block of one of the size classes k = 0, 1, 2, ...; class k has room for 2^k
// words of 32 bits. A request is served by the class's free list, else by the unused rest of the
// private pool, else by the memory context; a released block goes to its class's free list. Classes
// of kRecycledClasses and above always come from the memory context and go straight back.
//
//   block  [ next | class, count | word 0 | word 1 | ... ]       the pool is cut front to back:
//             '-- links the free list through the first word     [ block | block |   unused   ]
//                                                                                '-- pool_cursor
//
// No conversion holds more than kLiveIntegers integers at a time, and none above class
// kRecycledClasses - 1. The pool has room for that many blocks of every such class, so conversions
// never reach the memory context, whatever was converted before.
#ifndef QXUT_SRC_UTIL_NUMBER_POOL_H
#define QXUT_SRC_UTIL_NUMBER_POOL_H

#include <cstddef>
#include <cstdint>

#include <qxut/util/fpc.h>

#include "util/cleanup_guard.h"

namespace qxut::number {

// An unsigned integer: words()[0 .. count), least significant first, the last one not zero.
struct BigInteger {
    BigInteger* next;  // while released
    uint32_t size_class;
    uint32_t count;

    uint32_t* words() { return reinterpret_cast<uint32_t*>(this + 1); }
    const uint32_t* words() const { return reinterpret_cast<const uint32_t*>(this + 1); }
    uint32_t capacity() const { return uint32_t{1} << size_class; }
};
static_assert(sizeof(BigInteger) == 16 && alignof(BigInteger) <= alignof(double));

inline constexpr uint32_t kRecycledClasses = UT_FPC_FREE_LISTS;
inline constexpr size_t kLiveIntegers = 2;

// Bytes of a block, a multiple of the size of a double.
constexpr size_t block_size(uint32_t size_class) {
    const size_t bytes = sizeof(BigInteger) + (sizeof(uint32_t) << size_class);
    return (bytes + sizeof(double) - 1) / sizeof(double) * sizeof(double);
}

constexpr size_t pool_bytes_needed() {
    size_t bytes = 0;
    for (uint32_t k = 0; k < kRecycledClasses; ++k) bytes += kLiveIntegers * block_size(k);
    return bytes;
}
static_assert(pool_bytes_needed() <= UT_FPC_POOL_SIZE * sizeof(double));

uint32_t size_class_for(size_t words);

// Takes a block whose integer is 0 (no words). Raises OUT_OF_MEMORY.
BigInteger* take_block(ut_fpc_context& context, uint32_t size_class);
void release_block(ut_fpc_context& context, BigInteger* block);

// Gives every block on the free lists that lies outside the private pool to the memory context.
void free_released_blocks(const ut_fpc_context& context);

// A block for the length of a scope; a raise in that scope releases it too.
class PooledInteger {
  public:
    PooledInteger(ut_fpc_context& context, size_t words)
        : block_(take_block(context, size_class_for(words))),
          guard_(context.memory_context->error_context, &block_, &context, release) {}
    PooledInteger(const PooledInteger&) = delete;
    PooledInteger& operator=(const PooledInteger&) = delete;

    BigInteger& operator*() const { return *block_; }
    BigInteger* operator->() const { return block_; }

  private:
    static void release(void* context, void* block) {
        release_block(*static_cast<ut_fpc_context*>(context), static_cast<BigInteger*>(block));
    }

    BigInteger* block_;
    CleanupGuard guard_;
};

}  // namespace qxut::number

#endif
