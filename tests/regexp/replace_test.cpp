// Replacing: tables, and over generated patterns, templates and texts a model that replaces match
// by match; the capacity of buffers, streaming, and errors in the middle.
#include <gtest/gtest.h>
#include <qxut/util/contexts.h>
#include <qxut/util/error.h>
#include <qxut/util/heap.h>

#include <atomic>
#include <memory>
#include <new>
#include <qxut/i18n/unicode_converter.hpp>
#include <qxut/regexp/replace.hpp>
#include <qxut/regexp/translate.hpp>
#include <qxut/regexp/tree.hpp>
#include <qxut/system/throwable.hpp>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "regexp/template_model.h"
#include "support/contexts.h"
#include "support/failing_malloc.h"

namespace {

using qxut_test::FailingMalloc;
using qxut_test::TemplateModel;
using qxut_test::TextContext;

// A buffer of utMalloc's that is exactly as large as its capacity says.
struct Buffer {
    explicit Buffer(const std::u16string& text) : Buffer(text, text.size()) {}
    Buffer(const std::u16string& text, size_t room)
        : units(static_cast<char16_t*>(utMalloc(room * sizeof(char16_t)))),
          length(text.size()),
          capacity(room) {
        text.copy(units, text.size());
    }
    ~Buffer() { utFree(units); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    size_t replace(const RE_Replace& replacement, const RE_Tree& tree, bool first_only = false,
                   size_t most = 0, RE_Search_Info* info = nullptr) {
        size_t count = most;
        units = replacement.replace(units, &length, &capacity, tree, first_only, &count, info);
        return count;
    }
    std::u16string text() const { return {units, length}; }

    char16_t* units;
    size_t length;
    size_t capacity;
};

RE_Tree tree_of(const std::u16string& pattern, RE_Flags flags = RE_NO_FLAGS) {
    return {pattern.data(), pattern.size(), flags, nullptr};
}
RE_Replace replacement_of(const std::u16string& text, RE_Context* context = nullptr) {
    return {text.data(), text.size(), context != nullptr ? RE_EVALUATE : RE_NO_FLAGS, context};
}

// Keeps what it is given, and checks each replacement against it.
class Collector : public RE_Replace_Writer {
  public:
    explicit Collector(const std::u16string& original) : original_(original) {}
    void write(const char16_t* text, size_t length) override {
        EXPECT_NE(length, 0U);
        result.append(text, length);
    }
    void replaced(const RE_Replacement& replacement) override {
        EXPECT_EQ(replacement.result_end, result.size());
        EXPECT_LE(replacement.result_start, replacement.result_end);
        // Between the replacements the texts are the same.
        EXPECT_EQ(result.substr(result_end_, replacement.result_start - result_end_),
                  original_.substr(end_, replacement.start - end_));
        end_ = replacement.end;
        result_end_ = replacement.result_end;
        ++count;
    }
    std::u16string result;
    size_t count = 0;

