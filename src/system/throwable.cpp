// throwable.cpp - what every Throwable holds and what it tells.
//
// All of it stands in one immutable block that copies share. The classes are told apart by their
// type alone; each has its destructor here, so that its type is one and the same for the library
// and its clients.
//
// Entry point: the constructor of Throwable. Tested by tests/system/throwable_test.cpp.
#include <qxut/system/throwable.hpp>

#include <utility>

#include <qxut/util/error.h>

#include "platform/platform.h"

namespace Quorvanix::System {
namespace {

constexpr size_t kDeepestStack = 48;  // frames
constexpr size_t kTraceSize = 16384;  // bytes of text
constexpr int kMostCauses = 100;

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

struct Throwable::State {
    std::string text;
    std::string identifier;
    ut_message_code code = 0;
    std::exception_ptr cause;
    uintptr_t stack[kDeepestStack];
    size_t stack_depth = 0;
};

Throwable::Throwable(const char* text, ut_message_code code, const char* identifier,
                     std::exception_ptr cause) {
    auto state = std::make_shared<State>();
    state->text = or_empty(text);
    state->identifier = or_empty(identifier);
    state->code = code;
    state->cause = std::move(cause);
    state->stack_depth = qxut::platform::capture_stack(state->stack, kDeepestStack, 1);
    state_ = std::move(state);
}

Throwable::Throwable(const Throwable& other) noexcept = default;
Throwable& Throwable::operator=(const Throwable& other) noexcept = default;
Throwable::~Throwable() = default;

const char* Throwable::what() const noexcept { return state_->text.c_str(); }
ut_message_code Throwable::code() const noexcept { return state_->code; }
const char* Throwable::identifier() const noexcept { return state_->identifier.c_str(); }
std::exception_ptr Throwable::cause() const noexcept { return state_->cause; }
const char* Throwable::className() const noexcept { return "Throwable"; }

std::string Throwable::stackTrace() const {
    std::string trace(kTraceSize, '\0');
    qxut::platform::write_captured_trace(trace.data(), trace.size(), state_->stack,
                                         state_->stack_depth);
    trace.resize(trace.find('\0'));
    return trace;
}

std::string Throwable::report() const {
    std::string text;
    const auto add = [&text](const Throwable& problem) {
        text.append(problem.className()).append(": ").append(problem.what());
        if (*problem.identifier() != '\0')
            text.append(" [").append(problem.identifier()).append("]");
        text += '\n';
    };
    add(*this);
    Throwable innermost = *this;
    std::exception_ptr cause = this->cause();
    for (int count = 0; cause != nullptr && count < kMostCauses; ++count) {
        text += "Caused by: ";
        std::exception_ptr next;
        try {
            std::rethrow_exception(cause);
        } catch (const Throwable& problem) {
            add(problem);
            innermost = problem;
            next = problem.cause();
        } catch (const std::exception& problem) {
            text.append(problem.what()).append("\n");
        } catch (...) {
            text += "an exception of an unknown class\n";
        }
        cause = std::move(next);
    }
    return text + innermost.stackTrace();
}

UserException::~UserException() = default;
const char* UserException::className() const noexcept { return "UserException"; }

InternalException::~InternalException() = default;
const char* InternalException::className() const noexcept { return "InternalException"; }

FatalException::~FatalException() = default;
const char* FatalException::className() const noexcept { return "FatalException"; }

InterruptException::~InterruptException() = default;
const char* InterruptException::className() const noexcept { return "InterruptException"; }

DebugQuitException::~DebugQuitException() = default;
const char* DebugQuitException::className() const noexcept { return "DebugQuitException"; }

InterruptException::InterruptException(const char* text)
    : Throwable(text, UT_ERR_SIGNAL_INTERRUPT) {}
InterruptException::InterruptException(const char* text, ut_message_code code,
                                       const char* identifier, std::exception_ptr cause)
    : Throwable(text, code, identifier, std::move(cause)) {}

DebugQuitException::DebugQuitException(const char* text) : Throwable(text) {}
DebugQuitException::DebugQuitException(const char* text, ut_message_code code,
                                       const char* identifier, std::exception_ptr cause)
    : Throwable(text, code, identifier, std::move(cause)) {}

}  // namespace Quorvanix::System
