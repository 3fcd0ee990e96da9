// sort.cpp - ut_qsort: takes the element buffer and picks the way to move elements.
//
// The method is in quicksort.h. Tested by tests/util/sort_test.cpp.
#include <qxut/util/sort.h>

#include <qxut/util/memory.h>

#include "util/cleanup_guard.h"
#include "util/current.h"
#include "util/quicksort.h"
#include "util/sort_elements.h"

namespace {

using namespace qxut;

struct Array {
    void* base;
    uint32_t n;
    size_t size;
    void* buffer;
};

template <class Elements>
void sort_as(const Array& array, SortOrder order) {
    Quicksort<Elements>(Elements(array.base, array.size, array.buffer), order, array.n).sort();
}

void sort_by_size(const Array& array, SortOrder order) {
    if (array.size == 4) return sort_as<FixedElements<4>>(array, order);
    if (array.size == 8) return sort_as<FixedElements<8>>(array, order);
    if (array.size == 16) return sort_as<FixedElements<16>>(array, order);
    if (array.size % 16 == 0) return sort_as<SizedElements<WordCopier<SortWord16>>>(array, order);
    if (array.size % 8 == 0) return sort_as<SizedElements<WordCopier<uint64_t>>>(array, order);
    return sort_as<SizedElements<ByteCopier>>(array, order);
}

}  // namespace

void ut_qsort(void* base, uint32_t n, size_t size, void* context, ut_compare_fcn compare) {
    _memory_context* const memory = current_memory_context();
    void* buffer = ut_mem_alloc(memory, size);
    const CleanupGuard guard(memory->error_context, &buffer, memory, free_through);
    // Elements of no size are all one.
    if (n < 2 || size == 0) return;
    sort_by_size({base, n, size, buffer}, {compare, context, memory->error_context});
}
