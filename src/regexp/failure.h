// failure.h - how the regular expressions fail: each function throws and never returns.
//
// The texts come from the message table of module "regexp", in the language of the current
// message context. Tested by tests/regexp/failure_test.cpp.
#ifndef QXUT_SRC_REGEXP_FAILURE_H
#define QXUT_SRC_REGEXP_FAILURE_H

#include <cstddef>
#include <cstdint>

namespace qxut::regexp {

// RE_Exception. Positions are UTF-16 units of the pattern for the first two, of the searched text
// for the others; `limit` is in instructions, steps, bytes and levels.
[[noreturn]] void fail_repeated_mode_flag(size_t position);
[[noreturn]] void fail_program_too_large(uint64_t limit, size_t position);
[[noreturn]] void fail_step_limit(uint64_t limit, size_t position);
[[noreturn]] void fail_memory_limit(uint64_t limit, size_t position);
[[noreturn]] void fail_depth_limit(uint64_t limit, size_t position);

// InterruptException, for a pending interrupt that was taken and for a caller's cancel flag.
[[noreturn]] void fail_interrupt();

// Calls the out-of-memory listener, then throws std::bad_alloc.
[[noreturn]] void fail_memory();

// The object itself, or fail_memory() for null; wraps a new-expression of an RE_Memory class.
template <class T>
T* require(T* object) {
    if (object == nullptr) [[unlikely]]
        fail_memory();
    return object;
}

}  // namespace qxut::regexp

#endif
