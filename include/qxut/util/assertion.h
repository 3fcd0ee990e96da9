/* assertion.h - assertions that report through one replaceable process-wide function.
 *
 * The slot is read and written atomically. The default function delivers a report (see
 * qxut/system/report.h) with the heading `Assert file.c:12 "expression"`, the message as its text
 * and a stack trace, and returns 0: the process goes on.
 */
#ifndef QXUT_UTIL_ASSERTION_H
#define QXUT_UTIL_ASSERTION_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* Receives the failed expression, its place, and a message or null. What its result means is up
 * to the caller of the assertion. */
typedef int (*utAssertFcn)(const char* expression, const char* file, int line, const char* message);

/* Installs a function, null selecting the default; returns the one in force before. */
QXUT_API utAssertFcn utSetAssertFunction(utAssertFcn function);

/* Call the function in force and return its result. ut_assertmsg formats its message into 8192
 * bytes; a longer one is cut. */
QXUT_API int ut_assert(const char* expression, const char* file, int line);
QXUT_API int ut_assertstr(const char* expression, const char* file, int line, const char* message);
QXUT_API int ut_assertmsg(const char* expression, const char* file, int line, const char* format,
                          ...) QXUT_PRINTF_LIKE(4, 5);

QXUT_END_DECLS

#endif
