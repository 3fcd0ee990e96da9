// ghash_core.h - what the files of the generic hash table share: nodes, the chain walk, sizes.
//
//   table.buckets -> [ link ][ null ][ link ] ...        index = hash modulo num_buckets
//                       |               '--> node -> null
//                       '--> node -> node -> null
//
//   node: | next, 8 bytes | hash, 4 | unused, 4 | stored key ... | stored data ... |
//                                               ^16              ^16 + data_offset
//
// Invariants between operations: every node hangs in the chain of its hash; `count` nodes hang in
// all; links are changed only when everything that may raise is done, or is guarded.
#ifndef QXUT_SRC_UTIL_GHASH_CORE_H
#define QXUT_SRC_UTIL_GHASH_CORE_H

#include <cstring>

#include <qxut/util/ghash.h>
#include <qxut/util/hash_keys.h>

#include "util/byte_step_folding.h"
#include "util/text_slot.h"

struct ut_ghash_node {
    ut_ghash_node* next;
    uint32_t hash;
};

namespace qxut {

// Callers know these places.
static_assert(sizeof(ut_ghash_node) == 16);
static_assert(sizeof(ut_ghash_table) == 192);

inline constexpr uint32_t kNodeHeaderSize = sizeof(ut_ghash_node);

inline unsigned char* stored_key(ut_ghash_node* node) {
    return reinterpret_cast<unsigned char*>(node) + kNodeHeaderSize;
}
inline const unsigned char* stored_key(const ut_ghash_node* node) {
    return reinterpret_cast<const unsigned char*>(node) + kNodeHeaderSize;
}
inline unsigned char* stored_data(const ut_ghash_table& table, ut_ghash_node* node) {
    return stored_key(node) + table.data_offset;
}
// What the operations with an `out` copy: value_size bytes.
inline unsigned char* stored_value(const ut_ghash_table& table, ut_ghash_node* node) {
    return table.data_size != 0 ? stored_data(table, node) : stored_key(node);
}

// The default callbacks. Some tell the table that it may do in line what they do: copy_word; and
// the two hashes of plain words, which are installed only where the comparison is the default too,
// the one by folding only where the processor can.
namespace ghash_default {

uint32_t hash_bytes(uintptr_t size, const void* key);
uint32_t hash_plain_word(uintptr_t size, const void* key);
uint32_t hash_plain_word_by_folding(uintptr_t size, const void* key);
int32_t compare_bytes(uintptr_t size, const void* key, const void* stored_key);
void copy_nothing(uintptr_t size, void* destination, const void* source);
void copy_word(uintptr_t size, void* destination, const void* source);
void copy_bytes(uintptr_t size, void* destination, const void* source);
void delete_nothing(uintptr_t user_data, void* stored);

}  // namespace ghash_default

// A key's place: its hash, its node, and the link that points to it; where the key is absent, null
// and the null link at the end of the chain, which is where a new node goes.
struct Place {
    uint32_t hash;
    ut_ghash_node* node;
    ut_ghash_node** link;
};

inline uint32_t bucket_of(uint32_t hash, int32_t num_buckets) {
    return hash % static_cast<uint32_t>(num_buckets);
}

// From a link of the chain of `hash` to the first node that is_it(node) accepts.
template <class IsIt>
inline Place walk_from(ut_ghash_node** link, uint32_t hash, const IsIt& is_it) {
    ut_ghash_node* node = *link;
    while (node != nullptr && !is_it(node)) {
        link = &node->next;
        node = *link;
    }
    return {hash, node, link};
}

template <class IsIt>
inline Place walk_chain(const ut_ghash_table& table, uint32_t hash, const IsIt& is_it) {
    return walk_from(&table.buckets[bucket_of(hash, table.num_buckets)], hash, is_it);
}

// Stands in for the node that a link does not point to: its bytes may be read.
struct NoNode {
    ut_ghash_node node;
    uint64_t key;
};
inline NoNode no_node{};

// a == b ? equal : different, without a branch whatever the compiler thinks of it.
template <class T>
inline T* choose(uint64_t a, uint64_t b, T* equal, T* different) {
#if defined(__x86_64__) && defined(__GNUC__)
    __asm__("cmpq %[b], %[a]\n\tcmoveq %[equal], %[chosen]"
            : [chosen] "+r"(different)
            : [equal] "r"(equal), [a] "rm"(a), [b] "re"(b)
            : "cc");
    return different;
#else
    return a == b ? equal : different;
#endif
}

inline uint64_t as_word(const void* pointer) { return reinterpret_cast<uintptr_t>(pointer); }

// One step along a chain, past a node of which tag_of(node) is not `tag`, a number that can be
// read from any node; no step where there is no such node. Without a branch: how far a random key
// has to walk no branch predictor knows, and a wrong guess is noticed only when the node has come
// from memory; until then the processor prepares nothing of use.
template <class TagOf>
inline ut_ghash_node** step_past_other(ut_ghash_node** link, uint64_t tag, const TagOf& tag_of) {
    ut_ghash_node* const node = choose(as_word(*link), 0, &no_node.node, *link);
    ut_ghash_node** const next = choose(tag_of(node), tag, link, &node->next);
    return choose(as_word(*link), 0, link, next);
}

// Walks the chain of `hash` to the first node with the tag. Few walks are longer than the steps
// that are made without a branch: two suit keys that may be absent, one is enough for a key that
// is there.
enum class Expected { anything, presence };

template <Expected expected, class TagOf>
inline Place walk_to_tag(const ut_ghash_table& table, uint32_t hash, uint64_t tag,
                         const TagOf& tag_of) {
    ut_ghash_node** link = &table.buckets[bucket_of(hash, table.num_buckets)];
    link = step_past_other(link, tag, tag_of);
    if constexpr (expected == Expected::anything) link = step_past_other(link, tag, tag_of);
    return walk_from(link, hash, [&](const ut_ghash_node* n) { return tag_of(n) == tag; });
}

// Words that are equal have equal hashes: nothing would be saved by comparing these first.
template <Expected expected = Expected::anything>
inline Place walk_to_word(const ut_ghash_table& table, uint32_t hash, uint64_t word) {
    return walk_to_tag<expected>(table, hash, word, [](const ut_ghash_node* node) {
        uint64_t stored = 0;
        std::memcpy(&stored, stored_key(node), sizeof stored);
        return stored;
    });
}

// Whether find_plain_word finds the table's keys.
inline bool has_plain_words(const ut_ghash_table& table) {
    return table.hash_fn == ghash_default::hash_plain_word_by_folding;
}

template <Expected expected = Expected::anything>
inline Place find_plain_word(const ut_ghash_table& table, const void* key) {
    uint64_t word = 0;
    std::memcpy(&word, key, sizeof word);
#if defined(QXUT_CARRYLESS_MULTIPLICATION)
    return walk_to_word<expected>(table, remainder_of_word(word), word);
#else
    return walk_to_word<expected>(table, byte_steps_8(0, key), word);
#endif
}

// Finds a key of another kind (ghash_find.cpp).
Place find_other(const ut_ghash_table& table, const void* key);

template <Expected expected = Expected::anything>
inline Place find_place(const ut_ghash_table& table, const void* key) {
    return has_plain_words(table) ? find_plain_word<expected>(table, key) : find_other(table, key);
}

// Calls visit(node) in traversal order until it returns false.
template <class Visit>
inline bool for_each_node(const ut_ghash_table& table, const Visit& visit) {
    for (int32_t i = 0; i < table.num_buckets; ++i) {
        for (ut_ghash_node* node = table.buckets[i]; node != nullptr; node = node->next) {
            if (!visit(node)) return false;
        }
    }
    return true;
}

// --- ghash_resize.cpp ---

// Raise for load bounds that are not accepted.
void check_load_bounds(_memory_context& memory, float lower_load, float upper_load);

// size * load, truncated, as the counts that trigger a resize are computed.
int32_t scaled_count(int32_t size, float load);

// A zeroed bucket vector. Raises OUT_OF_MEMORY.
ut_ghash_node** new_buckets(_memory_context& memory, int32_t size);

// Resizes the table for its count where that changes the number of buckets and memory suffices.
void resize_if_possible(ut_ghash_table& table);

// --- ghash.cpp ---

// What is to be deleted of an entry besides its node, in this order.
enum class Deletion { key_then_data, data_then_key, key_only };

// Deletes an entry that no link points to any more. A callback that raises does not keep the rest
// from being deleted and the node from being freed.
void dispose_by_callbacks(ut_ghash_table& table, ut_ghash_node* node, Deletion deletion);

inline void dispose_of(ut_ghash_table& table, ut_ghash_node* node, Deletion deletion) {
    // What cannot raise needs no guards.
    const bool text_key = table.delete_key_fn == ut_ghash_delete_string_key;
    if ((text_key || table.delete_key_fn == ghash_default::delete_nothing) &&
        table.delete_data_fn == ghash_default::delete_nothing) {
        if (text_key) {
            const auto* const memory = reinterpret_cast<_memory_context*>(table.user_data);
            memory->release(const_cast<char*>(text_in(stored_key(node))));
        }
        table.mem_ctx->release(node);
    } else {
        dispose_by_callbacks(table, node, deletion);
    }
}

// Disposes of a node that was just unlinked.
using DropNode = void (*)(void* owner, ut_ghash_node* node);

// Unlink every node, in traversal order, and hand each to drop(owner, node). The second sets the
// number of buckets as ut_ghash_empty does, for which it gets the memory first.
void drop_all(ut_ghash_table& table, DropNode drop, void* owner);
void empty_table(ut_ghash_table& table, int32_t new_size, DropNode drop, void* owner);

}  // namespace qxut

#endif
