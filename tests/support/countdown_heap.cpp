#include "support/countdown_heap.h"

#include <cstdlib>
#include <cstring>

namespace qxut_test {
namespace {

CountdownHeap* open_heap = nullptr;

// Keeps the block behind it aligned as malloc would.
struct alignas(std::max_align_t) Header {
    size_t size;
};

}  // namespace

CountdownHeap::CountdownHeap(size_t failing_request, Failure failure)
    : failing_request_(failing_request), failure_(failure), previous_(open_heap) {
    open_heap = this;
}

CountdownHeap::~CountdownHeap() { open_heap = previous_; }

void CountdownHeap::fail_at(size_t request, Failure failure) {
    failing_request_ = request == kNever ? kNever : requests_ + request;
    failure_ = failure;
    has_failed_ = false;
}

bool CountdownHeap::grant() {
    const size_t request = requests_++;
    const bool fails =
        failure_ == Failure::once ? request == failing_request_ : request >= failing_request_;
    has_failed_ = has_failed_ || fails;
    return !fails;
}

void* CountdownHeap::allocate(size_t size) {
    CountdownHeap& heap = *open_heap;
    if (!heap.grant()) return nullptr;
    if (size > static_cast<size_t>(-1) - sizeof(Header)) return nullptr;
    auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
    if (header == nullptr) return nullptr;
    header->size = size;
    ++heap.live_blocks_;
    heap.live_bytes_ += size;
    return std::memset(header + 1, 0xA5, size);
}

// Always moves, so that a pointer into the old block that outlives a growth is found.
void* CountdownHeap::reallocate(void* block, size_t size) {
    if (block == nullptr) return allocate(size);
    const size_t old_size = (static_cast<Header*>(block) - 1)->size;
    void* moved = allocate(size);
    if (moved == nullptr) return nullptr;
    std::memcpy(moved, block, old_size < size ? old_size : size);
    release(block);
    return moved;
}

void CountdownHeap::release(void* block) {
    if (block == nullptr) return;
    Header* header = static_cast<Header*>(block) - 1;
    --open_heap->live_blocks_;
    open_heap->live_bytes_ -= header->size;
    std::free(header);
}

}  // namespace qxut_test
