// array_search.cpp - finding elements of a dynamic array, and the operations that find first.
//
// Two searches: one through a list from its start, and one that halves a sorted list. They pass
// their arguments to the comparison in opposite orders, and the second meets, of equal elements,
// the one that its halving comes to first: both are known to callers' comparisons and files.
// Entry points: ut_array_index_of, ut_array_find_sorted_index_of and kin. Tested by
// tests/util/array_test.cpp.
#include "util/array_core.h"

namespace qxut {
namespace {

// The part of a sorted list that is still searched, from `low` to `high`, and its middle.
class Halving {
  public:
    // Bounds are signed: below index 0 they cross like anywhere else.
    Halving(uint64_t length, uint64_t elem_size)
        : high_(static_cast<int64_t>(length) - 1),
          middle_(high_ / 2),
          is_large_(length * elem_size > kCached) {}

    bool goes_on() const { return low_ < high_; }
    uint64_t middle() const { return static_cast<uint64_t>(middle_); }

    // Which way it goes is not to be foretold. Of a small list, which is in the caches, waiting for
    // the comparison costs less than guessing wrong half of the time; of a large one, a guess that
    // is right half of the time has had the next element fetched meanwhile.
    void step(int32_t order) {
        if (is_large_) {
            if (order > 0) [[likely]]
                low_ = middle_ + 1;
            else
                high_ = middle_ - 1;
        } else {
            const int64_t up = -static_cast<int64_t>(order > 0);
            low_ += (middle_ + 1 - low_) & up;
            high_ += (middle_ - 1 - high_) & ~up;
        }
        middle_ = (low_ + high_) / 2;
    }

  private:
    static constexpr uint64_t kCached = 0x40000;  // bytes

    int64_t low_ = 0;
    int64_t high_;
    int64_t middle_;
    bool is_large_;
};

// The element met, or the place where the key belongs.
Found find_sorted(ut_array& array, const void* key) {
    if (array.length == 0) return {0, false};
    const ut_array_compare_fcn compare = array.compare_fn;
    const unsigned char* const data = slot(array, 0);
    const uint64_t size = array.elem_size;
    Halving halving(array.length, size);
    int32_t order = compare(&array, key, data + halving.middle() * size);
    while (order != 0 && halving.goes_on()) {
        halving.step(order);
        order = compare(&array, key, data + halving.middle() * size);
    }
    return {halving.middle() + (order > 0 ? 1 : 0), order == 0};
}

uint64_t index_or_none(const Found& place) {
    return place.found ? place.index : UT_ARRAY_NOT_FOUND;
}

void* address_or_null(const ut_array& array, const Found& place) {
    return place.found ? slot(array, place.index) : nullptr;
}

void remove_found(ut_array& array, const Found& place) {
    if (place.found) delete_range(array, place.index, place.index + 1);
}

}  // namespace

Found find_linear(ut_array& array, const void* key) {
    for (uint64_t i = 0; i < array.length; ++i) {
        if (array.compare_fn(&array, slot(array, i), key) == 0) return {i, true};
    }
    return {array.length, false};
}

}  // namespace qxut

using namespace qxut;

uint64_t ut_array_index_of(ut_array* array, const void* key) {
    return index_or_none(find_linear(*array, key));
}

void* ut_array_find(ut_array* array, const void* key) {
    return address_or_null(*array, find_linear(*array, key));
}

bool ut_array_is_member(ut_array* array, const void* key) { return find_linear(*array, key).found; }

void ut_array_remove_element(ut_array* array, const void* key) {
    remove_found(*array, find_linear(*array, key));
}

int32_t ut_array_append_new(ut_array* array, const void* element) {
    if (find_linear(*array, element).found) return 0;
    ut_array_append(array, element);
    return 1;
}

uint64_t ut_array_sorted_index_of(ut_array* array, const void* key) {
    return index_or_none(find_sorted(*array, key));
}

void* ut_array_find_sorted(ut_array* array, const void* key) {
    return address_or_null(*array, find_sorted(*array, key));
}

bool ut_array_is_member_sorted(ut_array* array, const void* key) {
    return find_sorted(*array, key).found;
}

uint64_t ut_array_find_sorted_index_of(ut_array* array, const void* key) {
    return find_sorted(*array, key).index;
}

void* ut_array_insert_sorted(ut_array* array, const void* element) {
    return insert_at(*array, find_sorted(*array, element).index, element);
}

void ut_array_remove_sorted_element(ut_array* array, const void* key) {
    remove_found(*array, find_sorted(*array, key));
}
