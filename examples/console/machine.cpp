// machine.cpp - see machine.h. Tested by tests/console.
#include "machine.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>

#include "functions.h"
#include "messages.h"

namespace console {
namespace {

struct Constant {
    const char* name;
    double number;
};

// Known unless a variable has the name.
constexpr Constant kConstants[] = {
    {"pi", std::numbers::pi},
    {"inf", std::numeric_limits<double>::infinity()},
    {"nan", std::numeric_limits<double>::quiet_NaN()},
};

constexpr int kMostLevels = 20;

}  // namespace

Machine::Machine(const Machine& outer, const Scope& scope)
    : symbols_(outer.symbols_), script_(outer.script_), scope_(&scope), level_(outer.level_ + 1) {
    if (level_ > kMostLevels) raise(Message::expressions_nested, kMostLevels);
}

void Machine::run(const Program& program) {
    // Pushing never allocates, so a value that has been made cannot be lost on its way.
    stack_.reserve(program.size() + 1);
    for (size_t i = 0; i < program.size(); ++i) execute(program[i]);
}

void Machine::clear() {
    for (Value& value : stack_) value.clear();
    stack_.clear();
}

void Machine::execute(const Instruction& instruction) {
    const size_t count = instruction.count;
    switch (instruction.operation) {
        case Operation::number:
            push(Value::of(instruction.number));
            break;
        case Operation::text:
            push(Value::of(instruction.code));
            break;
        case Operation::name:
            push_variable(instruction.text);
            break;
        case Operation::vector:
            vector_operation(*this, count);
            collapse(count);
            break;
        case Operation::unary:
            unary_operation(*this, instruction.symbol);
            collapse(1);
            break;
        case Operation::binary:
            binary_operation(*this, instruction.symbol);
            collapse(2);
            break;
        case Operation::index:
            index_operation(*this);
            collapse(2);
            break;
        case Operation::call:
            instruction.function->run(*this, *instruction.function, count);
            collapse(count);
            break;
        case Operation::store: {
            Value* place = symbols_.place(instruction.text);
            place->clear();
            *place = top();
            stack_.pop();
            break;
        }
        case Operation::print:
            print_value(top());
            drop(1);
            break;
        case Operation::group:
            group_operation(*this, count);
            drop(2 * count + 2);
            break;
    }
}

void Machine::push_variable(const char* name) {
    Value known;
    if (scope_ != nullptr && scope_->find(name, known)) {
        push(known);
        return;
    }
    if (const Value* value = symbols_.find(name)) {
        push(value->share());
        return;
    }
    for (const Constant& constant : kConstants) {
        if (std::strcmp(constant.name, name) == 0) {
            push(Value::of(constant.number));
            return;
        }
    }
    raise(Message::unknown_name, name);
}

double* Machine::push_numbers(size_t count) {
    push(Value::of(Kind::number, new_vector(Kind::number, count)));
    return top().vector->numbers();
}

TextCode* Machine::push_texts(size_t count) {
    push(Value::of(Kind::text, new_vector(Kind::text, count)));
    return top().vector->texts();
}

double* Machine::push_numbers_over(size_t operands, size_t count) {
    for (size_t depth = 0; depth < operands; ++depth) {
        const Value& value = top(depth);
        if (value.kind == Kind::number && value.is_vector && value.vector->references == 1 &&
            value.vector->count == count) {
            push(value.share());
            return top().vector->numbers();
        }
    }
    return push_numbers(count);
}

void Machine::shrink_top(size_t count) {
    top().vector = shrink_vector(top().kind, top().vector, count);
}

void Machine::collapse(size_t operands) {
    if (operands == 0) return;
    const Value result = top();
    stack_.pop();
    drop(operands);
    push(result);
}

void Machine::drop(size_t operands) {
    for (; operands > 0; --operands) {
        top().clear();
        stack_.pop();
    }
}

void need_numbers(const Value& value, const char* operation) {
    if (value.kind != Kind::number) raise(Message::needs_numbers, operation);
}

}  // namespace console
