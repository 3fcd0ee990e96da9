// symbol_table.h - keeps the process-wide symbol table from outliving its record.
#ifndef QXUT_SRC_UTIL_SYMBOL_TABLE_H
#define QXUT_SRC_UTIL_SYMBOL_TABLE_H

#include <qxut/util/types.h>

namespace qxut {

// Called for a name hash that is being cleared: where it is the symbol table, there is none then.
void forget_symbol_table(const ut_namehash* namehash);

}  // namespace qxut

#endif
