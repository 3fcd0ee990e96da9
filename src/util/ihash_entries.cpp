// ihash_entries.cpp - finding, making, replacing and removing the entries of an indexed hash table.
//
// A new entry is made in three places, one after the other: node, key array, data array. Where one
// of the arrays has to grow, or a callback copies the data, an item takes the entry out of all
// again when that raises. Entry points: the ut_ihash_insert, ut_ihash_query and ut_ihash_remove
// functions. Tested by tests/util/ihash_test.cpp, ihash_model_test.cpp.
#include <qxut/util/error.h>

#include "util/cleanup_guard.h"
#include "util/ihash_core.h"

namespace qxut {
namespace {

struct Entry {
    ut_ghash_node* node;
    uint64_t index;
    bool existed;
};

ut_ghash_node* find_node(const _ihash_table& table, const void* key) {
    return find_place(table.hash, key).node;
}

// Unlinks a node by its place in memory: no callback is asked.
void unlink_node(ut_ghash_table& table, const ut_ghash_node* node) {
    const Place place =
        walk_chain(table, node->hash, [node](const ut_ghash_node* n) { return n == node; });
    *place.link = node->next;
    --table.count;
}

// Whether an array takes one more element without a step that may raise.
bool has_room(const ut_array& array) { return array.length < array.capacity; }
bool appends_quietly(const _ihash_table& table) {
    return has_room(*table.keys) &&
           (table.data == nullptr || (has_room(*table.data) && copies_bytes(*table.data)));
}

// Where a new entry's data come from; what `address` is only the copy callback knows.
struct NewData {
    bool given;  // else they are zeroed
    const void* address;
};
constexpr NewData kZeroed = {false, nullptr};

void append_to_arrays(_ihash_table& table, ut_ghash_node* node, const NewData& data) {
    const unsigned char* const key = stored_key(node);
    ut_array_append(table.keys, &key);
    if (table.data == nullptr) return;
    if (data.given)
        ut_array_append(table.data, data.address);
    else
        ut_array_expand(table.data, 1);
}

// Takes an entry out again that did not get into the data array, and maybe not into the key array.
void withdraw(void* owner, void* node) {
    auto& table = *static_cast<_ihash_table*>(owner);
    auto* const entry = static_cast<ut_ghash_node*>(node);
    table.keys->length = index_of(table, entry);
    unlink_node(table.hash, entry);
    dispose_of(table.hash, entry, Deletion::key_only);
}

// The same where nothing of it may raise.
void append_quietly(_ihash_table& table, ut_ghash_node* node, const NewData& data) {
    static_cast<unsigned char**>(table.keys->data)[table.keys->length++] = stored_key(node);
    if (table.data == nullptr) return;
    void* const destination = slot(*table.data, table.data->length++);
    if (data.given)
        copy_element(table.data->elem_size, destination, data.address);
    else
        std::memset(destination, 0, table.data->elem_size);
}

Entry find_or_make(_ihash_table& table, const void* key, const NewData& data) {
    void* key_slot = nullptr;
    const bool existed = ut_ghash_insert_key(&table.hash, key, &key_slot, nullptr);
    ut_ghash_node* node = node_of(key_slot);
    if (existed) return {node, index_of(table, node), true};
    const uint64_t index = table.keys->length;
    set_index(table, node, index);
    if (appends_quietly(table)) [[likely]] {
        append_quietly(table, node, data);
    } else {
        CleanupGuard guard(table.mem_ctx->error_context, &node, &table, withdraw);
        append_to_arrays(table, node, data);
        guard.release();
    }
    return {node, index, false};
}

// What the operations with an `out` copy: the data, or the key of an entry without.
struct Value {
    void* address;
    uint64_t size;
};
Value value_of(const _ihash_table& table, ut_ghash_node* node, uint64_t index) {
    if (table.data == nullptr) return {stored_key(node), table.hash.key_size};
    return {data_at(table, index), table.data->elem_size};
}

void tell_value(const _ihash_table& table, ut_ghash_node* node, uint64_t index, void* out) {
    if (out == nullptr) return;
    const Value value = value_of(table, node, index);
    std::memcpy(out, value.address, value.size);
}

// Takes the entry out whose data were being replaced when a callback raised: what their bytes hold
// then is nobody's.
void drop_broken(void* owner, void* node) {
    auto& table = *static_cast<_ihash_table*>(owner);
    auto* const entry = static_cast<ut_ghash_node*>(node);
    unlink_node(table.hash, entry);
    drop_entry(table, entry, DataFate::kept);
}

void replace_data(_ihash_table& table, ut_ghash_node* node, uint64_t index, const void* data) {
    if (table.data == nullptr) return;
    void* const stored = data_at(table, index);
    CleanupGuard guard(table.mem_ctx->error_context, &node, &table, drop_broken);
    table.data->delete_fn(table.data, stored);
    table.data->copy_fn(table.data, stored, data);
    guard.release();
}

// Puts back the bytes of the old value, of which the caller was handed a copy.
void restore_old(void* value, void* bytes) {
    const auto& stored = *static_cast<const Value*>(value);
    if (bytes != nullptr) std::memcpy(stored.address, bytes, stored.size);
}

bool remove(_ihash_table& table, const void* key, void* out) {
    // The last entry will be told its new index; its node comes to hand while the key is sought.
    if (table.keys->length != 0) {
        __builtin_prefetch(node_of(key_at(table, table.keys->length - 1)), 1);
    }
    const Place place = find_place(table.hash, key);
    ut_ghash_node* const node = place.node;
    if (node == nullptr) return false;
    tell_value(table, node, index_of(table, node), out);
    *place.link = node->next;
    --table.hash.count;
    drop_entry(table, node, out != nullptr ? DataFate::kept : DataFate::deleted);
    if (table.hash.count < table.hash.lower_count) [[unlikely]]
        resize_if_possible(table.hash);
    return true;
}

}  // namespace
}  // namespace qxut

