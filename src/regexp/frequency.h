// frequency.h - how often units stand in texts, roughly: what the search for starts compares, to
// look for what is rare.
#ifndef QXUT_SRC_REGEXP_FREQUENCY_H
#define QXUT_SRC_REGEXP_FREQUENCY_H

#include "regexp/character_set.h"
#include "regexp/wide_search.h"

namespace qxut::regexp {

// Of so many units in a text one is this one (these, one of the set): 1 is all of them. Prose and
// logs were averaged; a mistake costs time, not an answer.
float frequency(char16_t unit) noexcept;
float frequency(const UnitVariants& variants) noexcept;
float frequency(const CharacterSet& set) noexcept;

// The places of the two rarest units of a literal; of a single unit, its own twice.
struct RarePlaces {
    size_t rarest;
    size_t second;
};
RarePlaces rare_places(const char16_t* units, size_t length) noexcept;
RarePlaces rare_places(const UnitVariants* units, size_t length) noexcept;

}  // namespace qxut::regexp

#endif
