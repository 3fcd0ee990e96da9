// assertion.cpp - the process-wide assert function and its default, which reports and goes on.
//
// Tested by tests/util/assertion_test.cpp.
#include <qxut/util/assertion.h>

#include <atomic>
#include <cstdarg>

#include <qxut/util/output.h>

#include "system/report.h"

namespace {

constexpr size_t kMessageSize = 8192;

std::atomic<utAssertFcn> assert_function{nullptr};

int report_assertion(const char* expression, const char* file, int line, const char* message) {
    char place[512];
    char heading[1024];
    utSNprintf(place, sizeof place, "%s:%d", file, line);
    utSNprintf(heading, sizeof heading, "Assert %s \"%s\"", place, expression);
    qxut::deliver_report(UT_REPORT_ASSERTION, 0, heading, message);
    return 0;
}

utAssertFcn in_force(utAssertFcn function) {
    return function != nullptr ? function : report_assertion;
}

}  // namespace

utAssertFcn utSetAssertFunction(utAssertFcn function) {
    return in_force(assert_function.exchange(function, std::memory_order_acq_rel));
}

int ut_assert(const char* expression, const char* file, int line) {
    return ut_assertstr(expression, file, line, nullptr);
}

int ut_assertstr(const char* expression, const char* file, int line, const char* message) {
    return in_force(assert_function.load(std::memory_order_acquire))(expression, file, line,
                                                                     message);
}

int ut_assertmsg(const char* expression, const char* file, int line, const char* format, ...) {
    char message[kMessageSize];
    va_list arguments;
    va_start(arguments, format);
    utVSNprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    return ut_assertstr(expression, file, line, message);
}
