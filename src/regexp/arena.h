// arena.h - memory for what is needed only while a stage of compiling runs.
//
// Parsing, lowering and analysing a usual pattern take a few kilobytes of working vectors, which an
// allocation each would make slow. A stage has an arena, a block that stands on the stack, and its
// Working vectors take from it one behind the other. What is freed comes back when it was taken
// last. A vector that does not fit any more is allocated by itself, as a Vector is, so large
// patterns need no more memory than without an arena.
//
// Invariant: what is in use of the block lies below used_. An arena outlives what takes from it.
// Tested by tests/regexp/arena_test.cpp.
#ifndef QXUT_SRC_REGEXP_ARENA_H
#define QXUT_SRC_REGEXP_ARENA_H

#include <cstddef>
#include <functional>
#include <vector>

#include "regexp/allocator.h"

namespace qxut::regexp {

class Arena {
  public:
    static constexpr size_t kBytes = 8192;

    Arena() noexcept {}  // the block stays as it is
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // A block for `count` objects of `size` bytes. Throws std::bad_alloc.
    void* allocate(size_t count, size_t size) {
        if (count > (kBytes - used_) / size) return allocate_objects(count, size);
        std::byte* const block = block_ + used_;
        used_ += rounded(count * size);
        return block;
    }
    // Gives back what `allocate` gave for so many.
    void free(void* block, size_t count, size_t size) noexcept {
        auto* const begin = static_cast<std::byte*>(block);
        const std::less<> is_below;
        if (is_below(begin, block_) || !is_below(begin, block_ + kBytes)) {
            free_objects(block);
        } else if (begin + rounded(count * size) == block_ + used_) {
            used_ = static_cast<size_t>(begin - block_);
        }
    }

  private:
    static constexpr size_t kAlignment = alignof(std::max_align_t);
    static_assert(kBytes % kAlignment == 0);
    static constexpr size_t rounded(size_t bytes) {
        return (bytes + kAlignment - 1) / kAlignment * kAlignment;
    }

    size_t used_ = 0;
    alignas(kAlignment) std::byte block_[kBytes];
};

// Of standard containers that take from an arena.
template <class T>
class ArenaAllocator {
  public:
    using value_type = T;
    // Implicit: a container is made from its arena.
    ArenaAllocator(Arena& arena) noexcept : arena_(&arena) {}
    template <class U>
    ArenaAllocator(const ArenaAllocator<U>& other) noexcept : arena_(other.arena()) {}
    T* allocate(size_t count) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer.
        return static_cast<T*>(arena_->allocate(count, sizeof(T)));
    }
    void deallocate(T* block, size_t count) noexcept {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer.
        arena_->free(block, count, sizeof(T));
    }
    Arena* arena() const noexcept { return arena_; }
    template <class U>
    bool operator==(const ArenaAllocator<U>& other) const noexcept {
        return arena_ == other.arena();
    }

  private:
    Arena* arena_;
};

template <class T>
using Working = std::vector<T, ArenaAllocator<T>>;

}  // namespace qxut::regexp

#endif
