// columns.h - the column-wise store: loads a file of comma-separated values into variables.
#ifndef CONSOLE_COLUMNS_H
#define CONSOLE_COLUMNS_H

#include "symbols.h"

namespace console {

// Reads the file and makes each column a variable named by its header; says what was loaded.
// Either all columns become variables or, when an error is raised, none. `name` stands for the
// file in messages.
//
// The first cell of a column that is not empty decides whether it holds numbers or texts. An
// empty cell of a column of numbers becomes NaN, with a warning for each such column.
// Raises what CsvReader does, CSV_EMPTY, CSV_BAD_NUMBER, CSV_CELL_COUNT, OUT_OF_MEMORY.
void load_columns(const char* path, const char* name, Symbols& symbols);

}  // namespace console

#endif
