// array_elements.cpp - adding, replacing and removing the elements of a dynamic array.
//
// A new element's slot belongs to the array before the copy callback fills it; an item takes it
// out again when the callback raises. An element that is added from inside the array is followed
// to where growing and moving the tail put it. Copies of plain bytes cannot raise and go without
// all that. Entry points: ut_array_insert, ut_array_append, ut_array_remove and kin. Tested by
// tests/util/array_test.cpp.
#include <algorithm>

#include <qxut/util/error.h>

#include "util/array_core.h"
#include "util/cleanup_guard.h"

namespace qxut {
namespace {

// The bytes of an element to be added, also while the array's block moves: bytes inside the block
// are known by their offset.
class Source {
  public:
    Source(const ut_array& array, const void* element)
        : element_(element),
          offset_(reinterpret_cast<uintptr_t>(element) - reinterpret_cast<uintptr_t>(array.data)),
          inside_(array.data != nullptr &&
                  offset_ < std::max(array.length, array.capacity) * array.elem_size) {}

    // After the tail from `index` on moved up by one slot.
    const void* after_move(const ut_array& array, uint64_t index) const {
        if (!inside_) return element_;
        const uint64_t moved = offset_ >= index * array.elem_size ? array.elem_size : 0;
        return slot(array, 0) + offset_ + moved;
    }

  private:
    const void* element_;
    uint64_t offset_;
    bool inside_;
};

// An index, for items that put an array right when a callback raised.
void remove_slot(void* index, void* array) {
    const uint64_t i = *static_cast<const uint64_t*>(index);
    move_tail(*static_cast<ut_array*>(array), i + 1, i);
}

// Fills the slot of a new element.
void fill_slot(ut_array& array, uint64_t index, const void* element) {
    void* const destination = slot(array, index);
    if (copies_bytes(array)) {
        copy_element(array.elem_size, destination, element);
        return;
    }
    ut_array* self = &array;
    CleanupGuard guard(array.mem_ctx->error_context, &self, &index, remove_slot);
    std::memset(destination, 0, array.elem_size);
    array.copy_fn(&array, destination, element);
    guard.release();
}

void remove_at(ut_array& array, uint64_t i) { delete_range(array, i, i + 1); }

}  // namespace

void* insert_at(ut_array& array, uint64_t index, const void* element) {
    const Source source(array, element);
    reserve(array, 1);
    const uint64_t tail = array.length - index;
    if (tail != 0) {
        std::memmove(slot(array, index + 1), slot(array, index), tail * array.elem_size);
    }
    ++array.length;
    fill_slot(array, index, source.after_move(array, index));
    return slot(array, index);
}

}  // namespace qxut

using namespace qxut;

void* ut_array_insert(ut_array* array, uint64_t index, const void* element, int32_t after) {
    // The not-found index, and any other beyond the length, is no place.
    if (index > array->length || (after == 1 && index == array->length)) return nullptr;
    return insert_at(*array, after == 1 ? index + 1 : index, element);
}

void* ut_array_append(ut_array* array, const void* element) {
    if (array->length < array->capacity && copies_bytes(*array)) [[likely]] {
        void* const destination = slot(*array, array->length++);
        copy_element(array->elem_size, destination, element);
        return destination;
    }
    return insert_at(*array, array->length, element);
}

void* ut_array_push(ut_array* array, const void* element) { return insert_at(*array, 0, element); }

void ut_array_set(ut_array* array, uint64_t i, const void* element) {
    if (deletes_nothing(*array) && copies_bytes(*array)) {
        copy_element(array->elem_size, slot(*array, i), element);
        return;
    }
    // A slot beyond the length is no element that could be removed.
    if (i >= array->length) {
        array->delete_fn(array, slot(*array, i));
        array->copy_fn(array, slot(*array, i), element);
        return;
    }
    CleanupGuard guard(array->mem_ctx->error_context, &array, &i, remove_slot);
    array->delete_fn(array, slot(*array, i));
    array->copy_fn(array, slot(*array, i), element);
    guard.release();
}

void ut_array_pop(ut_array* array) { ut_array_remove(array, 0); }

void ut_array_pop_end(ut_array* array) {
    if (array->length != 0) remove_at(*array, array->length - 1);
}

void ut_array_remove(ut_array* array, uint64_t i) {
    if (i < array->length) remove_at(*array, i);
}

bool ut_array_reclaim(ut_array* array, uint64_t i, void* out) {
    if (i >= array->length) return false;
    std::memcpy(out, slot(*array, i), array->elem_size);
    move_tail(*array, i + 1, i);
    return true;
}
