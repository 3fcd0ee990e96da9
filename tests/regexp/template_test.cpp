// Replacement templates: what they are parsed into, their warnings, and what they build for a given
// match, compared with a model over generated templates. No text is searched here.
#include <gtest/gtest.h>
#include <qxut/util/heap.h>
#include <qxut/util/output.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <new>
#include <qxut/regexp/replace.hpp>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "regexp/template_model.h"
#include "support/failing_malloc.h"

namespace {

using qxut_test::FailingMalloc;
using qxut_test::TemplateModel;
using qxut_test::TemplateWarning;
using qxut_test::TextContext;

std::u16string wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

std::string printed;
int keep_printed(const char* text, void* /*data*/) {
    printed += text;
    return 1;
}

std::string dump_of(const RE_Replace& replacement) {
    printed.clear();
    utPutsFcn puts_fcn = keep_printed;
    void* data = nullptr;
    utIsHotFcn is_hot = nullptr;
    _error_context* errors = nullptr;
    utSwapVprintfCallbacks(&puts_fcn, &data, &is_hot, &errors);
    replacement.dump();
    utSwapVprintfCallbacks(&puts_fcn, &data, &is_hot, &errors);
    return printed;
}

bool is_accepted_by_dot(const std::string& graph) {
    if (std::system("dot -V >/dev/null 2>&1") != 0) return true;
    const std::string path = testing::TempDir() + "template_graph.dot";
    std::ofstream(path, std::ios::binary) << graph;
    const bool is_read =
        std::system(("dot -Tsvg '" + path + "' >/dev/null 2>'" + path + ".err'").c_str()) == 0;
    const bool is_silent = std::ifstream(path + ".err").peek() == EOF;
    for (const char* suffix : {"", ".err"}) std::remove((path + suffix).c_str());
    return is_read && is_silent;
}

// "<<ab-cd>>": the match is "ab-cd", token 1 "ab", token 2 "cd" named "n", token 3 unset, token 4
// unset and named "n" too, token 5 empty and named "matched".
struct Match {
    Match() {
        const auto set = [&](size_t token, const char16_t* name, size_t start, size_t end) {
            tokens.set_start(token, name, start);
            tokens.set_end(token, end);
        };
        set(0, nullptr, 2, 7);
        set(1, nullptr, 2, 4);
        set(2, u"n", 5, 7);
        tokens.set_start(3, nullptr, 0);
        tokens.set_start(4, u"n", 0);
        set(5, u"matched", 7, 7);
    }
    std::u16string subject = u"<<ab-cd>>";
    RE_Token_Stack tokens{5};

    std::u16string build(const RE_Replace& replacement) const {
        RE_Replace_Text result;
        replacement.build_replace({subject.data(), subject.size(), &tokens}, result);
        return {result.text(), result.length()};
    }
};

constexpr const char* kUnknown = "Unknown replace pattern specified, '$' is treated literally.";
constexpr const char* kDisabled = "Evaluation is disabled";

struct Case {
    std::string text;
    std::string listing;  // lines without the header
    std::string built;
    std::vector<TemplateWarning> warnings = {};
};

TEST(Template, IsParsedIntoElements) {
    const Case kCases[] = {
        {"", "", ""},
        {"plain", "'plain'\n", "plain"},
        {"$0$&", "Replace matched\nReplace matched\n", "ab-cdab-cd"},
        {"$`|$'", "Replace former\n'|'\nReplace latter\n", "<<|>>"},
        {"$1,$<n>", "Token #1\n','\nToken n\n", "ab,cd"},
        {"$01", "Replace matched\n'1'\n", "ab-cd1"},
        {"$3$4$6$12$<x>$<matched>",
         "Token #3\nToken #4\nToken #6\nToken #12\nToken x\nToken matched\n", ""},
        {"$18446744073709551617", "Token #18446744073709551615\n", ""},
        {"a$", "'a$'\n", "a$", {{1, kUnknown}}},
        {"$<x", "'$<x'\n", "$<x", {{0, kUnknown}}},
        {"$<1a>", "'$<1a>'\n", "$<1a>", {{0, kUnknown}}},
        {"$$1", "'$'\nToken #1\n", "$ab", {{0, kUnknown}}},
        {"\\$1\\\\", "'$1\\'\n", "$1\\"},
        {"\\t\\x41\\x{42}\\o103\\0561", "'\tABC.1'\n", "\tABC.1"},
        {"a\\", "'a\\'\n", "a\\", {{1, "Backslash at end of pattern is treated literally."}}},
        {"\\1\\d\\k\\<\\>",
         "'1dk<>'\n",
         "1dk<>",
         {{1, "Escaped character '1' is treated literally in this context."},
          {3, "Escaped character 'd' is treated literally in this context."},
          {5, "Escaped character 'k' is treated literally in this context."}}},
        {"a\\x{}b", "'ab'\n", "ab", {{3, "Braced expression does not evaluate to a character."}}},
        {"${$1", "'${'\nToken #1\n", "${ab", {{0, kUnknown}}},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.text);
        const std::u16string text = wide(c.text);
        TextContext context(true);
        context.set_source(text.data());
        const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
        EXPECT_EQ(context.warnings, c.warnings);
        EXPECT_EQ(dump_of(replacement), "Replace:\n" + c.listing);
        EXPECT_EQ(Match().build(replacement), wide(c.built));
    }
}

