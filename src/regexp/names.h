// names.h - the names of tokens, as patterns and templates write them.
//
// A name is letters, digits and underscores, by the library's classification of characters, and
// does not begin with a digit.
#ifndef QXUT_SRC_REGEXP_NAMES_H
#define QXUT_SRC_REGEXP_NAMES_H

#include <cstddef>

#include "regexp/source.h"

namespace qxut::regexp {

// The end of the name that begins at `position`; `position` itself where none begins. It looks at
// nothing from `end` on.
size_t read_name(const Source& source, size_t position, size_t end);

// The same for a name that the unit `closer` must follow. On success `position` is moved behind
// the closer and the result is the name's end; else the result is the old position, unmoved.
size_t read_closed_name(const Source& source, size_t& position, size_t end, char16_t closer);

}  // namespace qxut::regexp

#endif
