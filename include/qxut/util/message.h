/* message.h - message codes and what they stand for: a mnemonic, a component, a text per language.
 *
 * A module keeps its messages in one constant primary table, which it registers with a message
 * context; a language adds an array of translated texts per module. A context formats the
 * message of a code, in the language that is current, to any writer. English texts carry printf
 * conversions in argument order; translated texts refer to the arguments as %1, %2, ... and may
 * reorder them, but must mention each exactly once.
 *
 * Nothing here raises: registration answers with a status, formatting with a count or a negative
 * result. A context belongs to its owner, who serialises all use. Tables and texts must outlive
 * their registration; the context stores pointers and copies no text but language names.
 */
#ifndef QXUT_UTIL_MESSAGE_H
#define QXUT_UTIL_MESSAGE_H

#include <stdio.h>

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* The statuses of registration; each but the first is an entry of module 0. */
enum ut_message_status {
    UT_MESSAGE_OK = 0,
    UT_NO_MEMORY_FOR_MESSAGE_CONTEXT = 1,
    UT_MSG_MODULE_COUNT_MISMATCH = 2,
    UT_TOO_FEW_STRINGS = 3,
    UT_TOO_MANY_STRINGS = 4,
    UT_WRONG_CODE = 5,
    UT_STRANDED_PER_CENT = 6,
    UT_NON_TRIVIAL_PER_CENT = 7,
    UT_NON_TRIVIAL_S = 8,
    UT_HOLE_NOT_PRESENT = 9,
    UT_DUPLICATE_REFERENCE = 10,
    UT_ILLEGAL_PER_CENT = 11,
    UT_OMITTED_HOLE = 12,
    UT_BAD_MSG_CODE = 13,
    UT_MSG_MODULE_TABLE_MISMATCH = 14,
    UT_INVALID_PERCENT_U = 15
};

/* The word that ends an array of codes. */
#define UT_MESSAGE_CODES_END 0xFFFFFFFFu

/* A module's messages. The arrays have `count` elements each, `codes` one more: the terminator. */
typedef struct ut_message_table {
    uint32_t count;
    uint32_t module;
    const ut_message_code* codes; /* module * 65536 + 1, ... + 2, ..., UT_MESSAGE_CODES_END */
    const char* const* mnemonics; /* upper-case words with underscores */
    const char* const* texts;     /* English, with printf conversions */
    const char* component;        /* name of the module for ut_get_message_component; may be null */
} ut_message_table;

/* One module's texts in one language; a null text, or one past `count`, falls back to English. */
typedef struct ut_translated_table {
    uint32_t module;
    uint32_t count;
    const char* const* texts;
} ut_translated_table;

/* One language's texts for any number of modules. */
typedef struct ut_language_tables {
    uint32_t count;
    const ut_translated_table* tables;
} ut_language_tables;

/* A language of a context; slot 0 holds the English texts of the primary tables. */
typedef struct ut_message_language ut_message_language;
/* Working memory of formatting. */
typedef struct ut_message_scratch ut_message_scratch;

/* The record. The arrays grow in steps of 64 modules. A zeroed record is an empty context, which
 * can be asked, printed with and cleared, knows the messages of module 0, and refuses tables and
 * languages with status 1. */
struct ut_message_context {
    uint32_t highest_module;        /* highest module number ever registered */
    uint32_t* entry_counts;         /* per module */
    uint64_t* reference_counts;     /* per module; 0: not registered */
    const char* const** mnemonics;  /* per module */
    const char** components;        /* per module */
    uint32_t current_language;      /* index into languages */
    ut_message_scratch* scratch;    /* for the conversions of long messages */
    ut_message_language* languages; /* slot 0: English */
    ut_alloc_fcn allocate;
    ut_realloc_fcn reallocate;
};

/* --- the argument of a %U conversion ---------------------------------------------------- */

/* An argument list that callbacks can step: a va_list is an array on some platforms, so it
 * travels inside a struct. */
typedef struct ut_arguments {
    va_list list;
} ut_arguments;

/* The callback that a %U conversion takes from the arguments. It fetches its own arguments from
 * `arguments` and writes its text to `stream`; it is called once with a writer that discards
 * everything and, when its text is output, again from the same position with the real writer.
 * Returns the sum of the writer's results, or a negative value. */
typedef int (*ut_message_formatter)(ut_writer writer, void* stream, ut_arguments* arguments);

/* --- life ------------------------------------------------------------------------------- */

/* Makes an empty context that knows module 0 and speaks English. Status 0, or 1 when memory ran
 * out (nothing is then allocated and clearing the record is harmless). */
QXUT_API void ut_initialize_message_context(int32_t* status, ut_message_context* context,
                                            ut_alloc_fcn allocate, ut_realloc_fcn reallocate);

/* Gives every array of the context to `release` and zeroes the record; the tables stay. */
QXUT_API void ut_clear_message_context(ut_message_context* context, ut_free_fcn release);

/* --- registration ----------------------------------------------------------------------- */

/* Registers a module's table, or adds a reference when this very table is registered already.
 * Module numbers are below 32768. The conversions of a text are those of printf, without `*` and
 * `$`; %s, %% and %U stand without flags, width, precision or length, %n stores 0.
 * Sets `status` (see ut_message_status) and returns module * 65536 + the entry at fault, entry 0
 * where it is none in particular; 0 on success. On failure the context is as it was. */
