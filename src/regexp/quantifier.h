// quantifier.h - how often an atom is matched, as patterns write it.
#ifndef QXUT_SRC_REGEXP_QUANTIFIER_H
#define QXUT_SRC_REGEXP_QUANTIFIER_H

#include <cstddef>

#include "regexp/nodes.h"
#include "regexp/source.h"

namespace qxut::regexp {

struct Quantifier {
    size_t min = 1;
    size_t max = 1;  // kUnbounded: no end
    bool is_possessive = false;
    bool is_lazy = false;  // never where min is max
    size_t position = 0;   // in the pattern
};

// Whether a quantifier may begin with the character.
constexpr bool begins_quantifier(char16_t c) {
    return c == u'*' || c == u'+' || c == u'?' || c == u'{';
}

// Reads the quantifier that stands at `position`, behind white space and comments under free
// spacing, and moves the position behind it. False, without moving, where none stands before `end`;
// a braced one that is none draws its warning.
bool read_quantifier(const Source& source, NextBrace& braces, size_t& position, size_t end,
                     bool free_spacing, Quantifier& result);

}  // namespace qxut::regexp

#endif
