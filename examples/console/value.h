// value.h - what a statement computes with: a number, a text, or a vector of either.
//
// Numbers and texts are held in the value, texts as their codes. A vector is a counted record with
// its elements, 8 bytes for a number and 4 for a text, behind it or in a column table (see
// column_table.h); it is shared by the variables and temporaries that hold it and may be written
// only while one of them does.
//
//     Value { vector } -> Vector { references, count, elements } [ e0 ][ e1 ] ... [ en-1 ]
//                                                        '-------^
#ifndef CONSOLE_VALUE_H
#define CONSOLE_VALUE_H

#include <cstddef>
#include <cstdint>

#include "texts.h"

namespace console {

enum class Kind : uint8_t { undefined, number, text };

struct ColumnTable;

struct Vector {
    size_t references;
    size_t count;
    void* elements;
    ColumnTable* table;  // that the elements are a column of, or null

    double* numbers() { return static_cast<double*>(elements); }
    TextCode* texts() { return static_cast<TextCode*>(elements); }
};
static_assert(sizeof(Vector) % alignof(double) == 0);

constexpr size_t element_size(Kind kind) {
    return kind == Kind::text ? sizeof(TextCode) : sizeof(double);
}

struct Value {
    Kind kind = Kind::undefined;
    bool is_vector = false;
    union {
        double number;
        TextCode text;
        Vector* vector = nullptr;
    };

    static Value of(double number);
    static Value of(TextCode text);
    static Value of(Kind kind, Vector* vector);  // takes the reference over

    size_t count() const { return is_vector ? vector->count : 1; }
    // The elements; a scalar's is the value itself.
    const double* numbers() const { return is_vector ? vector->numbers() : &number; }
    const TextCode* texts() const { return is_vector ? vector->texts() : &text; }

    void clear();         // drops the reference; the value is then undefined
    Value share() const;  // one more reference
};

// A vector with one reference and elements that are not set, behind it. Raises OUT_OF_MEMORY.
Vector* new_vector(Kind kind, size_t count);

// Cuts a vector of new_vector that has one reference; returns where it is now. Raises OUT_OF_MEMORY
// with the vector untouched.
Vector* shrink_vector(Kind kind, Vector* vector, size_t count);

// Drops a reference, and the vector with the last one.
void release_vector(Vector* vector);

// Prints a value and a newline: numbers in shortest form, long vectors cut.
void print_value(const Value& value);

// The shortest text of a number that reads back to it.
struct NumberText {
    char text[32];
    explicit NumberText(double number);
};

// The same as a part of a text: "3" rather than "3.0".
struct ShortText : NumberText {
    explicit ShortText(double number);
};

}  // namespace console

#endif
