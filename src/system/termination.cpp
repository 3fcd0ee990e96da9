// termination.cpp - the ways to end the process.
//
// Each reports and then ends, whatever happened to the report. Of several threads that come here,
// the first one ends the process. Tested by tests/system/termination_test.cpp.
#include <qxut/system/termination.hpp>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"
#include "system/report.h"

#if defined(QXUT_COVERAGE)
extern "C" void __gcov_dump(void);
#endif

namespace {

constexpr size_t kTextSize = 8192;

std::atomic<bool> process_is_ending{false};

// Neither abort nor _exit writes the counts of a coverage build.
void save_coverage() noexcept {
#if defined(QXUT_COVERAGE)
    __gcov_dump();
#endif
}

[[noreturn]] void leave(ut_report_kind kind, int status) noexcept {
    save_coverage();
    if (kind == UT_REPORT_PANIC) qxut::platform::flush_and_leave(status);
    std::abort();
}

[[noreturn]] void end(ut_report_kind kind, int status, const char* text) noexcept {
    char reason[64] = "Fatal error";
    if (kind == UT_REPORT_PANIC)
        std::snprintf(reason, sizeof reason, "Panic with status %d", status);
    const bool nested = qxut::is_reporting();
    const bool first = !process_is_ending.exchange(true);
    qxut::deliver_report(kind, status, reason, text);
    if (!first && !nested) qxut::platform::wait_for_end();
    leave(kind, status);
}

[[noreturn]] void end_formatted(ut_report_kind kind, int status, const char* format,
                                va_list arguments) QXUT_PRINTF_LIKE(3, 0);
void end_formatted(ut_report_kind kind, int status, const char* format, va_list arguments) {
    char text[kTextSize];
    *text = '\0';
    std::vsnprintf(text, sizeof text, format, arguments);
    end(kind, status, text);
}

}  // namespace

namespace Quorvanix::System {

void fatal(const char* text) { end(UT_REPORT_FATAL, 0, text); }

void fatalsf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    end_formatted(UT_REPORT_FATAL, 0, format, arguments);
}

void panic(int status) { end(UT_REPORT_PANIC, status, nullptr); }

void panicsf(int status, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    end_formatted(UT_REPORT_PANIC, status, format, arguments);
}

}  // namespace Quorvanix::System
