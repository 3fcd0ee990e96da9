/* error.h - raising errors by message code and catching them across plain C frames.
 *
 *     static void body(_error_context* ec, void* data) { ... ut_error(ec, code, ...); ... }
 *     static int accept(_error_context* ec, void* data, ut_message_code code, va_list args) {
 *         return code == WANTED;       // non-zero accepts
 *     }
 *     ut_message_code code = ut_try_catch(ec, data, body, accept);   // 0, or the accepted code
 *
 * A raise asks the handlers of the open frames, innermost first, while nothing has been cleaned
 * up yet; then runs the cleanup items registered since the accepting frame was opened, newest
 * first; then transfers control to that frame. An error that no frame accepts is printed to the
 * context's print channel, all items are run, and the error handler is called, which does not
 * return. A protection mark, a frame without handlers, stops both the search and the cleanup.
 *
 * Frames and items live in the caller's storage: nothing here allocates. C frames between raise
 * and catch must be compiled with -fexceptions. In C++ use the same functions; destructors run
 * after the items. A C++ exception that leaves a try frame restores the context and goes on;
 * items registered inside are then dropped without being run.
 *
 * An error context belongs to one thread at a time.
 */
#ifndef QXUT_UTIL_ERROR_H
#define QXUT_UTIL_ERROR_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* --- module 1: the error context's own messages ------------------------------------------- */

enum ut_error_code {
    UT_ASSERTION_FAULT = 65537,
    UT_INCORRECT_MAGIC = 65538,
    UT_ERR_RETHROW = 65539,
    UT_ERR_SIGNAL_INTERRUPT = 65540,
    UT_ERR_VALUE_OVERFLOW_TYPE = 65541,
    UT_ERR_UNSUPPORTED_FP_FMT = 65542,
    UT_ERR_FATAL = 65543
};

/* --- records -------------------------------------------------------------------------------- */

/* Link to a cleanup item: its address, with the low bit set for the two-field form; 0 ends the
 * list. */
typedef uintptr_t ut_cleanup_link;

/* An item that runs clean(object). The object is read from `*variable` when the item runs, so
 * the variable may change after registration and must live as long as the item is linked. */
typedef struct ut_cleanup_item {
    ut_cleanup_link next;
    void* variable; /* address of the pointer variable that holds the object */
    void (*clean)(void* object);
} ut_cleanup_item;

/* The two-field form: runs clean(argument, object). */
typedef struct ut_cleanup_item_2 {
    ut_cleanup_link next;
    void* variable;
    void* argument;
    void (*clean)(void* argument, void* object);
} ut_cleanup_item_2;

/* Decide whether a frame accepts an error; non-zero accepts. Each call gets a list of its own. */
typedef int (*ut_message_handler)(_error_context* context, void* data, ut_message_code code,
                                  va_list arguments);
typedef int (*ut_identifier_handler)(_error_context* context, void* data, const char* identifier,
                                     ut_message_code code, va_list arguments);

typedef void (*ut_try_body)(_error_context* context, void* data);

/* Called for an error that nobody accepted; must not return. */
typedef void (*ut_error_handler)(void* data, const char* identifier, ut_message_code code);

/* A try frame, or with neither handler a protection mark. */
typedef struct ut_try_frame {
    struct ut_try_frame* outer;
    ut_cleanup_link saved_cleanup; /* the cleanup list when the frame was opened */
    void* handler_data;
    ut_message_handler message_handler;
    ut_identifier_handler identifier_handler;
    ut_message_code result;
} ut_try_frame;

typedef ut_try_frame ut_cleanup_mark;

struct _error_context {
    ut_cleanup_link cleanup;     /* newest item first */
    ut_try_frame* frame;         /* innermost frame first */
    ut_try_frame* unwind_target; /* non-null only while an error is processed */
    ut_message_context* messages;
    ut_writer print; /* channel for the message of an uncaught error */
    void* print_destination;
    void (*reserved)(void); /* not used */
    ut_error_handler error_handler;
    void* error_handler_data;
};

/* --- life --------------------------------------------------------------------------------------
 */

/* Fills the record and registers the module-1 messages with `messages`, whose status goes to
 * `status` (0, or a ut_message_status). The context owns nothing and needs no clearing. */
