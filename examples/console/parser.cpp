// parser.cpp - precedence climbing over the tokens of one statement.
//
// Entry point: parse(). All recursion goes through expression(), whose open calls are counted and
// limited; sequences (a long vector, a long sum) are loops and have no limit but memory. An error
// ends the parser, so nothing is put back on the way out.
//
//     statement  = [ name "=" ] expression
//     group      = expression { "," expression } "by" expression
//     expression = unary { binary-operator unary }          by precedence
//     unary      = ( "-" | "+" | "!" ) expression | postfix
//     postfix    = primary { "[" expression "]" }
//     primary    = number | text | name [ "(" arguments ")" ] | "(" expression ")"
//                | "[" { expression [ "," ] } "]"
//
// Inside "[ ]" blanks separate elements: "[1 -2]" has two, "[1 - 2]" and "[1-2]" have one, and
// an index or an argument list must follow its operand at once.
// Tested by tests/console (syntax).
#include <cstring>
#include <utility>

#include "functions.h"
#include "lexer.h"
#include "messages.h"
#include "program.h"
#include "symbols.h"

namespace console {
namespace {

constexpr int kMostLevels = 100;

struct BinaryOperator {
    const char* symbol;
    int precedence;
};

constexpr int kUnaryPrecedence = 6;  // binds tighter than "*", looser than "^"
constexpr int kPowerPrecedence = 7;  // the only one that groups to the right

constexpr BinaryOperator kOperators[] = {
    {"|", 1},
    {"&", 2},
    {"==", 3},
    {"!=", 3},
    {"<=", 3},
    {">=", 3},
    {"<", 3},
    {">", 3},
    {"+", 4},
    {"-", 4},
    {"*", 5},
    {"/", 5},
    {"^", kPowerPrecedence},
};

constexpr const char* kUnaryOperators[] = {"-", "!"};

class Parser {
  public:
    Parser(const Lexer& rest, Program& program)
        : lexer_(rest), program_(program), token_(lexer_.next()) {}

    void statement();
    void value();
    void group();

  private:
    void advance() { token_ = lexer_.next(); }
    [[noreturn]] void unexpected() const;
    void expect(const char* symbol);

    const char* assigned_expression();
    void labelled_expression();
    void expression(int precedence);
    void unary();
    void postfix();
    void primary();
    void call(const Token& name);
    void vector();
    void enclosed(const char* close);

    // Whether the current token, after a complete operand, begins the next element of a vector.
    bool next_element() const { return in_vector_ && token_.blank_before; }
    const BinaryOperator* binary_operator() const;

    Instruction& emit(Operation operation, size_t count = 0);
    void emit_symbol(Operation operation, const char* symbol) { emit(operation).symbol = symbol; }

