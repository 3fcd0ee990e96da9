// functions.cpp - the functions of the console, in one table.
//
// A statistic passes over missing values (NaN); sort puts them last. A function leaves its
// arguments on the stack and pushes its result above them. Tested by tests/console (functions).
#include "functions.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <qxut/util/sort.h>

#include "checksums.h"
#include "encodings.h"
#include "machine.h"
#include "messages.h"
#include "patterns.h"
#include "sets.h"
#include "summary.h"
#include "text_functions.h"

namespace console {
namespace {

// --- statistics -----------------------------------------------------------------------------

struct Summary {
    Sum sum;
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
};

// One pass over f(x) of the values that are not missing.
template <class F>
Summary summarise(const Value& value, F f) {
    Summary summary;
    const double* x = value.numbers();
    in_blocks(value.count(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            if (std::isnan(x[i])) continue;
            const double term = f(x[i]);
            summary.sum.add(term);
            summary.least = std::min(summary.least, term);
            summary.greatest = std::max(summary.greatest, term);
        }
    });
    return summary;
}

Summary summarise(const Value& value) {
    return summarise(value, [](double x) { return x; });
}

double mean(const Summary& summary) { return summary.sum.mean(); }
double least(const Summary& summary) { return summary.least; }
double greatest(const Summary& summary) { return summary.greatest; }

// The summary of the value on top, which must hold at least one number that is not missing.
Summary summarise_some(Machine& machine, const Function& self) {
    need_numbers(machine.top(), self.name);
    const Summary summary = summarise(machine.top());
    if (summary.sum.count() == 0) raise(Message::no_values, self.name);
    return summary;
}

void run_sum(Machine& machine, const Function& self, size_t) {
    need_numbers(machine.top(), self.name);
    machine.push(Value::of(summarise(machine.top()).sum.value()));
}

template <double (*statistic)(const Summary&)>
void run_statistic(Machine& machine, const Function& self, size_t) {
    machine.push(Value::of(statistic(summarise_some(machine, self))));
}

// Sample standard deviation; 0 for one value.
void run_std(Machine& machine, const Function& self, size_t) {
    const Summary summary = summarise_some(machine, self);
    const double centre = summary.sum.mean();
    const double squares = summarise(machine.top(), [centre](double x) {
                               return (x - centre) * (x - centre);
                           }).sum.value();
    const double freedom = static_cast<double>(std::max<size_t>(summary.sum.count() - 1, 1));
    machine.push(Value::of(std::sqrt(squares / freedom)));
}

// Values that are there: numbers other than NaN, texts that are not empty.
void run_count(Machine& machine, const Function&, size_t) {
    const Value& value = machine.top();
    size_t count = 0;
    if (value.kind == Kind::number) {
        count = summarise(value).sum.count();
    } else {
        const TextCode* texts = value.texts();
        in_blocks(value.count(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) count += texts[i] != kEmptyText ? 1 : 0;
        });
    }
    machine.push(Value::of(static_cast<double>(count)));
}

void run_length(Machine& machine, const Function&, size_t) {
    machine.push(Value::of(static_cast<double>(machine.top().count())));
}

// --- order ------------------------------------------------------------------------------------

// The comparisons poll for an interrupt: what they raise passes through the sort.
int32_t compare_numbers(void* errors, const void* a, const void* b) {
    utPollInterrupt(static_cast<_error_context*>(errors));
    const double x = *static_cast<const double*>(a);
    const double y = *static_cast<const double*>(b);
    if (std::isnan(x) || std::isnan(y)) return int{std::isnan(x)} - int{std::isnan(y)};
    return int{x > y} - int{x < y};
}

int32_t compare_texts(void* errors, const void* a, const void* b) {
    utPollInterrupt(static_cast<_error_context*>(errors));
    const TextCode x = *static_cast<const TextCode*>(a);
    const TextCode y = *static_cast<const TextCode*>(b);
    return x == y ? 0 : std::strcmp(text_of(x), text_of(y));
}

// Pushes the sorted elements of the value on top, as a vector that nobody else holds.
void push_sorted(Machine& machine, const Function& self) {
    const Value& from = machine.top();
    const bool numbers = from.kind == Kind::number;
    const size_t count = from.count();
    if (count > std::numeric_limits<uint32_t>::max())
        raise(Message::bad_count, self.name, NumberText(static_cast<double>(count)).text);
    void* elements = nullptr;
    if (numbers) {
        const double* source = from.numbers();
        elements = std::copy_n(source, count, machine.push_numbers(count)) - count;
    } else {
        const TextCode* source = from.texts();
        elements = std::copy_n(source, count, machine.push_texts(count)) - count;
    }
    ut_qsort(elements, static_cast<uint32_t>(count), element_size(from.kind), utGetErrorContext(),
             numbers ? compare_numbers : compare_texts);
}

void run_sort(Machine& machine, const Function& self, size_t) { push_sorted(machine, self); }

void run_unique(Machine& machine, const Function& self, size_t) {
    push_sorted(machine, self);
    Value& value = machine.top();
    const size_t count = value.count();
    const auto compact = [count](auto* elements, auto same) {
        return static_cast<size_t>(std::unique(elements, elements + count, same) - elements);
    };
    if (value.kind == Kind::number) {
        machine.shrink_top(compact(value.vector->numbers(), [](double a, double b) {
            return a == b || (std::isnan(a) && std::isnan(b));
        }));
    } else {
        machine.shrink_top(
            compact(value.vector->texts(), [](TextCode a, TextCode b) { return a == b; }));
    }
}

void run_median(Machine& machine, const Function& self, size_t) {
    const size_t count = summarise_some(machine, self).sum.count();
    push_sorted(machine, self);  // missing values last
    const double* x = machine.top().numbers();
    const double low = x[(count - 1) / 2];
    const double high = x[count / 2];
    machine.top().clear();
    machine.top() = Value::of(low == high ? low : low / 2 + high / 2);
}

