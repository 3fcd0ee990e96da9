// bounds_test.cpp - that no pattern and no text hangs, crashes or exhausts the host: depth without
// stack, work that grows with the text and not beyond, limits that are errors, interrupts.
//
// Work is measured in steps, never in time.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <qxut/regexp/regexp.h>
#include <qxut/util/interrupt.h>
#include <qxut/util/output.h>
#include <qxut/regexp/context.hpp>
#include <qxut/regexp/results.hpp>
#include <qxut/regexp/tree.hpp>
#include <qxut/system/throwable.hpp>

#include "regexp/engine.h"
#include "support/failing_malloc.h"

namespace qxut_test {
namespace {

using Quorvanix::System::InterruptException;
using Quorvanix::System::UserException;

std::u16string repeated(const std::u16string& unit, size_t count) {
    std::u16string text;
    text.reserve(unit.size() * count);
    for (size_t i = 0; i < count; ++i) text += unit;
    return text;
}

RE_Tree tree_of(const std::u16string& pattern, RE_Flags flags = RE_NO_FLAGS) {
    return {pattern.data(), pattern.size(), flags, nullptr};
}

// The first match as text, and the steps that it took.
struct Answer {
    std::string match;
    uint64_t steps = 0;
};
Answer first_match(const RE_Tree& tree, std::u16string_view text, RE_Limits limits = {}) {
    RE_Search_Info info;
    info.length = text.size();
    info.limits = limits;
    size_t position = 0;
    Answer answer;
    answer.match = tree.match_bool(text.data(), &position, &info)
                       ? std::to_string(position) + "-" + std::to_string(info.end)
                       : "none";
    answer.steps = info.steps_used;
    return answer;
}

// --- depth ------------------------------------------------------------------------------------

void* run_body(void* body) {
    (*static_cast<std::function<void()>*>(body))();
    return nullptr;
}

// Runs it on a thread with a stack of 64 KiB.
void on_small_stack(std::function<void()> body) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, size_t{64} << 10), 0);
    pthread_t thread{};
    const int status = pthread_create(&thread, &attributes, run_body, &body);
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
}

// The bytes that the console gets while one is in scope.
class CountedOutput {
  public:
    CountedOutput() { utSwapVprintfCallbacks(&puts_, &data_, &is_hot_, &errors_); }
    ~CountedOutput() { utSwapVprintfCallbacks(&puts_, &data_, &is_hot_, &errors_); }
    CountedOutput(const CountedOutput&) = delete;
    CountedOutput& operator=(const CountedOutput&) = delete;
    size_t bytes = 0;

  private:
    static int count(const char* text, void* data) {
        static_cast<CountedOutput*>(data)->bytes += std::char_traits<char>::length(text);
        return 1;
    }
    utPutsFcn puts_ = count;
    void* data_ = this;
    utIsHotFcn is_hot_ = nullptr;
    _error_context* errors_ = nullptr;
};

