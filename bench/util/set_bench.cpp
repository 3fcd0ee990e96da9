// set_bench.cpp - ordered sets beside std::list, whose steps stand behind functions that are not
// inlined, as the library's do.
//
// Neighbours in a list lie far apart in memory: before a list is built, the heap is filled with
// blocks of the node's size, which are freed in random order and so given out again in that order.
// A removal takes the value that stepping gave last, which is the first one.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <random>
#include <vector>

#include <qxut/util/heap.h>
#include <qxut/util/set.h>

namespace {

constexpr size_t kCount = 1'000'000;
using Peer = std::list<uintptr_t>;

// Both nodes are two links and a word, and both come from the C runtime's heap. The list of blocks
// is kept: freeing anything large would make the heap join its small free blocks.
void shuffle_heap() {
    static std::vector<void*> blocks(kCount);
    for (void*& block : blocks) block = utMalloc(sizeof(utSetElement));
    std::shuffle(blocks.begin(), blocks.end(), std::mt19937(1));
    for (void* const block : blocks) utFree(block);
}

utSet* new_ours() {
    shuffle_heap();
    utSet* const set = utCreateSet();
    for (uintptr_t value = 1; value <= kCount; ++value) utAddElementToEndOfSet(value, set);
    return set;
}

Peer new_peer() {
    shuffle_heap();
    Peer list;
    for (uintptr_t value = 1; value <= kCount; ++value) list.push_back(value);
    return list;
}

[[gnu::noinline]] uintptr_t step(const Peer& list, Peer::const_iterator& cursor) {
    ++cursor;
    return cursor == list.end() ? 0 : *cursor;
}

[[gnu::noinline]] uintptr_t start(const Peer& list, Peer::const_iterator& cursor) {
    cursor = list.begin();
    return cursor == list.end() ? 0 : *cursor;
}

[[gnu::noinline]] void remove(Peer& list, Peer::const_iterator& cursor) { list.erase(cursor); }

void step_ours(benchmark::State& state) {
    utSet* const set = new_ours();
    for (auto _ : state) {
        uintptr_t sum = 0;
        for (uintptr_t v = utGetNextSetElement(set, 0); v != 0; v = utGetNextSetElement(set, v)) {
            sum += v;
        }
        benchmark::DoNotOptimize(sum);
    }
    utDestroyNonEmptySet(set);
}

void step_list(benchmark::State& state) {
    const Peer list = new_peer();
    for (auto _ : state) {
        uintptr_t sum = 0;
        Peer::const_iterator cursor;
        for (uintptr_t v = start(list, cursor); v != 0; v = step(list, cursor)) sum += v;
        benchmark::DoNotOptimize(sum);
    }
}

void remove_ours(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        utSet* const set = new_ours();
        state.ResumeTiming();
        while (const uintptr_t value = utGetNextSetElement(set, 0)) {
            utRemoveElementFromSet(value, set);
        }
        state.PauseTiming();
        utDestroySet(set);
        state.ResumeTiming();
    }
}

void remove_list(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        {
            Peer list = new_peer();
            Peer::const_iterator cursor;
            state.ResumeTiming();
            while (start(list, cursor) != 0) remove(list, cursor);
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

BENCHMARK(step_ours)->Name("set/step/1000000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(step_list)->Name("set/step/1000000/std::list")->Unit(benchmark::kMillisecond);
BENCHMARK(remove_ours)->Name("set/remove/1000000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(remove_list)->Name("set/remove/1000000/std::list")->Unit(benchmark::kMillisecond);

}  // namespace
