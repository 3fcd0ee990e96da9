// conversion_bench.cpp - the conversions against the same calls of ICU on a converter of its own.
#include <benchmark/benchmark.h>
#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>
#include <unicode/ucnv.h>
#include <qxut/i18n/unicode_converter.hpp>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/texts.h"

namespace {

using Quorvanix::I18N::UnicodeConverterX;
using qxut_bench::Language;

class Icu {
  public:
    explicit Icu(const char* name) {
        UErrorCode error = U_ZERO_ERROR;
        icu_ = ucnv_open(name, &error);
    }
    ~Icu() { ucnv_close(icu_); }
    Icu(const Icu&) = delete;
    Icu& operator=(const Icu&) = delete;

    uint32_t to_utf16(char16_t* target, size_t capacity, const char* source, size_t length) const {
        UErrorCode error = U_ZERO_ERROR;
        return static_cast<uint32_t>(ucnv_toUChars(icu_, target, static_cast<int32_t>(capacity),
                                                   source, static_cast<int32_t>(length), &error));
    }
    uint32_t from_utf16(char* target, size_t capacity, const char16_t* source,
                        size_t length) const {
        UErrorCode error = U_ZERO_ERROR;
        return static_cast<uint32_t>(ucnv_fromUChars(icu_, target, static_cast<int32_t>(capacity),
                                                     source, static_cast<int32_t>(length), &error));
    }

  private:
    UConverter* icu_;
};

// A text in an encoding and in UTF-16.
struct Text {
    std::string encoding;
    std::string narrow;
    std::u16string wide;
};

// The first `size` bytes of the repeated UTF-8 text, less a character that they cut, in an
// encoding.
Text make_text(const char* encoding, const std::string& utf8, size_t size) {
    std::string cut;
    while (cut.size() < size) cut += utf8;
    while (size > 0 && (static_cast<unsigned char>(cut[size]) & 0xC0) == 0x80) --size;
    cut.resize(size);
    Text text{encoding, {}, std::u16string(size + 1, 0)};
    text.wide.resize(Icu("UTF-8").to_utf16(text.wide.data(), size + 1, cut.data(), size));
    text.narrow.resize(4 * size);
    text.narrow.resize(
        Icu(encoding).from_utf16(text.narrow.data(), 4 * size, text.wide.data(), text.wide.size()));
    return text;
}

uint32_t count(size_t size) { return static_cast<uint32_t>(size); }

// --- counted forms ------------------------------------------------------------------------------

void ours_decode(benchmark::State& state, const Text& text) {
    std::vector<char16_t> target(text.narrow.size() + 1);
    const bool is_utf8 = text.encoding == "UTF-8";
    for (auto _ : state) {
        uint32_t capacity = count(target.size());
        if (is_utf8) {
            utf8_to_utf16_n(target.data(), &capacity, text.narrow.data(),
                            count(text.narrow.size()));
        } else {
            enc_to_utf16_n(text.encoding.c_str(), target.data(), &capacity, text.narrow.data(),
                           count(text.narrow.size()));
        }
        benchmark::DoNotOptimize(capacity);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.narrow.size()));
}

void icu_decode(benchmark::State& state, const Text& text) {
    std::vector<char16_t> target(text.narrow.size() + 1);
    const Icu icu(text.encoding.c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            icu.to_utf16(target.data(), target.size(), text.narrow.data(), text.narrow.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.narrow.size()));
}

void ours_encode(benchmark::State& state, const Text& text) {
    std::vector<char> target(4 * text.wide.size() + 1);
    const bool is_utf8 = text.encoding == "UTF-8";
    for (auto _ : state) {
        if (is_utf8) {
            uint32_t capacity = count(target.size());
            utf16_to_utf8_n(target.data(), &capacity, text.wide.data(), count(text.wide.size()));
            benchmark::DoNotOptimize(capacity);
        } else {
            const UnicodeConverterX converter =
                UnicodeConverterX::getThreadSpecific(text.encoding.c_str());
            benchmark::DoNotOptimize(
                converter.fromUnicode(target.data(), static_cast<int32_t>(target.size()),
                                      text.wide.data(), static_cast<int32_t>(text.wide.size())));
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.narrow.size()));
}

void icu_encode(benchmark::State& state, const Text& text) {
    std::vector<char> target(4 * text.wide.size() + 1);
    const Icu icu(text.encoding.c_str());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            icu.from_utf16(target.data(), target.size(), text.wide.data(), text.wide.size()));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.narrow.size()));
}

// --- allocating forms, UTF-8 --------------------------------------------------------------------

void ours_allocating_decode(benchmark::State& state, const Text& text) {
    for (auto _ : state) {
        char16_t* const made = utf8_to_utf16(text.narrow.data(), count(text.narrow.size()));
        benchmark::DoNotOptimize(made);
        utFree(made);
    }
}

// One call measures, one converts.
void icu_allocating_decode(benchmark::State& state, const Text& text) {
    const Icu icu("UTF-8");
    for (auto _ : state) {
        char16_t stack[1024];
        const size_t length = icu.to_utf16(stack, 1024, text.narrow.data(), text.narrow.size());
        auto* const made = static_cast<char16_t*>(std::malloc((length + 1) * sizeof(char16_t)));
        if (length > 1024) {
            icu.to_utf16(made, length, text.narrow.data(), text.narrow.size());
        } else {
            std::copy_n(stack, length, made);
        }
        made[length] = 0;
        benchmark::DoNotOptimize(made);
        std::free(made);
    }
}

