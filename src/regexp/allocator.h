// allocator.h - standard containers over utMalloc, for the regular expressions.
//
// What cannot be allocated, a size that overflows included, calls the out-of-memory listener and
// throws std::bad_alloc.
#ifndef QXUT_SRC_REGEXP_ALLOCATOR_H
#define QXUT_SRC_REGEXP_ALLOCATOR_H

#include <cstddef>
#include <vector>

namespace qxut::regexp {

// A block for `count` objects of `size` bytes; null for none. memory.cpp.
void* allocate_objects(size_t count, size_t size);
void free_objects(void* block) noexcept;

template <class T>
struct Allocator {
    using value_type = T;
    Allocator() noexcept = default;
    template <class U>
    Allocator(const Allocator<U>& /*other*/) noexcept {}
    T* allocate(size_t count) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer.
        return static_cast<T*>(allocate_objects(count, sizeof(T)));
    }
    void deallocate(T* block, size_t /*count*/) noexcept { free_objects(block); }
    template <class U>
    bool operator==(const Allocator<U>& /*other*/) const noexcept {
        return true;
    }
};

template <class T>
using Vector = std::vector<T, Allocator<T>>;

// Room for the first elements, instead of one by one.
template <class T>
void reserve_first(Vector<T>& vector, size_t count) {
    if (vector.capacity() == 0) vector.reserve(count);
}

}  // namespace qxut::regexp

#endif
