// unit_set.h - sets of characters as sets of units, for the wide searches.
#ifndef QXUT_SRC_REGEXP_UNIT_SET_H
#define QXUT_SRC_REGEXP_UNIT_SET_H

#include "regexp/character_set.h"
#include "regexp/wide_search.h"

namespace qxut::regexp {

// Every first unit of the set's characters, and others where that would be costly to tell.
UnitSet units_of(const CharacterSet& set) noexcept;
// Whether these are just the set's characters, none of them a half of a pair or of two units.
bool are_whole_units(const UnitSet& units, const CharacterSet& set) noexcept;

// Units that are members as they stand, one half of a pair only where every character of two units
// is in the set: all below U+0100, and of the others those of frequent scripts.
UnitSet units_surely_in(const CharacterSet& set) noexcept;

}  // namespace qxut::regexp

#endif
