// reference_matcher.h - what a pattern matches, by the slowest and plainest means.
//
// It walks the graph of nodes.h with a stack of choices, each of which holds a whole copy of the
// state; bodies are walked by recursion. It shares no code with the matcher, and asks ICU about
// characters. Its work is bounded: a search that takes too long, and one that meets a dynamic
// part, gives up without an answer. Tested with the engine by the table of match_test.cpp.
#ifndef QXUT_TESTS_REGEXP_REFERENCE_MATCHER_H
#define QXUT_TESTS_REGEXP_REFERENCE_MATCHER_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "regexp/pattern.h"

namespace qxut_test {

struct ReferenceSearch {
    std::u16string_view text;
    size_t start = 0;
    bool anchored = false;
    bool not_empty = false;
    size_t not_empty_at = SIZE_MAX;  // an empty match at this position is none
    uint64_t steps = 100'000;        // nodes visited before it gives up
};

enum class ReferenceAnswer { match, no_match, gave_up };

// The leftmost match. `extents` gets start and end of token 0, 1, ..., SIZE_MAX where unset, and is
// unchanged without a match.
ReferenceAnswer reference_match(const qxut::regexp::Pattern& pattern, const ReferenceSearch& search,
                                std::vector<size_t>& extents);

// All matches of a text, each with the extents as above: after an empty match a non-empty one is
// tried at its place, then the search goes on a character further.
ReferenceAnswer reference_matches(const qxut::regexp::Pattern& pattern, ReferenceSearch search,
                                  std::vector<std::vector<size_t>>& matches);

}  // namespace qxut_test

#endif
