// number_pool.cpp - taking and releasing the blocks of big integers, see number_pool.h.
//
// Tested by tests/util/fpc_context_test.cpp.
#include "util/number_pool.h"

#include <bit>
#include <functional>
#include <new>

namespace qxut::number {
namespace {

bool is_in_pool(const ut_fpc_context& context, const void* block) {
    const std::less<> before;
    const void* const begin = context.private_pool;
    const void* const end = context.private_pool + UT_FPC_POOL_SIZE;
    return !before(block, begin) && before(block, end);
}

// The next part of the private pool, or null when the rest is too small.
void* cut_from_pool(ut_fpc_context& context, size_t bytes) {
    const size_t doubles = bytes / sizeof(double);
    const auto used = static_cast<size_t>(context.pool_cursor - context.private_pool);
    if (used + doubles > UT_FPC_POOL_SIZE) return nullptr;
    double* const block = context.pool_cursor;
    context.pool_cursor += doubles;
    return block;
}

}  // namespace

uint32_t size_class_for(size_t words) {
    return words <= 1 ? 0 : static_cast<uint32_t>(std::bit_width(words - 1));
}

BigInteger* take_block(ut_fpc_context& context, uint32_t size_class) {
    void* storage = nullptr;
    if (size_class < kRecycledClasses) {
        storage = context.free_lists[size_class];
        if (storage != nullptr)
            context.free_lists[size_class] = static_cast<BigInteger*>(storage)->next;
        else
            storage = cut_from_pool(context, block_size(size_class));
    }
    if (storage == nullptr) storage = ut_mem_alloc(context.memory_context, block_size(size_class));
    return new (storage) BigInteger{nullptr, size_class, 0};
}

void release_block(ut_fpc_context& context, BigInteger* block) {
    if (block->size_class >= kRecycledClasses) {
        ut_mem_free(context.memory_context, block);
        return;
    }
    void*& list = context.free_lists[block->size_class];
    block->next = static_cast<BigInteger*>(list);
    list = block;
}

void free_released_blocks(const ut_fpc_context& context) {
    for (void* const list : context.free_lists) {
        for (auto* block = static_cast<BigInteger*>(list); block != nullptr;) {
            BigInteger* const next = block->next;
            if (!is_in_pool(context, block)) ut_mem_free(context.memory_context, block);
            block = next;
        }
    }
}

}  // namespace qxut::number
