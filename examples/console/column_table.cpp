// column_table.cpp - see column_table.h. Tested by tests/console (csv, a million rows).
#include "column_table.h"

#include <utility>

#include <qxut/util/contexts.h>

#include "guard.h"

namespace console {

ColumnTable* new_column_table(uint32_t columns, uint32_t rows) {
    struct Unfinished {
        ColumnTable* table;
        void clear() { ut_mem_free(utGetMemoryContext(), table); }
    };
    _memory_context* memory = utGetMemoryContext();
    Unfinished unfinished{static_cast<ColumnTable*>(ut_mem_alloc(memory, sizeof(ColumnTable)))};
    const Guard free_unfinished(unfinished);
    ut_initialize_gtable(&unfinished.table->rows, memory, columns, rows);
    unfinished.table->users = 1;
    return std::exchange(unfinished.table, nullptr);
}

void release_column_table(ColumnTable* table) {
    if (table == nullptr || --table->users > 0) return;
    ut_clear_gtable(&table->rows);
    ut_mem_free(utGetMemoryContext(), table);
}

void add_column(ColumnTable* table, Kind kind, Vector*& vector) {
    vector = static_cast<Vector*>(ut_mem_alloc(utGetMemoryContext(), sizeof(Vector)));
    *vector = {1, 0, nullptr, nullptr};
    ut_new_gtable(&table->rows, &vector->elements, element_size(kind));
    vector->table = table;
    ++table->users;
}

void remove_column(Vector* vector) {
    ut_delete_gtable(&vector->table->rows, &vector->elements);
    release_column_table(vector->table);
}

}  // namespace console