using namespace qxut;

bool ut_ihash_insert_key(_ihash_table* table, const void* key, void** out_key, void** out_data) {
    const Entry entry = find_or_make(*table, key, kZeroed);
    if (out_key != nullptr) *out_key = stored_key(entry.node);
    if (out_data != nullptr) *out_data = data_at(*table, entry.index);
    return entry.existed;
}

bool ut_ihash_insert(_ihash_table* table, const void* key, const void* data) {
    return find_or_make(*table, key, {true, data}).existed;
}

bool ut_ihash_query_insert(_ihash_table* table, const void* key, const void* data, void* out) {
    const Entry entry = find_or_make(*table, key, {true, data});
    tell_value(*table, entry.node, entry.index, out);
    return entry.existed;
}

bool ut_ihash_replace(_ihash_table* table, const void* key, const void* data) {
    const Entry entry = find_or_make(*table, key, {true, data});
    if (entry.existed) replace_data(*table, entry.node, entry.index, data);
    return entry.existed;
}

bool ut_ihash_query_replace(_ihash_table* table, const void* key, const void* data, void* out) {
    const Entry entry = find_or_make(*table, key, {true, data});
    tell_value(*table, entry.node, entry.index, out);
    if (entry.existed && table->data != nullptr) {
        Value old = value_of(*table, entry.node, entry.index);
        CleanupGuard guard(table->mem_ctx->error_context, &out, &old, restore_old);
        table->data->copy_fn(table->data, old.address, data);
        guard.release();
    }
    return entry.existed;
}

bool ut_ihash_uniquify(_ihash_table* table, const void* key, void* out) {
    const Entry entry = find_or_make(*table, key, kZeroed);
    if (out != nullptr) std::memcpy(out, stored_key(entry.node), table->hash.key_size);
    return entry.existed;
}

int64_t ut_ihash_index_of(const _ihash_table* table, const void* key) {
    ut_ghash_node* const node = find_node(*table, key);
    return node != nullptr ? static_cast<int64_t>(index_of(*table, node)) : -1;
}

bool ut_ihash_query(const _ihash_table* table, const void* key, void* out) {
    ut_ghash_node* const node = find_node(*table, key);
    if (node == nullptr) return false;
    tell_value(*table, node, index_of(*table, node), out);
    return true;
}

void* ut_ihash_query_data(const _ihash_table* table, const void* key) {
    ut_ghash_node* const node = find_node(*table, key);
    return node != nullptr ? data_at(*table, index_of(*table, node)) : nullptr;
}

void* ut_ihash_query_by_data(const _ihash_table* table, const void* data) {
    if (table->data == nullptr) return nullptr;
    for (uint64_t i = 0; i < table->data->length; ++i) {
        if (std::memcmp(data_at(*table, i), data, table->data->elem_size) == 0) {
            return key_at(*table, i);
        }
    }
    return nullptr;
}

bool ut_ihash_index(const _ihash_table* table, uint64_t i, void* out_key, void* out_data) {
    if (i >= table->keys->length) return false;
    if (out_key != nullptr) std::memcpy(out_key, key_at(*table, i), table->hash.key_size);
    if (out_data != nullptr && table->data != nullptr) {
        std::memcpy(out_data, data_at(*table, i), table->data->elem_size);
    }
    return true;
}

void* ut_ihash_query_data_by_index(const _ihash_table* table, uint64_t i) {
    return i < table->keys->length ? data_at(*table, i) : nullptr;
}

int32_t ut_ihash_apply(_ihash_table* table, void* argument, ut_ihash_apply_fcn fn) {
    for (uint64_t i = 0; i < table->keys->length; ++i) {
        if (fn(argument, key_at(*table, i), data_at(*table, i)) == 0) return 0;
    }
    return 1;
}

bool ut_ihash_remove_element(_ihash_table* table, const void* key) {
    return remove(*table, key, nullptr);
}

bool ut_ihash_query_remove(_ihash_table* table, const void* key, void* out) {
    return remove(*table, key, out);
}
