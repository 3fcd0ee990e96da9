// mediator.hpp - between errors that are raised by code and C++ exceptions.
//
// At a boundary where C++ calls code that raises, throwErrors makes an exception of the error:
//
//     Quorvanix::System::throwErrors(errors, [&] { ut_array_resize(...); });
//
// Where code that raises calls C++, raiseExceptions makes an error of the exception:
//
//     Quorvanix::System::raiseExceptions(errors, [&] { listener->changed(); });
//
// Nothing is lost on the way: an exception that was raised as an error, through whatever frames of
// C, arrives at an outer throwErrors as the same object, with its class, text, code, cause and
// stack.
//
// Both run the body in a try frame of the context, which is closed however the body is left.
#ifndef QXUT_SYSTEM_MEDIATOR_HPP
#define QXUT_SYSTEM_MEDIATOR_HPP

#include <exception>
#include <memory>
#include <type_traits>

#include <qxut/util/error.h>
#include <qxut/system/throwable.hpp>

namespace Quorvanix::System {

// Runs body(context, data). An error that no frame inside accepts is thrown as an exception with
// the error's text in the current language, its code and its identifier:
//   ERR_SIGNAL_INTERRUPT                                         InterruptException
//   ERR_FATAL                                                    FatalException
//   ASSERTION_FAULT, and messages that begin "Internal Error:"   InternalException
//   all others                                                   UserException
// The stack is that of the raise, and the cleanup items have run. Where there is no memory for the
// exception it is std::bad_alloc. Exceptions that leave the body go on unchanged.
QXUT_API void throwErrors(_error_context* context, ut_try_body body, void* data);

// Runs body(context, data). A std::exception that leaves it is raised as raiseException does; what
// is no std::exception, a raise of any context included, goes on unchanged.
QXUT_API void raiseExceptions(_error_context* context, ut_try_body body, void* data);

// Raises an exception as an error on the context, with the exception's identifier if it has one:
//   InterruptException                       ERR_SIGNAL_INTERRUPT
//   FatalException                           ERR_FATAL
//   std::bad_alloc                           OUT_OF_MEMORY
//   one whose code's message takes no arguments and reads as its text does     that code
//   all others                               ERR_RETHROW with the text
// What is no std::exception is thrown again.
[[noreturn]] QXUT_API void raiseException(_error_context* context, std::exception_ptr exception);

// For message handlers, with the code that they are asked about: the exception as which the error
// began; null when it began as an error.
QXUT_API std::exception_ptr raisedException(const _error_context* context,
                                            ut_message_code code) noexcept;

// The same with anything that can be called without arguments.
template <class Body>
void throwErrors(_error_context* context, Body&& body) {
    using Callable = std::remove_reference_t<Body>;
    Callable* callable = std::addressof(body);
    throwErrors(
        context, [](_error_context*, void* data) { (**static_cast<Callable**>(data))(); },
        static_cast<void*>(&callable));
}
template <class Body>
void raiseExceptions(_error_context* context, Body&& body) {
    using Callable = std::remove_reference_t<Body>;
    Callable* callable = std::addressof(body);
    raiseExceptions(
        context, [](_error_context*, void* data) { (**static_cast<Callable**>(data))(); },
        static_cast<void*>(&callable));
}

}  // namespace Quorvanix::System

#endif
