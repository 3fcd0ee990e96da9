// ghash_sorted.cpp - the keys of a generic hash table laid out for a sorted walk.
//
// The keys are copied as they are stored, without their copy callback, and sorted; the walk looks
// each copy up, so that it finds the stored key and its data. The scratch block has its new size
// before anything else happens; until the keys are sorted it counts as empty. Tested by
// tests/util/ghash_test.cpp.
#include <bit>
#include <limits>

#include <qxut/util/error.h>

#include "util/ghash_core.h"

namespace qxut {
namespace {

size_t bytes_of_keys(const ut_ghash_table& table) {
    const auto count = static_cast<uint64_t>(table.count);
    if (count != 0 && table.key_size > std::numeric_limits<size_t>::max() / count) {
        ut_error(table.mem_ctx->error_context, UT_OUT_OF_MEMORY);
    }
    return static_cast<size_t>(count * table.key_size);
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_ghash_sorted_cursor_init(ut_ghash_table* table, ut_ghash_cursor* cursor,
                                 ut_compare_fcn compare, void* compare_ctx) {
    const size_t bytes = bytes_of_keys(*table);
    table->sorted_keys = ut_mem_realloc(table->mem_ctx, table->sorted_keys, bytes);
    table->sorted_count = 0;  // until the keys are sorted, which may raise

    uint64_t stamp = 0;
    auto* slot = static_cast<unsigned char*>(table->sorted_keys);
    for_each_node(*table, [&](ut_ghash_node* node) {
        const void* const key = stored_key(node);
        if (table->key_size != 0) {
            std::memcpy(slot, key, table->key_size);
            slot += table->key_size;
        }
        stamp = std::rotl(stamp, 1) ^ reinterpret_cast<uintptr_t>(key);
        return true;
    });
    if (table->key_size != 0) {
        ut_qsort(table->sorted_keys, static_cast<uint32_t>(table->count), table->key_size,
                 compare_ctx, compare);
    }
    table->sorted_count = table->count;
    table->sorted_stamp = stamp;
    *cursor = {0, nullptr, 1, static_cast<uint32_t>(stamp)};
}
