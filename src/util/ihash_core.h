// ihash_core.h - what the files of the indexed hash table share: the way between index, node and
// data, and taking an entry out.
//
// Invariant between operations: for every index i below the arrays' common length, keys[i] is the
// address of the stored key of a node of the hash table, whose index is i, and data[i] are its
// data; the hash table has no other nodes. Since keys[i] tells the node, no index is ever set by
// looking a key up.
#ifndef QXUT_SRC_UTIL_IHASH_CORE_H
#define QXUT_SRC_UTIL_IHASH_CORE_H

#include <cstring>

#include <qxut/util/ihash.h>

#include "util/array_core.h"
#include "util/ghash_core.h"

namespace qxut {

// Callers know these places.
static_assert(sizeof(_ihash_table) == 232 && offsetof(_ihash_table, keys) == 200);

inline uint64_t index_of(const _ihash_table& table, ut_ghash_node* node) {
    uint64_t index = 0;
    std::memcpy(&index, stored_data(table.hash, node), sizeof index);
    return index;
}

inline void set_index(const _ihash_table& table, ut_ghash_node* node, uint64_t index) {
    std::memcpy(stored_data(table.hash, node), &index, sizeof index);
}

inline unsigned char* key_at(const _ihash_table& table, uint64_t index) {
    return static_cast<unsigned char**>(table.keys->data)[index];
}

inline ut_ghash_node* node_of(void* stored_key) {
    return reinterpret_cast<ut_ghash_node*>(static_cast<unsigned char*>(stored_key) -
                                            kNodeHeaderSize);
}

inline void* data_at(const _ihash_table& table, uint64_t index) {
    return table.data != nullptr ? slot(*table.data, index) : nullptr;
}

// --- ihash.cpp ---

enum class DataFate { deleted, kept };

// Takes an entry, whose node no link points to any more, out of the arrays, deletes its key and,
// unless it is kept, its data, and frees the node. A callback that raises does not keep the rest
// from being done.
void drop_entry(_ihash_table& table, ut_ghash_node* node, DataFate fate);

}  // namespace qxut

#endif