TEST(Depth, NeedsNoStack) {
    if (!kCanFailMalloc) GTEST_SKIP() << "a sanitizer's frames need more stack";
    constexpr size_t kDepth = 500'000;
    const struct {
        const char16_t* open;
        const char16_t* inside;
        const char16_t* close;
        const char16_t* text;
        const char* match;
    } kCases[] = {
        {u"(", u"a", u")", u"ba", "1-2"},      {u"(?:", u"a", u")", u"ba", "1-2"},
        {u"(?:", u"a", u"|b)", u"cb", "1-2"},  {u"(?:", u"a", u")*", u"b", "0-0"},
        {u"(?:", u"a", u")?+", u"aa", "0-1"},  {u"(?>", u"a", u")", u"ba", "1-2"},
        {u"(?=", u"a", u")", u"ba", "1-1"},    {u"(?!", u"a", u")", u"ba", "1-1"},
        {u"(?<=", u"a", u")", u"ba", "2-2"},   {u"(?i:", u"a", u")", u"bA", "1-2"},
        {u"(?(1)", u"a", u")", u"b", "0-0"},   {u"(?(?=a)", u"a", u")", u"a", "0-1"},
        {u"(?(?=", u"a", u")a)", u"a", "0-1"}, {u"(?#", u"a", u")", u"b", "0-0"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(std::string(c.open, c.open + std::u16string(c.open).size()));
        const std::u16string pattern =
            repeated(c.open, kDepth) + c.inside + repeated(c.close, kDepth);
        std::string match;
        size_t listed = 0;
        size_t drawn = 0;
        on_small_stack([&] {
            try {
                const RE_Tree tree = tree_of(pattern);
                match = first_match(tree, c.text).match;
                const CountedOutput output;
                tree.dump();
                listed = output.bytes;
                drawn = tree.graph().size();
            } catch (const UserException& error) {
                match = error.what();
            }
        });
        EXPECT_EQ(match, c.match);
        EXPECT_GT(listed, 30U);
        EXPECT_GT(drawn, 20U);
    }
}

TEST(Depth, OfAMatchNeedsNoStack) {
    if (!kCanFailMalloc) GTEST_SKIP() << "a sanitizer's frames need more stack";
    const size_t length = 50'000'000;
    std::u16string text(length, u'a');
    text[length - 2] = u'y';
    text[length - 1] = u'z';
    const std::string all = "0-" + std::to_string(length);
    const struct {
        const char16_t* pattern;
        std::string match;
    } kCases[] = {
        {u"yz", std::to_string(length - 2) + "-" + std::to_string(length)},
        {u"^.*z$", all},
        {u"a+yz", all},
        {u"[^z]*+z", all},
        {u"(?:a++|y)*+z", all},
        {u"(?>[a-x]*)y", "0-" + std::to_string(length - 1)},
        {u"^.*?z", all},
        {u"(?<=a{3})y", std::to_string(length - 2) + "-" + std::to_string(length - 1)},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(std::string(c.pattern, c.pattern + std::u16string(c.pattern).size()));
        std::string match;
        on_small_stack([&] {
            try {
                match = first_match(tree_of(c.pattern), text).match;
            } catch (const UserException& error) {
                match = error.what();
            }
        });
        EXPECT_EQ(match, c.match);
    }
}

// --- work -------------------------------------------------------------------------------------

// Patterns that take exponential or quadratic time where failures are forgotten, each over a
// repeated unit and an end.
const struct {
    const char16_t* pattern;
    const char16_t* unit;
    const char16_t* end;
    bool matches;
} kCatastrophes[] = {
    {u"(x+x+)+y", u"x", u"", false},
    {u"(x+x+)+y", u"x", u"z", false},
    {u"^(a+)+$", u"a", u"b", false},
    {u"(a|a)*b", u"a", u"", false},
    {u"(a|aa)+$", u"a", u"b", false},
    {u"^(?:a|aa)*$", u"a", u"c", false},
    {u"(?:a|aa)+$", u"a", u"c", false},
    {u"^(?:a?)*$", u"a", u"c", false},
    {u"^(?:|a)+$", u"a", u"c", false},
    {u"^(?:a|a?)+?$", u"a", u"c", false},
    {u"^(?:a*?)*?$", u"a", u"c", false},
    {u"^(?:(?:a*)*)*$", u"a", u"c", false},
    {u"^(?:a+){2,9}$", u"a", u"c", false},
    {u"^(?:a|aa){3,}$", u"a", u"c", false},
    {u"^(?:a?){20}a{20}$", u"a", u"c", false},
    {u"^(?:(?=a)a|aa)*$", u"a", u"c", false},
    {u"^(?:(?!b)a|aa)*$", u"a", u"c", false},
    {u"^(?:(?>a+?)|aa)*$", u"a", u"c", false},
    {u"^(?>(?:a|aa)+)$", u"a", u"c", false},
    {u"^(?:(?<=^|a)a|aa)*$", u"a", u"c", false},
    {u"^(?:(?<=(?>^|a))a|aa)*$", u"a", u"c", false},
    {u"(?<=^(?:a|aa)*)d", u"ad", u"c", true},
    {u"^(?:a++|a)*$", u"a", u"c", false},
    {u"^(?:(?:a|aa)*+b)*$", u"aab", u"c", false},
    {u"^(z)?(?:a|aa)*(?(1)b|$)", u"a", u"c", false},
    {u"(a*)*b", u"a", u"", false},
    {u"(a*)*$", u"a", u"b", true},  // the empty match at the end
    {u"(?:a|a|b){2,40}c", u"ab", u"d", false},
    {u"(?=(a+)+b)a", u"a", u"c", false},
    {u"(?!(?:a|a)*b)a", u"a", u"c", true},
    {u"(?>(a|a)*b)", u"a", u"c", false},
    {u"(?:a|a)*(?<=b)c", u"a", u"c", false},
    {u"(?<=b(?:a|a)*)c", u"a", u"c", false},
    {u"(?<=(?>b)(?:a|a)*)c", u"a", u"c", false},
    {u"(?:(?:a|a)*+c)*b", u"a", u"c", false},
    {u"(z)?(?:a|a)*(?(1)b|b)", u"a", u"c", false},
    {u"(?(?=(?:a|a)*b)a|d)", u"a", u"c", false},
    {u".*.*.*b", u"a", u"c", false},
    {u"\\s+$", u" ", u"a", false},
    {u"(?:\\w+\\s*)+:", u"ab ", u"!", false},
    {u"\"(?:[^\"\\\\]|\\\\.)*\"", u"\"\\", u"", false},
};

TEST(Work, GrowsWithTheText) {
    for (const auto& c : kCatastrophes) {
        SCOPED_TRACE(std::string(c.pattern, c.pattern + std::u16string(c.pattern).size()));
        const RE_Tree tree = tree_of(c.pattern);
        uint64_t steps[2] = {};
        for (size_t i = 0; i < 2; ++i) {
            const std::u16string text = repeated(c.unit, i == 0 ? 4000 : 32'000) + c.end;
            try {
                const Answer answer = first_match(tree, text);
                steps[i] = answer.steps;
                EXPECT_EQ(answer.match != "none", c.matches) << answer.match;
            } catch (const UserException& error) {
                ADD_FAILURE() << error.what();
            }
        }
        // Eight times the text, eight times the steps; not 64. When it pays to record failures
        // shifts a little.
        EXPECT_LE(steps[1], 16 * steps[0] + 20'000);
    }
}

// Over all matches of a text the budget is one, so that their search is linear too.
TEST(Work, GrowsWithTheTextOverAllMatches) {
    const RE_Tree tree = tree_of(u"a(?:b|b)*c|a");
    uint64_t steps[2] = {};
    for (size_t i = 0; i < 2; ++i) {
        const std::u16string text = u"a" + repeated(u"b", 2000 << i) + repeated(u"a", 2000 << i);
        RE_Search_Info info;
        const std::unique_ptr<RE_Results> found{
            tree.match(text.data(), text.size(), 0, nullptr, &info)};
        size_t count = 0;
        for (bool more = found != nullptr; more; more = found->next()) ++count;
        EXPECT_EQ(count, 1 + (size_t{2000} << i));
        steps[i] = info.steps_used;
    }
    EXPECT_LE(steps[1], 3 * steps[0] + 5000);
}

// --- limits -----------------------------------------------------------------------------------

constexpr char kStepLimit[] = "step limit";
constexpr char kMemoryLimit[] = "memory limit";

std::string answer_or_error(const RE_Tree& tree, const std::u16string& text, RE_Limits limits) {
    try {
        return first_match(tree, text, limits).match;
    } catch (const UserException& error) {
        EXPECT_FALSE(std::string(error.what()).empty());
        return error.code() == UT_REGEXP_STEP_LIMIT     ? kStepLimit
               : error.code() == UT_REGEXP_MEMORY_LIMIT ? kMemoryLimit
                                                        : error.what();
    }
}

TEST(Limits, OfStepsAreNeverTakenForNoMatch) {
    const std::u16string text = repeated(u"xa ", 60) + u"xxy";
    for (const char16_t* pattern :
         {u"(x+x+)+y", u"(x+x+)+z", u"(?:x|a| )*y", u"(?<=x(?:a|x)*)y", u"(.)y\\1", u"y"}) {
        const RE_Tree tree = tree_of(pattern);
        const Answer unlimited = first_match(tree, text);
        for (uint64_t steps = 1; steps < unlimited.steps; steps += 1 + steps / 8) {
            RE_Limits limits;
            limits.steps = steps;
            // Reached a little late or in time, but never with another answer.
            const std::string answer = answer_or_error(tree, text, limits);
            EXPECT_TRUE(answer == unlimited.match || answer == kStepLimit) << answer;
        }
        EXPECT_EQ(answer_or_error(tree, text, {}), unlimited.match);
    }
    const RE_Tree tree = tree_of(u"(x+x+)+y");
    RE_Limits few;
    few.steps = 1000;
    EXPECT_EQ(answer_or_error(tree, repeated(u"x", 20'000), few), kStepLimit);
}

TEST(Limits, OfMemoryAreNeverTakenForNoMatch) {
    const std::u16string text = repeated(u"a", 3000) + u"c";
    for (const char16_t* pattern :
         {u"^(a|a)*$", u"(?:a|aa)*$", u"^(?:a|a)*?$", u"^(?:a+)+$", u"(?<=^(?:a|aa)*)c"}) {
        const RE_Tree tree = tree_of(pattern);
        const std::string unlimited = first_match(tree, text).match;
        for (size_t memory = 1; memory < (size_t{4} << 20); memory *= 3) {
            RE_Limits limits;
            limits.memory = memory;
            limits.steps = 1'000'000;
            const std::string answer = answer_or_error(tree, text, limits);
            EXPECT_TRUE(answer == unlimited || answer == kStepLimit || answer == kMemoryLimit)
                << answer;
        }
        EXPECT_EQ(answer_or_error(tree, text, {}), unlimited);
    }
}

// A back-reference keeps failures from being recorded; the budget decides.
TEST(Limits, BoundWhatCannotBeRecorded) {
    const RE_Tree tree = tree_of(u"(z|a)(?:a|aa)*\\1[bc]\\1");
    RE_Limits limits;
    limits.steps = 100'000;
    EXPECT_EQ(answer_or_error(tree, repeated(u"a", 60) + u"b", limits), kStepLimit);
    EXPECT_EQ(answer_or_error(tree, u"zaazbz", {}), "0-6");
}

TEST(Limits, AreSetForTheProcess) {
    const RE_Tree tree = tree_of(u"(x+x+)+y");
    utSetRegexpLimits(500, 0, 0);
    EXPECT_EQ(answer_or_error(tree, repeated(u"x", 20'000), {}), kStepLimit);
    utSetRegexpLimits(0, 0, 0);
    EXPECT_EQ(answer_or_error(tree, repeated(u"x", 20'000), {}), "none");
}

// --- interrupts -------------------------------------------------------------------------------

TEST(Interrupts, EndASearchAndLeaveTheTreeUsable) {
    const std::u16string text = repeated(u"a", 100'000);
    for (const char16_t* pattern : {u"(a|a)*b", u"a*?b", u"b", u"[b-d]", u"(?:a|b){3,}c"}) {
        const RE_Tree tree = tree_of(pattern);
        const std::string expected = first_match(tree, text).match;
        utSetInterruptPending(true);
        EXPECT_THROW(first_match(tree, text), InterruptException);
        EXPECT_FALSE(utIsInterruptPending());
        EXPECT_EQ(first_match(tree, text).match, expected);

        std::atomic<bool> cancel{true};
        RE_Search_Info info;
        info.length = text.size();
        info.cancel = &cancel;
        size_t position = 0;
        EXPECT_THROW(tree.match_bool(text.data(), &position, &info), InterruptException);
        EXPECT_EQ(position, 0U);
        cancel = false;
        EXPECT_EQ(tree.match_bool(text.data(), &position, &info), expected != "none");
    }
}

TEST(Interrupts, EndACompilation) {
    const std::u16string pattern = repeated(u"(a*|b)", 2000);
    utSetInterruptPending(true);
    EXPECT_THROW(RE_Tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr), InterruptException);
    EXPECT_FALSE(utIsInterruptPending());
    EXPECT_EQ(first_match(tree_of(pattern), u"ab").match, "0-1");
}

TEST(Interrupts, WaitForAThreadThatIsNotEnabled) {
    const RE_Tree tree = tree_of(u"(a|a)*b");
    utSetInterruptPending(true);
    const bool was_enabled = utSetInterruptEnabled(false);
    EXPECT_EQ(first_match(tree, repeated(u"a", 20'000)).match, "none");
    utSetInterruptEnabled(was_enabled);
    EXPECT_TRUE(utSetInterruptPending(false));
}

// --- compilation ------------------------------------------------------------------------------

TEST(Compilation, OfHostilePatternsEnds) {
    constexpr size_t kMany = 50'000;
    const struct {
        const char16_t* unit;
        RE_Flags flags;
    } kCases[] = {
        {u"(", RE_NO_FLAGS},          {u")", RE_NO_FLAGS},         {u"[", RE_NO_FLAGS},
        {u"(?", RE_NO_FLAGS},         {u"(?<", RE_NO_FLAGS},       {u"(?<a", RE_NO_FLAGS},
        {u"(?#", RE_NO_FLAGS},        {u"(?i", RE_NO_FLAGS},       {u"(?i)", RE_NO_FLAGS},
        {u"(?(", RE_NO_FLAGS},        {u"(?(?=", RE_NO_FLAGS},     {u"{", RE_NO_FLAGS},
        {u"a{", RE_NO_FLAGS},         {u"a{1,", RE_NO_FLAGS},      {u"a{ 1", RE_FREE_SPACING},
        {u"|", RE_NO_FLAGS},          {u"a|", RE_NO_FLAGS},        {u"\\", RE_NO_FLAGS},
        {u"\\x{", RE_NO_FLAGS},       {u"\\x{1", RE_NO_FLAGS},     {u"\\k<a", RE_NO_FLAGS},
        {u"\\k<a>", RE_NO_FLAGS},     {u"\\1", RE_NO_FLAGS},       {u"#", RE_FREE_SPACING},
        {u"#\n", RE_FREE_SPACING},    {u" ", RE_FREE_SPACING},     {u"a #", RE_FREE_SPACING},
        {u"a #\n", RE_FREE_SPACING},  {u"\\x #", RE_FREE_SPACING}, {u"\\x ", RE_FREE_SPACING},
        {u"[a-", RE_NO_FLAGS},        {u"[]", RE_NO_FLAGS},        {u"[^]", RE_NO_FLAGS},
        {u"()", RE_NO_FLAGS},         {u"(?<a>)", RE_NO_FLAGS},    {u"(|", RE_NO_FLAGS},
        {u"([", RE_NO_FLAGS},         {u"[(", RE_NO_FLAGS},        {u"(#", RE_FREE_SPACING},
        {u"(??", RE_EVALUATE},        {u"(?@", RE_EVALUATE},       {u"a++", RE_NO_FLAGS},
        {u"(a)*", RE_NO_FLAGS},       {u"(?<=a+)", RE_NO_FLAGS},   {u"12345678901", RE_NO_FLAGS},
        {u"\\12345678", RE_NO_FLAGS}, {u"a{99999", RE_NO_FLAGS},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(std::string(c.unit, c.unit + std::u16string(c.unit).size()));
        const std::u16string pattern = repeated(c.unit, kMany);
        for (const std::u16string& written : {pattern, u"a" + pattern + u"b", u"(?:" + pattern}) {
            try {
                tree_of(written, c.flags);
            } catch (const UserException& error) {
                EXPECT_TRUE(error.code() == UT_REGEXP_REPEATED_MODE_FLAG ||
                            error.code() == UT_REGEXP_PROGRAM_TOO_LARGE)
                    << error.what();
            }
        }
    }
}

TEST(Compilation, OfRepeatedRepetitionsIsBounded) {
    const auto compiles = [](const std::u16string& pattern) {
        try {
            tree_of(pattern);
            return true;
        } catch (const UserException& error) {
            EXPECT_EQ(error.code(), static_cast<ut_message_code>(UT_REGEXP_PROGRAM_TOO_LARGE));
            return false;
        }
    };
    EXPECT_TRUE(compiles(repeated(u"(?:", 40) + u"a" + repeated(u"){1000}", 40)));
    EXPECT_TRUE(compiles(u"a{1000000000}"));
    EXPECT_TRUE(compiles(u"(?:a{0,4000000000}){4000000000,}"));
    EXPECT_FALSE(compiles(repeated(u"a{1000}", 100'000)));
}

}  // namespace
}  // namespace qxut_test