TEST(Template, EvaluatesWhereItMay) {
    const std::u16string text = u"<${f($1)}>";
    const struct {
        RE_Flags flags;
        bool has_context;
        bool allows;
        bool evaluates;
    } kCases[] = {{RE_EVALUATE, true, true, true},
                  {RE_NO_FLAGS, true, true, false},
                  {RE_EVALUATE, true, false, false},
                  {RE_EVALUATE, false, true, false}};
    for (const auto& c : kCases) {
        TextContext context(c.allows);
        context.set_source(text.data());
        const RE_Replace replacement(text.data(), text.size(), c.flags,
                                     c.has_context ? &context : nullptr);
        EXPECT_EQ(Match().build(replacement),
                  c.evaluates ? u"<f(token_1)[token_1=ab@2-4;]>" : u"<${f(ab)}>");
        if (c.has_context && !c.evaluates) {
            EXPECT_EQ(context.warnings,
                      (std::vector<TemplateWarning>{{1, kDisabled}, {1, kUnknown}}));
        } else {
            EXPECT_TRUE(context.warnings.empty());
        }
    }
}

TEST(Template, NamesTheInputsOfExpressions) {
    const struct {
        const char16_t* text;
        const char16_t* built;
    } kCases[] = {
        {u"${}", u"[]"},
        {u"${{$1}{}}", u"{token_1}{}[token_1=ab@2-4;]"},
        {u"${$0+$&+$`+$'}",
         u"matched+matched+former+latter"
         u"[matched=ab-cd@2-7;former=<<@0-2;latter=>>@7-9;]"},
        {u"${$<n>+$<n>+$2}", u"n+n+token_2[n=cd@5-7;token_2=cd@5-7;]"},
        // A special's name, the host's own words and a token's own name are not given away.
        {u"${$<matched>$&}", u"matched_2matched[matched_2=@7-7;matched=ab-cd@2-7;]"},
        {u"${n($<n>)}", u"n(n_2)[n_2=cd@5-7;]"},
        {u"${n $<n> $<n_2>}", u"n n_3 n_2[n_3=cd@5-7;n_2=;]"},
        {u"${$3,$9,$x,$}", u"token_3,token_9,$x,$[token_3=;token_9=;]"},
        {u"${\\$1\\n}", u"\\token_1\\n[token_1=ab@2-4;]"},
    };
    for (const auto& c : kCases) {
        const std::u16string text = c.text;
        TextContext context(true);
        context.set_source(text.data());
        const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
        EXPECT_EQ(Match().build(replacement), c.built);
        EXPECT_TRUE(context.warnings.empty());
    }
}

TEST(Template, RecordsWhatItUses) {
    const std::u16string text = u"$12$2$<b>$<a>$<b>$'${$&+$<c>+$0+$7+$7}";
    TextContext context(true);
    const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
    size_t count = 0;
    const size_t* const tokens = replacement.tokens_used(&count);
    EXPECT_EQ(std::vector<size_t>(tokens, tokens + count), (std::vector<size_t>{2, 7, 12}));
    const char16_t* const* const names = replacement.names_used(&count);
    EXPECT_EQ(std::vector<std::u16string>(names, names + count),
              (std::vector<std::u16string>{u"b", u"a", u"c"}));
    EXPECT_FALSE(replacement.uses(RE_REPLACE_FORMER));
    EXPECT_TRUE(replacement.uses(RE_REPLACE_WHOLE));
    EXPECT_TRUE(replacement.uses(RE_REPLACE_MATCHED));
    EXPECT_TRUE(replacement.uses(RE_REPLACE_LATTER));
    EXPECT_EQ(replacement.evaluable_count(), 6U + 3U);
}

TEST(Template, GraphIsQuoted) {
    const std::u16string text = u"\"\\\\x$1$<n>${&}";
    TextContext context(true);
    const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
    EXPECT_EQ(replacement.graph(),
              "\n\ndigraph regexprep {\n"
              "R0 [label=Start];\n"
              "R1 [label=\"'\\\"\\\\x'\"];\n"
              "R0 -> R1 [label=Chain];\n"
              "R2 [label=\"Token #1\"];\n"
              "R1 -> R2 [label=Chain];\n"
              "R3 [label=\"Token <n>\"];\n"
              "R2 -> R3 [label=Chain];\n"
              "R4 [label=\"Replace Evaluator\"];\n"
              "R3 -> R4 [label=Chain];\n"
              "}\n");
    EXPECT_TRUE(is_accepted_by_dot(replacement.graph()));
    EXPECT_NE(dump_of(replacement).find("\nEvaluate {&}\n"), std::string::npos);
}

TEST(Template, NarrowTextIsOfTheCodePage) {
    EXPECT_EQ(Match().build(RE_Replace("\xC3\xA9$1")), u"\u00E9ab");
    EXPECT_EQ(Match().build(RE_Replace(nullptr)), u"");
}

