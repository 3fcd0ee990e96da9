// replace_bench.cpp - the replacement of all matches in a text, against PCRE2 (interpreter and JIT)
// and ICU; escaping and wildcards of short names against a loop written by hand.
//
// The peers write the result into a buffer that holds it; ours streams it into one.
// "ours_in_buffer" is RE_Replace::replace on a buffer that the text is copied into each time. A row
// whose results differ is reported as an error. The words are ones that all engines take for words.
#include <benchmark/benchmark.h>
#include <qxut/util/heap.h>

#include <cstring>
#include <exception>
#include <map>
#include <qxut/regexp/replace.hpp>
#include <qxut/regexp/translate.hpp>
#include <string>

#include "support/regexp_texts.h"

namespace {

using namespace qxut_bench;

struct Row {
    const char* name;
    Subject subject;
    RegexpPattern pattern;
    const char16_t* replacement;  // the same in all dialects
};

constexpr Row kRows[] = {
    {"date", Subject::log, {u"(\\d{4})-(\\d{2})-(\\d{2})"}, u"$3.$2.$1"},
    {"date", Subject::english, {u"(\\d{4})-(\\d{2})-(\\d{2})"}, u"$3.$2.$1"},
    {"literal", Subject::english, {u"Sherlock Holmes"}, u"Dr. Watson"},
    {"literal", Subject::log, {u"connection reset"}, u"line lost"},
    {"every_word", Subject::english, {u"[A-Za-z']+"}, u"<$0>"},
    {"every_word", Subject::log, {u"[A-Za-z']+"}, u"<$0>"},
};

size_t room_for(const Row& row) { return 4 * regexp_subject(row.subject).utf16.size(); }

class Ours {
  public:
    explicit Ours(const Row& row)
        : tree_(row.pattern.pattern, std::u16string_view(row.pattern.pattern).size(),
                row.pattern.flags, nullptr),
          replacement_(row.replacement, std::u16string_view(row.replacement).size()),
          buffer_(room_for(row), 0) {}
    size_t replace(const std::u16string& text) {
        BufferWriter writer(buffer_.data());
        replacement_.stream(text.data(), text.size(), tree_, false, nullptr, writer);
        return writer.length();
    }
    const std::u16string& buffer() const { return buffer_; }

  protected:
    class BufferWriter : public RE_Replace_Writer {
      public:
        explicit BufferWriter(char16_t* buffer) : buffer_(buffer) {}
        void write(const char16_t* text, size_t length) override {
            std::memcpy(buffer_ + length_, text, length * sizeof(char16_t));
            length_ += length;
        }
        size_t length() const { return length_; }

      private:
        char16_t* buffer_;
        size_t length_ = 0;
    };

    RE_Tree tree_;
    RE_Replace replacement_;
    std::u16string buffer_;
};

class OursInBuffer : public Ours {
  public:
    using Ours::Ours;
    size_t replace(const std::u16string& text) {
        text.copy(buffer_.data(), text.size());
        size_t length = text.size();
        size_t capacity = buffer_.size();
        replacement_.replace(buffer_.data(), &length, &capacity, tree_, false, nullptr);
        return length;
    }
};

template <bool kJit>
class Pcre2 {
  public:
    explicit Pcre2(const Row& row)
        : engine_(row.pattern, kJit), replacement_(row.replacement), buffer_(room_for(row), 0) {}
    size_t replace(const std::u16string& text) {
        size_t length = buffer_.size();
        const int made =
            pcre2_substitute_16(engine_.code(), pcre2_units(text.data()), text.size(), 0,
                                PCRE2_SUBSTITUTE_GLOBAL | PCRE2_NO_UTF_CHECK, engine_.data(),
                                nullptr, pcre2_units(replacement_.data()), replacement_.size(),
                                reinterpret_cast<PCRE2_UCHAR16*>(buffer_.data()), &length);
        if (made < 0) throw std::runtime_error("PCRE2 gives up: " + std::to_string(made));
        return length;
    }
    const std::u16string& buffer() const { return buffer_; }

  private:
    Pcre2Engine engine_;
    std::u16string replacement_;
    std::u16string buffer_;
};

class Icu {
  public:
    explicit Icu(const Row& row)
        : engine_(row.pattern), replacement_(row.replacement), buffer_(room_for(row), 0) {}
    size_t replace(const std::u16string& text) {
        UErrorCode error = U_ZERO_ERROR;
        uregex_setText(engine_.regex(), text.data(), static_cast<int32_t>(text.size()), &error);
        const int32_t length = uregex_replaceAll(
            engine_.regex(), replacement_.data(), static_cast<int32_t>(replacement_.size()),
            buffer_.data(), static_cast<int32_t>(buffer_.size()), &error);
        if (U_FAILURE(error)) throw std::runtime_error("ICU gives up");
        return static_cast<size_t>(length);
    }
    const std::u16string& buffer() const { return buffer_; }

