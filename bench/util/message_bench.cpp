// message_bench.cpp - formatting a message with three arguments, against snprintf with the same
// text and arguments. Translated messages, which name the arguments in another order, are
// measured against snprintf of the same translated text with its arguments in that order.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include <qxut/util/message.h>

namespace {

constexpr uint32_t kModule = 100;
enum Message : ut_message_code {
    kPlace = kModule * 65536 + 1,  // a string and two integers
    kMeasure,                      // a string, an integer and a floating-point number
};

constexpr char kPlaceEnglish[] = "File \"%s\", line %d: %d statements were skipped.";
constexpr char kPlaceTranslated[] = "%3 Anweisungen in Zeile %2 von \"%1\" wurden ausgelassen.";
constexpr char kPlaceReordered[] = "%d Anweisungen in Zeile %d von \"%s\" wurden ausgelassen.";
constexpr char kMeasureEnglish[] = "Column %s, row %ld: %g is out of range.";
constexpr char kMeasureTranslated[] = "Zeile %2: %3 liegt nicht im Bereich der Spalte %1.";
constexpr char kMeasureReordered[] = "Zeile %ld: %g liegt nicht im Bereich der Spalte %s.";

constexpr ut_message_code kCodes[] = {kPlace, kMeasure, UT_MESSAGE_CODES_END};
constexpr const char* kMnemonics[] = {"PLACE", "MEASURE"};
constexpr const char* kEnglish[] = {kPlaceEnglish, kMeasureEnglish};
constexpr const char* kGerman[] = {kPlaceTranslated, kMeasureTranslated};
constexpr ut_message_table kTable = {2, kModule, kCodes, kMnemonics, kEnglish, "bench"};
constexpr ut_translated_table kTranslated = {kModule, 2, kGerman};
constexpr ut_language_tables kLanguage = {1, &kTranslated};

// The arguments change from run to run, so that nobody predicts them.
struct Arguments {
    const char* name = "measurements.txt";
    int line = 1;
    double value = 0.5;
    void next() {
        line = line * 5 % 99991;
        value = line * 0.0625;
    }
};

class Context {
  public:
    explicit Context(const char* language) {
        int32_t status = 0;
        ut_initialize_message_context(&status, &record, std::malloc, std::realloc);
        ut_add_primary_message_table(&status, &record, &kTable, std::realloc);
        ut_add_language(&status, &record, "de", &kLanguage, std::realloc);
        ut_change_language(&status, &record, language);
    }
    ~Context() { ut_clear_message_context(&record, std::free); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    ut_message_context record{};
};

void place_ours(benchmark::State& state, const char* language) {
    Context context(language);
    Arguments arguments;
    char text[256];
    for (auto _ : state) {
        arguments.next();
        benchmark::DoNotOptimize(ut_sprintm(&context.record, text, sizeof text, kPlace,
                                            arguments.name, arguments.line, arguments.line + 1));
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(place_ours, english, "English")->Name("message/place/english/ours");
BENCHMARK_CAPTURE(place_ours, translated, "de")->Name("message/place/translated/ours");

void place_english_snprintf(benchmark::State& state) {
    Arguments arguments;
    char text[256];
    for (auto _ : state) {
        arguments.next();
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, kPlaceEnglish, arguments.name,
                                               arguments.line, arguments.line + 1));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(place_english_snprintf)->Name("message/place/english/snprintf");

void place_translated_snprintf(benchmark::State& state) {
    Arguments arguments;
    char text[256];
    for (auto _ : state) {
        arguments.next();
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, kPlaceReordered,
                                               arguments.line + 1, arguments.line, arguments.name));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(place_translated_snprintf)->Name("message/place/translated/snprintf");

void measure_ours(benchmark::State& state, const char* language) {
    Context context(language);
    Arguments arguments;
    char text[256];
    for (auto _ : state) {
        arguments.next();
        benchmark::DoNotOptimize(ut_sprintm(&context.record, text, sizeof text, kMeasure,
                                            arguments.name, long{arguments.line}, arguments.value));
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(measure_ours, english, "English")->Name("message/measure/english/ours");
BENCHMARK_CAPTURE(measure_ours, translated, "de")->Name("message/measure/translated/ours");

void measure_english_snprintf(benchmark::State& state) {
    Arguments arguments;
    char text[256];
    for (auto _ : state) {
        arguments.next();
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, kMeasureEnglish, arguments.name,
                                               long{arguments.line}, arguments.value));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(measure_english_snprintf)->Name("message/measure/english/snprintf");

void measure_translated_snprintf(benchmark::State& state) {
    Arguments arguments;
    char text[256];
    for (auto _ : state) {
        arguments.next();
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, kMeasureReordered,
                                               long{arguments.line}, arguments.value,
                                               arguments.name));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(measure_translated_snprintf)->Name("message/measure/translated/snprintf");

}  // namespace
