// message_scratch.h - temporary memory of the formatter that a context keeps.
//
// A stack of bytes in a chain of blocks. The blocks in use are always the first of the chain, a
// run takes from the last of them and gives back everything it took when it ends, so runs may
// nest. A block that is in use never moves: writers hold pointers into it while they call back.
// Blocks are kept for the next run, because a context cannot free before it is cleared.
#ifndef QXUT_SRC_UTIL_MESSAGE_SCRATCH_H
#define QXUT_SRC_UTIL_MESSAGE_SCRATCH_H

#include <cstddef>

#include <qxut/util/message.h>

struct alignas(std::max_align_t) ut_message_scratch {
    ut_message_scratch* next;
    size_t capacity;  // bytes behind this header
    size_t used;
};

namespace qxut {

// Makes sure that a run that is not nested can take `size` bytes. False: out of memory.
bool reserve_scratch(ut_message_context& context, size_t size, ut_realloc_fcn reallocate);

// Gives every block to `release`.
void release_scratch(ut_message_context& context, ut_free_fcn release);

// What one run takes; given back at the end of the scope.
class ScratchScope {
  public:
    explicit ScratchScope(ut_message_context& context) : context_(context) {}
    ScratchScope(const ScratchScope&) = delete;
    ScratchScope& operator=(const ScratchScope&) = delete;
    ~ScratchScope() {
        if (open_) give_back();
    }

    // `size` bytes, aligned for any type; null when out of memory.
    void* take(size_t size);

  private:
    void give_back();

    ut_message_context& context_;
    bool open_ = false;
    ut_message_scratch* top_ = nullptr;  // last block in use when the run began, and its fill
    size_t used_ = 0;
};

}  // namespace qxut

#endif