  private:
    IcuEngine engine_;
    std::u16string replacement_;
    std::u16string buffer_;
};

const std::u16string& expected_result(const Row& row) {
    static std::map<const Row*, std::u16string> known;
    const auto [place, is_new] = known.try_emplace(&row);
    if (is_new) {
        Icu icu(row);
        const size_t length = icu.replace(regexp_subject(row.subject).utf16);
        place->second = icu.buffer().substr(0, length);
    }
    return place->second;
}

template <class Engine>
void replace_all(benchmark::State& state, const Row& row) {
    try {
        Engine engine(row);
        const std::u16string& text = regexp_subject(row.subject).utf16;
        const std::u16string& expected = expected_result(row);
        const size_t length = engine.replace(text);
        if (length != expected.size() || engine.buffer().compare(0, length, expected) != 0) {
            state.SkipWithError("the result is another");
            return;
        }
        for (auto _ : state) benchmark::DoNotOptimize(engine.replace(text));
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size() * 2));
    } catch (const std::exception& problem) {
        state.SkipWithError(problem.what());
    }
}

// --- escaping and wildcards
// -----------------------------------------------------------------------

constexpr char16_t kFileName[] = u"report-2024.03 (final) [copy] v1.2+x.txt";
constexpr char16_t kWildcard[] = u"report-????.* (final) [copy] v*.2+x.txt*";
constexpr size_t kNameLength = 40;

size_t escape_by_hand(const char16_t* name, size_t length, char16_t* target) {
    char16_t* to = target;
    for (size_t i = 0; i < length; ++i) {
        switch (name[i]) {
            case u'$':
            case u'^':
            case u'.':
            case u'\\':
            case u'*':
            case u'+':
            case u'[':
            case u']':
            case u'(':
            case u')':
            case u'{':
            case u'}':
            case u'?':
            case u'|':
            case u'-':
                *to++ = u'\\';
                break;
            default:
                break;
        }
        *to++ = name[i];
    }
    return static_cast<size_t>(to - target);
}

size_t wildcard_by_hand(const char16_t* name, size_t length, char16_t* target) {
    char16_t* to = target;
    for (size_t i = 0; i < length; ++i) {
        switch (name[i]) {
            case u'*':
                *to++ = u'.';
                *to++ = u'*';
                continue;
            case u'?':
                *to++ = u'.';
                continue;
            case u'$':
            case u'^':
            case u'.':
            case u'\\':
            case u'+':
            case u'[':
            case u']':
            case u'(':
            case u')':
            case u'{':
            case u'}':
            case u'|':
            case u'-':
                *to++ = u'\\';
                break;
            default:
                break;
        }
        *to++ = name[i];
    }
    return static_cast<size_t>(to - target);
}

using Translation = char16_t* (*)(char16_t*, size_t*, size_t*);
void translate_ours(benchmark::State& state, Translation translation, const char16_t* name) {
    char16_t buffer[2 * kNameLength];
    for (auto _ : state) {
        benchmark::DoNotOptimize(name);
        std::memcpy(buffer, name, kNameLength * sizeof(char16_t));
        size_t length = kNameLength;
        size_t capacity = 2 * kNameLength;
        translation(buffer, &length, &capacity);
        benchmark::DoNotOptimize(length);
        benchmark::ClobberMemory();
    }
}

using Loop = size_t (*)(const char16_t*, size_t, char16_t*);
void translate_by_hand(benchmark::State& state, Loop loop, const char16_t* name) {
    char16_t buffer[2 * kNameLength];
    for (auto _ : state) {
        benchmark::DoNotOptimize(name);
        benchmark::DoNotOptimize(loop(name, kNameLength, buffer));
        benchmark::ClobberMemory();
    }
}

void register_all() {
    for (const Row& row : kRows) {
        const std::string name =
            std::string("regexp_replace/") + row.name + '/' + subject_name(row.subject) + '/';
        const auto add = [&](const char* who, auto run) {
            benchmark::RegisterBenchmark((name + who).c_str(),
                                         [&row, run](benchmark::State& state) { run(state, row); });
        };
        add("ours", replace_all<Ours>);
        add("ours_in_buffer", replace_all<OursInBuffer>);
        add("pcre2", replace_all<Pcre2<false>>);
        add("pcre2_jit", replace_all<Pcre2<true>>);
        add("icu", replace_all<Icu>);
    }
    benchmark::RegisterBenchmark("regexp_translate/escape/ours", translate_ours,
                                 static_cast<Translation>(RE_Translate::escape), kFileName);
    benchmark::RegisterBenchmark("regexp_translate/escape/loop", translate_by_hand, escape_by_hand,
                                 kFileName);
    benchmark::RegisterBenchmark("regexp_translate/wildcard/ours", translate_ours,
                                 static_cast<Translation>(RE_Translate::translateWildcard),
                                 kWildcard);
    benchmark::RegisterBenchmark("regexp_translate/wildcard/loop", translate_by_hand,
                                 wildcard_by_hand, kWildcard);
}

static_assert(sizeof(kFileName) / sizeof(char16_t) == kNameLength + 1);
static_assert(sizeof(kWildcard) / sizeof(char16_t) == kNameLength + 1);

}  // namespace

int main(int argc, char** argv) {
    register_all();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
