// current.h - the contexts of the current record, for families below the record's own.
//
// Sorting borrows the current memory context, the symbol table starts with the current name hash.
// They reach them through these functions and know nothing else of the record. While a record is
// current, which is from the library's load on, no answer is null.
#ifndef QXUT_SRC_UTIL_CURRENT_H
#define QXUT_SRC_UTIL_CURRENT_H

#include <qxut/util/types.h>

namespace qxut {

_memory_context* current_memory_context();
ut_namehash* current_namehash();

}  // namespace qxut

#endif
