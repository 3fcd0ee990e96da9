// interval_set_bench.cpp - interval sets beside Boost.ICL's, whose calls stand behind functions
// that are not inlined, as the library's do.
//
// The values are random, one in eight of their range, so that about one in nine of those inserted
// merges with a neighbour; the union is of two such sets.
#include <benchmark/benchmark.h>

#include <boost/icl/interval_set.hpp>
#include <cstdint>
#include <random>
#include <vector>

#include <qxut/util/contexts.h>
#include <qxut/util/interval_set.h>

namespace {

constexpr size_t kCount = 100'000;
constexpr uint64_t kRange = 8 * kCount;
using Interval = boost::icl::closed_interval<int64_t>;
using Peer = boost::icl::interval_set<int64_t, std::less, Interval>;

std::vector<int64_t> random_values(uint32_t seed) {
    std::mt19937_64 random(seed);
    std::vector<int64_t> values(kCount);
    for (int64_t& value : values) value = static_cast<int64_t>(random() % kRange);
    return values;
}

[[gnu::noinline]] void insert(Peer& set, int64_t value) { set.insert(value); }
[[gnu::noinline]] bool is_member(const Peer& set, int64_t value) {
    return boost::icl::contains(set, value);
}
[[gnu::noinline]] void remove(Peer& set, int64_t value) { set.erase(value); }
[[gnu::noinline]] Peer union_of(const Peer& a, const Peer& b) { return a + b; }

Peer peer_of(uint32_t seed) {
    Peer set;
    for (const int64_t value : random_values(seed)) insert(set, value);
    return set;
}

struct Ours {
    explicit Ours(uint32_t seed) : Ours() {
        for (const int64_t value : random_values(seed)) ut_fsi_insert(&set, value);
    }
    Ours() { ut_initialize_fsi(&set, utGetMemoryContext()); }
    ~Ours() { ut_clear_fsi(&set); }
    Ours(const Ours&) = delete;
    Ours& operator=(const Ours&) = delete;
    ut_fsi set;
};

void insert_ours(benchmark::State& state) {
    const auto values = random_values(1);
    for (auto _ : state) {
        Ours ours;
        for (const int64_t value : values) ut_fsi_insert(&ours.set, value);
        benchmark::DoNotOptimize(ours.set.num_intervals);
    }
}

void insert_peer(benchmark::State& state) {
    const auto values = random_values(1);
    for (auto _ : state) {
        Peer peer;
        for (const int64_t value : values) insert(peer, value);
        benchmark::DoNotOptimize(peer);
    }
}

void member_ours(benchmark::State& state) {
    const Ours ours(1);
    const auto values = random_values(2);
    for (auto _ : state) {
        int found = 0;
        for (const int64_t value : values) found += ut_fsi_is_member(&ours.set, value) ? 1 : 0;
        benchmark::DoNotOptimize(found);
    }
}

void member_peer(benchmark::State& state) {
    const Peer peer = peer_of(1);
    const auto values = random_values(2);
    for (auto _ : state) {
        int found = 0;
        for (const int64_t value : values) found += is_member(peer, value) ? 1 : 0;
        benchmark::DoNotOptimize(found);
    }
}

void union_ours(benchmark::State& state) {
    const Ours a(1);
    const Ours b(2);
    for (auto _ : state) {
        Ours result;
        ut_fsi_union(&result.set, &a.set, &b.set);
        benchmark::DoNotOptimize(result.set.num_intervals);
    }
}

void union_peer(benchmark::State& state) {
    const Peer a = peer_of(1);
    const Peer b = peer_of(2);
    for (auto _ : state) {
        const Peer result = union_of(a, b);
        benchmark::DoNotOptimize(&result);
    }
}

// Mostly holes in longer intervals, half of the values are not there; with the copying of the set.
void remove_ours(benchmark::State& state) {
    const auto values = random_values(2);
    Ours full;
    for (int64_t i = 0; i < static_cast<int64_t>(kRange); i += 40)
        ut_fsi_insert_interval(&full.set, i, i + 19);
    for (auto _ : state) {
        Ours ours;
        ut_fsi_copy(&ours.set, &full.set);
        for (const int64_t value : values) ut_fsi_remove(&ours.set, value);
        benchmark::DoNotOptimize(ours.set.num_intervals);
    }
}

void remove_peer(benchmark::State& state) {
    const auto values = random_values(2);
    Peer full;
    for (int64_t i = 0; i < static_cast<int64_t>(kRange); i += 40) full.insert(Interval(i, i + 19));
    for (auto _ : state) {
        Peer peer = full;
        for (const int64_t value : values) remove(peer, value);
        benchmark::DoNotOptimize(peer);
    }
}

BENCHMARK(insert_ours)->Name("interval_set/insert/100000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(insert_peer)->Name("interval_set/insert/100000/icl")->Unit(benchmark::kMillisecond);
BENCHMARK(member_ours)->Name("interval_set/member/100000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(member_peer)->Name("interval_set/member/100000/icl")->Unit(benchmark::kMillisecond);
BENCHMARK(union_ours)->Name("interval_set/union/100000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(union_peer)->Name("interval_set/union/100000/icl")->Unit(benchmark::kMillisecond);
BENCHMARK(remove_ours)->Name("interval_set/remove/100000/ours")->Unit(benchmark::kMillisecond);
BENCHMARK(remove_peer)->Name("interval_set/remove/100000/icl")->Unit(benchmark::kMillisecond);

}  // namespace
