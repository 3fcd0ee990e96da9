// ghash_bench.cpp - the generic hash table against the standard one, and GLib's.
//
// Each table is used as its users would write it: keys of 64 random bits with the default
// callbacks, texts of 8 to 32 characters with the ready-made ones; 8 bytes of data. Load bounds of
// 0.25 and 1.0, those of name hashes, let our table hold half an entry to one a bucket, as the
// standard one does. Four workloads: build a table from nothing, look up random keys that are
// there, keys that are not, remove every key in another order. Look-ups come in runs so long that
// no branch predictor knows them by heart the next time.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include <qxut/util/ghash.h>
#include <qxut/util/hash_keys.h>

#include "support/memory_contexts.h"
#include "support/thread_clock.h"

namespace {

constexpr float kLowerLoad = 0.25F;
constexpr float kUpperLoad = 1.0F;

// --- the tables, under one interface -------------------------------------------------------------

class OurWords {
  public:
    using Key = uint64_t;
    explicit OurWords(qxut_bench::MemoryContexts& contexts) {
        ut_initialize_ghash_table(&table_, &contexts.memory, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, 8, 8, 8, 16, 0, 0, kLowerLoad, kUpperLoad);
    }
    ~OurWords() { ut_clear_ghash_table(&table_); }
    OurWords(const OurWords&) = delete;
    OurWords& operator=(const OurWords&) = delete;

    void insert(uint64_t key, uint64_t data) { ut_ghash_insert(&table_, &key, &data); }
    bool find(uint64_t key, uint64_t& data) { return ut_ghash_query(&table_, &key, &data); }
    void remove(uint64_t key) { ut_ghash_remove_element(&table_, &key); }

  private:
    ut_ghash_table table_{};
};

class OurTexts {
  public:
    using Key = std::string;
    explicit OurTexts(qxut_bench::MemoryContexts& contexts) {
        ut_initialize_ghash_table(
            &table_, &contexts.memory, ut_ghash_string_key, ut_ghash_compare_string_keys,
            ut_ghash_copy_string_key, ut_ghash_delete_string_key, nullptr, nullptr, 8, 8, 8, 16,
            reinterpret_cast<uintptr_t>(&contexts.memory), 0, kLowerLoad, kUpperLoad);
    }
    ~OurTexts() { ut_clear_ghash_table(&table_); }
    OurTexts(const OurTexts&) = delete;
    OurTexts& operator=(const OurTexts&) = delete;

    void insert(const std::string& key, uint64_t data) {
        const char* text = key.c_str();
        ut_ghash_insert(&table_, &text, &data);
    }
    bool find(const std::string& key, uint64_t& data) {
        const char* text = key.c_str();
        return ut_ghash_query(&table_, &text, &data);
    }
    void remove(const std::string& key) {
        const char* text = key.c_str();
        ut_ghash_remove_element(&table_, &text);
    }

  private:
    ut_ghash_table table_{};
};

template <class K>
class Standard {
  public:
    using Key = K;
    explicit Standard(qxut_bench::MemoryContexts& /*contexts*/) {}
    void insert(const K& key, uint64_t data) { table_.emplace(key, data); }
    bool find(const K& key, uint64_t& data) {
        const auto found = table_.find(key);
        if (found == table_.end()) return false;
        data = found->second;
        return true;
    }
    void remove(const K& key) { table_.erase(key); }

  private:
    std::unordered_map<K, uint64_t> table_;
};

class GlibWords {
  public:
    using Key = uint64_t;
    explicit GlibWords(qxut_bench::MemoryContexts& /*contexts*/)
        : table_(g_hash_table_new(g_direct_hash, g_direct_equal)) {}
    ~GlibWords() { g_hash_table_destroy(table_); }
    GlibWords(const GlibWords&) = delete;
    GlibWords& operator=(const GlibWords&) = delete;