QXUT_API ut_message_code ut_add_primary_message_table(int32_t* status, ut_message_context* context,
                                                      const ut_message_table* table,
                                                      ut_realloc_fcn reallocate);

/* Drops a reference; the module is forgotten with the last one. A table that is not registered:
 * status 13 where the module is unknown, 14 where another table has its number. */
QXUT_API void ut_remove_primary_message_table(int32_t* status, ut_message_context* context,
                                              const ut_message_table* table);

/* Adds translated texts under a language's name ("ja"), which is copied. Texts for a language
 * that exists are merged module by module, a later table replacing an earlier one. Texts of a
 * module that is registered are checked now, others when the module is. "English"
 * is refused with status 14. Result as above. */
QXUT_API ut_message_code ut_add_language(int32_t* status, ut_message_context* context,
                                         const char* name, const ut_language_tables* tables,
                                         ut_realloc_fcn reallocate);

/* Makes a language current; "English" names slot 0. An unknown name changes nothing and gives
 * status 13. */
QXUT_API void ut_change_language(int32_t* status, ut_message_context* context, const char* name);

/* Name of the current language; "English" for slot 0. */
QXUT_API const char* ut_get_language(const ut_message_context* context);

/* Adds the library's own Japanese texts under the name "ja". Result as ut_add_language. */
QXUT_API ut_message_code ut_add_builtin_japanese(int32_t* status, ut_message_context* context,
                                                 ut_realloc_fcn reallocate);

/* --- looking up ------------------------------------------------------------------------- */

/* Each returns null for an unknown code. ut_get_message gives the text of the current language
 * and falls back to English, ut_get_primary_message always the English one. */
QXUT_API const char* ut_get_message_mnemonic(const ut_message_context* context,
                                             ut_message_code code);
QXUT_API const char* ut_get_message_component(const ut_message_context* context,
                                              ut_message_code code);
QXUT_API const char* ut_get_primary_message(const ut_message_context* context,
                                            ut_message_code code);
QXUT_API const char* ut_get_message(const ut_message_context* context, ut_message_code code);

/* Writes "VELUMA:" and the mnemonic with A-Z lowered, or "VELUMA:" alone for an unknown code.
 * The buffer must hold UT_MESSAGE_IDENTIFIER_SIZE bytes; a longer identifier is cut. */
#define UT_MESSAGE_IDENTIFIER_SIZE 2048
QXUT_API void ut_make_message_identifier(char* buffer, const ut_message_context* context,
                                         ut_message_code code);

/* --- formatting ------------------------------------------------------------------------- */

/* Format a message to a writer. Return the sum of the writer's results, or its first negative
 * result at once; a negative result too when memory ran out. An unknown code prints the message
 * BAD_MSG_CODE and a newline, and returns 0. The caller's list is used up as by vprintf. */
QXUT_API int ut_vprintm(ut_message_context* context, ut_writer writer, void* stream,
                        ut_message_code code, va_list arguments);
QXUT_API int ut_printm(ut_message_context* context, ut_writer writer, void* stream,
                       ut_message_code code, ...);

/* Format into a buffer of `size` bytes, cut to fit and always terminated; when the text fills the
 * buffer its last byte is lost. Return the number of characters stored, or a negative result as
 * above. A size of 0 stores nothing and returns 0. */
QXUT_API int ut_vsprintm(ut_message_context* context, char* buffer, size_t size,
                         ut_message_code code, va_list arguments);
QXUT_API int ut_sprintm(ut_message_context* context, char* buffer, size_t size,
                        ut_message_code code, ...);

/* Format to a C file, through ut_fputsn. */
QXUT_API int ut_vfprintm(ut_message_context* context, FILE* file, ut_message_code code,
                         va_list arguments);
QXUT_API int ut_fprintm(ut_message_context* context, FILE* file, ut_message_code code, ...);

/* A ut_writer whose stream is a FILE*. Stops at a NUL; a length below 1 writes nothing and
 * gives 0. */
QXUT_API int ut_fputsn(void* file, const char* text, int32_t length);

/* Prints the module-0 message of a registration status, with the module and entry that
 * registration returned: `position` is its result. Returns as ut_printm; status 0 prints
 * nothing. */
QXUT_API int ut_print_message_context_error(ut_message_context* context, ut_writer writer,
                                            void* stream, int32_t status, ut_message_code position);

/* Turns a registration status into an error: calls raise(error context, code of the module-0
 * message, module, entry). Does nothing for status 0. */
typedef void (*ut_raise_fcn)(_error_context* context, ut_message_code code, ...);
QXUT_API void ut_handle_message_context_error(_error_context* context, ut_raise_fcn raise,
                                              int32_t status, ut_message_code position);

/* --- between the two writer shapes ------------------------------------------------------ */

typedef struct ut_puts_adapter {
    utPutsFcn puts;
    void* data;
} ut_puts_adapter;

typedef struct ut_putsn_adapter {
    ut_writer writer;
    void* stream;
} ut_putsn_adapter;

/* A ut_writer over a puts function (`adapter` is a ut_puts_adapter*): passes one character at a
 * time, a multibyte character of the process's code page as one unit, stops at the first failure
 * and returns the number of bytes consumed. */
QXUT_API int ut_puts_to_putsn(void* adapter, const char* text, int32_t length);

/* A utPutsFcn over a writer (`adapter` is a ut_putsn_adapter*): passes the text and its length,
 * returns the writer's result. */
QXUT_API int ut_putsn_to_puts(const char* text, void* adapter);

QXUT_END_DECLS

#endif
