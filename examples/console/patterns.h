// patterns.h - the functions that search texts with regular expressions (docs/regex.md).
//
// Texts are one text or a vector of texts; the result of a vector is one value for each.
#ifndef CONSOLE_PATTERNS_H
#define CONSOLE_PATTERNS_H

#include "functions.h"

namespace console {

// find(texts, pattern): where the first match begins, in characters from 1; 0: there is none.
void run_find(Machine& machine, const Function& self, size_t count);
// matches(text, pattern): the texts of all matches.
void run_matches(Machine& machine, const Function& self, size_t count);
// tokens(text, pattern): the tokens of the first match; tokens(texts, pattern, n): token n of each
// text's first match, 0 being the whole match. What is not there is the empty text.
void run_tokens(Machine& machine, const Function& self, size_t count);
// replace(texts, pattern, template): the texts with what the template makes of each match.
void run_replace(Machine& machine, const Function& self, size_t count);

}  // namespace console

#endif
