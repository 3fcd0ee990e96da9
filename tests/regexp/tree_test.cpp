// A tree from outside: how it is made, the forms of a match, limits, interrupts, memory.
#include <qxut/regexp/tree.hpp>

#include <gtest/gtest.h>

#include <qxut/regexp/regexp.h>
#include <qxut/util/interrupt.h>
#include <qxut/regexp/exception.hpp>

#include <atomic>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "support/failing_malloc.h"

using Quorvanix::System::InterruptException;
using qxut_test::FailingMalloc;
using qxut_test::kCanFailMalloc;

namespace {

using Extent = std::pair<size_t, size_t>;
using MaybeExtent = std::optional<Extent>;
using Results = std::unique_ptr<RE_Results>;

RE_Tree tree_of(std::u16string_view pattern, RE_Flags flags = RE_NO_FLAGS) {
    return RE_Tree(pattern.data(), pattern.size(), flags, nullptr);
}

MaybeExtent extent(const Results& results) {
    if (results == nullptr) return std::nullopt;
    return Extent(results->start(), results->end());
}

MaybeExtent found(const RE_Tree& tree, std::u16string_view text, size_t start = 0,
                  RE_Search_Info* info = nullptr) {
    return extent(Results(tree.match(text.data(), text.size(), start, nullptr, info)));
}

TEST(Tree, IsMadeFromAnyText) {
    const std::u16string_view text = u"xxCAF\u00C9";
    EXPECT_EQ(found(tree_of(u"caf\u00E9"), text), std::nullopt);
    EXPECT_EQ(found(tree_of(u"caf\u00E9", RE_IGNORE_CASE), text), Extent(2, 6));
    EXPECT_EQ(found(RE_Tree(u"caf\u00E9++", 4, true), text), Extent(2, 6));
    EXPECT_EQ(found(RE_Tree(u"caf\u00E9", 4, false), text), std::nullopt);
    EXPECT_EQ(found(RE_Tree("caf\u00E9", true), text), Extent(2, 6));
    EXPECT_EQ(found(RE_Tree("CAF\u00C9", false), text), Extent(2, 6));
    const char* const none = nullptr;
    EXPECT_EQ(found(RE_Tree(none, true), text), Extent(0, 0));
    EXPECT_EQ(found(RE_Tree(nullptr, 7, false), text), Extent(0, 0));
    // The pattern is copied.
    std::u16string pattern = u"C(?<name>A)";
    const RE_Tree copied(pattern.data(), pattern.size(), false);
    pattern.assign(pattern.size(), u'#');
    EXPECT_EQ(found(copied, text), Extent(2, 4));
    EXPECT_EQ(std::u16string(copied.treeNames(nullptr)[0]), u"name");
}

TEST(Tree, NamesOnePerToken) {
    size_t count = 7;
    EXPECT_EQ(tree_of(u"a(?:b)").treeNames(&count), nullptr);
    EXPECT_EQ(count, 0u);
    const RE_Tree tree = tree_of(u"(?<first>a)(b(c))(?<last>d)");
    const char16_t* const* const names = tree.treeNames(&count);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::u16string(names[0]), u"first");
    EXPECT_EQ(names[1], nullptr);
    EXPECT_EQ(std::u16string(names[2]), u"last");
}

TEST(Tree, MatchesFromAStart) {
    const RE_Tree tree = tree_of(u"^a|a$|\\<b");
    const std::u16string_view text = u"a\U0001F600ab ba";
    EXPECT_EQ(found(tree, text), Extent(0, 1));
    EXPECT_EQ(found(tree, text, 1), Extent(6, 7)) << "anchors see the text before the start";
    EXPECT_EQ(found(tree, text, 7), Extent(7, 8));
    EXPECT_EQ(found(tree, text, 8), std::nullopt);
    EXPECT_EQ(found(tree, text, 9), std::nullopt) << "behind the end";
    EXPECT_EQ(found(tree_of(u""), text, 8), Extent(8, 8));
    EXPECT_EQ(found(tree_of(u""), text, 9), std::nullopt);
    EXPECT_EQ(found(tree_of(u"."), text, 2), Extent(3, 4)) << "a start inside a pair moves";
    EXPECT_EQ(extent(Results(tree_of(u"x*").match(nullptr, 5, 0))), Extent(0, 0));

    RE_Seek_Table table;
    for (size_t start : {0u, 5u, 2u, 7u}) {
        EXPECT_EQ(extent(Results(tree.match(text.data(), text.size(), start, &table))),
                  found(tree, text, start));
    }
    const std::u16string other = u"ba ba ba ba";
    EXPECT_EQ(extent(Results(tree.match(other.data(), other.size(), 1, &table))), Extent(3, 4));
}

