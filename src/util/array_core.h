// array_core.h - what the files of the dynamic array share: slots, growth, closing gaps.
//
// Invariant between operations: the block holds at least max(length, capacity) slots. `capacity`
// alone does not tell: ut_array_set_size puts it below the length when asked to.
#ifndef QXUT_SRC_UTIL_ARRAY_CORE_H
#define QXUT_SRC_UTIL_ARRAY_CORE_H

#include <cstring>

#include <qxut/util/array.h>

namespace qxut {

// Callers know these places.
static_assert(sizeof(ut_array) == 72 && offsetof(ut_array, data) == 64);

// The default callbacks; recognised by their address, and done in line then.
namespace array_default {

void copy_bytes(ut_array* array, void* destination, const void* source);
void delete_nothing(ut_array* array, void* element);
int32_t compare_bytes(ut_array* array, const void* a, const void* b);

}  // namespace array_default

inline unsigned char* slot(const ut_array& array, uint64_t i) {
    return static_cast<unsigned char*>(array.data) + i * array.elem_size;
}

// memmove of elem_size bytes, in line for the commonest size.
inline void copy_element(uint64_t elem_size, void* destination, const void* source) {
    if (elem_size == sizeof(uint64_t)) {
        uint64_t word = 0;
        std::memcpy(&word, source, sizeof word);
        std::memcpy(destination, &word, sizeof word);
    } else {
        std::memmove(destination, source, elem_size);
    }
}

inline bool copies_bytes(const ut_array& array) {
    return array.copy_fn == array_default::copy_bytes;
}
inline bool deletes_nothing(const ut_array& array) {
    return array.delete_fn == array_default::delete_nothing;
}

// Moves the elements from index `from` on to index `to`, and sets the length accordingly.
inline void move_tail(ut_array& array, uint64_t from, uint64_t to) {
    const uint64_t count = array.length - from;
    if (count != 0) {
        std::memmove(slot(array, to), slot(array, from), count * array.elem_size);
    }
    array.length = to + count;
}

// --- array.cpp ---

// Gives the block exactly this many slots, at least as many as there are elements. Raises
// OUT_OF_MEMORY with the array as it was. Leaves `capacity` alone.
void resize_block(ut_array& array, uint64_t slots);

// Makes room for n more elements by the growth rule; the length stays.
void reserve(ut_array& array, uint64_t n);

// Deletes the elements from `first` up to, not including, `last` and closes the gap. When a
// callback raises, the gap is closed over those that were deleted.
void delete_range(ut_array& array, uint64_t first, uint64_t last);

// --- array_search.cpp ---

struct Found {
    uint64_t index;
    bool found;
};
Found find_linear(ut_array& array, const void* key);

// --- array_elements.cpp ---

// Inserts an element at an index not beyond the length.
void* insert_at(ut_array& array, uint64_t index, const void* element);

}  // namespace qxut

#endif
