// ihash.cpp - life of an indexed hash table, and taking entries out of it.
//
// Entries go one by one, out of table and arrays together, whatever the callbacks on the way
// raise; where nothing is to be called, all at once. Entry points: ut_initialize_ihash_table,
// ut_ihash_empty, ut_clear_ihash_table, drop_entry. Tested by tests/util/ihash_test.cpp.
#include <qxut/util/ihash.h>

#include <qxut/util/error.h>

#include "util/cleanup_guard.h"
#include "util/ihash_core.h"

namespace qxut {
namespace {

// The data array's callbacks: the array belongs to the table, which holds the caller's.
void copy_data(ut_array* array, void* destination, const void* source) {
    const auto& table = *static_cast<_ihash_table*>(array->user_data);
    table.copy_data_fn(table.hash.user_data, destination, source);
}

void delete_data(ut_array* array, void* element) {
    const auto& table = *static_cast<_ihash_table*>(array->user_data);
    table.delete_data_fn(table.hash.user_data, element);
}

// Moves the last entry to the index of one that is going.
void close_hole(void* hole, void* owner) {
    auto& table = *static_cast<_ihash_table*>(owner);
    const uint64_t index = *static_cast<const uint64_t*>(hole);
    const uint64_t last = table.keys->length - 1;
    if (index != last) {
        unsigned char* const moved = key_at(table, last);
        static_cast<unsigned char**>(table.keys->data)[index] = moved;
        set_index(table, node_of(moved), index);
        if (table.data != nullptr) {
            copy_element(table.data->elem_size, data_at(table, index), data_at(table, last));
        }
    }
    table.keys->length = last;
    if (table.data != nullptr) table.data->length = last;
}

void delete_data_at(void* hole, void* owner) {
    auto& table = *static_cast<_ihash_table*>(owner);
    table.data->delete_fn(table.data, data_at(table, *static_cast<const uint64_t*>(hole)));
}

bool deletes_data(const _ihash_table& table) {
    return table.data != nullptr && !deletes_nothing(*table.data);
}

bool deletes_entries(const _ihash_table& table) {
    return table.hash.delete_key_fn != ghash_default::delete_nothing || deletes_data(table);
}

void drop_with_data(void* table, ut_ghash_node* node) {
    drop_entry(*static_cast<_ihash_table*>(table), node, DataFate::deleted);
}

void free_array(ut_array*& array) {
    ut_array_delete(array);
    array = nullptr;
}

void clear_half_built(void* /*argument*/, void* table) {
    ut_clear_ihash_table(static_cast<_ihash_table*>(table));
}

}  // namespace

void drop_entry(_ihash_table& table, ut_ghash_node* node, DataFate fate) {
    uint64_t hole = index_of(table, node);
    _ihash_table* owner = &table;
    if (fate == DataFate::kept || !deletes_data(table)) {
        // What is left to do once the hole is closed, no later step depends on.
        close_hole(&hole, owner);
        dispose_of(table.hash, node, Deletion::key_only);
        return;
    }
    _error_context* const errors = table.mem_ctx->error_context;
    CleanupGuard hole_guard(errors, &owner, &hole, close_hole);
    CleanupGuard data_guard(errors, &owner, &hole, delete_data_at);
    dispose_of(table.hash, node, Deletion::key_only);
    data_guard.release();
    delete_data_at(&hole, owner);
    hole_guard.release();
    close_hole(&hole, owner);
}

}  // namespace qxut

using namespace qxut;

void ut_initialize_ihash_table(_ihash_table* table, _memory_context* mem_ctx,
                               ut_ghash_hash_fcn hash_fn, ut_ghash_compare_fcn compare_fn,
                               ut_ghash_copy_fcn copy_key_fn, ut_ghash_delete_fcn delete_key_fn,
                               ut_ghash_copy_fcn copy_data_fn, ut_ghash_delete_fcn delete_data_fn,
                               uint64_t key_size, int32_t data_offset, uint32_t item_size,
                               uintptr_t user_data, int32_t initial_size, float lower_load,
                               float upper_load, uint64_t data_size) {
    *table = _ihash_table{};
    CleanupGuard guard(mem_ctx->error_context, &table, nullptr, clear_half_built);
    ut_initialize_ghash_table(&table->hash, mem_ctx, hash_fn, compare_fn, copy_key_fn,
                              delete_key_fn, nullptr, nullptr, key_size, data_offset,
                              sizeof(uint64_t), item_size, user_data, initial_size, lower_load,
                              upper_load);
    table->mem_ctx = mem_ctx;
    table->copy_data_fn = copy_data_fn;
    table->delete_data_fn = delete_data_fn;
    table->keys = ut_array_new(mem_ctx, sizeof(void*), nullptr, nullptr, nullptr, nullptr);
    if (data_size != 0) {
        table->data =
            ut_array_new(mem_ctx, data_size, table, copy_data_fn != nullptr ? copy_data : nullptr,
                         delete_data_fn != nullptr ? delete_data : nullptr, nullptr);
    }
    guard.release();
}

_ihash_table* ut_new_ihash_table(_memory_context* mem_ctx, ut_ghash_hash_fcn hash_fn,
                                 ut_ghash_compare_fcn compare_fn, ut_ghash_copy_fcn copy_key_fn,
                                 ut_ghash_delete_fcn delete_key_fn, ut_ghash_copy_fcn copy_data_fn,
                                 ut_ghash_delete_fcn delete_data_fn, uint64_t key_size,
                                 int32_t data_offset, uint32_t item_size, uintptr_t user_data,
                                 int32_t initial_size, float lower_load, float upper_load,
                                 uint64_t data_size) {
    auto* table = static_cast<_ihash_table*>(ut_mem_alloc(mem_ctx, sizeof(_ihash_table)));
    CleanupGuard guard(mem_ctx->error_context, &table, mem_ctx, free_through);
    ut_initialize_ihash_table(table, mem_ctx, hash_fn, compare_fn, copy_key_fn, delete_key_fn,
                              copy_data_fn, delete_data_fn, key_size, data_offset, item_size,
                              user_data, initial_size, lower_load, upper_load, data_size);
    guard.release();
    return table;
}

void ut_clear_ihash_table(_ihash_table* table) {
    if (table->mem_ctx != nullptr && deletes_entries(*table)) {
        drop_all(table->hash, drop_with_data, table);
    }
    // No data are left, or none that are deleted.
    ut_clear_ghash_table(&table->hash);
    free_array(table->keys);
    free_array(table->data);
    table->mem_ctx = nullptr;
    table->copy_data_fn = nullptr;
    table->delete_data_fn = nullptr;
}

void ut_delete_ihash_table(_ihash_table* table) {
    if (table == nullptr) return;
    _memory_context* const memory = table->mem_ctx;
    ut_clear_ihash_table(table);
    ut_mem_free(memory, table);
}

void ut_ihash_empty(_ihash_table* table, int32_t new_size) {
    if (deletes_entries(*table)) {
        empty_table(table->hash, new_size, drop_with_data, table);
    } else {
        ut_ghash_empty(&table->hash, new_size);
    }
    ut_array_clear(table->keys);
    if (table->data != nullptr) ut_array_clear(table->data);
}

uint64_t ut_ihash_num_entries(const _ihash_table* table) { return table->keys->length; }