  private:
    const std::u16string& original_;
    size_t end_ = 0;
    size_t result_end_ = 0;
};

struct Replaced {
    std::u16string text;
    size_t count;
    size_t capacity;
};

// Match by match, growing by the written rule.
Replaced model(const RE_Tree& tree, const RE_Replace& made, const TemplateModel& replacement,
               const std::u16string& text, size_t capacity, size_t most) {
    Replaced replaced{text, 0, capacity};
    size_t shift = 0;  // of the result against the original, modulo 2^64
    const std::unique_ptr<RE_Results> found(tree.match(text.data(), text.size(), 0));
    for (bool more = found != nullptr; more; more = found->next()) {
        const std::u16string piece = replacement.replacement(text, found->tokens());
        RE_Replace_Text built;
        made.build_replace({text.data(), text.size(), &found->tokens()}, built);
        EXPECT_EQ(std::u16string(built.text(), built.length()), piece);
        replaced.text.replace(found->start() + shift, found->end() - found->start(), piece);
        shift = replaced.text.size() - text.size();
        if (replaced.text.size() > replaced.capacity) replaced.capacity += replaced.text.size();
        if (++replaced.count == most) break;
    }
    return replaced;
}

TEST(Replace, Table) {
    const struct {
        const char16_t* pattern;
        const char16_t* replacement;
        const char16_t* text;
        const char16_t* result;
        size_t count;
    } kCases[] = {
        {u"b", u"x", u"", u"", 0},
        {u"b", u"x", u"aaa", u"aaa", 0},
        {u"a", u"", u"banana", u"bnn", 3},
        {u"an", u"<$0$&>", u"banana", u"b<anan><anan>a", 2},
        {u"(\\d+)-(\\d+)", u"$2/$1", u"on 10-02, 3-4.", u"on 02/10, 4/3.", 2},
        {u"(?<a>x)|(?<b>y)", u"[$<a>|$<b>|$2|$9]", u"xy", u"[x|||][|y|y|]", 2},
        // All matches, and what stands around them, are of the original text.
        {u"(?<=a)b|a", u"x", u"abc", u"xxc", 2},
        {u"b", u"{$`|$'}", u"abcb", u"a{a|cb}c{abc|}", 2},
        {u"^a", u"", u"aaa", u"aa", 1},
        // Empty matches.
        {u"x*", u"-", u"abxc", u"-a-b--c-", 5},
        {u"", u".", u"\U0001F600a", u".\U0001F600.a.", 3},
        {u"$", u"!", u"a\n", u"a\n!", 1},
        {u"\\.", u"$01", u"1.5", u"1.15", 1},
        {u"[A-Z]", u"\\x{1F600}", u"aBc", u"a\U0001F600c", 1},
    };
    for (const auto& c : kCases) {
        const std::u16string text = c.text;
        SCOPED_TRACE(std::string(text.begin(), text.end()));
        const RE_Tree tree = tree_of(c.pattern);
        const RE_Replace replacement = replacement_of(c.replacement);
        Buffer buffer(text);
        EXPECT_EQ(buffer.replace(replacement, tree), c.count);
        EXPECT_EQ(buffer.text(), c.result);
    }
}

TEST(Replace, AsManyAsAsked) {
    const RE_Tree tree = tree_of(u"a");
    const RE_Replace replacement = replacement_of(u"bb");
    const struct {
        bool first_only;
        size_t most;
        const char16_t* result;
        size_t count;
    } kCases[] = {{true, 0, u"bbaaa", 1},     {true, 3, u"bbaaa", 1},
                  {false, 1, u"bbaaa", 1},    {false, 3, u"bbbbbba", 3},
                  {false, 0, u"bbbbbbbb", 4}, {false, 9, u"bbbbbbbb", 4}};
    for (const auto& c : kCases) {
        Buffer buffer(u"aaaa");
        EXPECT_EQ(buffer.replace(replacement, tree, c.first_only, c.most), c.count);
        EXPECT_EQ(buffer.text(), c.result);
    }
    Buffer buffer(u"aa");
    buffer.units =
        replacement.replace(buffer.units, &buffer.length, &buffer.capacity, tree, false, nullptr);
    EXPECT_EQ(buffer.text(), u"bbbb");
}

TEST(Replace, ABufferThatHoldsItAllIsKept) {
    char16_t units[8] = {u'a', u'a', u'c', 7, 7, 7, 7, 7};
    size_t length = 3;
    size_t capacity = 5;
    const char16_t* const result =
        replacement_of(u"bb").replace(units, &length, &capacity, tree_of(u"a"), false, nullptr);
    EXPECT_EQ(result, units);
    EXPECT_EQ(std::u16string(units, length), u"bbbbc");
    EXPECT_EQ(capacity, 5U);
    EXPECT_EQ(units[5], 7);

    char16_t* null = nullptr;
    length = capacity = 0;
    null = replacement_of(u"xyz").replace(null, &length, &capacity, tree_of(u"^"), false, nullptr);
    EXPECT_EQ(std::u16string(null, length), u"xyz");
    EXPECT_EQ(capacity, 3U);
    utFree(null);
}

TEST(Replace, NarrowForms) {
    const auto replace_static = [](const char* text, const char* pattern, const char* replacement,
                                   bool ignore_case, bool first_only) {
        size_t length = 0;
        size_t* const no_length = nullptr;
        char* const made = RE_Replace::replace(text, text == nullptr ? &length : no_length, pattern,
                                               replacement, ignore_case, first_only);
        std::string result = made;
        utFree(made);
        return result;
    };
    EXPECT_EQ(replace_static("caf\xC3\xA9 \xC3\xA9t\xC3\xA9", "\xC3\xA9", "[$0]", false, false),
              "caf[\xC3\xA9] [\xC3\xA9]t[\xC3\xA9]");
    EXPECT_EQ(replace_static("aA", "a", "x", true, false), "xx");
    EXPECT_EQ(replace_static("aA", "a", "x", false, false), "xA");
    EXPECT_EQ(replace_static("aA", "a", "x", true, true), "xA");
    EXPECT_EQ(replace_static(nullptr, "^", "x", false, false), "x");
    // Without a match the bytes stay, ill-formed ones too.
    EXPECT_EQ(replace_static("a\xFF", "b", "x", false, false), "a\xFF");

    const char text[] = {'a', 0, 'a'};
    size_t length = sizeof(text);
    char* const made = RE_Replace::replace(text, &length, "a", "b\\0", false, false);
    EXPECT_EQ(std::string(made, length), std::string("b\0\0b\0", 5));
    utFree(made);

    const RE_Tree tree = tree_of(u"\u8868");
    const RE_Replace replacement = replacement_of(u"$0$0");
    Quorvanix::I18N::UnicodeConverterX::pushTssDefaultConvName("Shift_JIS");
    size_t capacity = 3;
    auto* buffer = static_cast<char*>(utMalloc(capacity));
    std::string("\x95\x5C|").copy(buffer, 3);
    size_t count = 0;
    buffer = replacement.replace(buffer, &(length = 3), &capacity, tree, false, &count);
    EXPECT_EQ(std::string(buffer, length), "\x95\x5C\x95\x5C|");
    EXPECT_EQ(capacity, 8U);
    EXPECT_EQ(count, 1U);
    buffer = replacement.replace(buffer, &length, &capacity, tree, true, &count);
    EXPECT_EQ(length, 7U);
    EXPECT_EQ(capacity, 8U);
    utFree(buffer);
    Quorvanix::I18N::UnicodeConverterX::popTssDefaultConvName();
}

class Generated {
  public:
    std::u16string text(size_t most) {
        static const std::u16string kUnits[] = {u"a", u"b",  u"c",      u"1",
                                                u" ", u"\n", u"\u00E9", u"\U0001F600"};
        std::u16string made;
        for (auto left = below(most + 1); left > 0; --left) made += kUnits[below(8)];
        return made;
    }
    std::u16string pattern() {
        static const std::u16string kPatterns[] = {u"a",        u"b*",
                                                   u"(a)(b)?",  u"(?<n>[ab]+)(?<m>c)?",
                                                   u"\\w+",     u"(?<=a)b|a",
                                                   u"",         u"$|^",
                                                   u"(.)",      u"\\s|(?<n>\\d)",
                                                   u"(?=b)|c+", u"[^a]",
                                                   u"a??",      u"(?<n>a)|(?<n>b)"};
        return kPatterns[below(std::size(kPatterns))];
    }
    std::u16string replacement() {
        static const std::u16string kPieces[] = {u"$0", u"$&", u"$1", u"$2", u"$<n>",       u"$<m>",
                                                 u"$`", u"$'", u"x",  u"yz", u"${$1+$<n>}", u"$"};
        std::u16string made;
        for (auto left = below(5); left > 0; --left) made += kPieces[below(std::size(kPieces))];
        return made;
    }
    size_t below(size_t n) { return random_() % n; }

