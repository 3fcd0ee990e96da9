/* gtable.h - any number of columns, vectors of their own, that always have equally many rows.
 *
 *   double* price;   table.columns -> | &price, 8 | &count, 4 | ...
 *   int*    count;                        |           |
 *                                     price -> | row 0 | row 1 | ... |  row_capacity rows
 *                                     count -> | row 0 | row 1 | ... |
 *
 * The caller owns one plain pointer variable per column and indexes it directly. The table knows
 * the variables' addresses: whenever the blocks change it writes the new addresses into them. The
 * variables may have any pointer type and must live as long as their column.
 *
 * All memory comes from the table's memory context, whose OUT_OF_MEMORY every function that
 * allocates may raise; rows, columns and cells are then as they were, though some variables may
 * have got new addresses. Values of cells are bytes: nothing is called when rows appear or go.
 * A table is used by one thread at a time.
 */
#ifndef QXUT_UTIL_GTABLE_H
#define QXUT_UTIL_GTABLE_H

#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

/* Module 34. */
enum ut_gtable_code { UT_GTABLE_DELETE_GTABLE = 2228225 };

/* The registration of a column. */
typedef struct ut_gtable_column {
    void* variable;        /* address of the caller's pointer variable */
    uint64_t element_size; /* bytes of a cell */
} ut_gtable_column;

/* The record. The fields may be read; they are changed by the functions below only. */
typedef struct ut_gtable {
    _memory_context* mem_ctx;
    uint32_t num_columns;
    uint32_t column_capacity; /* registrations that `columns` has room for */
    uint32_t num_rows;
    uint32_t row_capacity; /* rows that every column has room for */
    ut_gtable_column* columns;
} ut_gtable;

/* Fills a record. Registers the messages of module 34 with the memory context's message context.
 * The capacities grow by doubling: that of the columns must be at least 1, or the first column is
 * out of memory. */
QXUT_API void ut_initialize_gtable(ut_gtable* table, _memory_context* mem_ctx,
                                   uint32_t column_capacity, uint32_t row_capacity);

/* Adds a column of zeroed cells of element_size bytes for the pointer variable at `variable`,
 * which gets the address of row 0 (null while the table has no room for rows). */
QXUT_API void ut_new_gtable(ut_gtable* table, void* variable, uint64_t element_size);

/* Sets the number of rows. Below row_capacity nothing else changes: the cells of dropped rows keep
 * their values and come back with the rows. From row_capacity on, an n equal to it included (a
 * caller may write the cell behind the last row before it adds the row), every column grows to
 * twice the capacity, or to n rows if those are more; the cells that this adds are zeroed. The
 * capacity stops at 2^32 - 1 rows. */
QXUT_API void ut_gtable_set_num_rows(ut_gtable* table, uint32_t n);

/* Adds a row; to 2^32 - 1 rows, raises OUT_OF_MEMORY. */
QXUT_API void ut_gtable_add_row(ut_gtable* table);

/* Calls fn(argument, registration, address of the cell) for all cells: column by column in the
 * order of the registrations, in each from row 0 on. fn may not change the table. */
typedef void (*ut_gtable_apply_fcn)(void* argument, const ut_gtable_column* column, void* cell);
QXUT_API void ut_gtable_apply(ut_gtable* table, void* argument, ut_gtable_apply_fcn fn);

/* Frees the block that the variable points to, sets the variable to null, and removes its column;
 * the last registration takes the place of the removed one. Where no column has this variable,
 * raises GTABLE_DELETE_GTABLE, with the block freed already: whatever comes of it, a variable
 * given to this function points to nothing afterwards. Its block must come from the table's
 * memory context. */
QXUT_API void ut_delete_gtable(ut_gtable* table, void* variable);

/* Frees all columns, sets their variables to null, and frees the registrations. The counts stay
 * as they were, for the caller to read how large the table had been; it must be initialised again
 * before it is used. Clearing it again does nothing. */
QXUT_API void ut_clear_gtable(ut_gtable* table);

QXUT_END_DECLS

#endif
