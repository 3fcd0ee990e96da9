// hash_bytes_bench.cpp - the byte hash against the loop over one table that defines it.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include <qxut/util/hash_bytes.h>

namespace {

constexpr std::array<uint32_t, 256> make_table() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t h = i;
        for (int bit = 0; bit < 8; ++bit) h = (h >> 1) ^ ((h & 1) != 0 ? 0xEDB88320u : 0u);
        table[i] = h;
    }
    return table;
}
constexpr auto kTable = make_table();

__attribute__((noinline)) uint32_t one_table(uint32_t seed, size_t n, const void* bytes) {
    uint32_t h = seed;
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (size_t i = 0; i < n; ++i) h = kTable[(byte[i] ^ h) & 0xFF] ^ (h >> 8);
    return h;
}

using HashFunction = uint32_t (*)(uint32_t seed, size_t n, const void* bytes);

// Hashes runs of n bytes that follow each other in a block of 64 KB.
void hash_runs(benchmark::State& state, size_t n, HashFunction hash) {
    std::vector<unsigned char> block(65536);
    std::mt19937 random(1);
    for (auto& byte : block) byte = static_cast<unsigned char>(random() & 0xFF);
    uint32_t sum = 0;
    for (auto _ : state) {
        for (size_t at = 0; at + n <= block.size(); at += n) sum ^= hash(0, n, &block[at]);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block.size() / n));
}

BENCHMARK_CAPTURE(hash_runs, ours_8, 8, ut_hash_n_bytes)->Name("hash_bytes/8/ours");
BENCHMARK_CAPTURE(hash_runs, table_8, 8, one_table)->Name("hash_bytes/8/one_table");
BENCHMARK_CAPTURE(hash_runs, ours_32, 32, ut_hash_n_bytes)->Name("hash_bytes/32/ours");
BENCHMARK_CAPTURE(hash_runs, table_32, 32, one_table)->Name("hash_bytes/32/one_table");
BENCHMARK_CAPTURE(hash_runs, ours_1024, 1024, ut_hash_n_bytes)->Name("hash_bytes/1024/ours");
BENCHMARK_CAPTURE(hash_runs, table_1024, 1024, one_table)->Name("hash_bytes/1024/one_table");

}  // namespace

BENCHMARK_MAIN();
