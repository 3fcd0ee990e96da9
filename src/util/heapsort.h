// heapsort.h - sorting in place with at most about n log2 n + O(n) comparisons, whatever the input.
//
// The elements 0..n-1 form a heap: no child 2i + 1, 2i + 2 is greater than its parent i. Sinking an
// element goes down along the greater children to a leaf and back up to where the element
// belongs, which takes half the comparisons of comparing it on the way down. The path is found
// first and the moves are made after, so a comparison that raises finds every element in place.
// Entry point: sort_by_heap. Tested by tests/util/sort_test.cpp.
#ifndef QXUT_SRC_UTIL_HEAPSORT_H
#define QXUT_SRC_UTIL_HEAPSORT_H

#include <cstdint>

namespace qxut {

// Restores the heap below `root`, whose element may be less than its children. compare(a, b) and
// exchange(a, b) take the indices of elements.
template <class Compare, class Exchange>
void sink(int64_t root, int64_t count, const Compare& compare, const Exchange& exchange) {
    int64_t at = root;
    while (2 * at + 1 < count) {
        const int64_t child = 2 * at + 1;
        at = child + 1 < count && compare(child + 1, child) > 0 ? child + 1 : child;
    }
    while (at > root && compare(root, at) > 0) at = (at - 1) / 2;
    // Rotates the path from `at` up through the root: each element moves to its parent's place.
    for (; at > root; at = (at - 1) / 2) exchange(root, at);
}

template <class Compare, class Exchange>
void sort_by_heap(int64_t count, const Compare& compare, const Exchange& exchange) {
    for (int64_t root = count / 2; root-- > 0;) sink(root, count, compare, exchange);
    while (count > 1) {
        exchange(0, --count);
        sink(0, count, compare, exchange);
    }
}

}  // namespace qxut

#endif
