// fpc_bench.cpp - numbers to text and back, against the C++ library, snprintf, double-conversion
// and fast_float. Every loop goes through the same prepared numbers or texts.
#include <benchmark/benchmark.h>
#include <double-conversion/double-conversion.h>
#include <fast_float/fast_float.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <qxut/util/error.h>
#include <qxut/util/fpc.h>
#include <qxut/util/message.h>

namespace {

constexpr size_t kCount = 65536;  // more than a branch predictor learns by heart
constexpr size_t kTextSize = 512;

enum Set { kRandomBits, kUniform, kShort, kIntegers };

double generate(Set set, std::mt19937_64& random) {
    switch (set) {
        case kRandomBits:
            for (;;) {
                const auto value = std::bit_cast<double>(random());
                if (std::isfinite(value)) return value;
            }
        case kUniform:
            return std::uniform_real_distribution<>()(random);
        case kShort:  // up to 6 digits, up to 3 of them behind the point
            return static_cast<double>(random() % 1000000) / 1000;
        case kIntegers:
            return static_cast<double>(random() % 2000000000) - 1e9;
    }
    return 0;
}

const std::vector<double>& values(Set set) {
    static const auto sets = [] {
        std::mt19937_64 random(20240229);
        std::array<std::vector<double>, 4> all;
        for (size_t i = 0; i < all.size(); ++i)
            for (size_t n = 0; n < kCount; ++n)
                all[i].push_back(generate(static_cast<Set>(i), random));
        return all;
    }();
    return sets[set];
}

const std::vector<std::string>& texts(Set set) {
    static const auto sets = [] {
        std::array<std::vector<std::string>, 4> all;
        for (size_t i = 0; i < all.size(); ++i) {
            for (const double value : values(static_cast<Set>(i))) {
                char text[kTextSize];
                all[i].emplace_back(text, std::to_chars(text, text + kTextSize, value).ptr);
            }
        }
        return all;
    }();
    return sets[set];
}

int discard(void* /*stream*/, const char* /*text*/, int32_t length) { return length; }

class Fpc {
  public:
    Fpc() {
        int32_t status = 0;
        ut_initialize_message_context(&status, &messages_, std::malloc, std::realloc);
        ut_initialize_error_context(&status, &errors_, &messages_, discard, nullptr, std::realloc);
        ut_initialize_memory_context(&memory_, &errors_, std::malloc, std::realloc, std::free);
        ut_initialize_fpc_context(&context_, &memory_);
    }
    ~Fpc() {
        ut_clear_fpc_context(&context_);
        ut_clear_message_context(&messages_, std::free);
    }
    Fpc(const Fpc&) = delete;
    Fpc& operator=(const Fpc&) = delete;
    ut_fpc_context* get() { return &context_; }

  private:
    ut_message_context messages_{};
    _error_context errors_{};
    _memory_context memory_{};
    ut_fpc_context context_{};
};

// Goes once through the items, one call each.
template <class Items, class Convert>
void convert_all(benchmark::State& state, const Items& items, Convert convert) {
    for ([[maybe_unused]] auto _ : state)
        for (const auto& item : items) convert(item);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(items.size()));
}

// --- the shortest text ---------------------------------------------------------------------------

void shortest_ours(benchmark::State& state, Set set) {
    Fpc context;
    char text[kTextSize];
    convert_all(state, values(set), [&](double value) {
        benchmark::DoNotOptimize(ut_g_fmt(context.get(), text, sizeof text, value));
        benchmark::ClobberMemory();
    });
}

void shortest_to_chars(benchmark::State& state, Set set) {
    char text[kTextSize];
    convert_all(state, values(set), [&](double value) {
        benchmark::DoNotOptimize(std::to_chars(text, text + sizeof text, value).ptr);
        benchmark::ClobberMemory();
    });
}

// --- a number of digits
// -----------------------------------------------------------------------------

enum { kSignificant = 2, kPlaces = 3 };