TEST(Tree, SearchInfoAsksAndAnswers) {
    const RE_Tree tree = tree_of(u"a*");
    const std::u16string_view text = u"baab";
    RE_Search_Info info;
    EXPECT_EQ(found(tree, text, 0, &info), Extent(0, 0));
    EXPECT_EQ(info.end, 0u);
    info.flags = RE_SEARCH_NOT_EMPTY;
    EXPECT_EQ(found(tree, text, 0, &info), Extent(1, 3));
    EXPECT_EQ(info.end, 3u);
    EXPECT_GT(info.steps_used, 0u);
    info.flags = RE_SEARCH_NOT_EMPTY | RE_SEARCH_ANCHORED;
    EXPECT_EQ(found(tree, text, 0, &info), std::nullopt);
    EXPECT_EQ(info.end, 3u) << "unchanged without a match";
    EXPECT_EQ(found(tree, text, 1, &info), Extent(1, 3));
    EXPECT_EQ(found(tree, text, 2, &info), Extent(2, 3));

    RE_Search_Info end;
    EXPECT_EQ(found(tree_of(u"b"), text, 0, &end), Extent(0, 1));
    EXPECT_FALSE(end.reached_end);
    EXPECT_EQ(found(tree_of(u"b$"), text, 0, &end), Extent(3, 4));
    EXPECT_TRUE(end.reached_end);
    EXPECT_EQ(found(tree_of(u"bc"), text, 0, &end), std::nullopt);
    EXPECT_TRUE(end.reached_end);
}

TEST(Tree, MatchBoolMovesThePosition) {
    const RE_Tree tree = tree_of(u"[0-9]+");
    size_t position = 1;
    EXPECT_TRUE(tree.match_bool(u"1ab23c", &position, nullptr));
    EXPECT_EQ(position, 3u);
    position = 5;
    EXPECT_FALSE(tree.match_bool(u"1ab23c", &position, nullptr));
    EXPECT_EQ(position, 5u);
    EXPECT_TRUE(tree.match_bool(u"1", nullptr, nullptr));
    // With info the length is told: a NUL is a character.
    RE_Search_Info info;
    info.length = 4;
    position = 0;
    EXPECT_TRUE(tree.match_bool(u"a\0\0001", &position, &info));
    EXPECT_EQ(position, 3u);
    EXPECT_EQ(info.end, 4u);
}

TEST(Tree, NarrowFormsCountBytes) {
    const RE_Tree tree("(\\w+)-(\\w)?", false);
    const std::string text = "\u00E9 \u65E5\u672C\U00020000-\xFF";
    const Results results(tree.match(text.c_str()));
    ASSERT_NE(results, nullptr);
    EXPECT_EQ(extent(results), Extent(3, 14));
    EXPECT_EQ(results->tokens().get(1)->start, 3u);
    EXPECT_EQ(results->tokens().get(1)->end, 13u);
    EXPECT_FALSE(results->tokens().get(2)->is_set);
    size_t length = 0;
    const char16_t* const token = results->text(1, &length);
    EXPECT_EQ(std::u16string(token, length), u"\u65E5\u672C\U00020000");
    EXPECT_EQ(extent(Results(tree.match(text.data(), 12))), std::nullopt);
    const char* const none = nullptr;
    EXPECT_EQ(tree.match(none), nullptr);
    EXPECT_EQ(extent(Results(RE_Tree("", false).match(none, 3))), Extent(0, 0));
}

// --- limits --------------------------------------------------------------------------------------

// Back-references keep a search from recording its failures: it tries every way. Everything that a
// match must contain is in the text.
constexpr std::u16string_view kHard = u"^(a*)*\\1b";
std::u16string hard_text() { return std::u16string(60, u'a') + u"cb"; }

ut_message_code limit_reached(const RE_Tree& tree, std::u16string_view text, RE_Search_Info& info,
                              uint64_t limit) {
    try {
        found(tree, text, 0, &info);
    } catch (const RE_Exception& problem) {
        EXPECT_EQ(problem.limit(), limit);
        EXPECT_LE(problem.position(), text.size());
        return problem.code();
    }
    return 0;
}

