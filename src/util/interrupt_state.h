// interrupt_state.h - the calling thread's part of the interrupt state, for try frames, which save
// and restore it without a call.
#ifndef QXUT_SRC_UTIL_INTERRUPT_STATE_H
#define QXUT_SRC_UTIL_INTERRUPT_STATE_H

#include "platform/platform.h"

namespace qxut {

// Whether the thread lets itself be interrupted. Constant-initialised: reached without a wrapper.
extern thread_local constinit bool interrupts_enabled QXUT_THREAD_LOCAL_FAST;

}  // namespace qxut

#endif
