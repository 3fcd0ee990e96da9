// sets.h - vectors of whole numbers taken as sets: rows that are in both of two selections.
#ifndef CONSOLE_SETS_H
#define CONSOLE_SETS_H

#include "functions.h"

namespace console {

// Push the numbers that are in one of the two vectors on top, in both, in the first only: in
// ascending order, each once. Raise NEEDS_NUMBERS, NOT_WHOLE, OUT_OF_MEMORY.
void run_union(Machine& machine, const Function& self, size_t arguments);
void run_intersection(Machine& machine, const Function& self, size_t arguments);
void run_difference(Machine& machine, const Function& self, size_t arguments);

}  // namespace console

#endif
