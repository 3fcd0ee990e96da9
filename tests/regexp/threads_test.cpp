// threads_test.cpp - trees that are matched from many threads at once, while others are made and
// destroyed; for ThreadSanitizer above all.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <qxut/regexp/regexp.h>

#include "regexp/engine.h"

namespace qxut_test {
namespace {

TEST(Threads, ShareTrees) {
    const struct {
        const char16_t* pattern;
        RE_Flags flags;
    } kPatterns[] = {
        {u"\\<(\\w+)\\s+\\1\\>", RE_IGNORE_CASE},
        {u"(x+x+)+y|straße", RE_IGNORE_CASE},
        {u"(?:a|aa){2,5}(?=b)|(?<=b)a++", RE_NO_FLAGS},
        {u"[а-я]+|(?<n>\\d+)(?(n)-|!)", RE_NO_FLAGS},
    };
    const ExactText text(u"The the aaab xxxxxxxxxxxxxxxxxx baa мир STRASSE straßE 12-3 ab");
    std::vector<std::unique_ptr<RE_Tree>> trees;
    std::vector<std::string> expected;
    for (const auto& p : kPatterns) {
        const std::u16string pattern = p.pattern;
        trees.push_back(
            std::make_unique<RE_Tree>(pattern.data(), pattern.size(), p.flags, nullptr));
        expected.push_back(to_text(engine_matches(*trees.back(), text)));
        EXPECT_NE(expected.back(), "none");
    }
    std::vector<std::thread> threads;
    std::vector<size_t> failures(6);
    for (size_t number = 0; number < failures.size(); ++number) {
        threads.emplace_back([&, number] {
            for (size_t round = 0; round < 200; ++round) {
                const size_t i = (number + round) % trees.size();
                RE_Seek_Table table;
                RE_Search_Info info;
                const auto found = engine_matches(*trees[i], text, 0, &info, &table);
                if (to_text(found) != expected[i]) ++failures[number];
                const std::u16string pattern = kPatterns[i].pattern;
                const RE_Tree made(pattern.data(), pattern.size(), kPatterns[i].flags, nullptr);
                if (to_text(engine_matches(made, text)) != expected[i]) ++failures[number];
                utRegexpExtent extent{};
                if (utRegexp_u16(u"xab", 3, u"a.", 2, &extent, 1) != 1 || extent.start != 1)
                    ++failures[number];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, std::vector<size_t>(failures.size()));
}

}  // namespace
}  // namespace qxut_test
