// gtable.cpp - columns of one height behind pointer variables of the caller's.
//
// Invariant: every column has room for row_capacity rows at least. Columns grow one by one, and
// each variable gets its new address at once; the capacity follows when all have grown. When
// memory runs out between two columns, some have more room than the table counts on, which does no
// harm: the next growth zeroes what it adds in all of them. The variables are pointers of some
// type of the caller's, so they are read and written as bytes. Entry points:
// ut_gtable_set_num_rows, ut_new_gtable. Tested by tests/util/gtable_test.cpp.
#include <qxut/util/gtable.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include <qxut/util/error.h>

#include "util/builtin_tables.h"

namespace qxut {
namespace {

// Callers know these places.
static_assert(sizeof(ut_gtable_column) == 16);
static_assert(sizeof(ut_gtable) == 32);

constexpr uint64_t kLargestCount = std::numeric_limits<uint32_t>::max();

[[noreturn]] void raise_too_large(const ut_gtable& table) {
    ut_error(table.mem_ctx->error_context, UT_OUT_OF_MEMORY);
}

size_t bytes_of(const ut_gtable& table, uint64_t element_size, uint64_t count) {
    constexpr uint64_t kLargest = std::numeric_limits<ptrdiff_t>::max();
    if (count != 0 && element_size > kLargest / count) raise_too_large(table);
    return element_size * count;
}

unsigned char* block_of(const void* variable) {
    unsigned char* block = nullptr;
    std::memcpy(&block, variable, sizeof block);
    return block;
}

void set_block(void* variable, const void* block) { std::memcpy(variable, &block, sizeof block); }

void free_block(const ut_gtable& table, void* variable) {
    void* const block = block_of(variable);
    set_block(variable, nullptr);
    if (block != nullptr) ut_mem_free(table.mem_ctx, block);
}

void grow_column(const ut_gtable& table, const ut_gtable_column& column, uint32_t capacity) {
    const size_t size = bytes_of(table, column.element_size, capacity);
    if (size == 0) return;
    auto* const block =
        static_cast<unsigned char*>(ut_mem_realloc(table.mem_ctx, block_of(column.variable), size));
    set_block(column.variable, block);
    const size_t old_size = bytes_of(table, column.element_size, table.row_capacity);
    std::memset(block + old_size, 0, size - old_size);
}

// Twice the capacity, which 32 bits may not hold, or n.
uint32_t grown_capacity(const ut_gtable& table, uint32_t n) {
    const uint64_t doubled = 2 * uint64_t{table.row_capacity};
    return static_cast<uint32_t>(std::min(std::max(doubled, uint64_t{n}), kLargestCount));
}

void grow_rows(ut_gtable& table, uint32_t n) {
    const uint32_t capacity = grown_capacity(table, n);
    for (uint32_t i = 0; i < table.num_columns; ++i) grow_column(table, table.columns[i], capacity);
    table.row_capacity = capacity;
}

void reserve_registration(ut_gtable& table) {
    if (table.num_columns < table.column_capacity) return;
    const uint64_t doubled = 2 * uint64_t{table.column_capacity};
    if (doubled == 0 || doubled > kLargestCount) raise_too_large(table);
    const size_t size = bytes_of(table, sizeof(ut_gtable_column), doubled);
    table.columns =
        static_cast<ut_gtable_column*>(ut_mem_realloc(table.mem_ctx, table.columns, size));
    table.column_capacity = static_cast<uint32_t>(doubled);
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_initialize_gtable(ut_gtable* table, _memory_context* mem_ctx, uint32_t column_capacity,
                          uint32_t row_capacity) {
    *table = {mem_ctx, 0, column_capacity, 0, row_capacity, nullptr};
    ut_mem_add_primary_message_table(mem_ctx, &gtable_message_table);
    table->columns = static_cast<ut_gtable_column*>(
        ut_mem_alloc(mem_ctx, bytes_of(*table, sizeof(ut_gtable_column), column_capacity)));
}

void ut_new_gtable(ut_gtable* table, void* variable, uint64_t element_size) {
    reserve_registration(*table);
    const size_t size = bytes_of(*table, element_size, table->row_capacity);
    set_block(variable, ut_mem_calloc(table->mem_ctx, size));
    table->columns[table->num_columns++] = {variable, element_size};
}

void ut_gtable_set_num_rows(ut_gtable* table, uint32_t n) {
    if (n >= table->row_capacity) [[unlikely]]
        grow_rows(*table, n);
    table->num_rows = n;
}

void ut_gtable_add_row(ut_gtable* table) {
    if (table->num_rows == kLargestCount) raise_too_large(*table);
    ut_gtable_set_num_rows(table, table->num_rows + 1);
}

void ut_gtable_apply(ut_gtable* table, void* argument, ut_gtable_apply_fcn fn) {
    for (uint32_t i = 0; i < table->num_columns; ++i) {
        const ut_gtable_column& column = table->columns[i];
        unsigned char* const block = block_of(column.variable);
        for (uint32_t row = 0; row < table->num_rows; ++row) {
            fn(argument, &column, block + row * column.element_size);
        }
    }
}

void ut_delete_gtable(ut_gtable* table, void* variable) {
    free_block(*table, variable);
    ut_gtable_column* const end = table->columns + table->num_columns;
    ut_gtable_column* const found =
        std::find_if(table->columns, end,
                     [variable](const ut_gtable_column& c) { return c.variable == variable; });
    if (found == end) ut_error(table->mem_ctx->error_context, UT_GTABLE_DELETE_GTABLE);
    *found = *(end - 1);
    --table->num_columns;
}

void ut_clear_gtable(ut_gtable* table) {
    if (table->columns == nullptr) return;
    for (uint32_t i = 0; i < table->num_columns; ++i)
        free_block(*table, table->columns[i].variable);
    ut_mem_free(table->mem_ctx, table->columns);
    table->columns = nullptr;
}
