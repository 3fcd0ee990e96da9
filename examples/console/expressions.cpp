// expressions.cpp - see expressions.h. Tested by tests/console (patterns).
//
// An expression is parsed once, when its pattern is compiled, and run whenever a match comes by. An
// error in it is the statement's error: it is raised through the match, which leaves nothing
// behind.
#include "expressions.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "guard.h"
#include "lexer.h"
#include "messages.h"
#include "pattern_warnings.h"
#include "wide_text.h"

namespace console {
namespace {

// A parsed expression that has no owner yet.
struct Prepared {
    Program* program = nullptr;
    void parse(const char16_t* expression, size_t length) {
        Array<char> text;
        const Guard free_text(text);
        append_utf8(text, expression, length);
        program = new (ut_mem_alloc(utGetMemoryContext(), sizeof(Program))) Program();
        parse_value(Lexer(text.begin()), *program);
    }
    void clear() {
        if (program == nullptr) return;
        program->clear();
        ut_mem_free(utGetMemoryContext(), program);
        program = nullptr;
    }
};

// The tokens of a match as names of the console.
class Tokens : public Scope {
  public:
    explicit Tokens(const RE_Evaluation_Inputs& inputs) : inputs_(inputs) {}

    bool find(const char* name, Value& value) const override {
        const RE_Evaluation_Input* input = by_name(name);
        if (input == nullptr) input = by_number(name);
        if (input == nullptr) return false;
        Array<char> scratch;
        const Guard free_scratch(scratch);
        value = Value::of(wide_text_code(input->text, input->is_set ? input->length : 0, scratch));
        return true;
    }

  private:
    const RE_Evaluation_Input* by_name(const char* name) const {
        WideText wide;
        const Guard free_wide(wide);
        wide.set(name, std::strlen(name) + 1);  // with its NUL
        return inputs_.get(wide.begin());
    }
    // t1, t2, ...
    const RE_Evaluation_Input* by_number(const char* name) const {
        size_t number = 0;
        int length = 0;
        if (std::sscanf(name, "t%8zu%n", &number, &length) != 1 || name[length] != '\0' ||
            name[1] == '0')
            return nullptr;
        return inputs_.token(number);
    }

    const RE_Evaluation_Inputs& inputs_;
};

void answer(RE_Evaluation_IO& io, const Value& value) {
    if (value.is_vector) {
        Array<char> expression;
        const Guard free_expression(expression);
        append_utf8(expression, io.expression(), io.expression_length());
        raise(Message::needs_one_value, Excerpt(expression.begin(), expression.size() - 1).text,
              value.count());
    }
    if (value.kind == Kind::number && io.purpose() == RE_EVALUATE_CONDITION)
        return io.set_truth(value.number != 0 && !std::isnan(value.number));
    WideText text;
    const Guard free_text(text);
    if (value.kind == Kind::number) {
        text.set(ShortText(value.number).text);
    } else {
        text.set(text_of(value.text));
    }
    io.set_text(text.begin(), text.length());
}

}  // namespace

void Expressions::warn(const char16_t* position, const char* format, va_list arguments) {
    char text[256];
    describe_pattern_warning(text, sizeof text, format, arguments);
    const char16_t* const pattern = dynamic_ == nullptr ? pattern_.begin() : dynamic_;
    const size_t length = dynamic_ == nullptr ? pattern_.length() : dynamic_length_;
    const auto place = static_cast<size_t>(position - pattern);
    Array<char> line;
    const Guard free_line(line);
    append_utf8(line, pattern, length);
    Array<char> blanks;
    const Guard free_blanks(blanks);
    blanks.resize(count_columns(pattern, place) + 1);
    std::memset(blanks.begin(), ' ', blanks.size());
    blanks.back() = '\0';
    console::warn(Message::pattern, text, static_cast<const char*>(line.begin()),
                  static_cast<const char*>(blanks.begin()));
}

void* Expressions::create_fcn(RE_Evaluation_Purpose, const char16_t* expression, size_t length,
                              const RE_Evaluation_Inputs&) {
    Prepared prepared;
    const Guard free_prepared(prepared);
    prepared.parse(expression, length);
    Program* program = prepared.program;
    prepared.program = nullptr;
    return program;
}

void Expressions::delete_fcn(void* function) noexcept {
    Prepared{static_cast<Program*>(function)}.clear();
}

bool Expressions::evaluate_string(RE_Evaluation_IO& io) {
    // An expression in a dynamic pattern is met while matching, and was not prepared.
    Prepared prepared;
    const Guard free_prepared(prepared);
    if (io.function == nullptr) prepared.parse(io.expression(), io.expression_length());
    const Tokens tokens(io.inputs());
    Machine machine(machine_, tokens);
    const Guard free_machine(machine);
    machine.run(io.function != nullptr ? *static_cast<const Program*>(io.function)
                                       : *prepared.program);
    answer(io, machine.top());
    return true;
}

}  // namespace console