// Prepares each expression once, and gives everything back.
class CountingContext : public RE_Context {
  public:
    bool allow_evaluation() const override { return true; }
    void* create_fcn(RE_Evaluation_Purpose purpose, const char16_t* expression, size_t length,
                     const RE_Evaluation_Inputs& inputs) override {
        EXPECT_EQ(purpose, RE_EVALUATE_TEXT);
        if (made == fails_at) throw std::runtime_error("no function");
        auto function = std::make_unique<std::u16string>(expression, length);
        for (size_t i = 0; i < inputs.count(); ++i) *function += inputs.get(i)->name;
        ++made;
        ++live;
        return function.release();
    }
    void delete_fcn(void* function) noexcept override {
        --live;
        delete static_cast<std::u16string*>(function);
    }
    bool evaluate_string(RE_Evaluation_IO& io) override {
        const auto& text = *static_cast<std::u16string*>(io.function);
        EXPECT_EQ(io.position, 2U);
        io.set_text(text.data(), text.size());
        return text.size() != 1;
    }
    int made = 0;
    int live = 0;
    int fails_at = -1;
};

TEST(Template, PreparesEachExpressionOnce) {
    CountingContext context;
    const std::u16string text = u"${a$1}${b}${}";
    {
        const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
        EXPECT_EQ(context.made, 3);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(Match().build(replacement), u"atoken_1token_1");
        EXPECT_EQ(context.made, 3);
    }
    EXPECT_EQ(context.live, 0);
    context.fails_at = context.made + 2;
    EXPECT_THROW(RE_Replace(text.data(), text.size(), RE_EVALUATE, &context), std::runtime_error);
    EXPECT_EQ(context.live, 0);
}

TEST(Template, AgreesWithTheModel) {
    const std::u16string kFragments[] = {u"$",
                                         u"$",
                                         u"$1",
                                         u"$2",
                                         u"$5",
                                         u"$0",
                                         u"$&",
                                         u"$'",
                                         u"$`",
                                         u"${",
                                         u"${",
                                         u"}",
                                         u"}",
                                         u"{",
                                         u"$<",
                                         u"$<n>",
                                         u"$<matched>",
                                         u"$<m_2>",
                                         u"$<x\u00E9>",
                                         u"$<2n>",
                                         u">",
                                         u"\\",
                                         u"\\",
                                         u"\\x",
                                         u"\\x{",
                                         u"\\o",
                                         u"\\o{",
                                         u"1F600",
                                         u"110000",
                                         u"41",
                                         u"7",
                                         u"0",
                                         u"9999999999999999999999999999",
                                         u"n",
                                         u"matched",
                                         u"former",
                                         u"n_2",
                                         u"token_1",
                                         u" ",
                                         u"\n",
                                         u"a",
                                         u"\u00E9",
                                         u"\U0001F600",
                                         u"d",
                                         u"k<n>",
                                         std::u16string(1, u'\0')};
    std::mt19937 random(5);
    const Match match;
    for (int round = 0; round < 20000; ++round) {
        std::u16string text;
        for (auto left = random() % 12; left > 0; --left) {
            text += kFragments[random() % std::size(kFragments)];
        }
        const bool allows = random() % 4 != 0;
        TextContext context(allows);
        context.set_source(text.data());
        const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
        const TemplateModel model(text, allows);
        const std::string shown(text.begin(), text.end());
        ASSERT_EQ(context.warnings, model.warnings) << shown;
        ASSERT_EQ(match.build(replacement), model.replacement(match.subject, match.tokens))
            << shown;
    }
}

TEST(Template, AFailedAllocationLeavesNothing) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    CountingContext context;
    const std::u16string text = u"$1 $<a> ${$<b>+$<b_2>+b $7} \\x{41}" + std::u16string(100, u'x');
    const Match match;
    for (size_t request = 0;; ++request) {
        bool failed = false;
        {
            const FailingMalloc failing(request);
            try {
                const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
                RE_Replace_Text result;
                replacement.build_replace(
                    {match.subject.data(), match.subject.size(), &match.tokens}, result);
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        ASSERT_EQ(failed, FailingMalloc::has_failed());
        ASSERT_EQ(context.live, 0);
        if (!failed) break;
    }
}

// Time that is quadratic in these would not end here.
TEST(Template, LongTemplatesAreReadInOnePass) {
    for (const char16_t* unit : {u"$", u"${", u"$<a", u"\\x{", u"$1", u"{${", u"${$<a>}", u"}"}) {
        std::u16string text;
        while (text.size() < 300'000) text += unit;
        TextContext context(true);
        context.set_source(text.data());
        const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, nullptr);
        EXPECT_FALSE(Match().build(replacement).empty());
    }
    std::u16string text = u"${";
    for (int i = 1; i <= 30'000; ++i) {
        const std::string number = std::to_string(i);
        text += u"$" + wide(number) + u"$<a" + wide(number) + u">";
    }
    text += u"}";
    TextContext context(true);
    const RE_Replace replacement(text.data(), text.size(), RE_EVALUATE, &context);
    EXPECT_EQ(replacement.evaluable_count(), 60'000U);
}

}  // namespace
