// text_functions.h - functions between texts and numbers.
#ifndef CONSOLE_TEXT_FUNCTIONS_H
#define CONSOLE_TEXT_FUNCTIONS_H

#include "functions.h"

namespace console {

// number(texts): the numbers that they spell; NaN for a text that spells none.
void run_number(Machine& machine, const Function& self, size_t count);
// join(a, b, ...): one text of all their numbers and texts.
void run_join(Machine& machine, const Function& self, size_t count);

}  // namespace console

#endif
