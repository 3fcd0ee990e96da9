// commands.cpp - the commands in one table. Tested by tests/console (commands, language,
// transcript).
#include "commands.h"

#include <cstring>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

#include "columns.h"
#include "counting_heap.h"
#include "encodings.h"
#include "guard.h"
#include "lexer.h"
#include "machine.h"
#include "messages.h"
#include "session.h"
#include "terminal.h"

namespace console {
namespace {

[[noreturn]] void misused(const Command& command) { raise(Message::command_usage, command.usage); }

// The next word, interned: so it ends in a NUL and stays. Null when there is none.
const char* optional_word(Lexer& rest) {
    const Token word = rest.next_word();
    return word.type == TokenType::end ? nullptr : intern(word.start, word.length);
}

const char* word(Lexer& rest, const Command& command) {
    const char* found = optional_word(rest);
    if (found == nullptr) misused(command);
    return found;
}

void no_more(Lexer& rest, const Command& command) {
    if (rest.next_word().type != TokenType::end) misused(command);
}

bool is(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

void run_load(Session& session, const Command& self, Lexer& rest) {
    const char* name = word(rest, self);
    no_more(rest, self);
    Array<char> path;
    const Guard free_path(path);
    session.resolve(name, path);
    load_columns(path.begin(), name, session.symbols());
}

void run_group(Session& session, const Command&, Lexer& rest) {
    Program program;
    const Guard free_program(program);
    Machine machine(session.symbols(), session.script());
    const Guard free_machine(machine);
    parse_group(rest, program);
    machine.run(program);
}

void run_convert(Session& session, const Command& self, Lexer& rest) {
    const char* from = word(rest, self);
    const char* to = word(rest, self);
    const char* encoding = word(rest, self);
    no_more(rest, self);
    Array<char> source;
    const Guard free_source(source);
    session.resolve(from, source);
    Array<char> target;
    const Guard free_target(target);
    session.resolve(to, target);
    convert_file(source.begin(), target.begin(), to, encoding);
}

void run_language(Session&, const Command& self, Lexer& rest) {
    const char* name = word(rest, self);
    no_more(rest, self);
    change_language(name);
}

// Identifiers may be written without the prefix that they all have.
const char* warning_identifier(const char* word) {
    if (std::strchr(word, ':') != nullptr) return word;
    char identifier[256];
    utSNprintf(identifier, sizeof identifier, "VELUMA:%s", word);
    return intern(identifier);
}

void run_warning(Session&, const Command& self, Lexer& rest) {
    const char* state_word = word(rest, self);
    const char* identifier = optional_word(rest);
    no_more(rest, self);
    ut_warning_state state = UT_WARNING_ON;
    if (is(state_word, "off")) {
        state = UT_WARNING_OFF;
    } else if (is(state_word, "error")) {
        state = UT_WARNING_ERROR;
    } else if (!is(state_word, "on")) {
        misused(self);
    }
    if (identifier == nullptr) {
        ut_set_all_warning_states(utGetWarningContext(), state);
    } else {
        ut_set_warning_state(utGetWarningContext(), warning_identifier(identifier), state);
    }
}

void run_transcript(Session& session, const Command& self, Lexer& rest) {
    const char* name = word(rest, self);
    no_more(rest, self);
    if (is(name, "off")) return set_transcript(nullptr);
    Array<char> path;
    const Guard free_path(path);
    session.resolve(name, path);
    set_transcript(path.begin());
    say(Message::transcribing, name);
}

void run_echo(Session& session, const Command& self, Lexer& rest) {
    const char* state = word(rest, self);
    no_more(rest, self);
    if (!is(state, "on") && !is(state, "off")) misused(self);
    session.set_echo(is(state, "on"));
}

void run_clear(Session& session, const Command& self, Lexer& rest) {
    const char* name = optional_word(rest);
    no_more(rest, self);
    if (name == nullptr) return session.symbols().remove_all();
    if (session.symbols().find(name) == nullptr) raise(Message::unknown_name, name);
    session.symbols().remove(name);
}

void run_who(Session& session, const Command& self, Lexer& rest) {
    no_more(rest, self);
    session.symbols().list();
}

void run_memory(Session&, const Command& self, Lexer& rest) {
    no_more(rest, self);
    const HeapUse use = heap_use();
    say(Message::memory_in_use, use.bytes, use.blocks, use.peak);
}

void run_help(Session&, const Command& self, Lexer& rest) {
    no_more(rest, self);
    say(Message::help);
}

void run_quit(Session& session, const Command& self, Lexer& rest) {
    no_more(rest, self);
    session.quit();
}

constexpr Command kCommands[] = {
    {"load", "load \"file.csv\"", run_load},
    {"group", "group EXPRESSION, ... by EXPRESSION", run_group},
    {"convert", "convert \"file\" \"new file\" encoding", run_convert},
    {"language", "language English | language ja", run_language},
    {"warning", "warning on|off|error [identifier]", run_warning},
    {"transcript", "transcript \"file\" | transcript off", run_transcript},
    {"echo", "echo on | echo off", run_echo},
    {"clear", "clear [name]", run_clear},
    {"who", "who", run_who},
    {"memory", "memory", run_memory},
    {"help", "help", run_help},
    {"quit", "quit", run_quit},
};

}  // namespace

const Command* find_command(const char* name) {
    for (const Command& command : kCommands) {
        if (is(command.name, name)) return &command;
    }
    return nullptr;
}

bool is_command(const char* name) {
    return find_command(name) != nullptr || is(name, "time") || is(name, "try") ||
           is(name, "repeat");
}

}  // namespace console
