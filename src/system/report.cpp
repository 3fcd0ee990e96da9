// report.cpp - builds a report and delivers it, guarded against its own failure.
//
// A report is needed when things are bad, so it takes nothing for granted: all texts lie on the
// stack, standard error is written past the C streams, and a report within a report (the listener
// failed, or a crash handler of the host reports that making the trace crashed) is written plainly,
// preceded by the first line and text of the report that it interrupted.
//
// Entry point: deliver_report. Tested by tests/system/termination_test.cpp.
#include "system/report.h"

#include <atomic>
#include <cstring>

#include "platform/platform.h"

namespace qxut {
namespace {

constexpr size_t kTraceSize = 16384;

std::atomic<const ut_report_listener*> report_listener{nullptr};

// The report that the thread is making and has not written yet.
thread_local const ut_report* unwritten QXUT_THREAD_LOCAL_FAST = nullptr;
thread_local bool reporting QXUT_THREAD_LOCAL_FAST = false;

void write(const char* text) noexcept { platform::write_error(text, std::strlen(text)); }

void write_head(const ut_report& report) noexcept {
    write("--- ");
    write(report.reason);
    write(" ---\n");
    if (*report.text == '\0') return;
    write(report.text);
    if (report.text[std::strlen(report.text) - 1] != '\n') write("\n");
}

void write_all(const ut_report& report) noexcept {
    write_head(report);
    if (*report.trace == '\0') return;
    write("Stack trace:\n");
    write(report.trace);
}

void tell_listener(const ut_report& report) noexcept {
    const ut_report_listener* const listener = report_listener.load(std::memory_order_acquire);
    if (listener == nullptr) return;
    try {
        listener->receive(listener->data, &report);
    } catch (...) {
        write("(The report listener failed by an exception.)\n");
    }
}

}  // namespace

bool is_reporting() noexcept { return reporting; }

void deliver_report(ut_report_kind kind, int status, const char* reason,
                    const char* text) noexcept {
    ut_report report{kind, status, reason, text != nullptr ? text : "", ""};
    if (reporting) {
        if (unwritten != nullptr) write_head(*unwritten);
        unwritten = nullptr;
        write_head(report);
        return;
    }
    reporting = true;
    unwritten = &report;
    char trace[kTraceSize];
    platform::write_stack_trace(trace, sizeof trace, 1);
    report.trace = trace;
    tell_listener(report);
    unwritten = nullptr;
    write_all(report);
    reporting = false;
}

}  // namespace qxut

const ut_report_listener* utSetReportListener(const ut_report_listener* listener) {
    return qxut::report_listener.exchange(listener, std::memory_order_acq_rel);
}
