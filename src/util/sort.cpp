// sort.cpp - quicksort with a median-of-three pivot over elements of any size.
//
// Entry point: ut_qsort. Tested by tests/util/sort_test.cpp.
#include <qxut/util/sort.h>

#include <cstring>

#include <qxut/util/memory.h>

#include "util/cleanup_guard.h"
#include "util/current.h"

namespace {

struct Sorter {
    char* base;
    size_t size;
    void* context;
    ut_compare_fcn compare;
    void* buffer;

    char* at(int32_t index) const { return base + static_cast<size_t>(index) * size; }
    int32_t order(int32_t a, int32_t b) const { return compare(context, at(a), at(b)); }
    void exchange(int32_t a, int32_t b) const {
        if (a == b) return;
        std::memcpy(buffer, at(a), size);
        std::memcpy(at(a), at(b), size);
        std::memcpy(at(b), buffer, size);
    }

    // Median of three, ties going to the lower index.
    int32_t choose_pivot(int32_t lo, int32_t hi) const {
        const int32_t mid = lo + (hi - lo) / 2;
        const int32_t c = order(lo, mid);
        if (c == 0) return lo;
        if (c > 0) {
            if (order(mid, hi) >= 0) return mid;
            return order(lo, hi) <= 0 ? lo : hi;
        }
        if (order(lo, hi) >= 0) return lo;
        return order(mid, hi) <= 0 ? mid : hi;
    }

    int32_t partition(int32_t lo, int32_t hi) const {
        const int32_t pivot = choose_pivot(lo, hi);
        int32_t i = lo;
        int32_t j = hi;
        for (;;) {
            while (i < hi && order(i, pivot) <= 0) ++i;
            while (j > lo && order(j, pivot) >= 0) --j;
            if (i >= j) break;
            exchange(i, j);
        }
        if (j > pivot) {
            exchange(pivot, j);
            return j;
        }
        if (i < pivot) {
            exchange(pivot, i);
            return i;
        }
        return pivot;
    }

    // The two sides are independent: taking the smaller one first bounds the depth by log2 n.
    void sort(int32_t lo, int32_t hi) const {  // NOLINT(misc-no-recursion)
        while (lo < hi) {
            const int32_t p = partition(lo, hi);
            if (p - lo < hi - p) {
                sort(lo, p - 1);
                lo = p + 1;
            } else {
                sort(p + 1, hi);
                hi = p - 1;
            }
        }
    }
};

}  // namespace

void ut_qsort(void* base, uint32_t n, size_t size, void* context, ut_compare_fcn compare) {
    _memory_context* const memory = qxut::current_memory_context();
    void* buffer = ut_mem_alloc(memory, size);
    const qxut::CleanupGuard guard(memory->error_context, &buffer, memory, qxut::free_through);
    const Sorter sorter{static_cast<char*>(base), size, context, compare, buffer};
    sorter.sort(0, static_cast<int32_t>(n) - 1);
}