void ours_allocating_encode(benchmark::State& state, const Text& text) {
    for (auto _ : state) {
        char* const made = utf16_to_utf8(text.wide.data(), count(text.wide.size()));
        benchmark::DoNotOptimize(made);
        utFree(made);
    }
}

void icu_allocating_encode(benchmark::State& state, const Text& text) {
    const Icu icu("UTF-8");
    for (auto _ : state) {
        char stack[1024];
        const size_t length = icu.from_utf16(stack, 341, text.wide.data(), text.wide.size());
        auto* const made = static_cast<char*>(std::malloc(length + 1));
        if (length > 341) {
            icu.from_utf16(made, length, text.wide.data(), text.wide.size());
        } else {
            std::copy_n(stack, length, made);
        }
        made[length] = 0;
        benchmark::DoNotOptimize(made);
        std::free(made);
    }
}

// --- the thread's converter ---------------------------------------------------------------------

void ours_open(benchmark::State& state, const std::string& name) {
    for (auto _ : state) {
        const UnicodeConverterX converter = UnicodeConverterX::getThreadSpecific(name.c_str());
        benchmark::DoNotOptimize(&converter);
    }
}

void icu_open(benchmark::State& state, const std::string& name) {
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        UConverter* const icu = ucnv_open(name.c_str(), &error);
        benchmark::DoNotOptimize(icu);
        ucnv_close(icu);
    }
}

// --- names and texts ----------------------------------------------------------------------------

void register_text(const std::string& workload, const Text& text) {
    const auto name = [&](const char* what, const char* who) {
        return "conversion/" + workload + "/" + what + "/" + who;
    };
    benchmark::RegisterBenchmark(name("decode", "ours").c_str(), ours_decode, text);
    benchmark::RegisterBenchmark(name("decode", "icu").c_str(), icu_decode, text);
    benchmark::RegisterBenchmark(name("encode", "ours").c_str(), ours_encode, text);
    benchmark::RegisterBenchmark(name("encode", "icu").c_str(), icu_encode, text);
}

void register_allocating(const std::string& workload, const Text& text) {
    const auto name = [&](const char* what, const char* who) {
        return "conversion/allocating/" + workload + "/" + what + "/" + who;
    };
    benchmark::RegisterBenchmark(name("decode", "ours").c_str(), ours_allocating_decode, text);
    benchmark::RegisterBenchmark(name("decode", "icu").c_str(), icu_allocating_decode, text);
    benchmark::RegisterBenchmark(name("encode", "ours").c_str(), ours_allocating_encode, text);
    benchmark::RegisterBenchmark(name("encode", "icu").c_str(), icu_allocating_encode, text);
}

void register_all() {
    const std::string english = qxut_bench::text_in(Language::english);
    const std::string russian = qxut_bench::text_in(Language::russian);
    const std::string chinese = qxut_bench::text_in(Language::chinese);
    const std::string ascii = qxut_bench::texts_detail::make('a', 26, 8, 1'000'000);
    const std::string emoji = qxut_bench::emoji_text(1'000'000);
    const std::string western = qxut_bench::texts_detail::make(0xE0, 23, 1, 40) +
                                "Une \xC3\xA9tude \xE2\x80\x9C\xC3\xA0 part\xE2\x80\x9D, "
                                "des \xC5\x93uvres pr\xC3\xA9"
                                "f\xC3\xA9r\xC3\xA9"
                                "es. ";
    const std::string latin =
        "Les \xC3\xA9l\xC3\xA8ves fran\xC3\xA7"
        "ais ont d\xC3\xA9j\xC3\xA0 "
        "re\xC3\xA7u leurs pr\xC3\xA9sents \xC3\xA0 No\xC3\xABl. ";
    const std::string japanese =
        "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE6\x96\x87, "
        "\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9\xE3\x83\x88 text. ";
    const struct {
        const char* name;
        const std::string* text;
    } kUtf8[] = {{"ascii", &ascii},
                 {"english", &english},
                 {"russian", &russian},
                 {"chinese", &chinese},
                 {"emoji", &emoji}};
    for (const auto& [name, text] : kUtf8) {
        register_text(std::string(name) + "/1K", make_text("UTF-8", *text, 1 << 10));
        register_text(std::string(name) + "/1M", make_text("UTF-8", *text, 1 << 20));
        register_allocating(std::string(name) + "/32", make_text("UTF-8", *text, 32));
        register_allocating(std::string(name) + "/1K", make_text("UTF-8", *text, 1 << 10));
        register_allocating(std::string(name) + "/1M", make_text("UTF-8", *text, 1 << 20));
    }
    for (const size_t size : {size_t{1} << 10, size_t{1} << 20}) {
        const char* const suffix = size == 1 << 10 ? "/1K" : "/1M";
        register_text(std::string("windows-1252") + suffix,
                      make_text("windows-1252", western, size));
        register_text(std::string("ISO-8859-1") + suffix, make_text("ISO-8859-1", latin, size));
        register_text(std::string("Shift_JIS") + suffix, make_text("Shift_JIS", japanese, size));
    }
    for (const char* name : {"UTF-8", "windows-1252", "Shift_JIS"}) {
        benchmark::RegisterBenchmark((std::string("converter/") + name + "/ours").c_str(),
                                     ours_open, std::string(name));
        benchmark::RegisterBenchmark((std::string("converter/") + name + "/icu").c_str(), icu_open,
                                     std::string(name));
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
