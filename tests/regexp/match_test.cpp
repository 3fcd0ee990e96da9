// match_test.cpp - the table of matches, over the engine and over the reference matcher.
#include <gtest/gtest.h>

#include "regexp/engine.h"
#include "regexp/match_table.h"
#include "regexp/reference_matcher.h"
#include "regexp/tree_parts.h"

namespace qxut_test {
namespace {

std::vector<MatchCase> table() { return read_match_table(QXUT_MATCH_TABLE); }

RE_Tree tree_of(const MatchCase& a_case) {
    return {a_case.pattern.data(), a_case.pattern.size(), a_case.flags, nullptr};
}

TEST(Matches, AreThoseOfTheTable) {
    for (const MatchCase& a_case : table()) {
        SCOPED_TRACE("line " + std::to_string(a_case.line) + ": " + a_case.written);
        try {
            const RE_Tree tree = tree_of(a_case);
            const ExactText text(a_case.text);
            const size_t most = a_case.wants_all ? SIZE_MAX : 1;
            EXPECT_EQ(to_text(engine_matches(tree, text, a_case.start, nullptr, nullptr, most)),
                      a_case.expected);
            for (const unsigned form :
                 {qxut::regexp::kPlainSearch, qxut::regexp::kRecordingSearch}) {
                RE_Search_Info info;
                info.flags = form;
                EXPECT_EQ(to_text(engine_matches(tree, text, a_case.start, &info, nullptr, most)),
                          a_case.expected)
                    << "form " << form;
            }
        } catch (const std::exception& error) {
            ADD_FAILURE() << error.what();
        }
    }
}

TEST(ReferenceMatcher, FindsTheMatchesOfTheTable) {
    for (const MatchCase& a_case : table()) {
        SCOPED_TRACE("line " + std::to_string(a_case.line) + ": " + a_case.written);
        if ((a_case.flags & RE_EVALUATE) != 0) continue;  // it knows no dynamic parts
        const RE_Tree tree = tree_of(a_case);
        const ExactText text(a_case.text);
        ReferenceSearch search;
        search.text = text;
        search.start = a_case.start;
        search.steps = 10'000'000;
        std::vector<Extents> matches;
        ASSERT_NE(reference_matches(tree.parts().pattern, search, matches),
                  ReferenceAnswer::gave_up);
        if (!a_case.wants_all && matches.size() > 1) matches.resize(1);
        EXPECT_EQ(to_text(matches), a_case.expected);
    }
}

}  // namespace
}  // namespace qxut_test
