// value.h - what a statement computes with: a number, a text, or a vector of either.
//
// Numbers and texts are held in the value. A vector is a counted block with its elements behind
// it, 8 bytes each; it is shared by the variables and temporaries that hold it and may be written
// only while one of them does. Texts are canonical pointers into the name hash: equal texts have
// equal addresses, nothing owns them, and they stay until the contexts are cleared.
//
//     Value { number, vector }        Vector { references, count } [ e0 ][ e1 ] ... [ en-1 ]
//                      '--------------'
#ifndef CONSOLE_VALUE_H
#define CONSOLE_VALUE_H

#include <cstddef>
#include <cstdint>

namespace console {

enum class Kind : uint8_t { undefined, number, text };

struct Vector {
    size_t references;
    size_t count;

    double* numbers() { return reinterpret_cast<double*>(this + 1); }
    const char** texts() { return reinterpret_cast<const char**>(this + 1); }
};
static_assert(sizeof(double) == 8 && sizeof(const char*) == 8 && sizeof(Vector) % 8 == 0);

struct Value {
    Kind kind = Kind::undefined;
    bool is_vector = false;
    union {
        double number;
        const char* text;
        Vector* vector = nullptr;
    };

    static Value of(double number);
    static Value of(const char* canonical_text);
    static Value of(Kind kind, Vector* vector);  // takes the reference over

    size_t count() const { return is_vector ? vector->count : 1; }
    // The elements; a scalar's is the value itself.
    const double* numbers() const { return is_vector ? vector->numbers() : &number; }
    const char* const* texts() const { return is_vector ? vector->texts() : &text; }

    void clear();         // drops the reference; the value is then undefined
    Value share() const;  // one more reference
};

// A vector with one reference and elements that are not set. Raises OUT_OF_MEMORY.
Vector* new_vector(size_t count);

// Changes the number of elements of a vector that has one reference. Raises OUT_OF_MEMORY with
// the vector untouched.
Vector* resize_vector(Vector* vector, size_t count);

// Prints a value and a newline: numbers in shortest form, long vectors cut.
void print_value(const Value& value);

// The shortest text of a number that reads back to it.
struct NumberText {
    char text[32];
    explicit NumberText(double number);
};

}  // namespace console

#endif
