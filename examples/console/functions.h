// functions.h - the table of functions and what each may ask of the machine.
#ifndef CONSOLE_FUNCTIONS_H
#define CONSOLE_FUNCTIONS_H

#include <cstddef>
#include <cstdint>

namespace console {

class Machine;

struct Function {
    const char* name;
    const char* usage;  // for messages
    uint32_t fewest;    // arguments
    uint32_t most;
    // Pushes its result over its `count` arguments, which are on top of the machine's stack.
    void (*run)(Machine& machine, const Function& self, size_t count);
    double (*elementwise)(double);  // for the functions of one number
};

const Function* find_function(const char* name, size_t length);

}  // namespace console

#endif
