// ghash.cpp - life of a generic hash table: defaults, initialising, emptying, clearing.
//
// Entries are deleted one by one, each unlinked before its callbacks run: whatever a callback
// raises, the entries that are left form a valid table. Entry points: ut_initialize_ghash_table,
// ut_ghash_empty, ut_clear_ghash_table. Tested by tests/util/ghash_test.cpp.
#include <qxut/util/ghash.h>

#include <limits>

#include <qxut/util/error.h>
#include <qxut/util/hash_bytes.h>

#include "util/builtin_tables.h"
#include "util/byte_step.h"
#include "util/cleanup_guard.h"
#include "util/ghash_core.h"

namespace qxut {
namespace ghash_default {

uint32_t hash_bytes(uintptr_t size, const void* key) { return ut_hash_n_bytes(0, size, key); }

uint32_t hash_plain_word(uintptr_t /*size*/, const void* key) { return byte_steps_8(0, key); }

uint32_t hash_plain_word_by_folding(uintptr_t /*size*/, const void* key) {
    return ut_hash_n_bytes(0, sizeof(uint64_t), key);
}

int32_t compare_bytes(uintptr_t size, const void* key, const void* stored_key) {
    return size == 0 ? 0 : std::memcmp(key, stored_key, size);
}

void copy_nothing(uintptr_t /*size*/, void* /*destination*/, const void* /*source*/) {}

void copy_word(uintptr_t /*size*/, void* destination, const void* source) {
    std::memcpy(destination, source, sizeof(uint64_t));
}

void copy_bytes(uintptr_t size, void* destination, const void* source) {
    std::memcpy(destination, source, size);
}

void delete_nothing(uintptr_t /*user_data*/, void* /*stored*/) {}

}  // namespace ghash_default

namespace {

ut_ghash_hash_fcn hash_of_plain_words() {
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    if (has_carryless_multiplication()) return ghash_default::hash_plain_word_by_folding;
#endif
    return ghash_default::hash_plain_word;
}

ut_ghash_copy_fcn default_copy(uint64_t size) {
    if (size == 0) return ghash_default::copy_nothing;
    return size == sizeof(uint64_t) ? ghash_default::copy_word : ghash_default::copy_bytes;
}

// Installs a callback and where its first argument is read from.
template <class Function>
void install(Function& slot, const uintptr_t*& context, Function given, const uintptr_t& user_data,
             Function fallback, const uint64_t& size) {
    static_assert(sizeof(uintptr_t) == sizeof(uint64_t), "sizes are passed as context words");
    slot = given != nullptr ? given : fallback;
    context = given != nullptr ? &user_data : reinterpret_cast<const uintptr_t*>(&size);
}

void delete_key(void* table, void* node) {
    const auto& owner = *static_cast<ut_ghash_table*>(table);
    owner.delete_key_fn(owner.user_data, stored_key(static_cast<ut_ghash_node*>(node)));
}

void delete_data(void* table, void* node) {
    const auto& owner = *static_cast<ut_ghash_table*>(table);
    owner.delete_data_fn(owner.user_data, stored_data(owner, static_cast<ut_ghash_node*>(node)));
}

void dispose_of_all(void* table, ut_ghash_node* node) {
    dispose_of(*static_cast<ut_ghash_table*>(table), node, Deletion::key_then_data);
}

void clear_half_built(void* /*argument*/, void* table) {
    ut_clear_ghash_table(static_cast<ut_ghash_table*>(table));
}

}  // namespace

void dispose_by_callbacks(ut_ghash_table& table, ut_ghash_node* node, Deletion deletion) {
    using Step = void (*)(void* table, void* node);  // null: nothing to do
    const bool has_keys = table.delete_key_fn != ghash_default::delete_nothing;
    const bool has_data = table.delete_data_fn != ghash_default::delete_nothing;
    const Step key = has_keys ? delete_key : nullptr;
    const Step data = has_data && deletion != Deletion::key_only ? delete_data : nullptr;
    const bool key_first = deletion == Deletion::key_then_data;
    const Step first = key_first ? key : data;
    const Step second = key_first ? data : key;

    _memory_context* const memory = table.mem_ctx;
    CleanupGuard node_guard(memory->error_context, &node, memory, free_through);
    if (first != nullptr && second != nullptr) {
        CleanupGuard second_guard(memory->error_context, &node, &table, second);
        first(&table, node);
        second_guard.release();
    } else if (first != nullptr) {
        first(&table, node);
    }
    if (second != nullptr) second(&table, node);
    node_guard.release();
    ut_mem_free(memory, node);
}

void drop_all(ut_ghash_table& table, DropNode drop, void* owner) {
    for (int32_t i = 0; i < table.num_buckets; ++i) {
        while (table.buckets[i] != nullptr) {
            ut_ghash_node* const node = table.buckets[i];
            table.buckets[i] = node->next;
            --table.count;
            drop(owner, node);
        }
    }
}

void empty_table(ut_ghash_table& table, int32_t new_size, DropNode drop, void* owner) {
    if (new_size <= 0) {
        drop_all(table, drop, owner);
        return;
    }
    _memory_context* const memory = table.mem_ctx;
    const int32_t num_buckets = ut_hash_next_quasiprime(memory, new_size, +1);
    // The new vector comes first: without it the entries stay.
    ut_ghash_node** fresh = nullptr;
    if (num_buckets != table.num_buckets) fresh = new_buckets(*memory, num_buckets);
    CleanupGuard guard(memory->error_context, &fresh, memory, free_through);
    drop_all(table, drop, owner);
    guard.release();
    if (fresh != nullptr) {
        ut_mem_free(memory, table.buckets);
        table.buckets = fresh;
        table.num_buckets = num_buckets;
    }
    table.min_buckets = num_buckets;
    table.lower_count = 0;
    table.upper_count = scaled_count(num_buckets, table.upper_load);
}

}  // namespace qxut

