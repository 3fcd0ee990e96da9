// match_bench.cpp - the count of all matches in a text, against PCRE2 (interpreter and JIT), ICU
// and Boost, and the search of one short line.
//
// An engine that counts otherwise than PCRE2's JIT does is reported as an error, not as a time.
#include <benchmark/benchmark.h>

#include <exception>
#include <map>
#include <string>

#include "support/regexp_rows.h"

namespace {

using namespace qxut_bench;

size_t expected_count(const RegexpRow& row) {
    static std::map<const RegexpRow*, size_t> known;
    const auto [place, is_new] = known.try_emplace(&row);
    if (is_new) place->second = Pcre2Engine(row.pattern, true).count(regexp_subject(row.subject));
    return place->second;
}

// `make` gives the engine.
template <class Make>
void count_all(benchmark::State& state, const RegexpRow& row, Make make) {
    try {
        const auto engine = make(row.pattern);
        const RegexpText& text = regexp_subject(row.subject);
        const size_t expected = expected_count(row);
        const size_t counted = engine.count(text);
        if (counted != expected) {
            const std::string problem =
                std::to_string(counted) + " matches instead of " + std::to_string(expected);
            state.SkipWithError(problem.c_str());
            return;
        }
        for (auto _ : state) benchmark::DoNotOptimize(engine.count(text));
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.utf16.size() * 2));
    } catch (const std::exception& problem) {
        state.SkipWithError(problem.what());
    }
}

template <class Make>
void find_in_line(benchmark::State& state, const RegexpRow& row, Make make) {
    try {
        const auto engine = make(row.pattern);
        const RegexpText& text = regexp_subject(row.subject);
        if (!engine.found(text)) {
            state.SkipWithError("no match");
            return;
        }
        for (auto _ : state) benchmark::DoNotOptimize(engine.found(text));
    } catch (const std::exception& problem) {
        state.SkipWithError(problem.what());
    }
}

OursEngine ours(const RegexpPattern& pattern) { return OursEngine(pattern); }
Pcre2Engine pcre2(const RegexpPattern& pattern) { return {pattern, false}; }
Pcre2Engine pcre2_jit(const RegexpPattern& pattern) { return {pattern, true}; }
IcuEngine icu(const RegexpPattern& pattern) { return IcuEngine(pattern); }
BoostEngine boost_wide(const RegexpPattern& pattern) { return BoostEngine(pattern); }

constexpr RegexpRow kLines[] = {
    {"date", Subject::line, {u"(\\d{4})-(\\d{2})-(\\d{2})"}},
    {"email", Subject::line, {u"[\\w.+\\-]+@[\\w.\\-]+\\.[\\w.\\-]+"}},
};

void register_all() {
    const auto add = [](const RegexpRow& row, auto run) {
        const std::string name =
            std::string("regexp/") + row.name + '/' + subject_name(row.subject) + '/';
        const auto of = [&](const char* who, auto make) {
            benchmark::RegisterBenchmark(
                (name + who).c_str(),
                [&row, run, make](benchmark::State& state) { run(state, row, make); });
        };
        of("ours", ours);
        of("pcre2", pcre2);
        of("pcre2_jit", pcre2_jit);
        of("icu", icu);
        of("boost", boost_wide);
    };
    for (const RegexpRow& row : kRegexpRows) {
        add(row, [](auto&... arguments) { count_all(arguments...); });
    }
    for (const RegexpRow& row : kLines) {
        add(row, [](auto&... arguments) { find_in_line(arguments...); });
    }
}

}  // namespace

int main(int argc, char** argv) {
    register_all();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
