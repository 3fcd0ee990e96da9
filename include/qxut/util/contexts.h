/* contexts.h - one record that holds the six contexts a caller normally needs.
 *
 * One such record is current per process: the camel-case entry points use it, while the `ut_`
 * entry points take the context that they work on. Loading the library makes the process default
 * record and installs it; a host may initialise further records with its own allocation, print
 * and throw functions and install one around a piece of work.
 *
 * A record points into itself: it may not be moved. The current-record pointer is plain data,
 * meant for start-up or for a single controlling thread.
 */
#ifndef QXUT_UTIL_CONTEXTS_H
#define QXUT_UTIL_CONTEXTS_H

#include <qxut/util/bstream.h>
#include <qxut/util/error.h>
#include <qxut/util/fpc.h>
#include <qxut/util/memory.h>
#include <qxut/util/message.h>
#include <qxut/util/namehash.h>
#include <qxut/util/warning.h>

QXUT_BEGIN_DECLS

/* Receives an error that no try frame accepted: identifier, code and message text. Must not
 * return. */
typedef void (*utThrowFcn)(void* data, const char* identifier, int32_t code, const char* text);

enum { UT_ERROR_TEXT_SIZE = 4096, UT_NAMEHASH_BUCKETS = 1009 };

struct utBasicContexts {
    ut_message_context message_context;
    _error_context error_context;
    _memory_context memory_context;
    ut_namehash namehash_context;
    ut_fpc_context fpc_context;
    ut_warning_context warning_context;
    ut_bstream error_text_stream; /* writes into error_text; between uses at its start */
    char error_text[UT_ERROR_TEXT_SIZE];
    utThrowFcn throw_fcn;
    void* throw_data;
};

/* Initialise a record of the caller's. Return 0, or the status or message code of the failure,
 * whose text is then in error_text, terminated; everything is given back, and clearing the record
 * is harmless.
 *
 * The plain form allocates with utMalloc and kin, collects the text of an uncaught error in
 * error_text and prints warnings to the console. In the full form the error print function gets
 * that text, and the throw function an empty one; to have it collected all the same, pass
 * ut_bputsn and &record->error_text_stream. */
QXUT_API int32_t utInitializeBasicContexts(utBasicContexts* record, utThrowFcn throw_fcn,
                                           void* throw_data);
QXUT_API int32_t utInitializeBasicContexts_full(utBasicContexts* record, utThrowFcn throw_fcn,
                                                void* throw_data, ut_alloc_fcn allocate,
                                                ut_realloc_fcn reallocate, ut_free_fcn release,
                                                ut_writer error_print,
                                                void* error_print_destination,
                                                ut_writer warning_print, void* warning_print_data);

/* Clears the warning, name-hash, floating-point formatting and message contexts, in this order;
 * what they own goes back through the record's own free function. The record must not be current
 * any more. Clearing it again does nothing. */
QXUT_API void utClearBasicContexts(utBasicContexts* record);

/* Makes a record current and returns the one before. */
QXUT_API utBasicContexts* utInstallBasicContexts(utBasicContexts* record);

/* Sets throw function and data of the current record; returns the record. */
QXUT_API utBasicContexts* utInstallBasicThrow(utThrowFcn throw_fcn, void* throw_data);

/* The current record and its contexts. */
QXUT_API utBasicContexts* utGetBasicContexts(void);
QXUT_API ut_message_context* utGetMessageContext(void);
QXUT_API _error_context* utGetErrorContext(void);
QXUT_API _memory_context* utGetMemoryContext(void);
QXUT_API ut_namehash* utGetNamehashContext(void);
QXUT_API ut_fpc_context* utGetFpcContext(void);
QXUT_API ut_warning_context* utGetWarningContext(void);

/* The text collected in the current record's error text buffer, less its last character (the
 * newline of an error print), terminated; empty when there is none. Resets the stream, so that the
 * next text starts afresh and overwrites this one. */
QXUT_API const char* utReturnUTErrorString(void);

QXUT_END_DECLS

#endif
