// builtin_tables.h - the message tables of the library's own modules, and their Japanese texts.
#ifndef QXUT_SRC_UTIL_BUILTIN_TABLES_H
#define QXUT_SRC_UTIL_BUILTIN_TABLES_H

#include <qxut/util/message.h>

namespace qxut {

extern const ut_message_table message_context_table;  // module 0
extern const ut_message_table error_message_table;    // module 1
extern const ut_message_table memory_message_table;   // module 2
extern const ut_message_table hash_message_table;     // module 3
extern const ut_message_table warning_message_table;  // module 4
extern const ut_message_table fpc_message_table;      // module 25
extern const ut_message_table gtable_message_table;   // module 34
extern const ut_message_table array_message_table;    // module 40
extern const ut_message_table regexp_message_table;   // module 41

// The texts of modules 1 and up in Japanese, UTF-8.
extern const ut_language_tables builtin_japanese;
inline constexpr char kJapanese[] = "ja";

}  // namespace qxut

#endif
