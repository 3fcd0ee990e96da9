// error_bench.cpp - try frames and raises, against the bare means of C and C++.
//
// "raise" does what a client does: an error with a message code below a number of plain frames,
// accepted by the handler of a try frame above them. Its peer throws an int across as many frames
// from a function that does nothing else, as ut_error's place is, to a catch of that type.
#include <benchmark/benchmark.h>

#include <csetjmp>
#include <cstdlib>

#include <qxut/util/error.h>
#include <qxut/util/interrupt.h>
#include <qxut/util/message.h>

namespace {

int write_nowhere(void* /*stream*/, const char* /*text*/, int32_t length) { return length; }

struct Contexts {
    Contexts() {
        int32_t status = 0;
        ut_initialize_message_context(&status, &messages, std::malloc, std::realloc);
        ut_initialize_error_context(&status, &errors, &messages, write_nowhere, nullptr,
                                    std::realloc);
        if (status != 0) std::abort();
    }
    ~Contexts() { ut_clear_message_context(&messages, std::free); }
    Contexts(const Contexts&) = delete;
    Contexts& operator=(const Contexts&) = delete;

    ut_message_context messages{};
    _error_context errors{};
};

// --- nothing raised ------------------------------------------------------------------------------

void return_at_once(_error_context* /*errors*/, void* data) { benchmark::DoNotOptimize(data); }

int accept(_error_context* /*errors*/, void* /*data*/, ut_message_code /*code*/,
           va_list /*arguments*/) {
    return 1;
}

void try_ours(benchmark::State& state) {
    Contexts contexts;
    for (auto _ : state)
        benchmark::DoNotOptimize(ut_try_catch(&contexts.errors, nullptr, return_at_once, accept));
}
BENCHMARK(try_ours)->Name("error/try/ours");

void try_sigsetjmp(benchmark::State& state) {
    sigjmp_buf target;
    for (auto _ : state) {
        if (sigsetjmp(target, 0) == 0) return_at_once(nullptr, &target);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(try_sigsetjmp)->Name("error/try/sigsetjmp");

// --- raise and catch -----------------------------------------------------------------------------

// Always true, unknown to the compiler.
volatile bool fails = true;

// A frame that the compiler keeps: not inlined, no tail call.
[[gnu::noinline]] void descend_ours(_error_context* errors, int64_t frames) {
    if (frames <= 1 && fails) ut_error(errors, UT_ERR_FATAL);
    if (frames > 1) descend_ours(errors, frames - 1);
    benchmark::ClobberMemory();
}

void body(_error_context* errors, void* frames) {
    descend_ours(errors, *static_cast<int64_t*>(frames));
    benchmark::ClobberMemory();
}

void raise_ours(benchmark::State& state) {
    Contexts contexts;
    int64_t frames = state.range(0);
    for (auto _ : state)
        benchmark::DoNotOptimize(ut_try_catch(&contexts.errors, &frames, body, accept));
}

[[gnu::noinline, noreturn]] void throw_code(int code) { throw code; }

[[gnu::noinline]] void descend_throw(int64_t frames) {
    if (frames <= 1 && fails) throw_code(UT_ERR_FATAL);
    if (frames > 1) descend_throw(frames - 1);
    benchmark::ClobberMemory();
}

// The frame in the place of the body.
[[gnu::noinline]] void throw_body(const int64_t* frames) {
    descend_throw(*frames);
    benchmark::ClobberMemory();
}

[[gnu::noinline]] int catch_code(const int64_t* frames) {
    try {
        throw_body(frames);
    } catch (int code) {
        return code;
    }
    return 0;
}

void raise_throw(benchmark::State& state) {
    const int64_t frames = state.range(0);
    for (auto _ : state) benchmark::DoNotOptimize(catch_code(&frames));
}

BENCHMARK(raise_ours)->Name("error/raise/ours")->Arg(1)->Arg(5)->Arg(20);
BENCHMARK(raise_throw)->Name("error/raise/throw")->Arg(1)->Arg(5)->Arg(20);

// --- polling -------------------------------------------------------------------------------------

void poll_ours(benchmark::State& state) {
    for (auto _ : state) utPollInterrupt(nullptr);
}
BENCHMARK(poll_ours)->Name("error/poll_interrupt/ours");

}  // namespace
