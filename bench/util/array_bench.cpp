// array_bench.cpp - the dynamic array beside GLib's GArray and a std::vector.
//
// Each is used through functions that are not in line, as a library's are, and orders its elements
// through a pointer to a function. Elements are 64-bit numbers. Workloads: append n of them to a
// new array; insert n random ones into a sorted array; look every one of a sorted array up, in
// random order.
#include <benchmark/benchmark.h>
#include <glib.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <qxut/util/array.h>

#include "support/memory_contexts.h"

namespace {

using Values = std::vector<uint64_t>;

// --- ours ----------------------------------------------------------------------------------------

int32_t compare_elements(ut_array* /*array*/, const void* a, const void* b) {
    const uint64_t left = *static_cast<const uint64_t*>(a);
    const uint64_t right = *static_cast<const uint64_t*>(b);
    return static_cast<int32_t>(left > right) - static_cast<int32_t>(left < right);
}

class Ours {
  public:
    Ours() {
        ut_array_initialize(&array_, &contexts().memory, sizeof(uint64_t), nullptr, nullptr,
                            nullptr, compare_elements);
    }
    ~Ours() { ut_array_clear(&array_); }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;

    void append(uint64_t value) { ut_array_append(&array_, &value); }
    void insert_sorted(uint64_t value) { ut_array_insert_sorted(&array_, &value); }
    const void* find_sorted(uint64_t value) { return ut_array_find_sorted(&array_, &value); }

  private:
    static qxut_bench::MemoryContexts& contexts() {
        static qxut_bench::MemoryContexts the_contexts;
        return the_contexts;
    }
    ut_array array_;
};

// --- GArray --------------------------------------------------------------------------------------

class Glib {
  public:
    Glib() : array_(g_array_new(FALSE, FALSE, sizeof(uint64_t))) {}
    ~Glib() { g_array_free(array_, TRUE); }
    Glib(const Glib&) = delete;
    Glib& operator=(const Glib&) = delete;

    void append(uint64_t value) { g_array_append_vals(array_, &value, 1); }

  private:
    GArray* array_;
};

// --- std::vector ---------------------------------------------------------------------------------

bool is_less(const uint64_t& a, const uint64_t& b) { return a < b; }
using Less = bool (*)(const uint64_t&, const uint64_t&);
Less volatile chosen_less = is_less;  // which function it is, the compiler is not to know

[[gnu::noinline]] void vector_append(Values& values, uint64_t value) { values.push_back(value); }

[[gnu::noinline]] void vector_insert_sorted(Values& values, Less less, uint64_t value) {
    values.insert(std::lower_bound(values.begin(), values.end(), value, less), value);
}

[[gnu::noinline]] const void* vector_find_sorted(const Values& values, Less less, uint64_t value) {
    const auto found = std::lower_bound(values.begin(), values.end(), value, less);
    return found != values.end() && !less(value, *found) ? &*found : nullptr;
}

class Standard {
  public:
    void append(uint64_t value) { vector_append(values_, value); }
    void insert_sorted(uint64_t value) { vector_insert_sorted(values_, less_, value); }
    const void* find_sorted(uint64_t value) { return vector_find_sorted(values_, less_, value); }

  private:
    Less less_ = chosen_less;
    Values values_;
};

// --- the workloads -------------------------------------------------------------------------------

Values random_values(size_t n) {
    std::mt19937_64 random(n);
    Values values(n);
    for (uint64_t& value : values) value = random();
    return values;
}

template <class Array>
void append_all(benchmark::State& state, size_t n) {
    for (auto _ : state) {
        Array array;
        for (size_t i = 0; i < n; ++i) array.append(i);
        benchmark::DoNotOptimize(array);
    }
}

template <class Array>
void insert_all_sorted(benchmark::State& state, size_t n) {
    const Values values = random_values(n);
    for (auto _ : state) {
        Array array;
        for (const uint64_t value : values) array.insert_sorted(value);
        benchmark::DoNotOptimize(array);
    }
}

template <class Array>
void find_all_sorted(benchmark::State& state, size_t n) {
    Values values = random_values(n);
    // More than a branch predictor learns by heart.
    Values wanted(std::max(n, size_t{10000}));
    std::mt19937_64 random(n);
    for (uint64_t& value : wanted) value = values[random() % n];
    std::sort(values.begin(), values.end());
    Array array;
    for (const uint64_t value : values) array.append(value);
    for (auto _ : state) {
        for (const uint64_t value : wanted) benchmark::DoNotOptimize(array.find_sorted(value));
    }
}

void add(const std::string& workload, size_t n, const char* who,
         void (*body)(benchmark::State&, size_t)) {
    const std::string name = "array/" + workload + "/" + std::to_string(n) + "/" + who;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        body(state, n);
    })->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
    for (const size_t n : {size_t{100}, size_t{1000000}}) {
        add("append", n, "ours", append_all<Ours>);
        add("append", n, "GArray", append_all<Glib>);
        add("append", n, "vector", append_all<Standard>);
    }
    add("insert_sorted", 10000, "ours", insert_all_sorted<Ours>);
    add("insert_sorted", 10000, "vector", insert_all_sorted<Standard>);
    for (const size_t n : {size_t{100}, size_t{10000}, size_t{1000000}}) {
        add("find_sorted", n, "ours", find_all_sorted<Ours>);
        add("find_sorted", n, "vector", find_all_sorted<Standard>);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
