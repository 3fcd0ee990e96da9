// message_conversion.cpp - parses one printf conversion; see message_conversion.h.
// Tested through tests/util/message_test.cpp.
#include "util/message_conversion.h"

#include <climits>
#include <cstring>

namespace qxut {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Reads digits; a number beyond the range of int gives -1.
int parse_number(const char*& p) {
    int64_t number = 0;
    for (; is_digit(*p); ++p)
        if (number <= INT_MAX) number = number * 10 + (*p - '0');
    return number <= INT_MAX ? static_cast<int>(number) : -1;
}

ArgumentLength parse_length(const char*& p) {
    switch (*p) {
        case 'h':
            if (*++p != 'h') return ArgumentLength::h;
            ++p;
            return ArgumentLength::hh;
        case 'l':
            if (*++p != 'l') return ArgumentLength::l;
            ++p;
            return ArgumentLength::ll;
        case 'z':
            ++p;
            return ArgumentLength::z;
        case 'j':
            ++p;
            return ArgumentLength::j;
        case 't':
            ++p;
            return ArgumentLength::t;
        case 'L':
            ++p;
            return ArgumentLength::L;
        default:
            return ArgumentLength::none;
    }
}

// Whether the length says which type the letter's argument has. "%s" and the letters that take
// no length are refused elsewhere, with statuses of their own.
bool fits(ArgumentLength length, char letter) {
    switch (letter) {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
        case 'n':
            return length != ArgumentLength::L;
        case 'f':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
            return length == ArgumentLength::none || length == ArgumentLength::l ||
                   length == ArgumentLength::L;
        case 'c':
            return length == ArgumentLength::none || length == ArgumentLength::l;
        case 'p':
            return length == ArgumentLength::none;
        default:
            return true;
    }
}

}  // namespace

Conversion parse_full_conversion(const char* text) {
    Conversion conversion{};
    const char* p = text + 1;
    size_t flags = 0;
    for (; *p != '\0' && std::strchr("-+ #0", *p) != nullptr; ++p)
        if (std::strchr(conversion.flags, *p) == nullptr) conversion.flags[flags++] = *p;
    conversion.width = parse_number(p);
    conversion.precision = -1;
    bool valid = conversion.width >= 0;
    if (*p == '.') {
        ++p;
        conversion.precision = parse_number(p);
        valid = valid && conversion.precision >= 0;
    }
    conversion.length = parse_length(p);
    valid = valid && *p != '\0' && std::strchr(kConversionLetters, *p) != nullptr &&
            fits(conversion.length, *p);
    if (!valid) return conversion;
    conversion.letter = *p;
    conversion.plain = p == text + 1;
    conversion.end = p + 1;
    return conversion;
}

}  // namespace qxut
