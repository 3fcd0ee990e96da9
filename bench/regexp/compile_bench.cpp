// compile_bench.cpp - the time from a pattern to what can be matched, against ICU's, and PCRE2's
// with and without JIT.
#include <benchmark/benchmark.h>

#include <set>
#include <string>

#include "support/regexp_rows.h"

namespace {

using namespace qxut_bench;

void compile_ours(benchmark::State& state, const RegexpPattern& pattern) {
    const std::u16string_view text(pattern.pattern);
    for (auto _ : state) {
        const RE_Tree tree(text.data(), text.size(), pattern.flags, nullptr);
        benchmark::DoNotOptimize(&tree);
    }
}

void compile_icu(benchmark::State& state, const RegexpPattern& pattern) {
    for (auto _ : state) {
        URegularExpression* const regex = icu_compiled(pattern);
        benchmark::DoNotOptimize(regex);
        uregex_close(regex);
    }
}

void compile_pcre2(benchmark::State& state, const RegexpPattern& pattern, bool jit) {
    for (auto _ : state) {
        pcre2_code_16* const code = pcre2_compiled(pattern, jit);
        benchmark::DoNotOptimize(code);
        pcre2_code_free_16(code);
    }
}

void register_all() {
    std::set<std::string> seen;
    for (const RegexpRow& row : kRegexpRows) {
        std::string name = std::string("regexp_compile/") + row.name;
        // A pattern that is searched in several texts is compiled once.
        if (!seen.insert(name).second) {
            name += std::string("_") + subject_name(row.subject);
            const RegexpRow* const before = &row - 1;
            if (std::u16string_view(before->pattern.pattern) == row.pattern.pattern) continue;
        }
        benchmark::RegisterBenchmark((name + "/ours").c_str(), compile_ours, row.pattern);
        benchmark::RegisterBenchmark((name + "/icu").c_str(), compile_icu, row.pattern);
        benchmark::RegisterBenchmark((name + "/pcre2").c_str(), compile_pcre2, row.pattern, false);
        benchmark::RegisterBenchmark((name + "/pcre2_jit").c_str(), compile_pcre2, row.pattern,
                                     true);
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