TEST(Limits, AreErrorsAndLeaveTheTreeUsable) {
    const RE_Tree tree = tree_of(kHard);
    const std::u16string text = hard_text();
    RE_Search_Info steps;
    steps.limits.steps = 5000;
    EXPECT_EQ(limit_reached(tree, text, steps, 5000), UT_REGEXP_STEP_LIMIT);
    EXPECT_GE(steps.steps_used, 5000u);
    EXPECT_LT(steps.steps_used, 10000u);
    EXPECT_EQ(found(tree, u"aab"), Extent(0, 3));

    const RE_Tree deep = tree_of(u"^(?:a|ab|.b)*c");
    const std::u16string longer = std::u16string(200'000, u'a') + u"dc";
    RE_Search_Info memory;
    memory.limits.memory = 4096;
    EXPECT_EQ(limit_reached(deep, longer, memory, 4096), UT_REGEXP_MEMORY_LIMIT);
    EXPECT_EQ(found(deep, longer), std::nullopt);

    utSetRegexpLimits(7000, 0, 0);
    RE_Search_Info defaults;
    EXPECT_EQ(limit_reached(tree, text, defaults, 7000), UT_REGEXP_STEP_LIMIT);
    defaults.limits.steps = 8000;
    EXPECT_EQ(limit_reached(tree, text, defaults, 8000), UT_REGEXP_STEP_LIMIT);
    utSetRegexpLimits(0, 0, 0);
    EXPECT_EQ(found(tree, u"aab"), Extent(0, 3));
}

TEST(Limits, CountOverAnIteration) {
    const RE_Tree tree = tree_of(u"a");
    const std::u16string text(10'000, u'a');
    RE_Search_Info info;
    info.limits.steps = 2000;
    const Results results(tree.match(text.data(), text.size(), 0, nullptr, &info));
    ASSERT_NE(results, nullptr);
    size_t matches = 1;
    EXPECT_THROW(while (results->next())++ matches, RE_Exception);
    EXPECT_LT(matches, 2001u);
    EXPECT_EQ(results->start(), matches - 1) << "they stay as they were";
}

TEST(Tree, RepeatedFlagMakesNoTree) {
    try {
        tree_of(u"ab(?ii)");
        FAIL();
    } catch (const RE_Exception& problem) {
        EXPECT_STREQ(problem.what(), "Repeated mode flag.");
        EXPECT_EQ(problem.position(), 5u);
    }
}

// --- interrupts ----------------------------------------------------------------------------------

TEST(Interrupt, EndsASearchAndIsTaken) {
    const RE_Tree tree = tree_of(kHard);
    const std::u16string text = hard_text();
    utSetInterruptPending(true);
    EXPECT_THROW(found(tree, text), InterruptException);
    EXPECT_FALSE(utIsInterruptPending());
    EXPECT_EQ(found(tree, u"aab"), Extent(0, 3));

    // A thread that is not to be interrupted leaves it alone.
    utSetInterruptEnabled(false);
    utSetInterruptPending(true);
    RE_Search_Info info;
    info.limits.steps = 20'000;
    EXPECT_THROW(found(tree, text, 0, &info), RE_Exception);
    EXPECT_TRUE(utSetInterruptPending(false));
    utSetInterruptEnabled(true);
}

TEST(Interrupt, TheCallersFlagCancels) {
    const RE_Tree tree = tree_of(kHard);
    const std::u16string text = hard_text();
    std::atomic<bool> cancel = true;
    RE_Search_Info info;
    info.cancel = &cancel;
    EXPECT_THROW(found(tree, text, 0, &info), InterruptException);
    EXPECT_TRUE(cancel) << "it is the caller's";
    cancel = false;
    EXPECT_EQ(found(tree, u"aab", 0, &info), Extent(0, 3));

    // From another thread, while the search is at work.
    info.limits.steps = UINT64_MAX;
    std::thread other([&cancel] { cancel = true; });
    EXPECT_THROW(found(tree, text, 0, &info), InterruptException);
    other.join();
}

// --- threads -------------------------------------------------------------------------------------

TEST(Threads, ShareATree) {
    const RE_Tree tree = tree_of(u"(?<word>[a-z\u4E00-\u9FFF]+)|(a*)*\\2!", RE_IGNORE_CASE);
    const std::u16string words = u"Alpha \u65E5\u672C beta; GAMMA";
    std::vector<std::thread> threads;
    threads.reserve(4);
    std::atomic<int> failures = 0;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                size_t matches = 0;
                Results results(tree.match(words.data(), words.size(), 0));
                for (bool more = results != nullptr; more; more = results->next()) ++matches;
                RE_Search_Info info;
                info.limits.steps = 1;
                int thrown = 0;
                try {
                    found(tree_of(kHard), hard_text(), 0, &info);
                } catch (const RE_Exception&) {
                    thrown = 1;
                }
                if (matches < 4 || thrown != 1) ++failures;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}

TEST(Threads, HandResultsOn) {
    const RE_Tree tree = tree_of(u"(?:a|ab|.b)*?(c)");
    const std::u16string text = u"ababcxabcababac";
    Results results;
    std::thread([&] { results.reset(tree.match(text.data(), text.size(), 0)); }).join();
    EXPECT_EQ(extent(results), Extent(0, 5));
    std::thread([&] { EXPECT_TRUE(results->next()); }).join();
    EXPECT_EQ(extent(results), Extent(6, 9));
    std::thread([&] {
        EXPECT_TRUE(results->next());
        EXPECT_EQ(found(tree, u"xxc"), Extent(2, 3));
    }).join();
    EXPECT_EQ(extent(results), Extent(9, 15));
    EXPECT_FALSE(results->next());
    std::thread([&] { results.reset(); }).join();
}

// --- memory --------------------------------------------------------------------------------------

// Each request of `body` fails in turn: it throws std::bad_alloc, or does without, and keeps no
// block.
template <class Body>
void sweep(Body body) {
    if (!kCanFailMalloc) GTEST_SKIP();
    body();  // what a thread keeps for its next search is there afterwards
    for (const bool from_then_on : {false, true}) {
        for (size_t request = 0;; ++request) {
            ASSERT_LT(request, 5000u);
            {
                const FailingMalloc failing(request, from_then_on);
                try {
                    body();
                } catch (const std::bad_alloc&) {
                }
            }
            EXPECT_EQ(FailingMalloc::live_blocks(), 0) << request;
            if (!FailingMalloc::has_failed()) break;
        }
    }
}

TEST(Memory, FailsCleanlyWhileATreeIsMade) {
    sweep([] { tree_of(u"(?<n>a{3}|[b-d\\w]+)(?=x)|(?>y*)\\k<n>literal", RE_IGNORE_CASE); });
    sweep([] { RE_Tree("caf\u00E9+", false); });
}

TEST(Memory, FailsCleanlyInMatches) {
    const RE_Tree tree = tree_of(u"(?<n>a+)(b)?");
    const std::u16string text = u"xaabxaax";
    sweep([&] {
        const Results results(tree.match(text.data(), text.size(), 0));
        ASSERT_NE(results, nullptr);
        results->next();
        results->next();
    });
    sweep([&] { const Results results(tree.match("\u00E9 ab aa \xFF")); });
    EXPECT_EQ(found(tree, text), Extent(1, 4));
}

TEST(Memory, ARepeatedMatchAllocatesNothing) {
    if (!kCanFailMalloc) GTEST_SKIP();
    const RE_Tree tree = tree_of(u"(?<n>a+?)(?:bc|bd)(?=e)");
    const std::u16string text = u"xaabxaabde";
    size_t position = 0;
    RE_Search_Info info;
    info.length = text.size();
    EXPECT_TRUE(tree.match_bool(text.data(), &position, &info));
    {
        const FailingMalloc failing(0, true);
        position = 0;
        EXPECT_TRUE(tree.match_bool(text.data(), &position, &info));
        position = 7;
        EXPECT_FALSE(tree.match_bool(text.data(), &position, &info));
    }
    EXPECT_FALSE(FailingMalloc::has_failed());

    std::u16string tokens;
    for (int i = 0; i < 40; ++i) tokens += u"(x?)";
    const RE_Tree many = tree_of(tokens.c_str());
    position = 0;
    EXPECT_TRUE(many.match_bool(text.data(), &position, &info));
    {
        const FailingMalloc failing(0, true);
        EXPECT_TRUE(many.match_bool(text.data(), &position, &info));
    }
    EXPECT_FALSE(FailingMalloc::has_failed());
}

}  // namespace
