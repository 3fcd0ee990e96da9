/* warning.h - warnings that can be switched on and off by message identifier.
 */
#ifndef QXUT_UTIL_WARNING_H
#define QXUT_UTIL_WARNING_H

#include <qxut/util/ghash.h>
#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

struct ut_warning_context {
    ut_message_context* message_context;
    _error_context* error_context;
    _memory_context* memory_context;
    ut_writer print;
    void* print_data;
    ut_ghash_table states;
};

/* Fills the record and registers the module-4 messages. Raises OUT_OF_MEMORY; a record whose
 * initialisation raised is cleanly gone. */
QXUT_API void ut_initialize_warning_context(ut_warning_context* context,
                                            ut_message_context* message_context,
                                            _error_context* error_context,
                                            _memory_context* memory_context, ut_writer print,
                                            void* print_data);

/* Frees what the context owns. Harmless on a zeroed record. */
QXUT_API void ut_clear_warning_context(ut_warning_context* context);

QXUT_END_DECLS

#endif
