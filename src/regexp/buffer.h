// buffer.h - the buffers that replacing and translating grow: the capacity that a caller's buffer
// comes back with, and its reallocation. Tested by tests/regexp/translate_test.cpp.
#ifndef QXUT_SRC_REGEXP_BUFFER_H
#define QXUT_SRC_REGEXP_BUFFER_H

#include <cstddef>
#include <cstdint>

#include <qxut/util/heap.h>

#include "regexp/failure.h"

namespace qxut::regexp {

// The capacity after the text has grown to `length` units in one step.
inline size_t grown_capacity(size_t capacity, size_t length) {
    if (length <= capacity) return capacity;
    if (length > SIZE_MAX / sizeof(char16_t) - capacity) fail_memory();
    return capacity + length;
}

// The capacity after it has grown from `length` to `new_length` unit by unit.
inline size_t grown_capacity_by_units(size_t capacity, size_t length, size_t new_length) {
    while (new_length > length && new_length > capacity) {
        capacity = grown_capacity(capacity, (capacity > length ? capacity : length) + 1);
    }
    return capacity;
}

// A buffer of `capacity` units; throws std::bad_alloc with the old one as it was.
inline char16_t* resized(char16_t* buffer, size_t capacity) {
    return static_cast<char16_t*>(utReallocWithCheck(buffer, capacity * sizeof(char16_t)));
}

}  // namespace qxut::regexp

#endif
