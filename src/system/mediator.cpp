// mediator.cpp - errors by code become exceptions, exceptions become errors by code.
//
// An error's arguments live only while the handlers are asked, on the stack of the raise. So the
// handler of throwErrors makes the exception there and then (which gives it the right stack trace
// too), the items are run, and the exception is thrown when control has arrived.
//
// The other way, raiseException keeps the exception on its own stack while the error travels, and a
// word of the thread leads to it. A handler that is asked meanwhile about an error of the same
// context and code, with the same text, takes that exception instead of making one. The word is put
// back when the raise leaves its frame, by whatever way.
//
// Entry points: throwErrors, raiseException. Tested by tests/system/mediator_test.cpp.
#include <qxut/system/mediator.hpp>

#include <cstring>
#include <new>
#include <string>
#include <utility>

#include <qxut/util/memory.h>
#include <qxut/util/message.h>

#include "platform/platform.h"

namespace Quorvanix::System {
namespace {

// An exception that is being raised as an error.
struct Travelling {
    const _error_context* context;
    ut_message_code code;
    const char* text;  // the argument of ERR_RETHROW; null for other codes
    std::exception_ptr exception;
    const Travelling* before;
};

thread_local const Travelling* travelling QXUT_THREAD_LOCAL_FAST = nullptr;

class TravelScope {
  public:
    explicit TravelScope(const Travelling& record) { travelling = &record; }
    TravelScope(const TravelScope&) = delete;
    TravelScope& operator=(const TravelScope&) = delete;
    ~TravelScope() { travelling = travelling->before; }
};

int append(void* text, const char* part, int32_t length) {
    static_cast<std::string*>(text)->append(part, static_cast<size_t>(length));
    return length;
}

std::string format(ut_message_context* messages, ut_message_code code, va_list arguments) {
    std::string text;
    ut_vprintm(messages, append, &text, code, arguments);
    return text;
}

bool is_internal(const ut_message_context* messages, ut_message_code code) {
    constexpr char kPrefix[] = "Internal Error:";
    const char* const text = ut_get_primary_message(messages, code);
    return code == UT_ASSERTION_FAULT ||
           (text != nullptr && std::strncmp(text, kPrefix, sizeof kPrefix - 1) == 0);
}

std::exception_ptr make_exception(const ut_message_context* messages, ut_message_code code,
                                  const char* text, const char* identifier) {
    if (code == UT_ERR_SIGNAL_INTERRUPT)
        return std::make_exception_ptr(InterruptException(text, code, identifier));
    if (code == UT_ERR_FATAL)
        return std::make_exception_ptr(FatalException(text, code, identifier));
    if (is_internal(messages, code))
        return std::make_exception_ptr(InternalException(text, code, identifier));
    return std::make_exception_ptr(UserException(text, code, identifier));
}

// The exception as which an error began, if it did.
std::exception_ptr arriving(const _error_context* context, ut_message_code code,
                            va_list arguments) {
    const Travelling* const record = travelling;
    if (record == nullptr || record->context != context || record->code != code) return nullptr;
    if (record->text != nullptr) {
        va_list own;
        va_copy(own, arguments);
        const char* const text = va_arg(own, const char*);
        va_end(own);
        if (text != record->text) return nullptr;
    }
    return record->exception;
}

struct Boundary {
    ut_try_body body;
    void* data;
    std::exception_ptr exception;
};

void run_boundary(_error_context* context, void* data) {
    const auto& boundary = *static_cast<const Boundary*>(data);
    boundary.body(context, boundary.data);
}

int take_exception(_error_context* context, void* data, const char* identifier,
                   ut_message_code code, va_list arguments) {
    auto& boundary = *static_cast<Boundary*>(data);
    try {
        boundary.exception = arriving(context, code, arguments);
        if (boundary.exception == nullptr) {
            const std::string text = format(context->messages, code, arguments);
            boundary.exception = make_exception(context->messages, code, text.c_str(), identifier);
        }
    } catch (...) {  // no memory for the exception
        boundary.exception = std::current_exception();
    }
    return 1;
}

int accept_nothing(_error_context* /*context*/, void* /*data*/, ut_message_code /*code*/,
                   va_list /*arguments*/) {
    return 0;
}

// Whether a code's message takes no arguments and, in the current language, is the text.
bool says(ut_message_context* messages, ut_message_code code, const char* text) {
    const char* const english = ut_get_primary_message(messages, code);
    if (english == nullptr) return false;
    for (const char* sign = std::strchr(english, '%'); sign != nullptr;
         sign = std::strchr(sign + 2, '%')) {
        if (sign[1] != '%') return false;
    }
    std::string said;
    return ut_printm(messages, append, &said, code) >= 0 && said == text;
}

// What an exception is raised as. The text is null where the code says all that there is to say.
struct Error {
    ut_message_code code;
    const char* text;
    const char* identifier;
};

Error error_of(const _error_context& context, const Throwable& problem) {
    const char* const identifier = *problem.identifier() != '\0' ? problem.identifier() : nullptr;
    if (dynamic_cast<const InterruptException*>(&problem) != nullptr)
        return {UT_ERR_SIGNAL_INTERRUPT, nullptr, identifier};
    if (dynamic_cast<const FatalException*>(&problem) != nullptr)
        return {UT_ERR_FATAL, nullptr, identifier};
    if (says(context.messages, problem.code(), problem.what()))
        return {problem.code(), nullptr, identifier};
    return {UT_ERR_RETHROW, problem.what(), identifier};
}

// The texts live as long as the exception.
Error error_of(const _error_context& context, const std::exception_ptr& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (const Throwable& problem) {
        return error_of(context, problem);
    } catch (const std::bad_alloc&) {
        return {UT_OUT_OF_MEMORY, nullptr, nullptr};
    } catch (const std::exception& problem) {
        return {UT_ERR_RETHROW, problem.what(), nullptr};
    }
}

}  // namespace

void throwErrors(_error_context* context, ut_try_body body, void* data) {
    Boundary boundary{body, data, nullptr};
    if (ut_try_catch_id(context, &boundary, run_boundary, take_exception) != 0)
        std::rethrow_exception(std::move(boundary.exception));
}

void raiseExceptions(_error_context* context, ut_try_body body, void* data) {
    Boundary boundary{body, data, nullptr};
    try {
        ut_try_catch(context, &boundary, run_boundary, accept_nothing);
        return;
    } catch (const std::exception&) {
        boundary.exception = std::current_exception();
    }
    raiseException(context, std::move(boundary.exception));
}

void raiseException(_error_context* context, std::exception_ptr exception) {
    const Error error = error_of(*context, exception);
    const Travelling record{context, error.code, error.text, std::move(exception), travelling};
    const TravelScope scope(record);
    if (error.text != nullptr) ut_error_id(context, error.identifier, error.code, error.text);
    ut_error_id(context, error.identifier, error.code);
}

std::exception_ptr raisedException(const _error_context* context, ut_message_code code) noexcept {
    const Travelling* const record = travelling;
    const bool matches = record != nullptr && record->context == context && record->code == code;
    return matches ? record->exception : nullptr;
}

}  // namespace Quorvanix::System
