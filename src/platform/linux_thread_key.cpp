// linux_thread_key.cpp - thread keys of POSIX, and the kernel's memory barrier across threads.
#include <linux/membarrier.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <type_traits>

#include "platform/thread_key.h"

namespace qxut::platform {

static_assert(std::is_same_v<pthread_key_t, ThreadKey>);

bool create_thread_key(ThreadKey& key, void (*thread_ends)(void* value)) noexcept {
    return pthread_key_create(&key, thread_ends) == 0;
}

void delete_thread_key(ThreadKey key) noexcept { pthread_key_delete(key); }

bool set_thread_value(ThreadKey key, void* value) noexcept {
    return pthread_setspecific(key, value) == 0;
}

int64_t process_id() noexcept { return getpid(); }

bool order_memory_of_all_threads() noexcept {
    return syscall(SYS_membarrier, MEMBARRIER_CMD_GLOBAL, 0, 0) == 0;
}

}  // namespace qxut::platform
