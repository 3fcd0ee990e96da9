// out_of_memory_test.cpp - every allocation of a compilation and of a match fails in turn: it ends
// in std::bad_alloc, nothing leaks, and what was there before is as usable as before.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <string>

#include <qxut/regexp/results.hpp>
#include <qxut/regexp/tree.hpp>

#include "regexp/engine.h"
#include "support/failing_malloc.h"

namespace qxut_test {
namespace {

const struct {
    const char16_t* pattern;
    const char16_t* text;
    const char* matches;
} kCases[] = {
    {u"(?<key>\\w+)\\s*=\\s*(\"[^\"]*\"|\\d+)", u"a=1, bc = \"d\"", "0-3 0-1 2-3, 5-13 5-7 10-13"},
    {u"(a|a)*b", u"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "none"},
    {u"(?:a{2000}|b++|(?>c|d)|(?<=e)f(?!g)|(?(1)h|i))+", u"bbcfefi", "0-3, 5-7"},
    {u"[а-я]+(?i:straße|ſ)|(x)\\1", u"xxяStRAßE", "0-2 0-1, 2-9 -"},
};

// Runs it with the k-th allocation failing, for each k; once alone and once with all that follow.
// What it makes it also frees, unless a cache of the thread may grow.
void sweep(bool leaves_nothing, const std::function<void()>& body) {
    for (const bool from_then_on : {false, true}) {
        for (size_t k = 0;; ++k) {
            bool is_out = false;
            {
                const FailingMalloc failing(k, from_then_on);
                try {
                    body();
                } catch (const std::bad_alloc&) {
                    is_out = true;
                }
                if (leaves_nothing) {
                    EXPECT_EQ(FailingMalloc::live_blocks(), 0) << "allocation " << k;
                }
            }
            EXPECT_TRUE(is_out || !FailingMalloc::has_failed()) << "allocation " << k;
            if (!FailingMalloc::has_failed()) break;
        }
    }
}

TEST(OutOfMemory, WhileCompilingLeavesNothing) {
    if (!kCanFailMalloc) GTEST_SKIP() << "the sanitizers bring a heap of their own";
    for (const auto& c : kCases) {
        const std::u16string pattern = c.pattern;
        const RE_Tree first(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr);
        sweep(true,
              [&] { const RE_Tree tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr); });
    }
}

TEST(OutOfMemory, WhileMatchingLeavesTheTreeUsable) {
    if (!kCanFailMalloc) GTEST_SKIP() << "the sanitizers bring a heap of their own";
    for (const auto& c : kCases) {
        const std::u16string pattern = c.pattern;
        const std::u16string text = c.text;
        sweep(false, [&] {
            // The scratch is warm in no round but the first, as the pattern is new in each.
            const RE_Tree tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr);
            RE_Seek_Table table;
            for (RE_Seek_Table* used : {static_cast<RE_Seek_Table*>(nullptr), &table}) {
                const std::unique_ptr<RE_Results> found{
                    tree.match(text.data(), text.size(), 0, used)};
                if (found != nullptr)
                    while (found->next()) {
                    }
            }
        });
        const RE_Tree tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr);
        sweep(false, [&] {
            const std::unique_ptr<RE_Results> found{tree.match(text.data(), text.size(), 0)};
            if (found != nullptr)
                while (found->next()) {
                }
        });
        EXPECT_EQ(to_text(engine_matches(tree, ExactText(text))), c.matches);
    }
}

// A tree that was matched before needs memory for the results alone.
TEST(OutOfMemory, DoesNotConcernAWarmTree) {
    if (!kCanFailMalloc) GTEST_SKIP() << "the sanitizers bring a heap of their own";
    for (const auto& c : kCases) {
        const std::u16string pattern = c.pattern;
        const std::u16string text = c.text;
        const RE_Tree tree(pattern.data(), pattern.size(), RE_NO_FLAGS, nullptr);
        RE_Search_Info info;
        info.length = text.size();
        size_t position = 0;
        const bool is_found = tree.match_bool(text.data(), &position, &info);
        bool is_found_again = false;
        {
            const FailingMalloc failing(0, true);
            position = 0;
            is_found_again = tree.match_bool(text.data(), &position, &info);
        }
        EXPECT_FALSE(FailingMalloc::has_failed());
        EXPECT_EQ(is_found_again, is_found);
    }
}

}  // namespace
}  // namespace qxut_test
