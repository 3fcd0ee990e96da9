// column_table.h - the columns of a data file, as long as one of them is a variable.
//
//     ut_gtable  registrations -> | &vector->elements, 8 | &vector->elements, 4 | ...
//                                          |                      |
//     variables      Value -> Vector { elements } -> | row 0 | row 1 | ...
//
// The table and its vectors know each other: the table keeps the addresses of the columns in the
// vectors up to date while rows come in; a vector that nobody holds any more takes its column out
// of the table. The last user, the loader being one, gives the table back.
#ifndef CONSOLE_COLUMN_TABLE_H
#define CONSOLE_COLUMN_TABLE_H

#include <qxut/util/gtable.h>

#include "value.h"

namespace console {

struct ColumnTable {
    ut_gtable rows;
    size_t users;  // columns, and whoever made the table until it lets go
};

// A table with one user and room for rows and columns, both at least 1. Raises OUT_OF_MEMORY.
ColumnTable* new_column_table(uint32_t columns, uint32_t rows);

// One user less.
void release_column_table(ColumnTable* table);

// Adds a column of zeros, and sets `vector`, which is null, to its vector with one reference. Its
// count is for the caller to set. Raises OUT_OF_MEMORY; `vector` may then be set nevertheless, to
// a vector without elements, and is cleared like any other.
void add_column(ColumnTable* table, Kind kind, Vector*& vector);

// Takes the column of a vector out of the table.
void remove_column(Vector* vector);

}  // namespace console

#endif
