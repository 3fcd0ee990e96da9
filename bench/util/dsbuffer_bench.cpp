// dsbuffer_bench.cpp - the growing byte buffer beside std::string, whose appends stand behind
// functions that are not inlined, as the buffer's do.
#include <benchmark/benchmark.h>

#include <string>

#include <qxut/util/contexts.h>
#include <qxut/util/dsbuffer.h>

namespace {

constexpr int kAppends = 10'000;
constexpr char kText[] =
    "0123456789abcdef and then the rest of quite a long line of text that goes on";

[[gnu::noinline]] int append_char(int character, std::string& to) {
    to.push_back(static_cast<char>(character));
    return character;
}

[[gnu::noinline]] int append_text(std::string& to, const char* text, int32_t length) {
    to.append(text, static_cast<size_t>(length));
    return length;
}

// Each run fills a buffer that has grown before; `growing` ones start from an empty one.
void chars_ours(benchmark::State& state) {
    ut_dsbuffer buffer;
    ut_initialize_dsbuffer(&buffer, utGetMemoryContext(), 64);
    for (auto _ : state) {
        ut_dsb_shrink_buffer(&buffer, 0);
        for (int i = 0; i < kAppends; ++i) ut_dsbputc(i, &buffer);
        benchmark::DoNotOptimize(buffer.data);
    }
    ut_clear_dsbuffer(&buffer);
}

void chars_string(benchmark::State& state) {
    std::string buffer;
    for (auto _ : state) {
        buffer.clear();
        for (int i = 0; i < kAppends; ++i) append_char(i, buffer);
        benchmark::DoNotOptimize(buffer.data());
    }
}

void texts_ours(benchmark::State& state) {
    const auto length = static_cast<int32_t>(state.range(0));
    ut_dsbuffer buffer;
    ut_initialize_dsbuffer(&buffer, utGetMemoryContext(), 64);
    for (auto _ : state) {
        ut_dsb_shrink_buffer(&buffer, 0);
        for (int i = 0; i < kAppends; ++i) ut_dsbputsn(&buffer, kText, length);
        benchmark::DoNotOptimize(buffer.data);
    }
    ut_clear_dsbuffer(&buffer);
}

void texts_string(benchmark::State& state) {
    const auto length = static_cast<int32_t>(state.range(0));
    std::string buffer;
    for (auto _ : state) {
        buffer.clear();
        for (int i = 0; i < kAppends; ++i) append_text(buffer, kText, length);
        benchmark::DoNotOptimize(buffer.data());
    }
}

void growing_ours(benchmark::State& state) {
    for (auto _ : state) {
        ut_dsbuffer buffer;
        ut_initialize_dsbuffer(&buffer, utGetMemoryContext(), 15);
        for (int i = 0; i < kAppends; ++i) ut_dsbputsn(&buffer, kText, 16);
        benchmark::DoNotOptimize(buffer.data);
        ut_clear_dsbuffer(&buffer);
    }
}

void growing_string(benchmark::State& state) {
    for (auto _ : state) {
        std::string buffer;
        for (int i = 0; i < kAppends; ++i) append_text(buffer, kText, 16);
        benchmark::DoNotOptimize(buffer.data());
    }
}

BENCHMARK(chars_ours)->Name("dsbuffer/putc/ours");
BENCHMARK(chars_string)->Name("dsbuffer/putc/std::string");
BENCHMARK(texts_ours)->Name("dsbuffer/putsn16/ours")->Arg(16);
BENCHMARK(texts_string)->Name("dsbuffer/putsn16/std::string")->Arg(16);
BENCHMARK(texts_ours)->Name("dsbuffer/putsn70/ours")->Arg(70);
BENCHMARK(texts_string)->Name("dsbuffer/putsn70/std::string")->Arg(70);
BENCHMARK(growing_ours)->Name("dsbuffer/growing/ours");
BENCHMARK(growing_string)->Name("dsbuffer/growing/std::string");

}  // namespace
