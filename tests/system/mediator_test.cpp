// Errors that become exceptions and back, across the library and through frames of C.
#include <qxut/system/mediator.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include <qxut/util/interrupt.h>

#include "support/contexts.h"
#include "system/mediator_c_frames.h"

namespace {

using namespace Quorvanix::System;  // NOLINT(google-build-using-namespace)
using qxut_test::Contexts;
using qxut_test::Raised;
using testing::HasSubstr;

template <class Exception, class Body>
Exception thrown(Contexts& contexts, Body body) {
    try {
        throwErrors(&contexts.errors, body);
    } catch (const Exception& problem) {
        return problem;
    }
    ADD_FAILURE() << "nothing was thrown";
    throw std::logic_error("nothing was thrown");
}

TEST(Mediator, ErrorsAreThrownByClass) {
    Contexts contexts;
    _error_context* const errors = &contexts.errors;
    const auto user = thrown<UserException>(
        contexts, [&] { ut_error_id(errors, "HOST:lost", UT_ERR_RETHROW, "The file is lost."); });
    EXPECT_STREQ(user.what(), "The file is lost.");
    EXPECT_STREQ(user.identifier(), "HOST:lost");
    EXPECT_EQ(user.code(), static_cast<ut_message_code>(UT_ERR_RETHROW));

    const auto fault =
        thrown<InternalException>(contexts, [&] { ut_fault(errors, "n > 0", "a.c", 12); });
    EXPECT_STREQ(fault.what(), "Assertion fault \"n > 0\" in file \"a.c\", line 12.");
    EXPECT_STREQ(fault.identifier(), "VELUMA:assertion_fault");
    EXPECT_THAT(fault.stackTrace(), HasSubstr("ut_fault"));  // of the raise, not of the boundary

    thrown<InternalException>(contexts, [&] { ut_error(errors, UT_INCORRECT_MAGIC, "a.c", 1); });
    thrown<FatalException>(contexts, [&] { ut_error(errors, UT_ERR_FATAL); });
    thrown<UserException>(contexts, [&] { ut_error(errors, UT_OUT_OF_MEMORY); });
    thrown<InterruptException>(contexts, [&] {
        utSetInterruptPending(true);
        utPollInterrupt(errors);
    });
}

TEST(Mediator, ABodyThatReturnsLeavesNothing) {
    Contexts contexts;
    int calls = 0;
    throwErrors(&contexts.errors, [&] { ++calls; });
    raiseExceptions(&contexts.errors, [&] { ++calls; });
    EXPECT_EQ(calls, 2);
}

template <class Exception>
std::exception_ptr made(Exception exception) {
    return std::make_exception_ptr(exception);
}

TEST(Mediator, ExceptionsAreRaisedByCode) {
    const struct {
        std::exception_ptr exception;
        ut_message_code code;
        const char* text;
    } rows[] = {
        {made(UserException("100 %s wrong")), UT_ERR_RETHROW, "100 %s wrong"},
        {made(std::out_of_range("too far")), UT_ERR_RETHROW, "too far"},
        {made(std::bad_alloc()), UT_OUT_OF_MEMORY, "Error: Out of memory."},
        {made(InterruptException("stopped")), UT_ERR_SIGNAL_INTERRUPT, ""},
        {made(FatalException("gone")), UT_ERR_FATAL, ""},
        // A code of its own counts where its message is the text and takes no arguments.
        {made(UserException("Error: Out of memory.", UT_OUT_OF_MEMORY)), UT_OUT_OF_MEMORY,
         "Error: Out of memory."},
        {made(UserException("No room.", UT_OUT_OF_MEMORY)), UT_ERR_RETHROW, "No room."},
        {made(InternalException("Assertion fault", UT_ASSERTION_FAULT)), UT_ERR_RETHROW,
         "Assertion fault"},
        {made(UserException("x", 0x7FFE0001)), UT_ERR_RETHROW, "x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        Contexts contexts;
        const Raised raised = contexts.run([&] {
            raiseExceptions(&contexts.errors, [&] { std::rethrow_exception(row.exception); });
        });
        EXPECT_EQ(raised.code, row.code);
        EXPECT_EQ(raised.text, row.text);
    }
}

// An exception of the host's own class, to see that nothing is sliced.
class ColumnProblem : public UserException {
  public:
    explicit ColumnProblem(int column)
        : UserException("bad column", 0, "HOST:column",
                        std::make_exception_ptr(std::runtime_error("first"))),
          column_(column) {}
    int column() const { return column_; }

  private:
    int column_;
};

TEST(Mediator, AnExceptionArrivesAsItself) {
    Contexts contexts;
    int cleaned = 0;
    const auto fail = [](_error_context* errors, void*) {
        raiseExceptions(errors, [] { throw ColumnProblem(7); });
    };
    const auto problem = thrown<ColumnProblem>(
        contexts, [&] { c_frame_call(&contexts.errors, fail, nullptr, &cleaned); });
    EXPECT_EQ(problem.column(), 7);
    EXPECT_STREQ(problem.what(), "bad column");
    EXPECT_NE(problem.cause(), nullptr);
    EXPECT_EQ(cleaned, 1);
    // The next error is not taken for it.
    const auto other = thrown<UserException>(
        contexts, [&] { ut_error(&contexts.errors, UT_ERR_RETHROW, "bad column"); });
    EXPECT_EQ(other.cause(), nullptr);
}

class OwnInterrupt : public InterruptException {
  public:
    OwnInterrupt() : InterruptException("stopped by hand") {}
};

// One that is raised without a text arrives, too; and an error with the same code that an item
// raises in the meantime, for the boundary further out, is not taken for it.
TEST(Mediator, OnlyTheExceptionArrivesAsItself) {
    Contexts contexts;
    _error_context* const errors = &contexts.errors;
    const auto own = thrown<OwnInterrupt>(
        contexts, [&] { raiseExceptions(errors, [] { throw OwnInterrupt(); }); });
    EXPECT_STREQ(own.what(), "stopped by hand");

    const auto raise_another = [](void* item_errors) {
        ut_error(static_cast<_error_context*>(item_errors), UT_ERR_RETHROW, "another");
    };
    const auto other = thrown<UserException>(contexts, [&] {
        throwErrors(errors, [&] {
            _error_context* argument = errors;
            ut_cleanup_item item{};
            ut_link_cleanup(errors, &item, &argument, raise_another);
            raiseExceptions(errors, [] { throw ColumnProblem(7); });
        });
    });
    EXPECT_STREQ(other.what(), "another");
    EXPECT_EQ(other.cause(), nullptr);
}

TEST(Mediator, HandlersSeeTheException) {
    Contexts contexts;
    std::string seen;
    const auto body = [](_error_context* errors, void*) {
        raiseException(errors, std::make_exception_ptr(FatalException("disk is broken")));
    };
    const auto handler = [](_error_context* errors, void* data, ut_message_code code, va_list) {
        EXPECT_EQ(raisedException(errors, UT_ERR_RETHROW), nullptr);
        try {
            std::rethrow_exception(raisedException(errors, code));
        } catch (const FatalException& problem) {
            *static_cast<std::string*>(data) = problem.what();
        }
        return 1;
    };
    EXPECT_EQ(ut_try_catch(&contexts.errors, &seen, body, handler),
              static_cast<ut_message_code>(UT_ERR_FATAL));
    EXPECT_EQ(seen, "disk is broken");
    EXPECT_EQ(raisedException(&contexts.errors, UT_ERR_FATAL), nullptr);
}

// What is no std::exception is not the mediator's: a raise of this or another context, a number.
TEST(Mediator, OtherThingsPass) {
    Contexts contexts;
    Contexts others;
    const Raised own = contexts.run([&] {
        raiseExceptions(&contexts.errors, [&] { ut_error(&contexts.errors, UT_ERR_FATAL); });
    });
    EXPECT_EQ(own.code, static_cast<ut_message_code>(UT_ERR_FATAL));
    const Raised other = others.run([&] {
        raiseExceptions(&contexts.errors, [&] { ut_error(&others.errors, UT_ERR_FATAL); });
    });
    EXPECT_EQ(other.code, static_cast<ut_message_code>(UT_ERR_FATAL));
    EXPECT_THROW(raiseExceptions(&contexts.errors, [] { throw 42; }), int);
    EXPECT_THROW(throwErrors(&contexts.errors, [] { throw std::runtime_error("x"); }),
                 std::runtime_error);
}

// Frames and items between raise and boundary belong to storage that the exception has left.
TEST(Mediator, TheContextIsAsBeforeAfterAnException) {
    Contexts contexts;
    int cleaned = 0;
    const auto fail = [](_error_context*, void*) { throw UserException("x"); };
    const Raised raised = contexts.run([&] {
        raiseExceptions(&contexts.errors,
                        [&] { c_frame_call(&contexts.errors, fail, nullptr, &cleaned); });
    });
    EXPECT_EQ(raised.text, "x");
    EXPECT_EQ(cleaned, 0);
}

}  // namespace