  private:
    std::mt19937 random_{7};
};

TEST(Replace, AgreesWithTheModel) {
    Generated generated;
    for (int round = 0; round < 5000; ++round) {
        const std::u16string pattern = generated.pattern();
        const std::u16string replacement_text = generated.replacement();
        const std::u16string text = generated.text(12);
        const size_t most = generated.below(3);
        const size_t capacity = text.size() + generated.below(10);
        SCOPED_TRACE(std::string(pattern.begin(), pattern.end()) + " -> " +
                     std::string(replacement_text.begin(), replacement_text.end()) + " in " +
                     std::string(text.begin(), text.end()));
        TextContext context(true);
        const RE_Tree tree = tree_of(pattern);
        const RE_Replace replacement = replacement_of(replacement_text, &context);
        const Replaced expected =
            model(tree, replacement, TemplateModel(replacement_text, true), text, capacity, most);
        Buffer buffer(text, capacity);
        ASSERT_EQ(buffer.replace(replacement, tree, false, most), expected.count);
        ASSERT_EQ(buffer.text(), expected.text);
        ASSERT_EQ(buffer.capacity, expected.capacity);

        Collector collector(text);
        size_t count = most;
        replacement.stream(text.data(), text.size(), tree, false, &count, collector);
        ASSERT_EQ(collector.result, expected.text);
        ASSERT_EQ(collector.count, expected.count);
        ASSERT_EQ(count, expected.count);

        Buffer same(text);
        same.replace(replacement_of(u"$0"), tree);
        ASSERT_EQ(same.text(), text);
        ASSERT_EQ(same.capacity, text.size());
    }
}

// A replaced text that grows and shrinks in between: the capacity follows each step.
TEST(Replace, CapacityIsThatOfEachStep) {
    const RE_Tree tree = tree_of(u"(a)|(b+)");
    Buffer buffer(u"abbbbbbbb", 10);
    buffer.replace(replacement_of(u"$1$1$1$1"), tree);
    EXPECT_EQ(buffer.text(), u"aaaa");
    EXPECT_EQ(buffer.capacity, 22U);  // 12 after the first
}

class Raising : public RE_Context {
  public:
    explicit Raising(void (*action)()) : action_(action) {}
    bool allow_evaluation() const override { return true; }
    bool evaluate_string(RE_Evaluation_IO& io) override {
        io.set_text(u"evaluated", 9);
        if (io.position >= 4) action_();
        return true;
    }

