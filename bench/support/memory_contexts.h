// memory_contexts.h - the contexts that a benchmark's tables allocate from, on malloc and free.
#ifndef QXUT_BENCH_SUPPORT_MEMORY_CONTEXTS_H
#define QXUT_BENCH_SUPPORT_MEMORY_CONTEXTS_H

#include <cstdio>
#include <cstdlib>

#include <qxut/util/error.h>
#include <qxut/util/memory.h>
#include <qxut/util/message.h>

namespace qxut_bench {

class MemoryContexts {
  public:
    MemoryContexts() {
        int32_t status = 0;
        ut_initialize_message_context(&status, &messages_, std::malloc, std::realloc);
        ut_initialize_error_context(&status, &errors_, &messages_, ut_fputsn, stderr, std::realloc);
        ut_initialize_memory_context(&memory, &errors_, std::malloc, std::realloc, std::free);
    }
    ~MemoryContexts() { ut_clear_message_context(&messages_, std::free); }
    MemoryContexts(const MemoryContexts&) = delete;
    MemoryContexts& operator=(const MemoryContexts&) = delete;

    _memory_context memory{};

  private:
    ut_message_context messages_{};
    _error_context errors_{};
};

}  // namespace qxut_bench

#endif