    void insert(uint64_t key, uint64_t data) {
        g_hash_table_insert(table_, as_pointer(key), as_pointer(data));
    }
    bool find(uint64_t key, uint64_t& data) {
        gpointer value = nullptr;
        if (g_hash_table_lookup_extended(table_, as_pointer(key), nullptr, &value) == 0)
            return false;
        data = reinterpret_cast<uintptr_t>(value);
        return true;
    }
    void remove(uint64_t key) { g_hash_table_remove(table_, as_pointer(key)); }

  private:
    static gpointer as_pointer(uint64_t word) { return reinterpret_cast<gpointer>(word); }
    GHashTable* table_;
};

class GlibTexts {
  public:
    using Key = std::string;
    explicit GlibTexts(qxut_bench::MemoryContexts& /*contexts*/)
        : table_(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr)) {}
    ~GlibTexts() { g_hash_table_destroy(table_); }
    GlibTexts(const GlibTexts&) = delete;
    GlibTexts& operator=(const GlibTexts&) = delete;

    void insert(const std::string& key, uint64_t data) {
        g_hash_table_insert(table_, g_strdup(key.c_str()), reinterpret_cast<gpointer>(data));
    }
    bool find(const std::string& key, uint64_t& data) {
        gpointer value = nullptr;
        if (g_hash_table_lookup_extended(table_, key.c_str(), nullptr, &value) == 0) return false;
        data = reinterpret_cast<uintptr_t>(value);
        return true;
    }
    void remove(const std::string& key) { g_hash_table_remove(table_, key.c_str()); }

  private:
    GHashTable* table_;
};

// --- the keys
// --------------------------------------------------------------------------------------

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

constexpr size_t kLeastLookups = 200000;

template <class Key>
struct Keys {
    explicit Keys(size_t n) {
        std::mt19937_64 random(n);
        for (size_t i = 0; i < n; ++i) present.push_back(random_key<Key>(random));
        shuffled = present;
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        for (size_t i = 0; i < std::max(n, kLeastLookups); ++i) {
            drawn.push_back(present[random() % n]);
            absent.push_back(random_key<Key>(random));
        }
    }
    std::vector<Key> present, shuffled, drawn, absent;
};

// --- the workloads -----------------------------------------------------------------------------

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
        const double start = qxut_bench::thread_seconds();
        work(table);
        state.SetIterationTime(qxut_bench::thread_seconds() - start);
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
void find_all(benchmark::State& state, size_t n, bool present) {
    const Keys<typename Table::Key> keys(n);
    qxut_bench::MemoryContexts contexts;
    Table table(contexts);
    fill(table, keys);
    const auto& wanted = present ? keys.drawn : keys.absent;
    for (auto _ : state) {
        uint64_t sum = 0;
        for (const auto& key : wanted) {
            uint64_t data = 0;
            if (table.find(key, data)) sum += data;
        }
        benchmark::DoNotOptimize(sum);
    }
}

template <class Table>
void add_table(const std::string& keys, const std::string& who) {
    for (const size_t n : {size_t{1000}, size_t{100000}, size_t{1000000}}) {
        const auto add = [&](const std::string& what, auto body) {
            const std::string name =
                "ghash/" + keys + "/" + what + "/" + std::to_string(n) + "/" + who;
            return benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMicrosecond);
        };
        add("insert", [n](benchmark::State& state) {
            insert_all<Table>(state, n);
        })->UseManualTime();
        add("hit", [n](benchmark::State& state) { find_all<Table>(state, n, true); });
        add("miss", [n](benchmark::State& state) { find_all<Table>(state, n, false); });
        add("remove", [n](benchmark::State& state) {
            remove_all<Table>(state, n);
        })->UseManualTime();
    }
}

}  // namespace

int main(int argc, char** argv) {
    add_table<OurWords>("words", "ours");
    add_table<Standard<uint64_t>>("words", "unordered_map");
    add_table<GlibWords>("words", "glib");
    add_table<OurTexts>("texts", "ours");
    add_table<Standard<std::string>>("texts", "unordered_map");
    add_table<GlibTexts>("texts", "glib");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
