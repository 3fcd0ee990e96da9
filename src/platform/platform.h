// platform.h - what the library needs from the operating system, in its own terms.
//
// The files of this folder are the only ones that include operating-system headers; a port adds
// its own implementation of these functions. Nothing here raises or uses a context.
#ifndef QXUT_SRC_PLATFORM_PLATFORM_H
#define QXUT_SRC_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>

// Thread-local data that is reached without a call. The library's few bytes fit the space that
// the loader keeps for libraries loaded later.
#if defined(_WIN32)
#define QXUT_THREAD_LOCAL_FAST
#else
#define QXUT_THREAD_LOCAL_FAST __attribute__((tls_model("initial-exec")))
#endif

namespace qxut::platform {

// Writes bytes to the process's standard error, past the C streams and their locks.
void write_error(const char* text, size_t length) noexcept;

// Writes the calling thread's stack into the buffer, innermost frame first, one line a frame and
// cut at a line when the buffer is full; always NUL-terminated. The first `skipped` frames, the
// caller's being number 0, are left out. Runs in process and needs little of it: no fork, no
// stream; memory only for demangling names, which stay mangled when there is none.
void write_stack_trace(char* buffer, size_t size, int skipped) noexcept;

// Keeps the calling thread's stack for later: stores the code addresses of its frames, innermost
// first, and returns their number, `capacity` at most. The first `skipped` frames, the caller's
// being number 0, are left out. Looks no name up: some microseconds, no memory.
size_t capture_stack(uintptr_t* addresses, size_t capacity, int skipped) noexcept;

// Writes a captured stack as write_stack_trace does, while the code that it leads through is still
// loaded.
void write_captured_trace(char* buffer, size_t size, const uintptr_t* addresses,
                          size_t count) noexcept;

// Flushes the C streams, but waits no more than two seconds for one that another thread holds (a
// thread that reads the console holds its stream), and leaves without running exit handlers.
[[noreturn]] void flush_and_leave(int status) noexcept;

// Waits some seconds for another thread to end the process; returns if it did not.
void wait_for_end() noexcept;

// What the operating system counts for this process, in bytes; see qxut/util/memory_counters.h.
struct ProcessMemory {
    uint64_t resident;
    uint64_t peak_resident;
    uint64_t committed;
};

// False when the operating system does not tell; nothing is stored then. Allocates nothing.
bool read_process_memory(ProcessMemory& memory) noexcept;

// The encoding of the locale that the host set for LC_CTYPE, such as "EUC-JP"; valid until the host
// sets another one.
const char* code_page_name() noexcept;

}  // namespace qxut::platform

#endif