    Lexer lexer_;
    Program& program_;
    Token token_;
    bool in_vector_ = false;  // whether blanks separate elements where we are
    int level_ = 0;           // calls of expression() that are open
};

void Parser::unexpected() const {
    if (token_.type == TokenType::end) raise(Message::unfinished, token_.column);
    raise(Message::unexpected, Excerpt(token_.start, token_.length).text, token_.column);
}

void Parser::expect(const char* symbol) {
    if (!token_.is(symbol)) unexpected();
    advance();
}

Instruction& Parser::emit(Operation operation, size_t count) {
    Instruction instruction{};
    instruction.operation = operation;
    instruction.count = static_cast<uint32_t>(count);
    program_.push(instruction);
    return program_.back();
}

// Returns the name that the value is to be given to, or null.
const char* Parser::assigned_expression() {
    const char* target = nullptr;
    if (token_.type == TokenType::name) {
        const Token name = token_;
        const Lexer after_name = lexer_;
        advance();
        if (token_.is("=")) {
            target = intern(name.start, name.length);
            advance();
        } else {
            lexer_ = after_name;
            token_ = name;
        }
    }
    expression(0);
    if (token_.type != TokenType::end) unexpected();
    return target;
}

void Parser::statement() {
    const char* target = assigned_expression();
    emit(target != nullptr ? Operation::store : Operation::print).text = target;
}

void Parser::value() {
    const char* target = assigned_expression();
    if (target == nullptr) return;
    emit(Operation::store).text = target;
    emit(Operation::name).text = target;
}

// An expression, and before it a text that is its own spelling.
void Parser::labelled_expression() {
    const char* start = token_.start - (token_.type == TokenType::text ? 1 : 0);
    const size_t label = program_.size();
    emit(Operation::text);
    expression(0);
    const char* end = token_.start;
    while (end > start && (end[-1] == ' ' || end[-1] == '\t')) --end;
    program_[label].code = text_code(intern(start, static_cast<size_t>(end - start)));
}

void Parser::group() {
    size_t count = 1;
    labelled_expression();
    for (; token_.is(","); ++count) {
        advance();
        labelled_expression();
    }
    if (token_.type != TokenType::name || token_.length != 2 ||
        std::memcmp(token_.start, "by", 2) != 0)
        unexpected();
    advance();
    labelled_expression();
    if (token_.type != TokenType::end) unexpected();
    emit(Operation::group, count);
}

const BinaryOperator* Parser::binary_operator() const {
    if (next_element() && (token_.is("-") || token_.is("+")) && !token_.blank_after) return nullptr;
    for (const BinaryOperator& candidate : kOperators) {
        if (token_.is(candidate.symbol)) return &candidate;
    }
    return nullptr;
}

void Parser::expression(int precedence) {
    if (++level_ > kMostLevels) raise(Message::nested_too_deep, token_.column, kMostLevels);
    unary();
    for (;;) {
        const BinaryOperator* found = binary_operator();
        if (found == nullptr || found->precedence < precedence) break;
        advance();
        const bool power = found->precedence == kPowerPrecedence;
        expression(power ? kUnaryPrecedence : found->precedence + 1);
        emit_symbol(Operation::binary, found->symbol);
    }
    --level_;
}

// An expression between the current token and a closing one.
void Parser::enclosed(const char* close) {
    const bool outside = std::exchange(in_vector_, false);
    advance();
    expression(0);
    in_vector_ = outside;
    expect(close);
}

void Parser::unary() {
    if (token_.is("+")) {
        advance();
        expression(kUnaryPrecedence);
        return;
    }
    for (const char* symbol : kUnaryOperators) {
        if (!token_.is(symbol)) continue;
        advance();
        expression(kUnaryPrecedence);
        emit_symbol(Operation::unary, symbol);
        return;
    }
    postfix();
}

void Parser::postfix() {
    primary();
    while (token_.is("[") && !next_element()) {
        enclosed("]");
        emit(Operation::index);
    }
}

void Parser::primary() {
    const Token token = token_;
    switch (token.type) {
        case TokenType::number:
            advance();
            emit(Operation::number).number = token.number;
            return;
        case TokenType::text: {
            advance();
            const TextCode text = text_code(intern(token.start, token.length));
            emit(Operation::text).code = text;
            return;
        }
        case TokenType::name:
            advance();
            if (token_.is("(") && !next_element()) {
                call(token);
            } else {
                const char* name = intern(token.start, token.length);
                emit(Operation::name).text = name;
            }
            return;
        case TokenType::symbol:
        case TokenType::end:
            break;
    }
    if (token.is("[")) {
        vector();
    } else if (token.is("(")) {
        enclosed(")");
    } else {
        unexpected();
    }
}

void Parser::call(const Token& name) {
    const Function* function = find_function(name.start, name.length);
    if (function == nullptr)
        raise(Message::unknown_function, Excerpt(name.start, name.length).text);
    const bool outside = std::exchange(in_vector_, false);
    size_t count = 0;
    advance();
    while (!token_.is(")")) {
        if (count > 0) expect(",");
        expression(0);
        ++count;
    }
    in_vector_ = outside;
    advance();
    if (count < function->fewest || count > function->most)
        raise(Message::wrong_arguments, static_cast<int>(count), function->usage);
    emit(Operation::call, count).function = function;
}

void Parser::vector() {
    const bool outside = std::exchange(in_vector_, true);
    size_t count = 0;
    advance();
    while (!token_.is("]")) {
        expression(0);
        ++count;
        if (token_.is(",")) advance();
    }
    in_vector_ = outside;
    advance();
    emit(Operation::vector, count);
}

}  // namespace

void parse(const Lexer& rest, Program& program) { Parser(rest, program).statement(); }

void parse_value(const Lexer& rest, Program& program) { Parser(rest, program).value(); }

void parse_group(const Lexer& rest, Program& program) { Parser(rest, program).group(); }

}  // namespace console
