// folding.cpp - folding classes and ranges; see folding.h.
//
// Ranges are walked from one character with case to the next: blocks of the table without any are
// stepped over, so that a range over all of Unicode costs what its three thousand such characters
// do. Tested by tests/regexp/folding_test.cpp, against ICU.
#include "regexp/folding.h"

#include <algorithm>

namespace qxut::regexp {
namespace {

constexpr uint32_t kBlock = 1U << kFoldingShift;

// The contents of a block none of whose characters has case.
constexpr uint32_t find_caseless_contents() {
    for (uint32_t contents = 0;; ++contents) {
        const uint8_t* begin = kFoldingContents + size_t{contents} * kBlock;
        if (std::all_of(begin, begin + kBlock, [](uint8_t number) { return number == 0; }))
            return contents;
    }
}
constexpr uint32_t kCaselessContents = find_caseless_contents();

}  // namespace

size_t folding_class(char32_t c, char32_t (&members)[kLargestFoldingClass]) noexcept {
    size_t count = 0;
    char32_t member = c;
    do {
        members[count++] = member;
        member = next_in_folding_class(member);
    } while (member != c);
    return count;
}

char32_t next_with_case(char32_t c, char32_t last) noexcept {
    while (c <= last) {
        if (c >= kFoldingEnd) return last + 1;
        if (kFoldingBlocks[c >> kFoldingShift] == kCaselessContents) {
            c = (c | (kBlock - 1)) + 1;
        } else {
            if (folding_distances(c).to_next != 0) return c;
            ++c;
        }
    }
    return last + 1;
}

bool is_ambiguous_ignoring_case(char32_t first, char32_t last) noexcept {
    if (first > last) return false;
    // As many folded characters as characters, and none outside a run of that length.
    char32_t lowest = fold(first);
    char32_t highest = fold(first);
    const auto include = [&](char32_t c) {
        lowest = std::min(lowest, c);
        highest = std::max(highest, c);
    };
    char32_t at = first;
    while (at <= last) {
        const char32_t cased = next_with_case(at, last);
        if (cased > at) {
            include(at);
            include(cased - 1);
        }
        if (cased > last) break;
        include(fold(cased));
        for (char32_t other = next_in_folding_class(cased); other != cased;
             other = next_in_folding_class(other)) {
            if (other >= first && other <= last) return true;
        }
        at = cased + 1;
    }
    return highest - lowest != last - first;
}

}  // namespace qxut::regexp
