// heap.cpp - the C runtime's heap under the library's names, with and without a check.
//
// The checked forms share one failure path: listener, then exception. Tested by
// tests/util/memory_test.cpp.
#include <qxut/util/heap.h>

#include <cstdlib>
#include <cstring>
#include <new>

#include "util/heap_failure.h"

namespace {

utOutOfMemoryListener out_of_memory_listener = nullptr;

// what() of std::bad_alloc is the runtime's own; ours is the same everywhere.
class BadAllocation : public std::bad_alloc {
  public:
    const char* what() const noexcept override { return "bad allocation"; }
};

void* require(void* block) {
    if (block == nullptr) [[unlikely]]
        qxut::fail_for_memory();
    return block;
}

}  // namespace

void qxut::fail_for_memory() {
    if (out_of_memory_listener != nullptr) out_of_memory_listener();
    throw BadAllocation();
}

void* utMalloc(size_t size) { return size == 0 ? nullptr : std::malloc(size); }

void* utCalloc(size_t count, size_t size) {
    return count == 0 || size == 0 ? nullptr : std::calloc(count, size);
}

void* utRealloc(void* block, size_t size) {
    if (size == 0) {
        std::free(block);
        return nullptr;
    }
    return std::realloc(block, size);
}

void utFree(void* block) { std::free(block); }

void* utMallocWithCheck(size_t size) { return size == 0 ? nullptr : require(utMalloc(size)); }

void* utCallocWithCheck(size_t count, size_t size) {
    return count == 0 || size == 0 ? nullptr : require(utCalloc(count, size));
}

void* utReallocWithCheck(void* block, size_t size) {
    return size == 0 ? utRealloc(block, 0) : require(utRealloc(block, size));
}

void utSetOutOfMemoryListener(utOutOfMemoryListener listener) { out_of_memory_listener = listener; }

void* utNew_deprecated(size_t size) {
    return size == 0 ? nullptr : require(::operator new(size, std::nothrow));
}

void* utNewArray_deprecated(size_t size) {
    return size == 0 ? nullptr : require(::operator new[](size, std::nothrow));
}

void* utNewZero_deprecated(size_t size) {
    return size == 0 ? nullptr : std::memset(utNew_deprecated(size), 0, size);
}

void* utNewArrayZero_deprecated(size_t size) {
    return size == 0 ? nullptr : std::memset(utNewArray_deprecated(size), 0, size);
}