  private:
    void (*action_)();
};

qxut_test::Contexts* raising_contexts;

TEST(Replace, AnErrorInTheMiddleLeavesTheText) {
    qxut_test::Contexts contexts;
    raising_contexts = &contexts;
    const std::u16string text = u"aaaaaaaa";
    const RE_Tree tree = tree_of(u"a");
    Raising throwing([] { throw std::runtime_error("host"); });
    Raising raising([] { ut_fault(&raising_contexts->errors, "host", "host.c", 1); });
    const RE_Replace thrown = replacement_of(u"<${x}>", &throwing);
    const RE_Replace raised = replacement_of(u"<${x}>", &raising);
    for (int round = 0; round < 2; ++round) {
        Buffer buffer(text);
        const auto unchanged = [&] {
            EXPECT_EQ(buffer.text(), text);
            EXPECT_EQ(buffer.capacity, text.size());
        };
        EXPECT_THROW(buffer.replace(thrown, tree), std::runtime_error);
        unchanged();
        EXPECT_EQ(contexts.run([&] { buffer.replace(raised, tree); }).code, UT_ASSERTION_FAULT);
        unchanged();
        Collector collector(text);
        EXPECT_THROW(thrown.stream(text.data(), text.size(), tree, false, nullptr, collector),
                     std::runtime_error);
        EXPECT_EQ(collector.count, 4U);
        // Both go on as if nothing had happened.
        EXPECT_EQ(buffer.replace(thrown, tree, false, 2), 2U);
        EXPECT_EQ(buffer.text(), u"<evaluated><evaluated>aaaaaa");
    }

    Buffer buffer(text);
    RE_Search_Info info;
    const std::atomic<bool> cancel{true};
    info.cancel = &cancel;
    EXPECT_THROW(buffer.replace(thrown, tree, false, 0, &info),
                 Quorvanix::System::InterruptException);
    EXPECT_EQ(buffer.text(), text);
}

// A failure to evaluate gives no text; a writer's error ends the stream.
TEST(Replace, HostsMayRefuse) {
    class Refusing : public RE_Context {
      public:
        bool allow_evaluation() const override { return true; }
        bool evaluate_string(RE_Evaluation_IO& io) override {
            io.set_text(u"ignored", 7);
            return false;
        }
    } refusing;
    Buffer buffer(u"aba");
    buffer.replace(replacement_of(u"<${$0}>", &refusing), tree_of(u"a"));
    EXPECT_EQ(buffer.text(), u"<>b<>");

    class Full : public RE_Replace_Writer {
      public:
        void write(const char16_t* /*text*/, size_t /*length*/) override {
            if (++writes == 3) throw std::length_error("full");
        }
        int writes = 0;
    } full;
    EXPECT_THROW(replacement_of(u"x").stream(u"abab", 4, tree_of(u"a"), false, nullptr, full),
                 std::length_error);
    EXPECT_EQ(full.writes, 3);
}

TEST(Replace, AFailedAllocationLeavesTheText) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    const std::u16string text(200, u'a');
    const RE_Tree tree = tree_of(u"(a)");
    TextContext context(true);
    const RE_Replace replacement = replacement_of(u"$1$`${$1}", &context);
    Buffer(text).replace(replacement, tree);  // the matcher's memory is warm from now on
    for (size_t request = 0;; ++request) {
        Buffer buffer(text);
        size_t count = 7;
        bool failed = false;
        {
            const FailingMalloc failing(request);
            try {
                buffer.units = replacement.replace(buffer.units, &buffer.length, &buffer.capacity,
                                                   tree, false, &count);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        ASSERT_EQ(failed, FailingMalloc::has_failed());
        // The new buffer took the place of the old one.
        ASSERT_EQ(FailingMalloc::live_blocks(), 0);
        ASSERT_EQ(count, 7U);
        if (!failed) break;
        ASSERT_EQ(buffer.text(), text);
        ASSERT_EQ(buffer.capacity, text.size());
    }
    for (size_t request = 0;; ++request) {
        bool failed = false;
        {
            const FailingMalloc failing(request);
            try {
                utFree(RE_Replace::replace("aba", nullptr, "a", "$0$0", false, false));
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        ASSERT_EQ(failed, FailingMalloc::has_failed());
        if (!failed) break;
    }
}

// What the translations mean, told as replacements.
TEST(Replace, TranslationsAreReplacements) {
    struct Step {
        const char16_t* pattern;
        const char16_t* replacement;
    };
    const struct {
        char16_t* (*translate)(char16_t*, size_t*, size_t*);
        std::vector<Step> steps;
    } kCases[] = {
        {RE_Translate::escape, {{u"[\\$\\^\\.\\\\\\*\\+\\[\\]\\(\\)\\{\\}\\?\\|\\-]", u"\\\\$0"}}},
        {RE_Translate::translateWildcard,
         {{u"[\\$\\^\\.\\\\\\+\\[\\]\\(\\)\\{\\}\\|\\-]", u"\\\\$0"},
          {u"\\*", u".*"},
          {u"\\?", u"."}}},
        {RE_Translate::makeWhitespaceSpaces, {{u"[\\s\\0]", u" "}}},
    };
    std::mt19937 random(9);
    for (int round = 0; round < 200; ++round) {
        std::u16string text;
        for (auto left = random() % 30; left > 0; --left) {
            text += static_cast<char16_t>(random() % 4 == 0 ? random() % 0x3001 : random() % 0x80);
        }
        const size_t room = text.size() + random() % 10;
        for (const auto& c : kCases) {
            Buffer translated(text, room);
            translated.units =
                c.translate(translated.units, &translated.length, &translated.capacity);
            Buffer replaced(text, room);
            for (const Step& step : c.steps) {
                replaced.replace(replacement_of(step.replacement), tree_of(step.pattern));
            }
            ASSERT_EQ(translated.text(), replaced.text());
            ASSERT_EQ(translated.capacity, replaced.capacity);
        }
    }
}

// The rest of the text moves once, not for every match.
TEST(Replace, ManyMatchesInALongText) {
    const std::u16string text(2'000'000, u'a');
    Buffer buffer(text);
    EXPECT_EQ(buffer.replace(replacement_of(u"bc"), tree_of(u"a")), text.size());
    EXPECT_EQ(buffer.length, 2 * text.size());
    EXPECT_EQ(buffer.units[3'999'999], u'c');
}

}  // namespace
