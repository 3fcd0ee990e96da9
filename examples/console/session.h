// session.h - runs statements one after the other, each in a try frame of its own.
//
// An error ends its statement only: its message and identifier are printed in the current
// language, what the statement held is freed, and the next statement runs.
#ifndef CONSOLE_SESSION_H
#define CONSOLE_SESSION_H

#include <qxut/util/dsbuffer.h>

#include "array.h"
#include "symbols.h"

namespace console {

class Lexer;
class Source;

class Session {
  public:
    // Makes an empty session in the current record; false: memory ran out, which was printed.
    bool open();
    // Frees all of it; harmless where open failed.
    void clear();

    // Run the statements of a file, a text, or standard input, unless a statement has said "quit".
    // Errors are printed and remembered.
    void run_file(const char* path);
    void run_text(const char* text, const char* name);  // the name is for messages
    void run_input(bool interactive);

    bool has_failed() const { return has_failed_; }
    bool has_quit() const { return has_quit_; }

    // --- for the commands ---
    Symbols& symbols() { return symbols_; }
    void set_echo(bool echo) { echo_ = echo; }
    void quit() { has_quit_ = true; }

    // Path of the script that is running, or null.
    const char* script() const { return script_; }
    // The path of a file that a statement names; see path.h.
    void resolve(const char* name, Array<char>& path);

  private:
    template <class Body>
    bool attempt(const Source* place, Body body);
    template <class Open>
    void run(Open open);
    void run_statements(Source& source);
    void execute(const char* statement);

    Symbols symbols_;
    ut_dsbuffer line_{};
    const char* script_ = nullptr;  // path of the script that is running
    bool echo_ = false;
    bool tried_ = false;  // the statement that runs may fail
    bool has_failed_ = false;
    bool has_quit_ = false;
};

}  // namespace console

#endif
