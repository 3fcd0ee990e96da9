// assertion_test.cpp - the process-wide assert function and the report of the default one.
#include <qxut/util/assertion.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

std::string seen;

int remember(const char* expression, const char* file, int line, const char* message) {
    seen = std::string(expression) + "|" + file + "|" + std::to_string(line) + "|" +
           (message != nullptr ? message : "(null)");
    return 42;
}

TEST(Assertion, InstalledFunctionDecides) {
    const utAssertFcn standard = utSetAssertFunction(remember);
    EXPECT_NE(standard, nullptr);
    EXPECT_EQ(ut_assert("x > 0", "f.c", 3), 42);
    EXPECT_EQ(seen, "x > 0|f.c|3|(null)");
    EXPECT_EQ(ut_assertstr("x", "f.c", 4, "why"), 42);
    EXPECT_EQ(seen, "x|f.c|4|why");
    EXPECT_EQ(ut_assertmsg("x", "f.c", 5, "%d of %s", 1, "two"), 42);
    EXPECT_EQ(seen, "x|f.c|5|1 of two");
    ut_assertmsg("x", "f.c", 6, "%9000d", 1);
    EXPECT_EQ(seen, "x|f.c|6|" + std::string(8191, ' '));
    EXPECT_EQ(utSetAssertFunction(nullptr), remember);
    EXPECT_EQ(utSetAssertFunction(nullptr), standard);
}

TEST(Assertion, DefaultReportsAndGoesOn) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ut_assertmsg("count > 0", "array.c", 12, "count is %d", -1), 0);
    EXPECT_EQ(ut_assert("again", "array.c", 13), 0);
    const std::string report = testing::internal::GetCapturedStderr();
    EXPECT_THAT(report, HasSubstr("--- Assert array.c:12 \"count > 0\" ---\n"
                                  "count is -1\n"
                                  "Stack trace:\n"));
    EXPECT_THAT(report, HasSubstr("--- Assert array.c:13 \"again\" ---\nStack trace:\n"));
    EXPECT_THAT(report, ContainsRegex("TestBody.*"
                                      "\\(assertion_test.cpp:[0-9]+\\)"));
}

}  // namespace
