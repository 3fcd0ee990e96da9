// machine.h - runs a program on a stack of values.
//
// Every vector is on the stack from the moment it exists: operands stay below the result that is
// computed from them, and are dropped when it is complete. So one guard over the machine frees
// whatever a statement held when an error or an interrupt passes.
//
//     before "binary +"      [ ... | a | b ]
//     while it is computed   [ ... | a | b | r ]      r may share the block of a or b
//     afterwards             [ ... | r ]
#ifndef CONSOLE_MACHINE_H
#define CONSOLE_MACHINE_H

#include <qxut/util/interrupt.h>

#include "path.h"
#include "program.h"
#include "symbols.h"

namespace console {

// Names that come before the variables of the same name.
class Scope {
  public:
    virtual ~Scope() = default;
    // False: it does not know the name. Raises OUT_OF_MEMORY.
    virtual bool find(const char* name, Value& value) const = 0;
};

class Machine {
  public:
    // `script`: path of the script that is running, or null; outlives the machine.
    Machine(Symbols& symbols, const char* script) : symbols_(symbols), script_(script) {}
    // For an expression that is evaluated while an operation of another machine runs. Raises
    // EXPRESSIONS_NESTED.
    Machine(const Machine& outer, const Scope& scope);
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Runs a program from an empty stack. Raises the errors of its operations.
    void run(const Program& program);
    // Drops what is on the stack.
    void clear();

    // --- for the operations, which never push more than one result ---

    // The value `depth` places below the top.
    Value& top(size_t depth = 0) { return stack_.end()[-1 - static_cast<ptrdiff_t>(depth)]; }
    void push(const Value& value) { stack_.push(value); }

    // Push a vector whose elements are then to be set. Raise OUT_OF_MEMORY.
    double* push_numbers(size_t count);
    TextCode* push_texts(size_t count);

    // The same, but takes the block of one of the `operands` values on top if that is a vector of
    // as many numbers which nobody else holds; element i may then be set once i has been read.
    double* push_numbers_over(size_t operands, size_t count);

    // Cuts the vector on top, which nobody else holds.
    void shrink_top(size_t count);

    // Drops the `operands` values below the top.
    void collapse(size_t operands);
    // Drops the `operands` values on top.
    void drop(size_t operands);

    // The path of a file that a statement names; see path.h.
    void resolve(const char* name, Array<char>& path) const { resolve_path(script_, name, path); }

  private:
    void execute(const Instruction& instruction);
    void push_variable(const char* name);

    Symbols& symbols_;
    const char* script_;
    const Scope* scope_ = nullptr;
    int level_ = 0;  // how many machines wait for this one
    Array<Value> stack_;
};

// The operations; each pushes its result and leaves its operands. In operators.cpp.
void unary_operation(Machine& machine, const char* symbol);
void binary_operation(Machine& machine, const char* symbol);
void index_operation(Machine& machine);
void vector_operation(Machine& machine, size_t count);

// Prints sums and means by group; leaves its operands and pushes nothing. In groups.cpp.
void group_operation(Machine& machine, size_t count);

// Raises NEEDS_NUMBERS unless the value is one, in the name of an operator or function.
void need_numbers(const Value& value, const char* operation);

// Calls work(begin, end) for consecutive parts of 0..count and polls for an interrupt in between.
template <class Work>
void in_blocks(size_t count, Work work) {
    constexpr size_t kBlock = 8192;
    for (size_t begin = 0; begin < count; begin += kBlock) {
        utPollInterrupt(utGetErrorContext());
        work(begin, count - begin < kBlock ? count : begin + kBlock);
    }
}

}  // namespace console

#endif
