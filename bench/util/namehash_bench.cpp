// namehash_bench.cpp - interning 100000 names and looking each up, against a set of strings.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include <qxut/util/namehash.h>

#include "support/memory_contexts.h"
#include "support/thread_clock.h"

namespace {

constexpr size_t kNames = 100000;

// Names as programs have them: a few words, joined, with a number at times.
std::vector<std::string> make_names() {
    const std::vector<std::string> words = {"row",   "column", "mean",  "total", "index",
                                            "value", "max",    "error", "count", "temperature"};
    std::mt19937 random(3);
    std::unordered_set<std::string> names;
    while (names.size() < kNames) {
        std::string name = words[random() % words.size()];
        for (auto more = random() % 3; more > 0; --more)
            name += "_" + words[random() % words.size()];
        if (random() % 4 != 0) name += std::to_string(random() % 100000);
        names.insert(name);
    }
    std::vector<std::string> list(names.begin(), names.end());
    std::sort(list.begin(), list.end());
    std::shuffle(list.begin(), list.end(), random);
    return list;
}

// Times build() and look_up() on a fresh table; clearing it does not count.
template <class Table>
void time_table(benchmark::State& state) {
    const std::vector<std::string> names = make_names();
    std::vector<std::string> wanted = names;
    std::shuffle(wanted.begin(), wanted.end(), std::mt19937(4));
    for (auto _ : state) {
        Table table;
        const double start = qxut_bench::thread_seconds();
        for (const auto& name : names) table.add(name);
        size_t found = 0;
        for (const auto& name : wanted) found += table.has(name) ? 1 : 0;
        benchmark::DoNotOptimize(found);
        state.SetIterationTime(qxut_bench::thread_seconds() - start);
    }
}

class Ours {
  public:
    Ours() { ut_initialize_namehash(&names_, &contexts_.memory, 0); }
    ~Ours() { ut_clear_namehash(&names_); }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;
    void add(const std::string& name) { ut_namehash_add(&names_, name.c_str()); }
    bool has(const std::string& name) {
        return ut_namehash_lookup(&names_, name.c_str()) != nullptr;
    }

  private:
    qxut_bench::MemoryContexts contexts_;
    ut_namehash names_{};
};

class StandardSet {
  public:
    void add(const std::string& name) { names_.insert(name); }
    bool has(const std::string& name) { return names_.find(name) != names_.end(); }

  private:
    std::unordered_set<std::string> names_;
};

BENCHMARK(time_table<Ours>)->Name("namehash/build_and_look_up/ours")->UseManualTime();
BENCHMARK(time_table<StandardSet>)
    ->Name("namehash/build_and_look_up/unordered_set")
    ->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
