// array.cpp - life, size and access of a dynamic array.
//
// Memory is got before anything changes. Deleting elements goes through one function, which closes
// the gap over what was deleted however it ends, so that no element is ever deleted twice.
// Entry points: ut_array_initialize, ut_array_set_size, ut_array_clear. Tested by
// tests/util/array_test.cpp.
#include <qxut/util/array.h>

#include <algorithm>
#include <limits>

#include <qxut/util/error.h>

#include "util/array_core.h"
#include "util/builtin_tables.h"
#include "util/cleanup_guard.h"

namespace qxut {
namespace array_default {

void copy_bytes(ut_array* array, void* destination, const void* source) {
    copy_element(array->elem_size, destination, source);
}

void delete_nothing(ut_array* /*array*/, void* /*element*/) {}

int32_t compare_bytes(ut_array* array, const void* a, const void* b) {
    return std::memcmp(a, b, array->elem_size);
}

}  // namespace array_default

namespace {

// No block is larger, and no distance inside one.
constexpr uint64_t kLargestBlock = std::numeric_limits<ptrdiff_t>::max();

[[noreturn]] void raise_too_large(const ut_array& array) {
    ut_error(array.mem_ctx->error_context, UT_OUT_OF_MEMORY);
}

// Capacity for m elements when a block grows. The rule has an exception for a sum of
// UT_ARRAY_NOT_FOUND, which would be taken for "the length": none is ever made, since the sums
// below fifty are small and those above are even.
uint64_t grown_capacity(const ut_array& array, uint64_t m) {
    if (m < 50) return m + 5;
    if (m > kLargestBlock / 2) raise_too_large(array);
    return 2 * m;
}

// The elements that a deletion has got through: from `first` to before `next`.
struct Gap {
    uint64_t first;
    uint64_t next;
};

void close_gap(void* gap, void* array) {
    const auto& deleted = *static_cast<Gap*>(gap);
    move_tail(*static_cast<ut_array*>(array), deleted.next, deleted.first);
}

}  // namespace

void resize_block(ut_array& array, uint64_t slots) {
    if (slots > kLargestBlock / array.elem_size) raise_too_large(array);
    array.data = ut_mem_realloc(array.mem_ctx, array.data, slots * array.elem_size);
}

void reserve(ut_array& array, uint64_t n) {
    if (n > kLargestBlock || array.length > kLargestBlock) raise_too_large(array);
    const uint64_t needed = array.length + n;
    if (needed <= array.capacity) return;
    const uint64_t capacity = grown_capacity(array, needed);
    resize_block(array, capacity);
    array.capacity = capacity;
}

void delete_range(ut_array& array, uint64_t first, uint64_t last) {
    Gap gap{first, last};
    if (!deletes_nothing(array)) {
        ut_array* self = &array;
        CleanupGuard guard(array.mem_ctx->error_context, &self, &gap, close_gap);
        for (gap.next = first; gap.next < last;) {
            void* const element = slot(array, gap.next++);
            array.delete_fn(&array, element);
        }
        guard.release();
    }
    close_gap(&gap, &array);
}

}  // namespace qxut

using namespace qxut;

int32_t ut_array_initialize(ut_array* array, _memory_context* mem_ctx, uint64_t elem_size,
                            void* user_data, ut_array_copy_fcn copy_fn,
                            ut_array_delete_fcn delete_fn, ut_array_compare_fcn compare_fn) {
    ut_mem_add_primary_message_table(mem_ctx, &array_message_table);
    if (elem_size == 0) ut_error(mem_ctx->error_context, UT_ARRAY_INVALID_DATASIZE);
    array->mem_ctx = mem_ctx;
    array->user_data = user_data;
    array->copy_fn = copy_fn != nullptr ? copy_fn : array_default::copy_bytes;
    array->delete_fn = delete_fn != nullptr ? delete_fn : array_default::delete_nothing;
    array->compare_fn = compare_fn != nullptr ? compare_fn : array_default::compare_bytes;
    array->elem_size = elem_size;
    array->length = 0;
    array->capacity = 0;
    array->data = nullptr;
    return 0;
}

ut_array* ut_array_new(_memory_context* mem_ctx, uint64_t elem_size, void* user_data,
                       ut_array_copy_fcn copy_fn, ut_array_delete_fcn delete_fn,
                       ut_array_compare_fcn compare_fn) {
    auto* array = static_cast<ut_array*>(ut_mem_alloc(mem_ctx, sizeof(ut_array)));
    CleanupGuard guard(mem_ctx->error_context, &array, mem_ctx, free_through);
    ut_array_initialize(array, mem_ctx, elem_size, user_data, copy_fn, delete_fn, compare_fn);
    guard.release();
    return array;
}

void ut_array_clear(ut_array* array) {
    delete_range(*array, 0, array->length);
    if (array->data != nullptr) ut_mem_free(array->mem_ctx, array->data);
    array->data = nullptr;
    array->capacity = 0;
}

void ut_array_delete(ut_array* array) {
    if (array == nullptr) return;
    ut_array_clear(array);
    ut_mem_free(array->mem_ctx, array);
}

void ut_array_expand(ut_array* array, uint64_t n) {
    reserve(*array, n);
    if (n != 0) std::memset(slot(*array, array->length), 0, n * array->elem_size);
    array->length += n;
}

void ut_array_set_size(ut_array* array, uint64_t new_length, uint64_t new_capacity) {
    if (new_capacity == UT_ARRAY_NOT_FOUND) new_capacity = new_length;
    const uint64_t old_length = array->length;
    // What the capacity says of the block may be too little: elements need room in any case.
    const uint64_t needed = std::max({new_capacity, new_length, old_length});
    const bool grows = new_capacity > array->capacity;
    if (grows || (new_length > old_length && new_length > array->capacity)) {
        resize_block(*array, needed);
    }
    if (new_length > old_length) {
        std::memset(slot(*array, old_length), 0, (new_length - old_length) * array->elem_size);
        array->length = new_length;
    } else {
        delete_range(*array, new_length, old_length);
    }
    array->capacity = new_capacity;
}

void ut_array_shrink(ut_array* array, uint64_t k) {
    ut_array_set_size(array, array->length - k, array->capacity);
}

bool ut_array_is_empty(const ut_array* array) { return array->length == 0; }

uint64_t ut_array_length(const ut_array* array) { return array->length; }

void* ut_array_get(const ut_array* array, uint64_t i) {
    return i < array->length ? slot(*array, i) : nullptr;
}

void* ut_array_head(const ut_array* array) { return ut_array_get(array, 0); }

void* ut_array_tail(const ut_array* array) {
    return array->length != 0 ? slot(*array, array->length - 1) : nullptr;
}
