// namehash.cpp - interned names: a table of text pointers over a pool of characters.
//
// A block of the pool is one allocation: the record, then characters. Names are carved from the
// newest block only; what a block has left when the next one is made is given up. The pool copy is
// the table's key copy, so a name gets its place in the pool only when it is new.
// Tested by tests/util/namehash_test.cpp.
#include <qxut/util/namehash.h>

#include <cstring>
#include <limits>

#include <qxut/util/error.h>
#include <qxut/util/hash_keys.h>
#include <qxut/util/heap.h>

#include "util/cleanup_guard.h"
#include "util/symbol_table.h"

namespace qxut {
namespace {

constexpr size_t kBlockHeader = sizeof(ut_namehash_block);
static_assert(kBlockHeader == 24);
constexpr float kLowerLoad = 0.25F;
constexpr float kUpperLoad = 1.0F;

// Adds a block for a name of `size` bytes in front of the pool.
void add_block(ut_namehash& namehash, size_t size) {
    size_t block_size = UT_NAMEHASH_BLOCK_SIZE;
    if (size >= UT_NAMEHASH_BLOCK_SIZE - kBlockHeader) {
        if (size > std::numeric_limits<size_t>::max() - block_size) {
            ut_error(namehash.pool_ctx->error_context, UT_OUT_OF_MEMORY);
        }
        block_size += size;
    }
    auto* const bytes = static_cast<char*>(ut_mem_alloc(namehash.pool_ctx, block_size));
    auto* const block = reinterpret_cast<ut_namehash_block*>(bytes);
    *block = {namehash.pool_blocks, bytes + kBlockHeader, bytes + block_size};
    namehash.pool_blocks = block;
}

const char* copy_to_pool(ut_namehash& namehash, const char* name) {
    const size_t size = std::strlen(name) + 1;
    const ut_namehash_block* newest = namehash.pool_blocks;
    if (newest == nullptr || static_cast<size_t>(newest->end - newest->free_position) <= size) {
        add_block(namehash, size);
    }
    char*& free_position = namehash.pool_blocks->free_position;
    const char* const copy = static_cast<char*>(std::memcpy(free_position, name, size));
    free_position += size;
    return copy;
}

// The table's key copy; the slots hold text pointers.
void copy_name(uintptr_t record, void* destination, const void* slot) {
    auto& namehash = *reinterpret_cast<ut_namehash*>(record);
    const char* name = nullptr;
    std::memcpy(&name, slot, sizeof name);
    if (namehash.copy_names != 0) name = copy_to_pool(namehash, name);
    std::memcpy(destination, &name, sizeof name);
}

// The canonical pointer and whether it was there before.
struct Interned {
    const char* name;
    bool existed;
};

Interned intern(ut_namehash& namehash, const char* name, bool copy) {
    namehash.copy_names = copy ? 1 : 0;
    const char* canonical = nullptr;
    const bool existed = ut_ghash_uniquify(&namehash.table, &name, &canonical);
    return {canonical, existed};
}

void free_pool(ut_namehash& namehash) {
    while (namehash.pool_blocks != nullptr) {
        ut_namehash_block* const newest = namehash.pool_blocks;
        namehash.pool_blocks = newest->previous;
        ut_mem_free(namehash.pool_ctx, newest);
    }
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_initialize_namehash(ut_namehash* namehash, _memory_context* mem_ctx, int32_t initial_size) {
    constexpr uint32_t kSlot = sizeof(const char*);
    namehash->pool_ctx = mem_ctx;
    namehash->pool_blocks = nullptr;
    namehash->copy_names = 0;
    ut_initialize_ghash_table(&namehash->table, mem_ctx, ut_ghash_string_key,
                              ut_ghash_compare_string_keys, copy_name, nullptr, nullptr, nullptr,
                              kSlot, 0, 0, kSlot, reinterpret_cast<uintptr_t>(namehash),
                              initial_size, kLowerLoad, kUpperLoad);
}

ut_namehash* ut_new_namehash(_memory_context* mem_ctx, int32_t initial_size) {
    auto* namehash = static_cast<ut_namehash*>(ut_mem_alloc(mem_ctx, sizeof(ut_namehash)));
    CleanupGuard guard(mem_ctx->error_context, &namehash, mem_ctx, free_through);
    ut_initialize_namehash(namehash, mem_ctx, initial_size);
    guard.release();
    return namehash;
}

void ut_clear_namehash(ut_namehash* namehash) {
    forget_symbol_table(namehash);
    free_pool(*namehash);
    ut_clear_ghash_table(&namehash->table);
}

void ut_delete_namehash(ut_namehash* namehash) {
    if (namehash == nullptr) return;
    _memory_context* const memory = namehash->pool_ctx;
    ut_clear_namehash(namehash);
    ut_mem_free(memory, namehash);
}

const char* ut_namehash_add(ut_namehash* namehash, const char* name) {
    return intern(*namehash, name, true).name;
}

const char* ut_namehash_add_with_length(ut_namehash* namehash, const char* characters,
                                        size_t length) {
    if (length == std::numeric_limits<size_t>::max()) {
        ut_error(namehash->pool_ctx->error_context, UT_OUT_OF_MEMORY);
    }
    auto* name = static_cast<char*>(utMallocWithCheck(length + 1));
    // The destructor frees it in every case that is not a raise.
    const CleanupGuard guard(namehash->pool_ctx->error_context, &name, nullptr,
                             [](void*, void* block) { utFree(block); });
    if (length != 0) std::memcpy(name, characters, length);
    name[length] = '\0';
    return ut_namehash_add(namehash, name);
}

const char* ut_namehash_add_string(ut_namehash* namehash, const char* name) {
    const Interned interned = intern(*namehash, name, false);
    return interned.existed ? interned.name : nullptr;
}

const char* ut_namehash_insert_string(ut_namehash* namehash, const char* name) {
    return intern(*namehash, name, false).name;
}

const char* ut_namehash_lookup(const ut_namehash* namehash, const char* name) {
    const char* canonical = nullptr;
    ut_ghash_query(&namehash->table, &name, &canonical);
    return canonical;
}

bool ut_namehash_iterate(const ut_namehash* namehash, ut_ghash_cursor* cursor,
                         const char** out_name) {
    void* slot = nullptr;
    const bool produced = ut_ghash_iterate(&namehash->table, cursor, &slot, nullptr);
    *out_name = nullptr;
    if (produced) std::memcpy(out_name, slot, sizeof *out_name);
    return produced;
}
