// wide_search_compare.h - comparing a place of a text with what is searched for, unit by unit; what
// the wide and the plain searches have in common.
#ifndef QXUT_SRC_REGEXP_WIDE_SEARCH_COMPARE_H
#define QXUT_SRC_REGEXP_WIDE_SEARCH_COMPARE_H

#include <cstring>

#include "regexp/wide_search.h"

namespace qxut::regexp {

inline bool holds_units(const char16_t* text, const UnitVariants* units, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (!units[i].holds(text[i])) return false;
    }
    return true;
}

inline bool holds_literal(const char16_t* text, const LiteralSearch& literal) {
    if (literal.plain != nullptr)
        return std::memcmp(text, literal.plain, literal.length * sizeof(char16_t)) == 0;
    return holds_units(text, literal.units, literal.length);
}

// Whether a word of one of the buckets (a bit each) stands at the beginning of the text, of which
// `length` units may be read.
inline bool holds_word(const char16_t* text, size_t length, const WordSearch& words,
                       unsigned buckets) {
    size_t begin = 0;
    for (size_t bucket = 0; bucket < WordSearch::kBuckets; ++bucket) {
        const size_t end = words.bucket_end[bucket];
        if ((buckets >> bucket & 1U) != 0) {
            for (size_t i = begin; i < end; ++i) {
                const WordSearch::Word& word = words.words[i];
                if (word.length <= length && holds_units(text, word.units, word.length))
                    return true;
            }
        }
        begin = end;
    }
    return false;
}

}  // namespace qxut::regexp

#endif
