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

// The element met, or the place where the key belongs.
Found find_sorted(ut_array& array, const void* key) {
    if (array.length == 0) return {0, false};
    uint64_t low = 0;
    uint64_t high = array.length - 1;
    uint64_t middle = high / 2;
    int32_t order = array.compare_fn(&array, key, slot(array, middle));
    while (order != 0 && low < high) {
        if (order > 0) {
            low = middle + 1;
        } else if (middle == 0) {
            // An unsigned `high` cannot go below 0: the bounds cross the other way.
            ++low;
            high = 0;
        } else {
            high = middle - 1;
        }
        middle = (low + high) / 2;
        order = array.compare_fn(&array, key, slot(array, middle));
    }
    return {order > 0 ? middle + 1 : middle, order == 0};
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
