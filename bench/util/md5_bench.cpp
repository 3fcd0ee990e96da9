// md5_bench.cpp - MD5 beside OpenSSL's one-shot function, which sets up no context on the heap.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <benchmark/benchmark.h>
#include <openssl/md5.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include <qxut/util/md5.hpp>

namespace {

std::vector<unsigned char> bytes_of(size_t n) {
    std::vector<unsigned char> bytes(n);
    for (size_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(i * 131 + i / 7);
    return bytes;
}

// The record serves stream after stream.
void digest_ours(benchmark::State& state) {
    const auto bytes = bytes_of(static_cast<size_t>(state.range(0)));
    ut_md5ChecksumRec record;
    ut_md5ChecksumValue value;
    unsigned char expected[MD5_DIGEST_LENGTH];
    record.addn(bytes.data(), bytes.size());
    value = record.getValueAndReset();
    MD5(bytes.data(), bytes.size(), expected);
    if (std::memcmp(value.bytes, expected, sizeof expected) != 0) state.SkipWithError("wrong");
    for (auto _ : state) {
        record.addn(bytes.data(), bytes.size());
        value = record.getValueAndReset();
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void digest_openssl(benchmark::State& state) {
    const auto bytes = bytes_of(static_cast<size_t>(state.range(0)));
    unsigned char value[MD5_DIGEST_LENGTH];
    for (auto _ : state) {
        MD5(bytes.data(), bytes.size(), value);
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

BENCHMARK(digest_ours)->Name("md5/digest/ours")->Arg(16)->Arg(1 << 10)->Arg(1 << 20);
BENCHMARK(digest_openssl)->Name("md5/digest/openssl")->Arg(16)->Arg(1 << 10)->Arg(1 << 20);

}  // namespace