// --- element by element, and making vectors -----------------------------------------------------

void run_elementwise(Machine& machine, const Function& self, size_t) {
    need_numbers(machine.top(), self.name);
    bool outside = false;
    const auto f = [&](double x) {
        const double result = self.elementwise(x);
        outside |= std::isnan(result) && !std::isnan(x);
        return result;
    };
    const Value& value = machine.top();
    if (value.is_vector) {
        const double* from = value.numbers();
        const size_t count = value.count();
        double* result = machine.push_numbers_over(1, count);
        in_blocks(count, [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) result[i] = f(from[i]);
        });
    } else {
        machine.push(Value::of(f(value.number)));
    }
    if (outside) warn(Message::outside_domain, self.name);
}

// The indexes of the elements that are neither 0 nor NaN.
void run_where(Machine& machine, const Function& self, size_t) {
    need_numbers(machine.top(), self.name);
    const double* mask = machine.top().numbers();
    const size_t count = machine.top().count();
    const auto chosen = [mask](size_t i) { return mask[i] != 0 && !std::isnan(mask[i]); };
    size_t found = 0;
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) found += chosen(i) ? 1 : 0;
    });
    double* result = machine.push_numbers(found);
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            if (chosen(i)) *result++ = static_cast<double>(i + 1);
        }
    });
}

double scalar(const Value& value, const Function& self) {
    need_numbers(value, self.name);
    if (value.is_vector) raise(Message::wrong_sizes, self.name, value.count(), size_t{1});
    return value.number;
}

void run_range(Machine& machine, const Function& self, size_t arguments) {
    const double step = arguments == 3 ? scalar(machine.top(0), self) : 1.0;
    const double first = scalar(machine.top(arguments - 1), self);
    const double last = scalar(machine.top(arguments - 2), self);
    // A hair more than the quotient, so that rounding does not lose the last element.
    const double steps = std::floor((last - first) / step * (1 + 1e-15) + 1e-12);
    if (!std::isfinite(steps) || steps > 1e18)
        raise(Message::bad_count, self.name, NumberText(steps).text);
    const size_t count = steps < 0 ? 0 : static_cast<size_t>(steps) + 1;
    double* result = machine.push_numbers(count);
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) result[i] = first + static_cast<double>(i) * step;
    });
}

constexpr Function one_number(const char* name, const char* usage, double (*f)(double)) {
    return {name, usage, 1, 1, run_elementwise, f};
}

constexpr Function kFunctions[] = {
    {"sum", "sum(x)", 1, 1, run_sum, nullptr},
    {"mean", "mean(x)", 1, 1, run_statistic<mean>, nullptr},
    {"median", "median(x)", 1, 1, run_median, nullptr},
    {"min", "min(x)", 1, 1, run_statistic<least>, nullptr},
    {"max", "max(x)", 1, 1, run_statistic<greatest>, nullptr},
    {"std", "std(x)", 1, 1, run_std, nullptr},
    {"count", "count(x)", 1, 1, run_count, nullptr},
    {"length", "length(x)", 1, 1, run_length, nullptr},
    {"sort", "sort(x)", 1, 1, run_sort, nullptr},
    {"unique", "unique(x)", 1, 1, run_unique, nullptr},
    {"where", "where(condition)", 1, 1, run_where, nullptr},
    {"range", "range(first, last[, step])", 2, 3, run_range, nullptr},
    {"union", "union(x, y)", 2, 2, run_union, nullptr},
    {"intersection", "intersection(x, y)", 2, 2, run_intersection, nullptr},
    {"difference", "difference(x, y)", 2, 2, run_difference, nullptr},
    {"crc", "crc(\"file\")", 1, 1, run_crc, nullptr},
    {"detect", "detect(\"file\")", 1, 1, run_detect, nullptr},
    {"classify", "classify(\"text\")", 1, 1, run_classify, nullptr},
    {"md5", "md5(\"file\")", 1, 1, run_md5, nullptr},
    {"find", "find(texts, \"pattern\")", 2, 2, run_find, nullptr},
    {"matches", "matches(\"text\", \"pattern\")", 2, 2, run_matches, nullptr},
    {"tokens", "tokens(texts, \"pattern\"[, number])", 2, 3, run_tokens, nullptr},
    {"replace", "replace(texts, \"pattern\", \"template\")", 3, 3, run_replace, nullptr},
    {"number", "number(texts)", 1, 1, run_number, nullptr},
    {"join", "join(x, ...)", 1, 100, run_join, nullptr},
    one_number("abs", "abs(x)", [](double x) { return std::fabs(x); }),
    one_number("sqrt", "sqrt(x)", [](double x) { return std::sqrt(x); }),
    one_number("exp", "exp(x)", [](double x) { return std::exp(x); }),
    one_number("log", "log(x)", [](double x) { return std::log(x); }),
    one_number("log10", "log10(x)", [](double x) { return std::log10(x); }),
    one_number("sin", "sin(x)", [](double x) { return std::sin(x); }),
    one_number("cos", "cos(x)", [](double x) { return std::cos(x); }),
    one_number("floor", "floor(x)", [](double x) { return std::floor(x); }),
    one_number("ceil", "ceil(x)", [](double x) { return std::ceil(x); }),
    one_number("round", "round(x)", [](double x) { return std::round(x); }),
};

}  // namespace

const Function* find_function(const char* name, size_t length) {
    for (const Function& function : kFunctions) {
        if (std::strlen(function.name) == length && std::memcmp(function.name, name, length) == 0)
            return &function;
    }
    return nullptr;
}

}  // namespace console