QXUT_API void ut_initialize_error_context(int32_t* status, _error_context* context,
                                          ut_message_context* messages, ut_writer print,
                                          void* print_destination, ut_realloc_fcn reallocate);

/* Sets the function that an uncaught error ends in; null selects ut_error_exit_function. Every
 * item has been run by then. The function may end the process, or leave by an exception of the
 * host's own; when it returns, the process ends. */
QXUT_API void ut_register_error_handler(_error_context* context, ut_error_handler handler,
                                        void* data);

/* The error handler of a new context: ends the process with Quorvanix::System::fatal. */
QXUT_API void ut_error_exit_function(void* data, const char* identifier, ut_message_code code);

/* --- catching ----------------------------------------------------------------------------------
 */

/* Runs body(context, data) in a try frame. Returns 0 when it returned, else the code of the
 * error that the handler accepted; `data` goes to the handler too. The interrupt state of the
 * thread is put back when an error is caught. A null handler makes the frame a protection mark
 * as well. */
QXUT_API ut_message_code ut_try_catch(_error_context* context, void* data, ut_try_body body,
                                      ut_message_handler handler);
QXUT_API ut_message_code ut_try_catch_id(_error_context* context, void* data, ut_try_body body,
                                         ut_identifier_handler handler);

/* --- raising -----------------------------------------------------------------------------------
 */

/* Raise an error by code, with the arguments of its message. The identifier is "VELUMA:" and
 * the lowered mnemonic; the `_id` forms take another one. A raise from a handler or a cleanup
 * function first finishes the unwinding that it interrupted. None returns. */
QXUT_NORETURN QXUT_API void ut_error(_error_context* context, ut_message_code code, ...);
QXUT_NORETURN QXUT_API void ut_verror(_error_context* context, ut_message_code code,
                                      va_list arguments);
QXUT_NORETURN QXUT_API void ut_error_id(_error_context* context, const char* identifier,
                                        ut_message_code code, ...);
QXUT_NORETURN QXUT_API void ut_verror_id(_error_context* context, const char* identifier,
                                         ut_message_code code, va_list arguments);

/* Raises ASSERTION_FAULT. */
QXUT_NORETURN QXUT_API void ut_fault(_error_context* context, const char* expression,
                                     const char* file, int line);

/* Print a message and a newline to the context's print channel without raising. */
QXUT_API void ut_error_print(_error_context* context, ut_message_code code, ...);
QXUT_API void ut_verror_print(_error_context* context, ut_message_code code, va_list arguments);

/* --- cleanup -----------------------------------------------------------------------------------
 */

/* Registers an item: fills it and makes it the head of the list. It stays linked until an
 * unwinding runs it or the caller restores the previous head with ut_unlink_cleanup. */
static inline void ut_link_cleanup(_error_context* context, ut_cleanup_item* item, void* variable,
                                   void (*clean)(void* object)) {
    item->next = context->cleanup;
    item->variable = variable;
    item->clean = clean;
    context->cleanup = (ut_cleanup_link)item;
}
static inline void ut_link_cleanup_2(_error_context* context, ut_cleanup_item_2* item,
                                     void* variable, void* argument,
                                     void (*clean)(void* argument, void* object)) {
    item->next = context->cleanup;
    item->variable = variable;
    item->argument = argument;
    item->clean = clean;
    context->cleanup = (ut_cleanup_link)item | 1u;
}

/* Unlinks an item, and those registered after it, without running them. `next` is the first
 * field of the item. */
static inline void ut_unlink_cleanup(_error_context* context, ut_cleanup_link next) {
    context->cleanup = next;
}

/* Opens a protection mark: the search of a raise ends at it and the items that are registered
 * now are not run by it. A null context does nothing, here and below. */
QXUT_API void ut_prevent_further_cleanup_fcn(_error_context* context, ut_cleanup_mark* mark);

/* Closes the mark: items still registered above it are dropped without being run. */
QXUT_API void ut_allow_further_cleanup_fcn(_error_context* context, ut_cleanup_mark* mark);

/* Runs the items registered since the innermost mark, pops the try frames above it and leaves
 * the mark in place; does nothing without a mark. */
QXUT_API void ut_cleanup_protected_items(_error_context* context);

QXUT_END_DECLS

#endif
