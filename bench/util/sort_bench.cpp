// sort_bench.cpp - ut_qsort beside the C library's qsort_r, which also takes a context.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <qxut/util/sort.h>

namespace {

struct Record {
    uint64_t key;
    uint64_t rest[7];
};

template <class T>
int compare_values(const T& a, const T& b) {
    return (a > b) - (a < b);
}

int compare_ints(const void* a, const void* b) {
    return compare_values(*static_cast<const int*>(a), *static_cast<const int*>(b));
}
int compare_records(const void* a, const void* b) {
    return compare_values(static_cast<const Record*>(a)->key, static_cast<const Record*>(b)->key);
}

// The same comparison in the shape that each sort takes.
template <int (*compare)(const void*, const void*)>
int32_t for_ours(void* /*context*/, const void* a, const void* b) {
    return compare(a, b);
}
template <int (*compare)(const void*, const void*)>
int for_qsort_r(const void* a, const void* b, void* /*context*/) {
    return compare(a, b);
}

template <class T>
using Sort = void (*)(std::vector<T>& values);

template <class T, int (*compare)(const void*, const void*)>
void sort_ours(std::vector<T>& values) {
    ut_qsort(values.data(), static_cast<uint32_t>(values.size()), sizeof(T), nullptr,
             for_ours<compare>);
}
template <class T, int (*compare)(const void*, const void*)>
void sort_qsort_r(std::vector<T>& values) {
    qsort_r(values.data(), values.size(), sizeof(T), for_qsort_r<compare>, nullptr);
}

template <class T>
void run(benchmark::State& state, const std::vector<T>& values, Sort<T> sort) {
    std::vector<T> copy = values;
    for (auto _ : state) {
        state.PauseTiming();
        std::memcpy(copy.data(), values.data(), values.size() * sizeof(T));
        state.ResumeTiming();
        sort(copy);
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
}

template <class T, int (*compare)(const void*, const void*)>
void add(const std::string& workload, size_t n, const std::function<T(size_t)>& value) {
    std::vector<T> values(n);
    for (size_t i = 0; i < n; ++i) values[i] = value(i);
    const auto add_one = [&](const char* who, Sort<T> sort) {
        benchmark::RegisterBenchmark(
            ("sort/" + workload + "/" + who).c_str(),
            [values, sort](benchmark::State& state) { run(state, values, sort); })
            ->Unit(benchmark::kMillisecond);
    };
    add_one("ours", sort_ours<T, compare>);
    add_one("qsort_r", sort_qsort_r<T, compare>);
}

// Registers everything before main looks for benchmarks.
const bool registered = [] {
    constexpr size_t kInts = 1'000'000;
    constexpr size_t kRecords = 100'000;
    std::mt19937_64 random(1);
    const auto add_ints = [](const char* name, const std::function<int(size_t)>& value) {
        add<int, compare_ints>(std::string("ints/") + name, kInts, value);
    };
    const auto add_records = [](const char* name, const std::function<uint64_t(size_t)>& key) {
        add<Record, compare_records>(std::string("records/") + name, kRecords, [&](size_t i) {
            return Record{key(i), {}};
        });
    };
    add_ints("random", [&](size_t) { return static_cast<int>(random()); });
    add_ints("sorted", [](size_t i) { return static_cast<int>(i); });
    add_ints("reverse", [](size_t i) { return static_cast<int>(kInts - i); });
    add_ints("equal", [](size_t) { return 7; });
    add_ints("zero_one", [&](size_t) { return static_cast<int>(random() % 2); });
    add_ints("hundred_values", [&](size_t) { return static_cast<int>(random() % 100); });
    add_ints("ten_appended",
             [&](size_t i) { return static_cast<int>(i < kInts - 10 ? i : random() % kInts); });
    add_records("random", [&](size_t) { return random(); });
    add_records("sorted", [](size_t i) { return i; });
    add_records("reverse", [](size_t i) { return kRecords - i; });
    add_records("equal", [](size_t) { return uint64_t{7}; });
    add_records("zero_one", [&](size_t) { return random() % 2; });
    return true;
}();

}  // namespace
