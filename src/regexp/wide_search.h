// wide_search.h - searches in UTF-16 units that look at a register full of them at a time.
//
// Each search gives the first place in [from, end) where what it looks for stands, or `end`. It
// reads the units of the text that the place and what it looks for cover, and others between the
// text's beginning and there; it reads nothing from `end` + length - 1 on, length being that of
// what is looked for. Nothing is allocated, and nothing is raised.
//
// Each has a plain form, which takes one unit after the other: the definition, for tests.
#ifndef QXUT_SRC_REGEXP_WIDE_SEARCH_H
#define QXUT_SRC_REGEXP_WIDE_SEARCH_H

#include <cstddef>
#include <cstdint>

namespace qxut::regexp {

// Up to four units that a place of a literal may hold; the last one is repeated to fill.
struct UnitVariants {
    char16_t units[4];
    bool holds(char16_t unit) const noexcept {
        return unit == units[0] || unit == units[1] || unit == units[2] || unit == units[3];
    }
    bool is_two_at_most() const noexcept { return units[1] == units[2] && units[2] == units[3]; }
    bool is_one() const noexcept { return units[0] == units[1] && is_two_at_most(); }
    bool operator==(const UnitVariants&) const = default;
};

// A run of units, one variant each at least. Two of its places, that are rare in texts, are looked
// for; where both are met the rest is compared.
struct LiteralSearch {
    const UnitVariants* units = nullptr;  // may be null where there is `plain`
    size_t length = 0;                    // at least 1
    size_t rare[2] = {0, 0};              // the places; the same one for a single unit
    const char16_t* plain = nullptr;      // the units where each has one variant; else null
};
size_t find_literal(const char16_t* text, size_t from, size_t end, const LiteralSearch& literal);

// A set of units: ranges of them, or a bit for each below U+0100 and ranges for the others.
struct UnitSet {
    static constexpr int kRanges = 4;
    char16_t first[kRanges] = {};
    char16_t last[kRanges] = {};  // inclusive
    int range_count = 0;          // at least 1 when by_ranges
    bool by_ranges = false;       // the ranges are all of it; else they tell from U+0100 on
    bool all_others = false;      // without by_ranges: all from U+0100 on are in it
    // Bit n % 8 of even[h] (n < 8) or odd[h] is that of the unit 16 * h + n.
    uint8_t even[16] = {};
    uint8_t odd[16] = {};

    bool contains(char16_t unit) const noexcept;
};
size_t find_in_set(const char16_t* text, size_t from, size_t end, const UnitSet& set);
// The first unit that is not in the set.
size_t find_outside_set(const char16_t* text, size_t from, size_t end, const UnitSet& set);
// Bit n says whether the unit at from + n is in the set; `end` is at most kMemberBits behind
// `from`.
inline constexpr size_t kMemberBits = 64;
uint64_t members_in(const char16_t* text, size_t from, size_t end, const UnitSet& set);

// The first unit that the next one, which may be read, is equal to, or that begins a pair.
size_t find_doubled(const char16_t* text, size_t from, size_t end);

// Several literals at once. Those of a bucket share fingerprints of their first units: what the low
// byte of each may be, as the buckets that admit its low and its high half.
struct WordSearch {
    static constexpr size_t kBuckets = 8;
    static constexpr size_t kWidest = 3;
    struct Word {
        const UnitVariants* units;
        size_t length;  // at least `width`
    };
    size_t width = 0;  // units of a fingerprint, 1 to kWidest
    uint8_t low_half[kWidest][16] = {};
    uint8_t high_half[kWidest][16] = {};
    // The words of bucket b are bucket_end[b - 1] (0 for the first) to bucket_end[b].
    const Word* words = nullptr;
    size_t bucket_end[kBuckets] = {};
    size_t shortest = 0;
};
// Words that do not fit into [from, readable) are not found. `end` + shortest - 1 is within
// `readable`.
size_t find_word(const char16_t* text, size_t from, size_t end, size_t readable,
                 const WordSearch& words);

size_t find_literal_plainly(const char16_t* text, size_t from, size_t end,
                            const LiteralSearch& literal);
size_t find_in_set_plainly(const char16_t* text, size_t from, size_t end, const UnitSet& set);
size_t find_outside_set_plainly(const char16_t* text, size_t from, size_t end, const UnitSet& set);
uint64_t members_in_plainly(const char16_t* text, size_t from, size_t end, const UnitSet& set);
size_t find_doubled_plainly(const char16_t* text, size_t from, size_t end);
size_t find_word_plainly(const char16_t* text, size_t from, size_t end, size_t readable,
                         const WordSearch& words);

}  // namespace qxut::regexp

#endif
