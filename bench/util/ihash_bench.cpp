// ihash_bench.cpp - the indexed hash table beside a std::unordered_map from key to index with a
// std::vector of entries.
//
// Keys are 64 random bits under the default callbacks, or texts of 8 to 32 characters under the
// ready-made ones; 8 bytes of data. Both sides are called through functions that are not in line,
// and remove by moving the last entry into the hole. The load bounds are those of the name hash;
// the standard table never shrinks.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <qxut/util/hash_keys.h>
#include <qxut/util/ihash.h>

#include "support/memory_contexts.h"

namespace {

constexpr float kLowerLoad = 0.25F;
constexpr float kUpperLoad = 1.0F;

// --- the tables, under one interface -------------------------------------------------------------

class OurWords {
  public:
    using Key = uint64_t;
    explicit OurWords(qxut_bench::MemoryContexts& contexts) {
        ut_initialize_ihash_table(&table_, &contexts.memory, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, 8, 8, 16, 0, 0, kLowerLoad, kUpperLoad, 8);
    }
    ~OurWords() { ut_clear_ihash_table(&table_); }
    OurWords(const OurWords&) = delete;
    OurWords& operator=(const OurWords&) = delete;

    void insert(uint64_t key, uint64_t data) { ut_ihash_insert(&table_, &key, &data); }
    int64_t index_of(uint64_t key) { return ut_ihash_index_of(&table_, &key); }
    void remove(uint64_t key) { ut_ihash_remove_element(&table_, &key); }

  private:
    _ihash_table table_{};
};

class OurTexts {
  public:
    using Key = std::string;
    explicit OurTexts(qxut_bench::MemoryContexts& contexts) {
        ut_initialize_ihash_table(
            &table_, &contexts.memory, ut_ghash_string_key, ut_ghash_compare_string_keys,
            ut_ghash_copy_string_key, ut_ghash_delete_string_key, nullptr, nullptr, 8, 8, 16,
            reinterpret_cast<uintptr_t>(&contexts.memory), 0, kLowerLoad, kUpperLoad, 8);
    }
    ~OurTexts() { ut_clear_ihash_table(&table_); }
    OurTexts(const OurTexts&) = delete;
    OurTexts& operator=(const OurTexts&) = delete;

    void insert(const std::string& key, uint64_t data) {
        const char* text = key.c_str();
        ut_ihash_insert(&table_, &text, &data);
    }
    int64_t index_of(const std::string& key) {
        const char* text = key.c_str();
        return ut_ihash_index_of(&table_, &text);
    }
    void remove(const std::string& key) {
        const char* text = key.c_str();
        ut_ihash_remove_element(&table_, &text);
    }

  private:
    _ihash_table table_{};
};

// An entry needs its key by index as well, as ours gives it.
template <class K>
class Standard {
  public:
    using Key = K;
    explicit Standard(qxut_bench::MemoryContexts& /*contexts*/) {}
    [[gnu::noinline]] void insert(const K& key, uint64_t data) {
        const auto [place, is_new] = indices_.try_emplace(key, entries_.size());
        if (is_new) entries_.push_back({&place->first, data});
    }
    [[gnu::noinline]] int64_t index_of(const K& key) {
        const auto found = indices_.find(key);
        return found != indices_.end() ? static_cast<int64_t>(found->second) : -1;
    }
    [[gnu::noinline]] void remove(const K& key) {
        const auto found = indices_.find(key);
        if (found == indices_.end()) return;
        const size_t index = found->second;
        indices_.erase(found);
        if (index + 1 != entries_.size()) {
            entries_[index] = entries_.back();
            indices_[*entries_[index].key] = index;
        }
        entries_.pop_back();
    }

  private:
    struct Entry {
        const K* key;
        uint64_t data;
    };
    std::unordered_map<K, size_t> indices_;
    std::vector<Entry> entries_;
};

// --- the keys ------------------------------------------------------------------------------------

template <class Key>
Key random_key(std::mt19937_64& random);

template <>
uint64_t random_key<uint64_t>(std::mt19937_64& random) {
    return random();
}

template <>
std::string random_key<std::string>(std::mt19937_64& random) {
    std::string text(8 + random() % 25, ' ');
    for (char& character : text) character = static_cast<char>('a' + random() % 26);
    return text;
}

template <class Key>
struct Keys {
    explicit Keys(size_t n) {
        std::mt19937_64 random(n);
        for (size_t i = 0; i < n; ++i) present.push_back(random_key<Key>(random));
        shuffled = present;
        std::shuffle(shuffled.begin(), shuffled.end(), random);
    }
    std::vector<Key> present, shuffled;
};

// --- the workloads -------------------------------------------------------------------------------

template <class Table>
void fill(Table& table, const Keys<typename Table::Key>& keys) {
    uint64_t data = 0;
    for (const auto& key : keys.present) table.insert(key, ++data);
}

// Times what `work` does to a table that `prepare` made; neither making nor clearing it counts.
template <class Table, class Prepare, class Work>
void time_work(benchmark::State& state, const Prepare& prepare, const Work& work) {
    qxut_bench::MemoryContexts contexts;
    for (auto _ : state) {
        Table table(contexts);
        prepare(table);
        const auto start = std::chrono::steady_clock::now();
        work(table);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(taken.count());
    }
}

template <class Table>
void insert_all(benchmark::State& state, size_t n) {
    const Keys<typename Table::Key> keys(n);
    time_work<Table>(
        state, [](Table&) {}, [&](Table& table) { fill(table, keys); });
}

template <class Table>
void remove_all(benchmark::State& state, size_t n) {
    const Keys<typename Table::Key> keys(n);
    time_work<Table>(
        state, [&](Table& table) { fill(table, keys); },
        [&](Table& table) {
            for (const auto& key : keys.shuffled) table.remove(key);
        });
}

template <class Table>
void find_all(benchmark::State& state, size_t n) {
    const Keys<typename Table::Key> keys(n);
    qxut_bench::MemoryContexts contexts;
    Table table(contexts);
    fill(table, keys);
    for (auto _ : state) {
        int64_t sum = 0;
        for (const auto& key : keys.shuffled) sum += table.index_of(key);
        benchmark::DoNotOptimize(sum);
    }
}

template <class Table>
void add_table(const std::string& keys, const std::string& who) {
    for (const size_t n : {size_t{1000}, size_t{100000}, size_t{1000000}}) {
        const auto add = [&](const std::string& what, auto body) {
            const std::string name =
                "ihash/" + keys + "/" + what + "/" + std::to_string(n) + "/" + who;
            return benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMicrosecond);
        };
        add("insert", [n](benchmark::State& state) {
            insert_all<Table>(state, n);
        })->UseManualTime();
        add("index_of", [n](benchmark::State& state) { find_all<Table>(state, n); });
        add("remove", [n](benchmark::State& state) {
            remove_all<Table>(state, n);
        })->UseManualTime();
    }
}

}  // namespace

int main(int argc, char** argv) {
    add_table<OurWords>("words", "ours");
    add_table<Standard<uint64_t>>("words", "unordered_map");
    add_table<OurTexts>("texts", "ours");
    add_table<Standard<std::string>>("texts", "unordered_map");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
