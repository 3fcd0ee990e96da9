// ghash_walk.cpp - walks over the entries of a generic hash table.
//
// The plain walk goes through buckets and chains in order. The sorted walk goes through the keys
// that ghash_sorted.cpp laid out and looks each one up. Entry points: ut_ghash_iterate,
// ut_ghash_apply. Tested by tests/util/ghash_test.cpp.

#include "util/ghash_core.h"

namespace qxut {
namespace {

ut_ghash_node* step(const ut_ghash_table& table, ut_ghash_cursor& cursor) {
    ut_ghash_node* node = cursor.node != nullptr ? cursor.node->next : nullptr;
    while (node == nullptr && cursor.position < table.num_buckets) {
        if (++cursor.position < table.num_buckets) node = table.buckets[cursor.position];
    }
    return node;
}

ut_ghash_node* step_sorted(const ut_ghash_table& table, ut_ghash_cursor& cursor) {
    ut_ghash_node* node = nullptr;
    while (node == nullptr && cursor.position < table.sorted_count) {
        const auto* keys = static_cast<const unsigned char*>(table.sorted_keys);
        const auto index = static_cast<size_t>(cursor.position++);
        node = find_place(table, keys + index * table.key_size).node;
    }
    return node;
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_ghash_cursor_init(const ut_ghash_table* /*table*/, ut_ghash_cursor* cursor) {
    *cursor = {-1, nullptr, 0, 0};
}

bool ut_ghash_iterate(const ut_ghash_table* table, ut_ghash_cursor* cursor, void** out_key,
                      void** out_data) {
    ut_ghash_node* const node =
        cursor->sorted != 0 ? step_sorted(*table, *cursor) : step(*table, *cursor);
    cursor->node = node;
    if (out_key != nullptr) *out_key = node != nullptr ? stored_key(node) : nullptr;
    if (out_data != nullptr) *out_data = node != nullptr ? stored_data(*table, node) : nullptr;
    return node != nullptr;
}

int32_t ut_ghash_apply(ut_ghash_table* table, void* argument, ut_ghash_apply_fcn fn) {
    const bool finished = for_each_node(*table, [&](ut_ghash_node* node) {
        return fn(table, argument, stored_key(node), stored_data(*table, node)) != 0;
    });
    return finished ? 1 : 0;
}

void* ut_ghash_query_by_data(const ut_ghash_table* table, const void* data) {
    void* found = nullptr;
    for_each_node(*table, [&](ut_ghash_node* node) {
        if (std::memcmp(stored_data(*table, node), data, table->data_size) != 0) return true;
        found = stored_key(node);
        return false;
    });
    return found;
}
