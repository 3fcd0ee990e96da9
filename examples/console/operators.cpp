// operators.cpp - the operators on numbers, texts and vectors.
//
// A vector works element by element with one of the same length, or with a scalar. Comparisons
// give 1 for true and 0 for false; "&", "|" and "!" take any number but 0 and NaN for true. Texts
// can be compared for equality, by their codes. Tested by tests/console (operators).
#include <cmath>
#include <cstring>

#include "machine.h"
#include "messages.h"

namespace console {
namespace {

bool is_true(double number) { return number != 0.0 && !std::isnan(number); }

// The common length of two operands; a scalar takes the length of the other one.
size_t common_count(const Value& a, const Value& b, const char* symbol) {
    if (!a.is_vector) return b.count();
    if (b.is_vector && a.count() != b.count())
        raise(Message::wrong_sizes, symbol, a.count(), b.count());
    return a.count();
}

// Pushes f(a[i], b[i]) for all i, a scalar being the same for all.
template <class T, class F>
void combine(Machine& machine, const char* symbol, const T* a, const T* b, F f) {
    const Value& left = machine.top(1);
    const Value& right = machine.top(0);
    if (!left.is_vector && !right.is_vector) {
        machine.push(Value::of(f(*a, *b)));
        return;
    }
    const size_t left_step = left.is_vector ? 1 : 0;
    const size_t right_step = right.is_vector ? 1 : 0;
    const size_t count = common_count(left, right, symbol);
    double* result = machine.push_numbers_over(2, count);
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) result[i] = f(a[i * left_step], b[i * right_step]);
    });
}

void compare_texts(Machine& machine, const char* symbol) {
    const bool wanted = symbol[0] == '=';
    combine(machine, symbol, machine.top(1).texts(), machine.top(0).texts(),
            [wanted](TextCode a, TextCode b) { return (a == b) == wanted ? 1.0 : 0.0; });
}

void divide(Machine& machine, const double* a, const double* b) {
    bool by_zero = false;
    combine(machine, "/", a, b, [&by_zero](double x, double y) {
        by_zero |= y == 0.0;
        return x / y;
    });
    if (by_zero) warn(Message::division_by_zero);
}

void power(Machine& machine, const double* a, const double* b) {
    bool outside = false;
    combine(machine, "^", a, b, [&outside](double x, double y) {
        const double result = std::pow(x, y);
        outside |= std::isnan(result) && !std::isnan(x) && !std::isnan(y);
        return result;
    });
    if (outside) warn(Message::outside_domain, "^");
}

}  // namespace

void binary_operation(Machine& machine, const char* symbol) {
    const Value& left = machine.top(1);
    const Value& right = machine.top(0);
    const bool equality = std::strcmp(symbol, "==") == 0 || std::strcmp(symbol, "!=") == 0;
    if (left.kind != right.kind) raise(Message::mixed_kinds, symbol);
    if (left.kind == Kind::text && equality) return compare_texts(machine, symbol);
    need_numbers(left, symbol);

    const double* a = left.numbers();
    const double* b = right.numbers();
    const auto all = [&](auto f) {
        combine(machine, symbol, a, b, [f](double x, double y) { return double(f(x, y)); });
    };
    const bool or_equal = symbol[1] == '=';
    switch (symbol[0]) {
        case '+':
            return all([](double x, double y) { return x + y; });
        case '-':
            return all([](double x, double y) { return x - y; });
        case '*':
            return all([](double x, double y) { return x * y; });
        case '/':
            return divide(machine, a, b);
        case '^':
            return power(machine, a, b);
        case '=':
            return all([](double x, double y) { return x == y; });
        case '!':
            return all([](double x, double y) { return x != y; });
        case '<':
            if (or_equal) return all([](double x, double y) { return x <= y; });
            return all([](double x, double y) { return x < y; });
        case '>':
            if (or_equal) return all([](double x, double y) { return x >= y; });
            return all([](double x, double y) { return x > y; });
        case '&':
            return all([](double x, double y) { return is_true(x) && is_true(y); });
        default:
            return all([](double x, double y) { return is_true(x) || is_true(y); });
    }
}

void unary_operation(Machine& machine, const char* symbol) {
    need_numbers(machine.top(), symbol);
    const bool negate = symbol[0] == '-';
    const auto f = [negate](double x) { return negate ? -x : double(!is_true(x)); };
    const Value& operand = machine.top();
    if (!operand.is_vector) return machine.push(Value::of(f(operand.number)));
    const double* from = operand.numbers();
    const size_t count = operand.count();
    double* result = machine.push_numbers_over(1, count);
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) result[i] = f(from[i]);
    });
}

void index_operation(Machine& machine) {
    const Value& from = machine.top(1);
    const Value& index = machine.top(0);
    need_numbers(index, "[ ]");
    const bool numbers = from.kind == Kind::number;
    const size_t limit = from.count();
    const auto position = [limit](double i) {
        if (!(i >= 1 && i <= static_cast<double>(limit) && i == std::floor(i)))
            raise(Message::bad_index, NumberText(i).text, limit);
        return static_cast<size_t>(i) - 1;
    };
    if (!index.is_vector) {
        const size_t i = position(index.number);
        return machine.push(numbers ? Value::of(from.numbers()[i]) : Value::of(from.texts()[i]));
    }
    const double* indexes = index.numbers();
    const size_t count = index.count();
    const auto gather = [&](auto* result, const auto* elements) {
        in_blocks(count, [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) result[i] = elements[position(indexes[i])];
        });
    };
    if (numbers) {
        gather(machine.push_numbers(count), from.numbers());
    } else {
        gather(machine.push_texts(count), from.texts());
    }
}

void vector_operation(Machine& machine, size_t parts) {
    size_t count = 0;
    const Kind kind = parts == 0 ? Kind::number : machine.top().kind;
    for (size_t depth = 0; depth < parts; ++depth) {
        if (machine.top(depth).kind != kind) raise(Message::mixed_kinds, "[ ]");
        count += machine.top(depth).count();
    }
    const auto join = [&](auto* result, auto elements_of) {
        for (size_t part = parts; part > 0; --part) {
            const Value& value = machine.top(part);  // the result is on top
            const auto* elements = elements_of(value);
            in_blocks(value.count(), [&](size_t begin, size_t end) {
                for (size_t i = begin; i < end; ++i) *result++ = elements[i];
            });
        }
    };
    if (kind == Kind::number) {
        join(machine.push_numbers(count), [](const Value& value) { return value.numbers(); });
    } else {
        join(machine.push_texts(count), [](const Value& value) { return value.texts(); });
    }
}

}  // namespace console
