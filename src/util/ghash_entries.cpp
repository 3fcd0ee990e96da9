// ghash_entries.cpp - finding, making, replacing and removing the entries of a generic hash table.
//
// Each operation hashes once and walks one chain. A new node is complete, copies of key and data
// included, before the last link of its chain is made to point to it, so that an error raised by
// a callback finds the table as it was. Entry points: the ut_ghash_insert, ut_ghash_query and
// ut_ghash_remove functions. Tested by tests/util/ghash_test.cpp, ghash_failure_test.cpp.
#include <limits>

#include <qxut/util/error.h>

#include "util/cleanup_guard.h"
#include "util/ghash_core.h"

namespace qxut {
namespace {

struct Entry {
    ut_ghash_node* node;
    bool existed;
};

// A callback that only copies a word is done in line: it cannot raise, and needs no guard.
void copy_key(const ut_ghash_table& table, void* destination, const void* key) {
    table.copy_key_fn(*table.copy_key_ctx, destination, key);
}
void copy_data(const ut_ghash_table& table, void* destination, const void* data) {
    table.copy_data_fn(*table.copy_data_ctx, destination, data);
}
void copy_word(void* destination, const void* source) {
    std::memcpy(destination, source, sizeof(uint64_t));
}

void dispose_of_key(void* table, void* node) {
    dispose_of(*static_cast<ut_ghash_table*>(table), static_cast<ut_ghash_node*>(node),
               Deletion::key_only);
}

// What ut_ghash_copy_string_key does, without a guard for the node.
[[gnu::noinline]] void copy_text(const ut_ghash_table& table, ut_ghash_node* node,
                                 const void* key) {
    const char* const text = text_in(key);
    char* copy = nullptr;
    if (text != nullptr) [[likely]] {
        const auto& memory = *reinterpret_cast<const _memory_context*>(*table.copy_key_ctx);
        const size_t size = std::strlen(text) + 1;
        copy = static_cast<char*>(memory.allocate(size));
        if (copy == nullptr) {
            table.mem_ctx->release(node);
            ut_error(memory.error_context, UT_OUT_OF_MEMORY);
        }
        std::memcpy(copy, text, size);
    }
    std::memcpy(stored_key(node), &copy, sizeof copy);
}

// The copies with a guard, kept out of the functions below: most tables need none.
[[gnu::noinline]] void copy_key_guarded(const ut_ghash_table& table, ut_ghash_node* node,
                                        const void* key) {
    CleanupGuard guard(table.mem_ctx->error_context, &node, table.mem_ctx, free_through);
    copy_key(table, stored_key(node), key);
    guard.release();
}
[[gnu::noinline]] void copy_data_guarded(ut_ghash_table& table, ut_ghash_node* node,
                                         const void* data) {
    CleanupGuard guard(table.mem_ctx->error_context, &node, &table, dispose_of_key);
    copy_data(table, stored_data(table, node), data);
    guard.release();
}

[[noreturn, gnu::noinline]] void raise_out_of_memory(const ut_ghash_table& table) {
    ut_error(table.mem_ctx->error_context, UT_OUT_OF_MEMORY);
}

// A node with its key that no link points to yet.
inline ut_ghash_node* new_node(ut_ghash_table& table, uint32_t hash, const void* key) {
    if (table.count == std::numeric_limits<int32_t>::max()) [[unlikely]]
        raise_out_of_memory(table);
    auto* const node = static_cast<ut_ghash_node*>(table.mem_ctx->allocate(table.node_size));
    if (node == nullptr) [[unlikely]]
        raise_out_of_memory(table);
    node->next = nullptr;
    node->hash = hash;
    if (table.copy_key_fn == ghash_default::copy_word) {
        copy_word(stored_key(node), key);
    } else if (table.copy_key_fn == ut_ghash_copy_string_key) {
        copy_text(table, node, key);
    } else {
        copy_key_guarded(table, node, key);
    }
    return node;
}

// Makes a new node part of the table, which may resize it: the place is used up.
inline void link_node(ut_ghash_table& table, const Place& place, ut_ghash_node* node) {
    *place.link = node;
    ++table.count;
    if (table.count > table.upper_count) [[unlikely]]
        resize_if_possible(table);
}

Entry find_or_make(ut_ghash_table& table, const void* key) {
    const Place place = find_place(table, key);
    if (place.node != nullptr) return {place.node, true};
    ut_ghash_node* const node = new_node(table, place.hash, key);
    link_node(table, place, node);
    return {node, false};
}

inline Entry make_with_data(ut_ghash_table& table, const Place& place, const void* key,
                            const void* data) {
    ut_ghash_node* const node = new_node(table, place.hash, key);
    if (table.copy_data_fn == ghash_default::copy_word) {
        copy_word(stored_data(table, node), data);
    } else {
        copy_data_guarded(table, node, data);
    }
    link_node(table, place, node);
    return {node, false};
}

Entry find_or_make(ut_ghash_table& table, const void* key, const void* data) {
    const Place place = find_place(table, key);
    if (place.node != nullptr) return {place.node, true};
    return make_with_data(table, place, key, data);
}

void tell_value(const ut_ghash_table& table, ut_ghash_node* node, void* out) {
    if (out == nullptr) return;
    if (table.value_size == sizeof(uint64_t)) {
        copy_word(out, stored_value(table, node));
    } else {
        std::memcpy(out, stored_value(table, node), table.value_size);
    }
}

[[gnu::noinline]] bool query(const ut_ghash_table& table, const void* key, void* out) {
    ut_ghash_node* const node = find_place(table, key).node;
    if (node == nullptr) return false;
    tell_value(table, node, out);
    return true;
}

void unlink(ut_ghash_table& table, const Place& place) {
    *place.link = place.node->next;
    --table.count;
}

// Takes the entry out whose data was being replaced when a callback raised: what its data bytes
// hold then is nobody's.
struct BrokenEntry {
    ut_ghash_table* table;
    Place place;
};

void drop_broken(void* argument, void* node) {
    const auto& broken = *static_cast<BrokenEntry*>(argument);
    unlink(*broken.table, broken.place);
    dispose_of(*broken.table, static_cast<ut_ghash_node*>(node), Deletion::key_only);
}

// Puts back the bytes of the old value, of which the caller was handed a copy.
struct OldValue {
    const ut_ghash_table* table;
    const void* bytes;  // null: the caller did not want it
};

void restore_old(void* argument, void* node) {
    const auto& old = *static_cast<OldValue*>(argument);
    if (old.bytes == nullptr) return;
    std::memcpy(stored_value(*old.table, static_cast<ut_ghash_node*>(node)), old.bytes,
                old.table->value_size);
}

bool remove(ut_ghash_table& table, const void* key, void* out) {
    const Place place = find_place<Expected::presence>(table, key);
    ut_ghash_node* const node = place.node;
    if (node == nullptr) return false;
    tell_value(table, node, out);
    unlink(table, place);
    dispose_of(table, node, out != nullptr ? Deletion::key_only : Deletion::data_then_key);
    if (table.count < table.lower_count) [[unlikely]]
        resize_if_possible(table);
    return true;
}

}  // namespace
}  // namespace qxut

