/* output.h - console output that the host can redirect, and bounded formatting.
 *
 * All console output of the library and its clients goes through one process-wide set of
 * callbacks: a puts function with its data, an is-hot query, and an error context for the report
 * that formatting ran out of memory. The set is plain data without locks; the host sets it at
 * start-up or swaps it from one controlling thread.
 */
#ifndef QXUT_UTIL_OUTPUT_H
#define QXUT_UTIL_OUTPUT_H

#include <stdio.h>

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

typedef bool (*utIsHotFcn)(void* data);
typedef void (*utPagerFcn)(void);

/* Installs a set; a null puts function selects the default, which is returned in any case: it
 * writes to the C runtime's standard output and ignores the data. */
QXUT_API utPutsFcn utSetVprintfCallbacks(utPutsFcn puts_fcn, void* data, utIsHotFcn is_hot,
                                         _error_context* error_context);
/* Stores the current set; no argument may be null. */
QXUT_API void utGetVprintfCallbacks(utPutsFcn* puts_fcn, void** data, utIsHotFcn* is_hot,
                                    _error_context** error_context);
/* Exchanges each value with the current one; a null puts function coming in selects the
 * default. */
QXUT_API void utSwapVprintfCallbacks(utPutsFcn* puts_fcn, void** data, utIsHotFcn* is_hot,
                                     _error_context** error_context);

/* Installs the functions that suspend and resume the host's pager; null selects a function that
 * does nothing. Returns that default. */
QXUT_API utPagerFcn utSetPagerSuspendResumeCallbacks(utPagerFcn suspend, utPagerFcn resume);
QXUT_API void utPagerSuspend(void);
QXUT_API void utPagerResume(void);

/* Format into a buffer of `size` bytes. Returns the length when text and NUL fitted; when they
 * did not, the buffer ends in a NUL in its last byte and the result is `size`. With size 0
 * nothing is written and the result is -1, or 0 for an empty text. A failure of the runtime that
 * is not a cut (a wide character that the locale cannot encode) gives a result below -1 and an
 * empty buffer. */
QXUT_API int utVSNprintf(char* buffer, size_t size, const char* format, va_list arguments)
    QXUT_PRINTF_LIKE(3, 0);
QXUT_API int utSNprintf(char* buffer, size_t size, const char* format, ...) QXUT_PRINTF_LIKE(3, 4);

/* Print to the console. Return the number of characters, or 0 when the puts function failed or
 * the text cannot be formatted. Raise OUT_OF_MEMORY on the installed error context, if any, when
 * a text that is longer than 1022 bytes finds no memory. The puts function gets the text as a
 * whole, and may raise. */
QXUT_API int utVprintf(const char* format, va_list arguments) QXUT_PRINTF_LIKE(1, 0);
QXUT_API int utPrintf(const char* format, ...) QXUT_PRINTF_LIKE(1, 2);

/* Passes the text to the puts function and returns its result. */
QXUT_API int utPuts(const char* text);
/* Writes exactly `length` bytes through the puts function, see ut_puts_to_putsn. */
QXUT_API int utPutsn(const char* text, int32_t length);

/* The is-hot function's answer; false when there is none. */
QXUT_API bool utPrintfIsHot(void);

/* As fprintf and fputs, but a null stream is the console. */
QXUT_API int fprntf(FILE* stream, const char* format, ...) QXUT_PRINTF_LIKE(2, 3);
QXUT_API int fpts(FILE* stream, const char* text);

QXUT_END_DECLS

#endif
