/* report.h - what the library says when the process has to end, or an assertion failed.
 *
 * Every report (fatal, panic, failed assertion) goes first to the host's listener, if there is
 * one, and then to standard error:
 *
 *     --- Panic with status 3 ---
 *     <text>
 *     Stack trace:
 *       0  0x55a96d7e0160 run_statement (console.cpp:41)
 *       ...
 */
#ifndef QXUT_SYSTEM_REPORT_H
#define QXUT_SYSTEM_REPORT_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

typedef enum ut_report_kind {
    UT_REPORT_FATAL,    /* the process will abort */
    UT_REPORT_PANIC,    /* the process will exit with `status` */
    UT_REPORT_ASSERTION /* the process goes on */
} ut_report_kind;

/* A report; its texts are valid during the call only and never null. */
typedef struct ut_report {
    ut_report_kind kind;
    int status; /* of a panic; else 0 */
    const char*
        reason; /* one line: "Fatal error", "Panic with status 3", "Assert file.c:12 "x > 0"" */
    const char* text;  /* what the caller said; may be empty and may have several lines */
    const char* trace; /* one line a frame, innermost first; may be empty */
} ut_report;

/* The host's listener. It runs on the thread that reports, in whatever state that thread is, so
 * it should do little: save, log, tell the user. When it throws, or ends the process itself
 * through the termination services, the report still reaches standard error and the process
 * still ends. */
typedef struct ut_report_listener {
    void (*receive)(void* data, const ut_report* report);
    void* data;
} ut_report_listener;

/* Installs a listener, null for none, and returns the one before. The record stays the caller's
 * and must live as long as it is installed. The slot is read and written atomically. */
QXUT_API const ut_report_listener* utSetReportListener(const ut_report_listener* listener);

QXUT_END_DECLS

#endif
