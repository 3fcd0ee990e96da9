// heap_failure.h - what the checked allocation functions do when there is no memory.
#ifndef QXUT_SRC_UTIL_HEAP_FAILURE_H
#define QXUT_SRC_UTIL_HEAP_FAILURE_H

namespace qxut {

// Calls the out-of-memory listener, then throws std::bad_alloc.
[[noreturn]] void fail_for_memory();

}  // namespace qxut

#endif
