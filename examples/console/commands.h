// commands.h - statements that steer the console rather than compute: "language ja", "load
// data.csv".
//
// A command's name is the first word of its statement and cannot be a variable.
#ifndef CONSOLE_COMMANDS_H
#define CONSOLE_COMMANDS_H

namespace console {

class Lexer;
class Session;

struct Command {
    const char* name;
    const char* usage;  // for messages
    // Carries the command out; the words after its name are left in `rest`. Raises COMMAND_USAGE
    // and what the command itself does.
    void (*run)(Session& session, const Command& self, Lexer& rest);
};

const Command* find_command(const char* name);

// Whether a name cannot be a variable: those of the commands, "time" and "repeat".
bool is_command(const char* name);

}  // namespace console

#endif
