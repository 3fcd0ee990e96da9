// text_functions.cpp - see text_functions.h. Tested by tests/console (patterns).
#include "text_functions.h"

#include <cstring>
#include <limits>

#include "guard.h"
#include "machine.h"
#include "messages.h"

namespace console {
namespace {

double spelled_number(const char* text) {
    char* end = nullptr;
    const double number = ut_strtod(utGetFpcContext(), text, &end);
    return end == text || *end != '\0' ? std::numeric_limits<double>::quiet_NaN() : number;
}

}  // namespace

void run_number(Machine& machine, const Function& self, size_t) {
    const Value& from = machine.top();
    if (from.kind != Kind::text) raise(Message::needs_texts, self.name);
    const TextCode* texts = from.texts();
    if (!from.is_vector) return machine.push(Value::of(spelled_number(text_of(*texts))));
    const size_t count = from.count();
    double* result = machine.push_numbers(count);
    in_blocks(count, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) result[i] = spelled_number(text_of(texts[i]));
    });
}

void run_join(Machine& machine, const Function&, size_t count) {
    Array<char> joined;
    const Guard free_joined(joined);
    const auto append = [&joined](const char* text) {
        const size_t before = joined.size();
        const size_t length = std::strlen(text);
        joined.resize(before + length);
        if (length > 0) std::memcpy(joined.begin() + before, text, length);
    };
    for (size_t depth = count; depth-- > 0;) {
        const Value& value = machine.top(depth);
        in_blocks(value.count(), [&](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) {
                if (value.kind == Kind::number) {
                    append(ShortText(value.numbers()[i]).text);
                } else {
                    append(text_of(value.texts()[i]));
                }
            }
        });
    }
    joined.push('\0');
    machine.push(Value::of(text_code(joined.begin())));
}

}  // namespace console
