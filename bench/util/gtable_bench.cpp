// gtable_bench.cpp - filling a column table beside filling one std::vector per column.
//
// A row of four columns of different types is added and filled; the vectors' growing is behind
// functions that are not in line, as the table's is.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include <qxut/util/gtable.h>

#include "support/memory_contexts.h"

namespace {

constexpr uint32_t kRows = 1000000;

void fill_ours(benchmark::State& state) {
    qxut_bench::MemoryContexts contexts;
    for (auto _ : state) {
        ut_gtable table;
        double* price = nullptr;
        int32_t* count = nullptr;
        int64_t* time = nullptr;
        char* flag = nullptr;
        ut_initialize_gtable(&table, &contexts.memory, 4, 16);
        ut_new_gtable(&table, &price, sizeof *price);
        ut_new_gtable(&table, &count, sizeof *count);
        ut_new_gtable(&table, &time, sizeof *time);
        ut_new_gtable(&table, &flag, sizeof *flag);
        for (uint32_t row = 0; row < kRows; ++row) {
            ut_gtable_add_row(&table);
            price[row] = row;
            count[row] = static_cast<int32_t>(row);
            time[row] = row;
            flag[row] = static_cast<char>(row);
        }
        benchmark::DoNotOptimize(table);
        ut_clear_gtable(&table);
    }
}

template <class T>
[[gnu::noinline]] void push_back(std::vector<T>& column, T value) {
    column.push_back(value);
}

void fill_vectors(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<double> price;
        std::vector<int32_t> count;
        std::vector<int64_t> time;
        std::vector<char> flag;
        for (uint32_t row = 0; row < kRows; ++row) {
            push_back(price, static_cast<double>(row));
            push_back(count, static_cast<int32_t>(row));
            push_back(time, static_cast<int64_t>(row));
            push_back(flag, static_cast<char>(row));
        }
        benchmark::DoNotOptimize(price.data());
        benchmark::DoNotOptimize(count.data());
        benchmark::DoNotOptimize(time.data());
        benchmark::DoNotOptimize(flag.data());
    }
}

BENCHMARK(fill_ours)->Name("gtable/add_row/1000000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(fill_vectors)->Name("gtable/add_row/1000000/vectors")->Unit(benchmark::kMillisecond);

}  // namespace
