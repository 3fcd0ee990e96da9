// Classes and case of the code points of texts in three scripts, against ICU.
#include <benchmark/benchmark.h>
#include <unicode/uchar.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <qxut/i18n/classification.h>

namespace {

const struct {
    const char* name;
    std::u32string_view text;
} kTexts[] = {
    {"ascii",
     U"The density of Osmium is 22.57 g/cm3; no other Element is denser. Iridium comes next, with "
     U"22.42 (at 20 degrees), and Platinum third. All three are Metals of the sixth period."},
    {"russian",
     U"Плотность осмия равна 22,57 г/см3; ни один другой элемент не плотнее. За ним следует "
     U"Иридий, 22,42 (при 20 градусах), а третья - Платина. Все три - металлы шестого периода."},
    {"chinese",
     U"锇的密度为22.57克每立方厘米，没有其他元素比它更致密。其次是铱，密度为22.42（20摄氏度时），"
     U"第三是铂。这三种元素都是第六周期的金属，熔点很高，化学性质稳定。"},
};

template <class Function>
void run(benchmark::State& state, std::u32string_view text, Function function) {
    std::vector<int32_t> characters;
    while (characters.size() < 4096) characters.insert(characters.end(), text.begin(), text.end());
    for (auto _ : state) {
        int64_t sum = 0;
        for (const int32_t c : characters) sum += function(c);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(characters.size()));
}

template <class Ours, class Peer>
void add(const char* workload, Ours ours, const char* peer_name, Peer peer) {
    for (const auto& text : kTexts) {
        const std::string name = std::string("classification/") + workload + "/" + text.name + "/";
        benchmark::RegisterBenchmark((name + "ours").c_str(),
                                     [=](benchmark::State& state) { run(state, text.text, ours); });
        benchmark::RegisterBenchmark((name + peer_name).c_str(),
                                     [=](benchmark::State& state) { run(state, text.text, peer); });
    }
}

const bool kRegistered = [] {
    add(
        "isalpha", [](int32_t c) { return qxu_isalpha(c); }, "u_isalpha",
        [](int32_t c) { return u_isalpha(c); });
    add(
        "isspace", [](int32_t c) { return qxu_isspace(c); }, "u_isUWhiteSpace",
        [](int32_t c) { return u_isUWhiteSpace(c); });
    add(
        "tolower", [](int32_t c) { return qxu_tolower(c); }, "u_tolower",
        [](int32_t c) { return u_tolower(c); });
    return true;
}();

}  // namespace
