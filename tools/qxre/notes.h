// notes.h - what a pattern does silently and a reader may not expect.
#ifndef QXRE_NOTES_H
#define QXRE_NOTES_H

#include <string_view>
#include <vector>

#include "pattern.h"

namespace qxre {

// In the order of their places: references to tokens that are not there, parentheses that make no
// token, quantifiers and closers that are literal, flags that end at a '|'.
std::vector<Remark> find_notes(const Pattern& pattern, RE_Flags flags);

}  // namespace qxre

#endif
