// value.cpp - see value.h. Tested by tests/console.
#include "value.h"

#include <cmath>
#include <cstring>
#include <limits>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

#include "column_table.h"

namespace console {
namespace {

constexpr size_t kPrinted = 10;  // elements of a vector that are printed

void print_element(const Value& value, size_t i) {
    if (value.kind == Kind::number) {
        utPuts(NumberText(value.numbers()[i]).text);
    } else {
        utPuts("\"");
        utPuts(text_of(value.texts()[i]));
        utPuts("\"");
    }
}

}  // namespace

Value Value::of(double number) {
    Value value;
    value.kind = Kind::number;
    value.number = number;
    return value;
}

Value Value::of(TextCode text) {
    Value value;
    value.kind = Kind::text;
    value.text = text;
    return value;
}

Value Value::of(Kind kind, Vector* vector) {
    Value value;
    value.kind = kind;
    value.is_vector = true;
    value.vector = vector;
    return value;
}

void Value::clear() {
    if (is_vector) release_vector(vector);
    *this = Value();
}

Value Value::share() const {
    if (is_vector) ++vector->references;
    return *this;
}

Vector* new_vector(Kind kind, size_t count) {
    const size_t size = element_size(kind);
    if (count > (SIZE_MAX - sizeof(Vector)) / size) ut_error(utGetErrorContext(), UT_OUT_OF_MEMORY);
    auto* vector =
        static_cast<Vector*>(ut_mem_alloc(utGetMemoryContext(), sizeof(Vector) + count * size));
    *vector = {1, count, vector + 1, nullptr};
    return vector;
}

Vector* shrink_vector(Kind kind, Vector* vector, size_t count) {
    vector = static_cast<Vector*>(
        ut_mem_realloc(utGetMemoryContext(), vector, sizeof(Vector) + count * element_size(kind)));
    vector->count = count;
    vector->elements = vector + 1;
    return vector;
}

void release_vector(Vector* vector) {
    if (--vector->references > 0) return;
    if (vector->table != nullptr) remove_column(vector);
    ut_mem_free(utGetMemoryContext(), vector);
}

void print_value(const Value& value) {
    if (!value.is_vector) {
        print_element(value, 0);
        utPuts("\n");
        return;
    }
    const size_t count = value.count();
    utPuts("[");
    for (size_t i = 0; i < count && i < kPrinted; ++i) {
        if (i > 0) utPuts(" ");
        print_element(value, i);
    }
    if (count > kPrinted) utPrintf(" ... (%zu)", count);
    utPuts("]\n");
}

NumberText::NumberText(double number) {
    // What the processor makes of 0/0 has its sign bit set; that of a NaN means nothing here.
    if (std::isnan(number)) number = std::numeric_limits<double>::quiet_NaN();
    ut_g_fmt(utGetFpcContext(), text, sizeof text, number);
}

ShortText::ShortText(double number) : NumberText(number) {
    const size_t length = std::strlen(text);
    if (length > 2 && std::strcmp(text + length - 2, ".0") == 0) text[length - 2] = '\0';
}

}  // namespace console
