// counting_heap.cpp - see counting_heap.h. Tested by tests/console (memory limit, zero blocks at
// exit, peak while a million rows are loaded).
#include "counting_heap.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace console {
namespace {

// In front of every block; as large as the strictest alignment, so that the block keeps it.
struct alignas(std::max_align_t) Header {
    size_t size;  // this header included
};

HeapUse use{};
size_t limit = SIZE_MAX;

// Whether `size` bytes more may be asked for while `given_back` of those in use go.
bool granted(size_t size, size_t given_back) {
    return size <= limit && use.bytes - given_back <= limit - size;
}

void* count(Header* header, size_t size, size_t given_back) {
    header->size = size;
    use.bytes = use.bytes - given_back + size;
    use.peak = std::max(use.peak, use.bytes);
    return header + 1;
}

Header* header_of(void* block) { return static_cast<Header*>(block) - 1; }

}  // namespace

void* heap_allocate(size_t size) { return heap_reallocate(nullptr, size); }

void* heap_reallocate(void* block, size_t size) {
    if (size > SIZE_MAX - sizeof(Header)) return nullptr;
    size += sizeof(Header);
    Header* old = block == nullptr ? nullptr : header_of(block);
    const size_t old_size = old == nullptr ? 0 : old->size;
    if (!granted(size, old_size)) return nullptr;
    auto* header = static_cast<Header*>(std::realloc(old, size));
    if (header == nullptr) return nullptr;
    if (old == nullptr) ++use.blocks;
    return count(header, size, old_size);
}

void heap_release(void* block) {
    if (block == nullptr) return;
    Header* header = header_of(block);
    use.bytes -= header->size;
    --use.blocks;
    std::free(header);
}

void set_heap_limit(size_t bytes) { limit = bytes == 0 ? SIZE_MAX : bytes; }

HeapUse heap_use() { return use; }

}  // namespace console