using namespace qxut;

bool ut_ghash_insert_element(ut_ghash_table* table, const void* key, void** out_key) {
    return ut_ghash_insert_key(table, key, out_key, nullptr);
}

bool ut_ghash_insert_key(ut_ghash_table* table, const void* key, void** out_key, void** out_data) {
    const Entry entry = find_or_make(*table, key);
    if (out_key != nullptr) *out_key = stored_key(entry.node);
    if (out_data != nullptr) {
        *out_data = table->data_size != 0 ? stored_data(*table, entry.node) : nullptr;
    }
    return entry.existed;
}

bool ut_ghash_insert(ut_ghash_table* table, const void* key, const void* data) {
    const Place place = find_place(*table, key);
    if (place.node != nullptr) return true;
    return make_with_data(*table, place, key, data).existed;
}

bool ut_ghash_query_insert(ut_ghash_table* table, const void* key, const void* data, void* out) {
    const Entry entry = find_or_make(*table, key, data);
    tell_value(*table, entry.node, out);
    return entry.existed;
}

bool ut_ghash_replace(ut_ghash_table* table, const void* key, const void* data) {
    const Place place = find_place(*table, key);
    ut_ghash_node* node = place.node;
    if (node == nullptr) return make_with_data(*table, place, key, data).existed;
    BrokenEntry broken{table, place};
    CleanupGuard guard(table->mem_ctx->error_context, &node, &broken, drop_broken);
    table->delete_data_fn(table->user_data, stored_data(*table, node));
    copy_data(*table, stored_data(*table, node), data);
    guard.release();
    return true;
}

bool ut_ghash_query_replace(ut_ghash_table* table, const void* key, const void* data, void* out) {
    const Place place = find_place(*table, key);
    ut_ghash_node* node = place.node;
    if (node == nullptr) {
        const Entry entry = make_with_data(*table, place, key, data);
        tell_value(*table, entry.node, out);
        return false;
    }
    tell_value(*table, node, out);
    OldValue old{table, out};
    CleanupGuard guard(table->mem_ctx->error_context, &node, &old, restore_old);
    copy_data(*table, stored_data(*table, node), data);
    guard.release();
    return true;
}

bool ut_ghash_uniquify(ut_ghash_table* table, const void* key, void* out) {
    const Entry entry = find_or_make(*table, key);
    if (out != nullptr) std::memcpy(out, stored_key(entry.node), table->key_size);
    return entry.existed;
}

void* ut_ghash_query_element(const ut_ghash_table* table, const void* key) {
    ut_ghash_node* const node = find_place(*table, key).node;
    return node != nullptr ? stored_key(node) : nullptr;
}

void* ut_ghash_query_data(const ut_ghash_table* table, const void* key) {
    ut_ghash_node* const node = find_place(*table, key).node;
    return node != nullptr ? stored_data(*table, node) : nullptr;
}

// A large table waits for memory most of the time, and the fewer instructions a look-up takes, the
// more of them the processor has under way: the commonest look-up is all in line.
bool ut_ghash_query(const ut_ghash_table* table, const void* key, void* out) {
    if (has_plain_words(*table) && table->data_size == sizeof(uint64_t)) {
        if (out != nullptr) [[likely]] {
            ut_ghash_node* const node = find_plain_word(*table, key).node;
            if (node == nullptr) return false;
            copy_word(out, stored_data(*table, node));
            return true;
        }
    }
    return query(*table, key, out);
}

bool ut_ghash_remove_element(ut_ghash_table* table, const void* key) {
    return remove(*table, key, nullptr);
}

bool ut_ghash_query_remove(ut_ghash_table* table, const void* key, void* out) {
    return remove(*table, key, out);
}
