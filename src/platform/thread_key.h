// thread_key.h - a value per thread with a function that runs when its thread ends, and what
// looking after other threads' values takes.
#ifndef QXUT_SRC_PLATFORM_THREAD_KEY_H
#define QXUT_SRC_PLATFORM_THREAD_KEY_H

#include <cstdint>

namespace qxut::platform {

using ThreadKey = uint32_t;

// False when the process has no key left. The function gets the thread's value, once, when a
// thread that set one ends; never after the key was deleted.
bool create_thread_key(ThreadKey& key, void (*thread_ends)(void* value)) noexcept;
void delete_thread_key(ThreadKey key) noexcept;
// False when memory is short.
bool set_thread_value(ThreadKey key, void* value) noexcept;

// Tells a process from its parent after a fork.
int64_t process_id() noexcept;

// After it every running thread of the process has done its earlier memory operations in order, and
// sees what the caller stored before. It takes milliseconds and spares the threads their fences.
// False where the operating system does not offer it.
bool order_memory_of_all_threads() noexcept;

}  // namespace qxut::platform

#endif
