// flags.hpp - the mode flags of a pattern, a bit set.
#ifndef QXUT_REGEXP_FLAGS_HPP
#define QXUT_REGEXP_FLAGS_HPP

enum RE_Flags : unsigned {
    RE_NO_FLAGS = 0,
    RE_IGNORE_CASE = 1,   // i: characters, ranges, sets and back-references ignore case
    RE_DOT_ALL = 2,       // s: . matches a newline too
    RE_MULTI_LINE = 4,    // m: ^ and $ hold at the start and end of each line
    RE_FREE_SPACING = 8,  // x: white space is skipped, # starts a comment up to the newline
    RE_EVALUATE = 16,     // e: dynamic expressions are permitted
};

constexpr RE_Flags operator|(RE_Flags a, RE_Flags b) { return RE_Flags(unsigned(a) | unsigned(b)); }
constexpr RE_Flags operator&(RE_Flags a, RE_Flags b) { return RE_Flags(unsigned(a) & unsigned(b)); }
constexpr RE_Flags operator~(RE_Flags a) { return RE_Flags(~unsigned(a) & 31U); }

#endif