void dtoa_ours(benchmark::State& state, Set set, int mode, int digits) {
    Fpc context;
    char text[kTextSize];
    convert_all(state, values(set), [&](double value) {
        int point = 0;
        int sign = 0;
        char* end = nullptr;
        benchmark::DoNotOptimize(
            ut_dtoa(context.get(), text, sizeof text, value, mode, digits, &point, &sign, &end));
        benchmark::ClobberMemory();
    });
}

void dtoa_snprintf(benchmark::State& state, Set set, int mode, int digits) {
    char text[kTextSize];
    convert_all(state, values(set), [&](double value) {
        benchmark::DoNotOptimize(mode == kSignificant
                                     ? std::snprintf(text, sizeof text, "%.*e", digits - 1, value)
                                     : std::snprintf(text, sizeof text, "%.*f", digits, value));
        benchmark::ClobberMemory();
    });
}

void dtoa_double_conversion(benchmark::State& state, Set set, int mode, int digits) {
    using Converter = double_conversion::DoubleToStringConverter;
    char text[kTextSize];
    convert_all(state, values(set), [&](double value) {
        bool sign = false;
        int length = 0;
        int point = 0;
        Converter::DoubleToAscii(value,
                                 mode == kSignificant ? Converter::PRECISION : Converter::FIXED,
                                 digits, text, sizeof text, &sign, &length, &point);
        benchmark::DoNotOptimize(point);
        benchmark::ClobberMemory();
    });
}

// --- reading -------------------------------------------------------------------------------------

void strtod_ours(benchmark::State& state, Set set) {
    Fpc context;
    convert_all(state, texts(set), [&](const std::string& text) {
        char* end = nullptr;
        benchmark::DoNotOptimize(ut_strtod(context.get(), text.c_str(), &end));
    });
}

void strtod_fast_float(benchmark::State& state, Set set) {
    convert_all(state, texts(set), [&](const std::string& text) {
        double value = 0;
        fast_float::from_chars(text.data(), text.data() + text.size(), value);
        benchmark::DoNotOptimize(value);
    });
}

#define BENCH_SET(name, set)                                                                  \
    BENCHMARK_CAPTURE(shortest_ours, name, set)->Name("fpc/shortest/" #name "/ours");         \
    BENCHMARK_CAPTURE(shortest_to_chars, name, set)->Name("fpc/shortest/" #name "/to_chars"); \
    BENCHMARK_CAPTURE(dtoa_ours, name##_15, set, kSignificant, 15)                            \
        ->Name("fpc/15_digits/" #name "/ours");                                               \
    BENCHMARK_CAPTURE(dtoa_snprintf, name##_15, set, kSignificant, 15)                        \
        ->Name("fpc/15_digits/" #name "/snprintf");                                           \
    BENCHMARK_CAPTURE(dtoa_double_conversion, name##_15, set, kSignificant, 15)               \
        ->Name("fpc/15_digits/" #name "/double_conversion");                                  \
    BENCHMARK_CAPTURE(strtod_ours, name, set)->Name("fpc/strtod/" #name "/ours");             \
    BENCHMARK_CAPTURE(strtod_fast_float, name, set)->Name("fpc/strtod/" #name "/fast_float")

#define BENCH_PLACES(name, set)                                                                   \
    BENCHMARK_CAPTURE(dtoa_ours, name##_2, set, kPlaces, 2)->Name("fpc/2_places/" #name "/ours"); \
    BENCHMARK_CAPTURE(dtoa_snprintf, name##_2, set, kPlaces, 2)                                   \
        ->Name("fpc/2_places/" #name "/snprintf");                                                \
    BENCHMARK_CAPTURE(dtoa_double_conversion, name##_2, set, kPlaces, 2)                          \
        ->Name("fpc/2_places/" #name "/double_conversion")

BENCH_SET(random_bits, kRandomBits);
BENCH_SET(uniform, kUniform);
BENCH_SET(short_decimals, kShort);
BENCH_SET(integers, kIntegers);
// Two places of 1e300 or 1e-300 are no workload; random bits are left out.
BENCH_PLACES(uniform, kUniform);
BENCH_PLACES(short_decimals, kShort);
BENCH_PLACES(integers, kIntegers);

}  // namespace
