// interrupt.cpp - the interrupt state: one lock-free word of the process, one flag per thread.
//
// Both are plain data without constructor or destructor, so that a signal handler may use them at
// any time and the library can be unloaded. Tested by tests/util/interrupt_test.cpp.
#include <qxut/util/interrupt.h>

#include <atomic>

#include <qxut/util/error.h>

#include "util/interrupt_state.h"

namespace {

std::atomic<bool> pending{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from signal handlers");

}  // namespace

thread_local constinit bool qxut::interrupts_enabled QXUT_THREAD_LOCAL_FAST = true;

using qxut::interrupts_enabled;

bool utIsInterruptPending() { return pending.load(std::memory_order_relaxed); }

bool utSetInterruptPending(bool value) {
    return pending.exchange(value, std::memory_order_relaxed);
}

bool utIsInterruptEnabled() { return interrupts_enabled; }

bool utSetInterruptEnabled(bool value) {
    const bool before = interrupts_enabled;
    interrupts_enabled = value;
    return before;
}

bool utTakeInterrupt() {
    // The read comes first: an exchange on every poll would bounce the line between threads.
    return pending.load(std::memory_order_relaxed) && interrupts_enabled &&
           pending.exchange(false, std::memory_order_relaxed);
}

void utPollInterrupt(_error_context* context) {
    if (utTakeInterrupt()) ut_error(context, UT_ERR_SIGNAL_INTERRUPT);
}

void utSaveSignals(utSignalState* state) { state->enabled = interrupts_enabled; }

void utRestoreSignals(const utSignalState* state) { interrupts_enabled = state->enabled; }
