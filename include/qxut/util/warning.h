/* warning.h - warnings that can be switched on and off by message identifier.
 *
 * A warning is issued by message code, like an error, and reported under an identifier such as
 * "VELUMA:division_by_zero". Its text is formatted in the current language. What happens then
 * is the state of its identifier:
 *
 *     off     nothing is printed
 *     on      "Warning: text" is printed, and a hint how to switch this warning off
 *     error   an error is raised with the warning's identifier, code and arguments
 *
 * An identifier that no state was set for has the state for all, which starts as on.
 * The last warning that was on or off, its identifier and text, is kept until the next one, so
 * that a program can silence a warning and still ask whether there was one.
 *
 * Identifiers are compared byte by byte and are copied, as all texts are; texts may have any
 * length. Every function that allocates may raise OUT_OF_MEMORY; the context is then as it was.
 * A context belongs to the thread that owns its error context. The print function may raise, and
 * may use the context itself.
 */
#ifndef QXUT_UTIL_WARNING_H
#define QXUT_UTIL_WARNING_H

#include <qxut/util/error.h>
#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

/* Module 4. */
enum ut_warning_code {
    UT_WARN_ALL = 262145,     /* its identifier stands for all warnings */
    UT_WARNING_HINT = 262146, /* a hint for hosts whose command is "warning off"; takes one text */
    UT_WARNING_TEXT = 262147  /* what is printed of a warning; takes its text */
};

typedef enum ut_warning_state {
    UT_WARNING_OFF = 0,
    UT_WARNING_ON = 1,
    UT_WARNING_ERROR = 2
} ut_warning_state;

/* The state of one identifier. */
typedef struct ut_warning_setting {
    char* identifier;
    ut_warning_state state;
} ut_warning_setting;

/* All states. May be read; is changed by the functions below only. */
typedef struct ut_warning_settings {
    ut_warning_state all;         /* of every identifier that is not listed */
    ut_warning_setting* settings; /* sorted by identifier */
    uint32_t count;
    uint32_t capacity;
} ut_warning_settings;

struct ut_warning_context {
    ut_message_context* message_context;
    _error_context* error_context;
    _memory_context* memory_context;
    ut_writer print;
    void* print_data;
    ut_message_code hint; /* 0: none */
    ut_warning_settings settings;
    char* last_identifier; /* null: none */
    char* last_text;       /* null: none */
};

/* --- life ------------------------------------------------------------------------------------- */

/* Fills the record, all warnings on, no hint and no last warning, and registers the module-4
 * messages with `message_context`. Warnings go to `print` (null: nowhere) with `print_data`.
 * Raises OUT_OF_MEMORY or the message context's own error; the record is then all zero. */
QXUT_API void ut_initialize_warning_context(ut_warning_context* context,
                                            ut_message_context* message_context,
                                            _error_context* error_context,
                                            _memory_context* memory_context, ut_writer print,
                                            void* print_data);

/* Frees what the context owns and zeroes the record. Harmless on a zeroed record. */
QXUT_API void ut_clear_warning_context(ut_warning_context* context);

/* Sets the message that is printed after a warning to say how to switch it off. The host registers
 * it, with its translations: its one argument, "%s", is the warning's identifier. UT_WARNING_HINT
 * is one; 0 prints none. Returns the one before. */
QXUT_API ut_message_code ut_set_warning_hint(ut_warning_context* context, ut_message_code hint);

/* --- issuing ---------------------------------------------------------------------------------- */

/* Issue a warning by code, with the arguments of its message. The identifier is "VELUMA:" and the
 * lowered mnemonic; the `_id` forms take another one. The warning is printed by one call, its
 * lines ended by newlines. Nothing allocated outlives a print function that raises but the last
 * warning, which is set before. */
QXUT_API void ut_warning(ut_warning_context* context, ut_message_code code, ...);
QXUT_API void ut_vwarning(ut_warning_context* context, ut_message_code code, va_list arguments);
QXUT_API void ut_warning_id(ut_warning_context* context, const char* identifier,
                            ut_message_code code, ...);
QXUT_API void ut_vwarning_id(ut_warning_context* context, const char* identifier,
                             ut_message_code code, va_list arguments);

/* --- states ----------------------------------------------------------------------------------- */

/* Sets the state of an identifier; that of UT_WARN_ALL ("VELUMA:warn_all") sets all. */
QXUT_API void ut_set_warning_state(ut_warning_context* context, const char* identifier,
                                   ut_warning_state state);

/* Sets the state of all identifiers, known or not: what was set for single ones is forgotten. */
QXUT_API void ut_set_all_warning_states(ut_warning_context* context, ut_warning_state state);

/* The state of an identifier; that of UT_WARN_ALL has the state for all. */
QXUT_API ut_warning_state ut_get_warning_state(const ut_warning_context* context,
                                               const char* identifier);

/* Copies all states to `saved`, which the caller hands back to one of the next two. */
QXUT_API void ut_save_warning_states(const ut_warning_context* context, ut_warning_settings* saved);

/* Puts saved states back; `saved` is then empty. Allocates nothing and never raises. */
QXUT_API void ut_restore_warning_states(ut_warning_context* context, ut_warning_settings* saved);

/* Frees saved states that are not to be put back. Harmless on empty ones. */
QXUT_API void ut_drop_warning_states(ut_warning_context* context, ut_warning_settings* saved);

/* --- the last warning ------------------------------------------------------------------------- */

/* Identifier and text of the last warning, or "" when there is none. Valid until the next warning,
 * set or clear. */
QXUT_API const char* ut_get_last_warning_identifier(const ut_warning_context* context);
QXUT_API const char* ut_get_last_warning_text(const ut_warning_context* context);

/* Sets them, without a warning. */
QXUT_API void ut_set_last_warning(ut_warning_context* context, const char* identifier,
                                  const char* text);
QXUT_API void ut_clear_last_warning(ut_warning_context* context);

QXUT_END_DECLS

#endif
