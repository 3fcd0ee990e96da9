// failing_malloc.h - lets requests to the C runtime's heap fail, for code that takes no allocator.
//
// Link failing_malloc.cpp into the test program: it replaces malloc and kin. The sanitizers bring
// a heap of their own, so there it stands aside and `kCanFailMalloc` is false.
#ifndef QXUT_TESTS_SUPPORT_FAILING_MALLOC_H
#define QXUT_TESTS_SUPPORT_FAILING_MALLOC_H

#include <cstddef>

#include "support/not_copied.h"

namespace qxut_test {

extern const bool kCanFailMalloc;

// While one is in scope, requests are counted from 0, the one with index `request` fails, and
// with `from_then_on` every later one too. Keep the scope around the call under test: anything
// else allocates as well. One at a time, on one thread.
class FailingMalloc : private NotCopied {
  public:
    static constexpr size_t kNever = static_cast<size_t>(-1);
    explicit FailingMalloc(size_t request = kNever, bool from_then_on = false);
    ~FailingMalloc();

    // Of the last scope; readable after its end.
    static bool has_failed();
    static ptrdiff_t live_blocks();  // blocks given less blocks taken back
};

}  // namespace qxut_test

#endif
