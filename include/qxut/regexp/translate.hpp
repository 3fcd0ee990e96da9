// translate.hpp - texts made fit for patterns: escaped, from wildcards, white space as blanks.
//
// Each function has two forms. The UTF-16 form works on a buffer of utMalloc's, `*capacity` units
// large with `*length` in use, and returns it: the same one when the result fits, else the buffer
// reallocated. Each added unit that no longer fits makes the capacity the old capacity plus the new
// length. The buffer may be null with capacity 0, and any memory when the result is known to fit.
// Nothing ends the text: a NUL in it is a character.
//
// The narrow form takes text in the local code page, `*length` bytes or, where `length` is null, up
// to a NUL. It returns a new NUL-terminated text, which the caller frees with utFree, and stores
// its length. A null text counts as empty. What the code page cannot hold or is ill-formed is
// substituted, as in conversion.h.
//
// Both throw std::bad_alloc when memory is short, a narrow text of 2 GiB or more included; buffer,
// length and capacity are then as they were.
#ifndef QXUT_REGEXP_TRANSLATE_HPP
#define QXUT_REGEXP_TRANSLATE_HPP

#include <cstddef>

#include <qxut/regexp/memory.hpp>

class QXUT_API RE_Translate : public RE_Memory {
  public:
    // Puts a backslash before each of $ ^ . \ * + [ ] ( ) { } ? | - so that the text as a pattern
    // matches itself.
    static char16_t* escape(char16_t* buffer, size_t* length, size_t* capacity);
    static char* escape(const char* text, size_t* length);

    // Turns a wildcard pattern into a regular expression: * becomes .* and ? becomes . and the
    // other characters that escape names are escaped.
    static char16_t* translateWildcard(char16_t* buffer, size_t* length, size_t* capacity);
    static char* translateWildcard(const char* text, size_t* length);

    // Turns each white space character (\s) and each NUL into a blank.
    static char16_t* makeWhitespaceSpaces(char16_t* buffer, size_t* length, size_t* capacity);
    static char* makeWhitespaceSpaces(const char* text, size_t* length);
};

#endif
