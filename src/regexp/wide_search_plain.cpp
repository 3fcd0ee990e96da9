// wide_search_plain.cpp - the searches of wide_search.h, one unit after the other. Tested by
// tests/regexp/wide_search_test.cpp.
#include "regexp/wide_search_compare.h"

namespace qxut::regexp {

bool UnitSet::contains(char16_t unit) const noexcept {
    if (!by_ranges && unit < 0x100) {
        const uint8_t* rows = unit % 16 < 8 ? even : odd;
        return (rows[unit / 16] >> unit % 8 & 1) != 0;
    }
    if (!by_ranges && all_others) return true;
    for (int i = 0; i < range_count; ++i) {
        if (unit >= first[i] && unit <= last[i]) return true;
    }
    return false;
}

size_t find_literal_plainly(const char16_t* text, size_t from, size_t end,
                            const LiteralSearch& literal) {
    for (; from < end; ++from) {
        if (holds_literal(text + from, literal)) break;
    }
    return from;
}

size_t find_in_set_plainly(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    while (from < end && !set.contains(text[from])) ++from;
    return from;
}

size_t find_outside_set_plainly(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    while (from < end && set.contains(text[from])) ++from;
    return from;
}

uint64_t members_in_plainly(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    uint64_t members = 0;
    for (size_t n = 0; n < end - from; ++n) members |= uint64_t{set.contains(text[from + n])} << n;
    return members;
}

size_t find_doubled_plainly(const char16_t* text, size_t from, size_t end) {
    while (from < end && text[from] != text[from + 1] && (text[from] & 0xFC00) != 0xD800) ++from;
    return from;
}

size_t find_word_plainly(const char16_t* text, size_t from, size_t end, size_t readable,
                         const WordSearch& words) {
    constexpr unsigned kAll = (1U << WordSearch::kBuckets) - 1;
    while (from < end && !holds_word(text + from, readable - from, words, kAll)) ++from;
    return from;
}

}  // namespace qxut::regexp
