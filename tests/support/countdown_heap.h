// countdown_heap.h - an allocator that counts its blocks and fails on request.
//
// The library's allocation functions take no data, so the heap is one per process; a test opens
// it with a CountdownHeap in its scope. Blocks carry their size, so the heap can tell the bytes
// that are live and their peak. Every block is surrounded by nothing: overruns are the sanitizers'.
#ifndef QXUT_TESTS_SUPPORT_COUNTDOWN_HEAP_H
#define QXUT_TESTS_SUPPORT_COUNTDOWN_HEAP_H

#include <cstddef>

#include "support/not_copied.h"

namespace qxut_test {

class CountdownHeap : private NotCopied {
  public:
    enum class Failure { once, from_then_on };
    static constexpr size_t kNever = static_cast<size_t>(-1);

    // Fails the request with this index (counted from 0; a growing reallocation is a request),
    // and with `from_then_on` every one after it. Blocks start filled with 0xA5.
    explicit CountdownHeap(size_t failing_request = kNever, Failure failure = Failure::once);
    ~CountdownHeap();

    // The functions to give to a context; valid while a CountdownHeap is open.
    static void* allocate(size_t size);
    static void* reallocate(void* block, size_t size);
    static void release(void* block);

    void fail_at(size_t request, Failure failure = Failure::once);  // counted from now
    size_t requests() const { return requests_; }
    size_t live_blocks() const { return live_blocks_; }
    size_t live_bytes() const { return live_bytes_; }
    bool has_failed() const { return has_failed_; }

  private:
    bool grant();

    size_t failing_request_;
    Failure failure_;
    size_t requests_ = 0;
    size_t live_blocks_ = 0;
    size_t live_bytes_ = 0;
    bool has_failed_ = false;
    CountdownHeap* previous_;
};

}  // namespace qxut_test

#endif
