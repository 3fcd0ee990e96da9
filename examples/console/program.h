// program.h - a parsed statement: instructions for a stack machine, in postfix order.
//
//     x = 2*mean(a)        number 2 | name a | call mean, 1 argument | binary * | store x
//
// The parser writes it, the machine runs it, any number of times. Running needs no more stack
// than the program has instructions, plus one result in progress.
#ifndef CONSOLE_PROGRAM_H
#define CONSOLE_PROGRAM_H

#include "array.h"
#include "texts.h"

namespace console {

struct Function;

enum class Operation : uint8_t {
    number,  // push number
    text,    // push the text of code
    name,    // push the value of the variable text
    vector,  // join the count values on top into one vector
    unary,   // symbol: "-" or "!"
    binary,  // symbol
    index,   // vector, index -> element or vector
    call,    // function with count arguments
    store,   // value on top -> variable text
    print,   // print the value on top
    group    // count pairs of a label and a vector, then those of the keys -> printed
};

struct Instruction {
    Operation operation;
    uint32_t count;
    union {
        double number;
        TextCode code;
        const char* text;    // canonical
        const char* symbol;  // spelling of an operator, a constant
        const Function* function;
    };
};

using Program = Array<Instruction>;

class Lexer;

// Parses the rest of a statement, an expression or an assignment, into an empty program. Raises
// the syntax errors, UNKNOWN_FUNCTION, WRONG_ARGUMENTS and OUT_OF_MEMORY.
void parse(const Lexer& rest, Program& program);

// The same for an expression or assignment in a pattern or template: its value stays on the stack.
void parse_value(const Lexer& rest, Program& program);

// The same for what follows "group": EXPRESSION { "," EXPRESSION } "by" EXPRESSION.
void parse_group(const Lexer& rest, Program& program);

}  // namespace console

#endif
