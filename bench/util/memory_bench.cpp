// memory_bench.cpp - allocation through a memory context, against the same heap behind a function.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include <qxut/util/error.h>
#include <qxut/util/memory.h>

namespace {

int write_nowhere(void* /*stream*/, const char* /*text*/, int32_t length) { return length; }

struct Contexts {
    Contexts() {
        int32_t status = 0;
        ut_initialize_message_context(&status, &messages, std::malloc, std::realloc);
        ut_initialize_error_context(&status, &errors, &messages, write_nowhere, nullptr,
                                    std::realloc);
        ut_initialize_memory_context(&memory, &errors, std::malloc, std::realloc, std::free);
        if (status != 0) std::abort();
    }
    ~Contexts() { ut_clear_message_context(&messages, std::free); }
    Contexts(const Contexts&) = delete;
    Contexts& operator=(const Contexts&) = delete;

    ut_message_context messages{};
    _error_context errors{};
    _memory_context memory{};
};

void alloc_ours(benchmark::State& state) {
    Contexts contexts;
    const auto size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* block = ut_mem_alloc(&contexts.memory, size);
        benchmark::DoNotOptimize(block);
        ut_mem_free(&contexts.memory, block);
    }
}

[[gnu::noinline]] void* allocate(size_t size) {
    void* block = std::malloc(size);
    if (block == nullptr) std::abort();
    return block;
}

[[gnu::noinline]] void release(void* block) { std::free(block); }

void alloc_malloc(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* block = allocate(size);
        benchmark::DoNotOptimize(block);
        release(block);
    }
}

BENCHMARK(alloc_ours)->Name("memory/alloc_free/ours")->Arg(16)->Arg(512)->Arg(32768);
BENCHMARK(alloc_malloc)->Name("memory/alloc_free/malloc")->Arg(16)->Arg(512)->Arg(32768);

}  // namespace
