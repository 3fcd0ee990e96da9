// What a Throwable keeps, shares and tells. That its classes are caught across the boundary of the
// shared library is tested with the mediator.
#include <qxut/system/throwable.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>

#include <qxut/util/error.h>

namespace {

using namespace Quorvanix::System;  // NOLINT(google-build-using-namespace)
using testing::HasSubstr;

static_assert(std::is_nothrow_copy_constructible_v<UserException>);
static_assert(std::is_nothrow_copy_assignable_v<Throwable>);
static_assert(std::is_base_of_v<std::exception, Throwable>);

[[gnu::noinline]] UserException make_where_the_trace_begins(const char* text) {
    return UserException(text, 77, "VELUMA:some_text");
}

TEST(Throwable, CopiesShareWhatItHolds) {
    const char* text = nullptr;
    UserException kept("");
    {
        const UserException made("No such column: \"x\".", 6553601, "VELUMA:no_such_column",
                                 std::make_exception_ptr(std::runtime_error("file is gone")));
        text = made.what();
        kept = made;
    }
    EXPECT_EQ(kept.what(), text);
    EXPECT_STREQ(kept.what(), "No such column: \"x\".");
    EXPECT_EQ(kept.code(), 6553601u);
    EXPECT_STREQ(kept.identifier(), "VELUMA:no_such_column");
    EXPECT_NE(kept.cause(), nullptr);
}

TEST(Throwable, NullTextsAreEmpty) {
    const InternalException plain(nullptr);
    EXPECT_STREQ(plain.what(), "");
    EXPECT_STREQ(plain.identifier(), "");
    EXPECT_EQ(plain.code(), 0u);
    EXPECT_EQ(plain.cause(), nullptr);
    EXPECT_EQ(InterruptException().code(), static_cast<ut_message_code>(UT_ERR_SIGNAL_INTERRUPT));
    EXPECT_EQ(DebugQuitException().code(), 0u);
}

TEST(Throwable, TraceIsThatOfItsMaking) {
    const UserException made = make_where_the_trace_begins("x");
    const std::string trace = made.stackTrace();
    EXPECT_THAT(trace, HasSubstr("make_where_the_trace_begins"));
    EXPECT_EQ(UserException(made).stackTrace(), trace);
}

TEST(Throwable, ReportTellsTheCauses) {
    std::exception_ptr cause = std::make_exception_ptr(42);
    cause = std::make_exception_ptr(std::runtime_error("disk is full"));
    cause = std::make_exception_ptr(InternalException("cannot write", 0, nullptr, cause));
    const UserException made("Not saved.", 5, "VELUMA:not_saved", cause);
    const std::string report = made.report();
    EXPECT_EQ(report.find("UserException: Not saved. [VELUMA:not_saved]\n"
                          "Caused by: InternalException: cannot write\n"
                          "Caused by: disk is full\n"),
              0u)
        << report;

    const FatalException odd("x", 0, nullptr, std::make_exception_ptr(42));
    EXPECT_THAT(odd.report(), HasSubstr("Caused by: an exception of an unknown class\n"));
}

TEST(Throwable, ReportOfManyCausesIsBounded) {
    std::exception_ptr cause;
    for (int i = 0; i < 500; ++i)
        cause = std::make_exception_ptr(UserException("again", 0, nullptr, cause));
    const std::string report = UserException("last", 0, nullptr, cause).report();
    size_t causes = 0;
    for (size_t at = report.find("Caused"); at != std::string::npos;
         at = report.find("Caused", at + 1))
        ++causes;
    EXPECT_EQ(causes, 100u);
}

}  // namespace
