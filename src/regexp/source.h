// source.h - the text that is parsed, a pattern or a template, and where its warnings go.
//
// Positions are UTF-16 units from its beginning. Used by the readers of escapes, names, sets and
// quantifiers; tested with them.
#ifndef QXUT_SRC_REGEXP_SOURCE_H
#define QXUT_SRC_REGEXP_SOURCE_H

#include <cstddef>

#include <qxut/regexp/context.hpp>

#include "regexp/characters.h"

namespace qxut::regexp {

// The character at `position`, which is below `end`; the position moves behind it. A surrogate pair
// is one character, a lone surrogate another.
inline char32_t read_character(const char16_t* text, size_t& position, size_t end) {
    const char32_t unit = text[position++];
    if (is_high_surrogate(unit) && position < end && is_low_surrogate(text[position])) {
        return pair_character(unit, text[position++]);
    }
    return unit;
}

// Appends the UTF-16 units of a code point.
template <class Units>
void append_units(Units& units, char32_t c) {
    if (c < 0x10000) {
        units.push_back(static_cast<char16_t>(c));
    } else {
        units.push_back(static_cast<char16_t>(0xD7C0 + (c >> 10)));
        units.push_back(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
    }
}

struct Source {
    const char16_t* text = nullptr;
    size_t length = 0;
    // The same text as the caller gave it: warnings point into it.
    const char16_t* shown = nullptr;
    RE_Context* context = nullptr;  // null: warnings go nowhere

    // `format` has no conversion but one %c, for an int code point. Throws what the context throws.
    void warn(size_t position, const char* format, ...) const;
};

// Behind the white space and comments of free spacing that stand from `position` on, at most at
// `end`. A comment runs from # up to the next line feed.
size_t skip_free_spacing(const Source& source, size_t position, size_t end);

// Finds the next '}' again and again, from positions that grow: linear in all.
class NextBrace {
  public:
    // The position of the first '}' from `position` on; the source's length without one.
    size_t find(const Source& source, size_t position);

  private:
    size_t from_ = 0;
    size_t found_ = 0;
    bool is_known_ = false;
};

}  // namespace qxut::regexp

#endif
