// message_conversion.h - the grammar of a printf conversion in an English message text.
//
//   % flags width .precision length letter        flags: - + space # 0    length: hh h l ll z j t L
//
// One parser serves the checks at registration and the formatter, so that what is accepted and
// what is formatted are the same thing. `*` and `$` are not in the grammar.
#ifndef QXUT_SRC_UTIL_MESSAGE_CONVERSION_H
#define QXUT_SRC_UTIL_MESSAGE_CONVERSION_H

#include <cstdint>

namespace qxut {

constexpr char kConversionLetters[] = "diuoxXfeEgGcspn%U";

enum class ArgumentLength : uint8_t { none, hh, h, l, ll, z, j, t, L };

struct Conversion {
    const char* end;  // behind the letter
    char letter;      // one of kConversionLetters; NUL: not a conversion
    bool plain;       // nothing between "%" and the letter
    ArgumentLength length;
    char flags[6];  // those present, once each, as a string
    int width;      // 0: none
    int precision;  // -1: none
};

// The same as below, for a conversion with something between "%" and the letter.
Conversion parse_full_conversion(const char* text);

// Parses the conversion whose "%" is at `text`.
inline Conversion parse_conversion(const char* text) {
    const char letter = text[1];
    // The commonest letters, so that most conversions never leave the caller.
    if (letter == 's' || letter == 'd' || letter == 'u')
        return {text + 2, letter, true, ArgumentLength::none, {}, 0, -1};
    return parse_full_conversion(text);
}

}  // namespace qxut

#endif
