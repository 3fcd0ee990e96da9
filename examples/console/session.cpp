// session.cpp - see session.h. Tested by tests/console (every golden script; interrupt; memory).
//
// The life of an error: a statement raises it, with its arguments; the handler below formats the
// message while they are still alive; the cleanup items of the statement run; ut_try_catch_id
// returns the code, and the text is printed when the memory of the statement is free again.
#include "session.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <new>

#include <qxut/util/interrupt.h>
#include <qxut/util/output.h>

#include "commands.h"
#include "guard.h"
#include "lexer.h"
#include "machine.h"
#include "messages.h"
#include "path.h"
#include "source.h"
#include "terminal.h"

namespace console {
namespace {

// What an error said.
struct Failure {
    char identifier[256];
    char text[1024];

    void describe(const char* error_identifier, ut_message_code error, va_list arguments) {
        ut_bstream stream{identifier, sizeof identifier - 1};
        ut_bputs(error_identifier, &stream);
        *stream.position = '\0';
        // An interrupt has no text of its own: what to say is left to the host.
        if (error == UT_ERR_SIGNAL_INTERRUPT) error = code(Message::interrupted);
        if (ut_vsprintm(utGetMessageContext(), text, sizeof text, error, arguments) < 0)
            text[0] = '\0';
    }
    void describe(ut_message_code error, ...) {
        char error_identifier[UT_MESSAGE_IDENTIFIER_SIZE];
        ut_make_message_identifier(error_identifier, utGetMessageContext(), error);
        va_list arguments;
        va_start(arguments, error);
        describe(error_identifier, error, arguments);
        va_end(arguments);
    }
    void print(const Source* place) const {
        if (place != nullptr && place->line() > 0) {
            say(Message::error_line, place->name(), place->line(), text, identifier);
        } else {
            say(Message::error, text, identifier);
        }
    }
};

// A try frame's data: what to run, and where the error goes.
template <class Body>
struct Attempt {
    Body* body;
    Failure failure;

    static void run(_error_context*, void* data) { (*static_cast<Attempt*>(data)->body)(); }
    static int accept(_error_context*, void* data, const char* identifier, ut_message_code error,
                      va_list arguments) {
        static_cast<Attempt*>(data)->failure.describe(identifier, error, arguments);
        return 1;
    }
};

double milliseconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

// The name that a statement begins with, if it belongs to the console; otherwise null.
const char* take_command_word(Lexer& statement) {
    Lexer rest = statement;
    const Token word = rest.next();
    if (word.type != TokenType::name) return nullptr;
    const char* name = intern(word.start, word.length);
    if (!is_command(name)) return nullptr;
    if (rest.peek() == '=') raise(Message::reserved_name, name);
    statement = rest;
    return name;
}

// How a statement is to be run, and which command it is.
struct Order {
    bool timed = false;
    bool tried = false;  // its error is printed, but does not fail the script
    double repetitions = 1;
    const Command* command = nullptr;  // null: an expression or an assignment

    // Takes "time", "try", "repeat N" and the command's name off the statement.
    explicit Order(Lexer& statement) {
        while (const char* word = take_command_word(statement)) {
            command = find_command(word);
            if (command != nullptr) return;
            if (std::strcmp(word, "time") == 0) {
                timed = true;
                continue;
            }
            if (std::strcmp(word, "try") == 0) {
                tried = true;
                continue;
            }
            const Token number = statement.next();
            if (number.type != TokenType::number)
                raise(Message::command_usage, "repeat N statement");
            repetitions *= std::floor(number.number);
        }
    }
};

}  // namespace

// Runs body() in a try frame; prints the error that it raised, if any, and returns false.
template <class Body>
bool Session::attempt(const Source* place, Body body) {
    Attempt<Body> attempt{&body, {}};
    ut_message_code error = 0;
    try {
        error = ut_try_catch_id(utGetErrorContext(), &attempt, Attempt<Body>::run,
                                Attempt<Body>::accept);
    } catch (const std::bad_alloc&) {
        // From the checked allocation functions, which know no error context.
        error = UT_OUT_OF_MEMORY;
        attempt.failure.describe(error);
    }
    if (error == 0) return true;
    has_failed_ = has_failed_ || !tried_;
    attempt.failure.print(place);
    return false;
}

bool Session::open() {
    return attempt(nullptr, [this] {
        open_texts();
        symbols_.open();
        ut_initialize_dsbuffer(&line_, utGetMemoryContext(), 256);
    });
}

void Session::clear() {
    symbols_.clear();
    close_texts();
    ut_clear_dsbuffer(&line_);
}

template <class Open>
void Session::run(Open open) {
    if (has_quit_) return;
    Source source;
    if (attempt(nullptr, [&] { open(source); })) run_statements(source);
    source.clear();
}

void Session::run_file(const char* path) {
    script_ = path;
    run([path](Source& source) { source.open_file(path, last_part(path)); });
    script_ = nullptr;
}

void Session::run_text(const char* text, const char* name) {
    run([text, name](Source& source) { source.open_text(text, name); });
}

void Session::run_input(bool interactive) {
    if (interactive) say(Message::welcome);
    run([interactive](Source& source) { source.open_input(interactive); });
}

void Session::run_statements(Source& source) {
    bool more = true;
    while (more && !has_quit_) {
        if (source.interactive()) utPuts(">> ");
        flush_terminal();
        attempt(&source, [&] {
            tried_ = false;
            more = source.read_line(&line_);
            // Ctrl-C at the prompt gives up the line.
            if (!more || (source.interactive() && utTakeInterrupt())) return;
            if (echo_ && line_.length > 1) {
                utPuts(">> ");
                utPuts(line_.data);
                utPuts("\n");
            }
            execute(line_.data);
        });
    }
    if (source.interactive()) utPuts("\n");
}

void Session::execute(const char* text) {
    const auto start = std::chrono::steady_clock::now();
    Lexer statement(text);
    const Order order(statement);
    tried_ = order.tried;
    Program program;
    const Guard free_program(program);
    Machine machine(symbols_, script_);
    const Guard free_machine(machine);
    if (order.command == nullptr) {
        if (statement.peek() == '\0') return;
        parse(statement, program);
    }
    const auto repetitions = static_cast<uint64_t>(std::clamp(order.repetitions, 0.0, 1e18));
    for (uint64_t i = 0; i < repetitions && !has_quit_; ++i) {
        utPollInterrupt(utGetErrorContext());
        if (order.command != nullptr) {
            Lexer words = statement;
            order.command->run(*this, *order.command, words);
        } else {
            machine.run(program);
        }
    }
    if (order.timed) say(Message::elapsed, milliseconds_since(start));
}

void Session::resolve(const char* name, Array<char>& path) { resolve_path(script_, name, path); }

}  // namespace console
