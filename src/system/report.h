// report.h - delivers reports: to the host's listener, then to standard error.
#ifndef QXUT_SRC_SYSTEM_REPORT_H
#define QXUT_SRC_SYSTEM_REPORT_H

#include <qxut/system/report.h>

namespace qxut {

// Reports with a stack trace from the caller on; `text` may be null. Returns without a trace and
// without telling the listener when the calling thread is reporting already.
void deliver_report(ut_report_kind kind, int status, const char* reason, const char* text) noexcept;

// Whether the calling thread is inside deliver_report, that is, called by the listener.
bool is_reporting() noexcept;

}  // namespace qxut

#endif
