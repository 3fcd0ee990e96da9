// catastrophic_bench.cpp - patterns whose plain backtracking takes exponential or quadratic time.
//
// "growth": one match over 100,000 characters against a hundred over 1,000; the ratio is that of
// the times a character. "thirty": one match over 30 characters against 20 microseconds.
#include <benchmark/benchmark.h>

#include <qxut/regexp/tree.hpp>

#include <exception>
#include <memory>
#include <string>

namespace {

struct Row {
    const char* name;
    const char16_t* pattern;
    const char16_t* tail;  // of the text
    char16_t repeated;
    bool matches;
};

// Where a required literal could settle the answer the text holds it, or there is none: `(?!.)` is
// the end of a line.
constexpr Row kRows[] = {
    {"nested", u"(x+x+)+y", u"zy", u'x', false},
    {"anchored", u"^(a+)+$", u"b", u'a', false},
    {"same_twice", u"(a|a)*(?!.)", u"b", u'a', true},
    {"overlapping", u"(?:a|aa)+(?!.)", u"b", u'a', false},
    {"look_ahead", u"^(?=(?:a|aa)+b)a", u"cb", u'a', false},
    {"look_behind", u"(?<=^b(?:a|aa)+b)c", u"bc", u'a', false},
    {"look_behind_forwards", u"(?<=b(?>a|aa)+b)c", u"bc", u'a', false},
    {"nullable", u"^(?:a?)*(?:a*)*b", u"cb", u'a', false},
    {"counted", u"(?:a|aa){2,8}(?!.)", u"b", u'a', false},
    {"quadratic", u"a*(?!.)", u"b", u'a', true},
};

std::u16string text_of(const Row& row, size_t size) {
    return std::u16string(size, row.repeated) + row.tail;
}

void match(benchmark::State& state, const Row& row, size_t size, int times) {
    try {
        const RE_Tree tree(row.pattern, std::u16string_view(row.pattern).size(), RE_NO_FLAGS,
                           nullptr);
        const std::u16string text = text_of(row, size);
        const auto matches = [&] {
            const std::unique_ptr<RE_Results> found(tree.match(text.data(), text.size(), 0));
            return found != nullptr;
        };
        if (matches() != row.matches) {
            state.SkipWithError("the answer is wrong");
            return;
        }
        for (auto _ : state) {
            for (int i = 0; i < times; ++i) benchmark::DoNotOptimize(matches());
        }
    } catch (const std::exception& problem) {
        state.SkipWithError(problem.what());
    }
}

// Stands for a bound as a peer.
void bound(benchmark::State& state, double seconds) {
    for (auto _ : state) state.SetIterationTime(seconds);
}

void register_all() {
    for (const Row& row : kRows) {
        const std::string name = std::string("regexp_catastrophic/") + row.name;
        benchmark::RegisterBenchmark((name + "/growth/ours").c_str(), match, row, 100'000, 1);
        benchmark::RegisterBenchmark((name + "/growth/short_texts").c_str(), match, row, 1'000,
                                     100);
        benchmark::RegisterBenchmark((name + "/thirty/ours").c_str(), match, row, 30, 1);
        benchmark::RegisterBenchmark((name + "/thirty/20us").c_str(), bound, 20e-6)
            ->UseManualTime()
            ->Iterations(1);
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
