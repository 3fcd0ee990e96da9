// crc_bench.cpp - CRC-32 beside the two libraries whose CRC is known to be fast.
#include <benchmark/benchmark.h>
#include <libdeflate.h>

#include <cstdint>
#include <vector>

#include <isa-l/crc.h>
#include <qxut/util/crc.h>

#include "util/carryless.h"

namespace {

uint32_t ours(uint32_t crc, const unsigned char* bytes, size_t n) {
    return ut_crc_update(crc, bytes, static_cast<uint32_t>(n));
}

uint32_t isal(uint32_t crc, const unsigned char* bytes, size_t n) {
    return crc32_gzip_refl(crc, bytes, n);
}

uint32_t deflate(uint32_t crc, const unsigned char* bytes, size_t n) {
    return libdeflate_crc32(crc, bytes, n);
}

// Each checksum is the seed of the next one.
template <uint32_t (*Crc)(uint32_t, const unsigned char*, size_t)>
void update(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    std::vector<unsigned char> bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(i * 131 + i / 7);
    if (Crc(1, bytes.data(), n) != isal(1, bytes.data(), n)) state.SkipWithError("wrong checksum");
    uint32_t crc = 0;
    for (auto _ : state) crc = Crc(crc, bytes.data(), n);
    benchmark::DoNotOptimize(crc);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// Printed with the machine's description.
const bool kShown = [] {
    benchmark::AddCustomContext("crc", qxut::carryless_name(qxut::carryless_width()));
    return true;
}();

BENCHMARK(update<ours>)->Name("crc/update/ours")->Arg(16)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(update<isal>)->Name("crc/update/isa-l")->Arg(16)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(update<deflate>)->Name("crc/update/libdeflate")->Arg(16)->Arg(1 << 10)->Arg(1 << 20);

}  // namespace
