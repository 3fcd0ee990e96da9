// array_whole.cpp - exchanging, copying, joining and comparing dynamic arrays.
//
// Copies count as elements one by one, as they are made, so that what a raised error leaves to be
// deleted is exactly what was copied. Entry points: ut_array_swap, ut_array_copy,
// ut_array_append_array, ut_array_compare. Tested by tests/util/array_test.cpp.
#include <qxut/util/error.h>

#include "util/array_core.h"
#include "util/cleanup_guard.h"

namespace qxut {
namespace {

// Bytes for one element on their way between slots.
class Temporary {
  public:
    explicit Temporary(const ut_array& array)
        : size_(array.elem_size),
          bytes_(ut_mem_alloc(array.mem_ctx, size_)),
          guard_(array.mem_ctx->error_context, &bytes_, array.mem_ctx, free_through) {}

    void exchange(void* a, void* b) {
        std::memcpy(bytes_, a, size_);
        std::memmove(a, b, size_);
        std::memcpy(b, bytes_, size_);
    }

  private:
    uint64_t size_;
    void* bytes_;
    CleanupGuard guard_;
};

void delete_array(void* /*argument*/, void* array) {
    ut_array_delete(static_cast<ut_array*>(array));
}

// Fills the zeroed slots behind the length with copies of src's first `count` elements. `length`
// follows the copies made.
void append_copies(ut_array& dst, const ut_array& src, uint64_t count) {
    if (copies_bytes(dst)) {
        if (count != 0) {
            std::memcpy(slot(dst, dst.length), slot(src, 0), count * dst.elem_size);
        }
        dst.length += count;
        return;
    }
    for (uint64_t i = 0; i < count; ++i) {
        dst.copy_fn(&dst, slot(dst, dst.length), slot(src, i));
        ++dst.length;
    }
}

void drop_copies(void* old_length, void* array) {
    auto& dst = *static_cast<ut_array*>(array);
    delete_range(dst, *static_cast<const uint64_t*>(old_length), dst.length);
}

// Zeroes the n slots behind the length, which are there.
void zero_slots(ut_array& array, uint64_t n) {
    if (n != 0) std::memset(slot(array, array.length), 0, n * array.elem_size);
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_array_swap(ut_array* array, uint64_t i, uint64_t j) {
    if (i == j) return;
    Temporary(*array).exchange(slot(*array, i), slot(*array, j));
}

void ut_array_reverse(ut_array* array) {
    if (array->length < 2) return;
    Temporary temporary(*array);
    for (uint64_t i = 0, j = array->length - 1; i < j; ++i, --j) {
        temporary.exchange(slot(*array, i), slot(*array, j));
    }
}

void ut_array_apply(ut_array* array, ut_array_apply_fcn fn) {
    for (uint64_t i = 0; i < array->length; ++i) fn(array->user_data, slot(*array, i));
}

ut_array* ut_array_copy(ut_array* array) {
    ut_array* copy = ut_array_new(array->mem_ctx, array->elem_size, array->user_data,
                                  array->copy_fn, array->delete_fn, array->compare_fn);
    CleanupGuard guard(array->mem_ctx->error_context, &copy, nullptr, delete_array);
    if (array->length != 0) resize_block(*copy, array->length);
    copy->capacity = array->length;
    zero_slots(*copy, array->length);
    append_copies(*copy, *array, array->length);
    guard.release();
    return copy;
}

bool ut_array_are_compatible(const ut_array* a, const ut_array* b) {
    return a->copy_fn == b->copy_fn && a->delete_fn == b->delete_fn &&
           a->compare_fn == b->compare_fn && a->elem_size == b->elem_size &&
           a->user_data == b->user_data;
}

ut_array* ut_array_append_array(ut_array* dst, ut_array* src) {
    if (!ut_array_are_compatible(dst, src)) return nullptr;
    uint64_t old_length = dst->length;
    const uint64_t count = src->length;  // taken before dst, which may be src, gets longer
    reserve(*dst, count);
    zero_slots(*dst, count);
    CleanupGuard guard(dst->mem_ctx->error_context, &dst, &old_length, drop_copies);
    append_copies(*dst, *src, count);
    guard.release();
    return dst;
}

int32_t ut_array_compare(ut_array* a, ut_array* b) {
    if (a == b || !ut_array_are_compatible(a, b)) return 1;
    for (uint64_t i = 0; i < a->length; ++i) {
        if (a->compare_fn(a, slot(*a, i), slot(*b, i)) != 0) return 0;
    }
    return 1;
}
