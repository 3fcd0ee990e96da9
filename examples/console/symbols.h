// symbols.h - interned names and the variables that they stand for.
//
// Names, texts and the cells of text columns are interned in the name hash of the current record,
// so that they are compared by address. The variables are a hash table from canonical name to
// value, which owns one reference of each. Columns that were loaded are variables like others.
#ifndef CONSOLE_SYMBOLS_H
#define CONSOLE_SYMBOLS_H

#include <qxut/util/ghash.h>

#include "value.h"

namespace console {

// The canonical pointer of a text. Raises OUT_OF_MEMORY.
const char* intern(const char* text);
const char* intern(const char* text, size_t length);

class Symbols {
  public:
    // Makes an empty table in the current record. Raises OUT_OF_MEMORY.
    void open();
    // Drops every variable and the table.
    void clear();

    // The value of a canonical name, or null when it has none.
    const Value* find(const char* name);

    // The place of a name's value, which may be undefined; it stays where it is until the name is
    // removed. Raises OUT_OF_MEMORY. So a statement that sets several variables asks for all
    // places first and then cannot fail half-way.
    Value* place(const char* name);

    void remove(const char* name);
    void remove_all();

    // Prints names, kinds and sizes in the order of the names.
    void list();

  private:
    ut_ghash_table table_{};
};

}  // namespace console

#endif
