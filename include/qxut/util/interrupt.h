/* interrupt.h - the interrupt state that long computations poll.
 *
 * "Pending" is one lock-free word of the process: a signal arrives on any thread. "Enabled"
 * belongs to each thread and starts as true. Nothing here makes a system call, allocates or
 * locks; setting and polling are safe in a signal handler.
 */
#ifndef QXUT_UTIL_INTERRUPT_H
#define QXUT_UTIL_INTERRUPT_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* Whether an interrupt was requested and not yet taken. */
QXUT_API bool utIsInterruptPending(void);
/* Requests or withdraws an interrupt; returns the state before. Safe in a signal handler. */
QXUT_API bool utSetInterruptPending(bool pending);

/* Whether the calling thread lets itself be interrupted. */
QXUT_API bool utIsInterruptEnabled(void);
/* Sets it and returns the state before. */
QXUT_API bool utSetInterruptEnabled(bool enabled);

/* Takes a pending interrupt if the calling thread is enabled: true once per request. */
QXUT_API bool utTakeInterrupt(void);

/* Raises ERR_SIGNAL_INTERRUPT when utTakeInterrupt is true; a few nanoseconds otherwise. */
QXUT_API void utPollInterrupt(_error_context* context);

/* What a try frame saves when it is entered and puts back when it catches. */
typedef struct utSignalState {
    bool enabled;
} utSignalState;

QXUT_API void utSaveSignals(utSignalState* state);
/* Puts the calling thread's "enabled" back. A pending interrupt stays pending: one that arrived
 * while the error travelled must not be lost. */
QXUT_API void utRestoreSignals(const utSignalState* state);

QXUT_END_DECLS

#endif
