// scratch.h - the memory that a search works in, kept by its thread for the next one.
#ifndef QXUT_SRC_REGEXP_SCRATCH_H
#define QXUT_SRC_REGEXP_SCRATCH_H

#include <cstddef>
#include <cstdint>

#include "regexp/allocator.h"
#include "regexp/program.h"
#include "regexp/records.h"

namespace qxut::regexp {

// One entry of the backtrack stack: a way that is left, or something to put back on the way there.
struct Entry {
    enum class Kind : uint32_t {
        bottom,        // nothing is left
        way,           // go on at instruction `extra` from the position
        row,           // a choice: the way at `extra` in Program::targets
        lazy_counter,  // one more iteration
        greedy_loop,   // the loop may end earlier, down to `extra`
        lazy_loop,     // it may take one more; `extra`: how many more
        body,          // a region's beginning; a look-behind's `extra`: where it was tried from
        failed,        // all ways of the instruction from the position have failed
        failed_run,    // and from all positions up to `extra`
        open_token,    // token `pc` was open from `position`
        token,         // its extent was `position` to `extra`
        reg,           // register `pc` held `position`
        frame,         // frame `pc` was the current one
        frame_end,     // the same, and frames from `extra` on are given back
    } kind;
    uint32_t pc;
    size_t position;
    size_t extra;
};

// The extent of a token, and where it was opened last.
struct TokenState {
    size_t start;
    size_t end;
    size_t opened;
};

// A dynamic pattern that is being matched, or the whole one.
struct Frame {
    const Program* program;
    size_t registers;  // where they begin in Scratch::registers
    uint32_t return_to;
    uint32_t caller;  // the frame that it returns to
    uint32_t depth;
};

struct Scratch : RE_Memory {
    ~Scratch();

    Entry* entries = nullptr;
    size_t capacity = 0;
    Vector<size_t> registers;
    Vector<TokenState> tokens;
    Vector<Frame> frames;
    Records records;
    Vector<size_t> extents;  // answers on their way to the caller

    Scratch* next = nullptr;  // of the thread's

    // Gives back what is more than a search should leave behind.
    void trim() noexcept;
};

// A scratch of the thread; whoever asks before it is given back gets another. Throws
// std::bad_alloc.
Scratch* acquire_scratch();
// Gives one back, to the thread that calls.
void release_scratch(Scratch* scratch) noexcept;

// One of the thread's scratches for the length of a scope.
class ScratchUse {
  public:
    ScratchUse() : scratch_(acquire_scratch()) {}
    ~ScratchUse() { release_scratch(scratch_); }
    ScratchUse(const ScratchUse&) = delete;
    ScratchUse& operator=(const ScratchUse&) = delete;
    Scratch& get() const noexcept { return *scratch_; }

  private:
    Scratch* scratch_;
};

}  // namespace qxut::regexp

#endif
