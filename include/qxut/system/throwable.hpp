// throwable.hpp - the exceptions that cross the library's boundary.
//
//     try {
//         ...
//     } catch (const Quorvanix::System::UserException& problem) {
//         show(problem.what());
//     } catch (const Quorvanix::System::Throwable& problem) {
//         log(problem.report());  // class, text, causes and stack trace
//     }
//
// A Throwable is a text with what else is known: a message code and its identifier, the exception
// that caused it, and the stack of the thread that made it. The stack is captured as bare
// addresses; names are looked up when somebody asks for them.
//
// What an exception holds is shared by its copies and never changes, so copying neither allocates
// nor throws, and any thread may read. Making one allocates and throws std::bad_alloc when there is
// no memory. No exception of these classes may outlive the loaded library.
#ifndef QXUT_SYSTEM_THROWABLE_HPP
#define QXUT_SYSTEM_THROWABLE_HPP

#include <exception>
#include <memory>
#include <string>

#include <qxut/util/types.h>

namespace Quorvanix::System {

class QXUT_API Throwable : public std::exception {
  public:
    // The texts are copied; null counts as empty. Code 0 and an empty identifier: there is none.
    explicit Throwable(const char* text, ut_message_code code = 0, const char* identifier = nullptr,
                       std::exception_ptr cause = nullptr);
    Throwable(const Throwable& other) noexcept;
    Throwable& operator=(const Throwable& other) noexcept;
    ~Throwable() override;

    // The text, UTF-8 or whatever the one who made it wrote; never null. Like the identifier it
    // lives as long as the exception or a copy of it.
    const char* what() const noexcept override;
    ut_message_code code() const noexcept;
    const char* identifier() const noexcept;
    // What led to it, with its own class; null when nothing is known.
    std::exception_ptr cause() const noexcept;

    // One line a frame, innermost first, from the one that made the exception; at most 16 KB, and
    // empty where the platform gives none. Reads debug information: milliseconds the first time.
    std::string stackTrace() const;

    // "InternalException: text [identifier]", then a line "Caused by: ..." for each cause up to the
    // hundredth, then the stack trace of the innermost Throwable.
    std::string report() const;

    // The name of the class, without its namespace.
    virtual const char* className() const noexcept;

  private:
    struct State;
    std::shared_ptr<const State> state_;
};

// Something that the user asked for cannot be done; the text is for the user.
class QXUT_API UserException : public Throwable {
  public:
    using Throwable::Throwable;
    UserException(const UserException&) noexcept = default;
    UserException& operator=(const UserException&) noexcept = default;
    ~UserException() override;
    const char* className() const noexcept override;
};

// The program is at fault: a broken assertion, a wrong use of an interface.
class QXUT_API InternalException : public Throwable {
  public:
    using Throwable::Throwable;
    InternalException(const InternalException&) noexcept = default;
    InternalException& operator=(const InternalException&) noexcept = default;
    ~InternalException() override;
    const char* className() const noexcept override;
};

// The process cannot go on; whoever catches it saves what can be saved and ends.
class QXUT_API FatalException : public Throwable {
  public:
    using Throwable::Throwable;
    FatalException(const FatalException&) noexcept = default;
    FatalException& operator=(const FatalException&) noexcept = default;
    ~FatalException() override;
    const char* className() const noexcept override;
};

// The user interrupted the work. Carries the code of an interrupt unless it is given another.
class QXUT_API InterruptException : public Throwable {
  public:
    explicit InterruptException(const char* text = nullptr);
    InterruptException(const char* text, ut_message_code code, const char* identifier = nullptr,
                       std::exception_ptr cause = nullptr);
    InterruptException(const InterruptException&) noexcept = default;
    InterruptException& operator=(const InterruptException&) noexcept = default;
    ~InterruptException() override;
    const char* className() const noexcept override;
};

// The user left the debugger; what was being debugged is given up, up to the prompt.
class QXUT_API DebugQuitException : public Throwable {
  public:
    explicit DebugQuitException(const char* text = nullptr);
    DebugQuitException(const char* text, ut_message_code code, const char* identifier = nullptr,
                       std::exception_ptr cause = nullptr);
    DebugQuitException(const DebugQuitException&) noexcept = default;
    DebugQuitException& operator=(const DebugQuitException&) noexcept = default;
    ~DebugQuitException() override;
    const char* className() const noexcept override;
};

}  // namespace Quorvanix::System

#endif