using namespace qxut;

void ut_initialize_hashtool_messages(_memory_context* mem_ctx) {
    ut_mem_add_primary_message_table(mem_ctx, &hash_message_table);
}

void ut_initialize_ghash_table(ut_ghash_table* table, _memory_context* mem_ctx,
                               ut_ghash_hash_fcn hash_fn, ut_ghash_compare_fcn compare_fn,
                               ut_ghash_copy_fcn copy_key_fn, ut_ghash_delete_fcn delete_key_fn,
                               ut_ghash_copy_fcn copy_data_fn, ut_ghash_delete_fcn delete_data_fn,
                               uint64_t key_size, int32_t data_offset, uint64_t data_size,
                               uint32_t item_size, uintptr_t user_data, int32_t initial_size,
                               float lower_load, float upper_load) {
    *table = ut_ghash_table{};
    CleanupGuard guard(mem_ctx->error_context, &table, nullptr, clear_half_built);
    ut_initialize_hashtool_messages(mem_ctx);
    check_load_bounds(*mem_ctx, lower_load, upper_load);
    if (item_size > std::numeric_limits<uint32_t>::max() - kNodeHeaderSize) {
        ut_error(mem_ctx->error_context, UT_OUT_OF_MEMORY);
    }
    const int32_t num_buckets = ut_hash_next_quasiprime(mem_ctx, initial_size, +1);
    ut_ghash_node** const buckets = new_buckets(*mem_ctx, num_buckets);
    // Nothing raises any more.
    guard.release();

    table->mem_ctx = mem_ctx;
    table->buckets = buckets;
    table->lower_load = lower_load;
    table->upper_load = upper_load;
    table->num_buckets = table->min_buckets = num_buckets;
    table->upper_count = scaled_count(num_buckets, upper_load);
    table->key_size = key_size;
    table->data_size = data_size;
    table->data_offset = data_offset;
    table->node_size = item_size + kNodeHeaderSize;
    table->value_size = data_size != 0 ? data_size : key_size;
    table->user_data = user_data;

    const bool plain_words =
        key_size == sizeof(uint64_t) && hash_fn == nullptr && compare_fn == nullptr;
    install<ut_ghash_hash_fcn>(table->hash_fn, table->hash_ctx, hash_fn, table->user_data,
                               plain_words ? hash_of_plain_words() : ghash_default::hash_bytes,
                               table->key_size);
    install<ut_ghash_compare_fcn>(table->compare_fn, table->compare_ctx, compare_fn,
                                  table->user_data, ghash_default::compare_bytes, table->key_size);
    install<ut_ghash_copy_fcn>(table->copy_key_fn, table->copy_key_ctx, copy_key_fn,
                               table->user_data, default_copy(key_size), table->key_size);
    install<ut_ghash_copy_fcn>(table->copy_data_fn, table->copy_data_ctx, copy_data_fn,
                               table->user_data, default_copy(data_size), table->data_size);
    table->delete_key_fn = delete_key_fn != nullptr ? delete_key_fn : ghash_default::delete_nothing;
    table->delete_data_fn =
        delete_data_fn != nullptr ? delete_data_fn : ghash_default::delete_nothing;
}

ut_ghash_table* ut_new_ghash_table(_memory_context* mem_ctx, ut_ghash_hash_fcn hash_fn,
                                   ut_ghash_compare_fcn compare_fn, ut_ghash_copy_fcn copy_key_fn,
                                   ut_ghash_delete_fcn delete_key_fn,
                                   ut_ghash_copy_fcn copy_data_fn,
                                   ut_ghash_delete_fcn delete_data_fn, uint64_t key_size,
                                   int32_t data_offset, uint64_t data_size, uint32_t item_size,
                                   uintptr_t user_data, int32_t initial_size, float lower_load,
                                   float upper_load) {
    auto* table = static_cast<ut_ghash_table*>(ut_mem_alloc(mem_ctx, sizeof(ut_ghash_table)));
    CleanupGuard guard(mem_ctx->error_context, &table, mem_ctx, free_through);
    ut_initialize_ghash_table(table, mem_ctx, hash_fn, compare_fn, copy_key_fn, delete_key_fn,
                              copy_data_fn, delete_data_fn, key_size, data_offset, data_size,
                              item_size, user_data, initial_size, lower_load, upper_load);
    guard.release();
    return table;
}

void ut_clear_ghash_table(ut_ghash_table* table) {
    if (table->mem_ctx != nullptr) {
        drop_all(*table, dispose_of_all, table);
        ut_mem_free(table->mem_ctx, table->buckets);
        if (table->sorted_keys != nullptr) ut_mem_free(table->mem_ctx, table->sorted_keys);
    }
    *table = ut_ghash_table{};
    table->lower_load = -1.0F;
    table->upper_load = -1.0F;
    table->sorted_count = -1;
}

void ut_delete_ghash_table(ut_ghash_table* table) {
    if (table == nullptr) return;
    _memory_context* const memory = table->mem_ctx;
    ut_clear_ghash_table(table);
    ut_mem_free(memory, table);
}

void ut_ghash_empty(ut_ghash_table* table, int32_t new_size) {
    empty_table(*table, new_size, dispose_of_all, table);
}
