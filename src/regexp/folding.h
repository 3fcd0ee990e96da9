// folding.h - simple case folding, as patterns that ignore case compare characters.
//
// Characters that fold alike are a folding class; its members stand in a ring. The tables are
// generated (tools/generate_folding.cpp) and read without a call.
#ifndef QXUT_SRC_REGEXP_FOLDING_H
#define QXUT_SRC_REGEXP_FOLDING_H

#include <cstddef>
#include <cstdint>

#include "regexp/folding_tables.h"

namespace qxut::regexp {

// Of a code point below kFoldingEnd.
constexpr FoldingDistances folding_distances(char32_t c) {
    constexpr uint32_t kWithin = (1U << kFoldingShift) - 1;
    return kFoldingDistances[kFoldingContents[uint32_t{kFoldingBlocks[c >> kFoldingShift]}
                                                  << kFoldingShift |
                                              (c & kWithin)]];
}

// Adds a distance to the low 16 bits.
constexpr char32_t at_folding_distance(char32_t c, uint16_t distance) {
    constexpr uint32_t kPlane = 0xFFFF0000;
    return (c & kPlane) | ((c + distance) & ~kPlane);
}

// The folded form. Two characters are equal, ignoring case, when theirs are.
constexpr char32_t fold(char32_t c) {
    if (c < 0x80) return c - U'A' < 26 ? c + 32 : c;
    if (c >= kFoldingEnd) return c;
    return at_folding_distance(c, folding_distances(c).to_folded);
}

// The next member of the folding class; c itself when it is alone in its class. After so many
// steps as the class has members one is back at c.
constexpr char32_t next_in_folding_class(char32_t c) {
    if (c >= kFoldingEnd) return c;
    return at_folding_distance(c, folding_distances(c).to_next);
}

// Writes the members of c's folding class, c first; returns how many.
size_t folding_class(char32_t c, char32_t (&members)[kLargestFoldingClass]) noexcept;

// The first code point from c on up to `last` (inclusive) that has another in its folding class;
// above `last` when there is none.
char32_t next_with_case(char32_t c, char32_t last) noexcept;

// Whether the range of folded characters is something else than one run as long as the range:
// because characters of it fold alike, or fold to places apart. Such a range cannot be tested on
// folded characters. A reversed range is not ambiguous.
bool is_ambiguous_ignoring_case(char32_t first, char32_t last) noexcept;

}  // namespace qxut::regexp

#endif
