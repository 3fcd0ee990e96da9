// message_slot.cpp - one conversion of a message: fetches the argument by its real type, formats
// it.
//
// All integers are widened to (u)intmax_t when they are fetched, so that three ways of printing
// remain: integer, floating point, and the few that take what they take. What has neither flags
// nor width is printed without the C library where the text is certain to be the same.
//
// Entry point: fill_slot. Tested against the C library by tests/util/message_format_test.cpp.
#include "util/message_slot.h"

#include <cfenv>
#include <charconv>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <type_traits>

namespace qxut {
namespace {

int discard(void* /*stream*/, const char* /*text*/, int32_t length) { return length; }

intmax_t fetch_signed(ArgumentLength length, ut_arguments& arguments) {
    switch (length) {
        case ArgumentLength::hh:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case ArgumentLength::h:
            return static_cast<short>(va_arg(arguments.list, int));
        case ArgumentLength::l:
            return va_arg(arguments.list, long);
        case ArgumentLength::ll:
            return va_arg(arguments.list, long long);
        case ArgumentLength::z:  // NOLINT(bugprone-branch-clone): the same type here only
            return va_arg(arguments.list, std::make_signed_t<size_t>);
        case ArgumentLength::j:
            return va_arg(arguments.list, intmax_t);
        case ArgumentLength::t:
            return va_arg(arguments.list, ptrdiff_t);
        default:
            return va_arg(arguments.list, int);
    }
}

uintmax_t fetch_unsigned(ArgumentLength length, ut_arguments& arguments) {
    switch (length) {
        case ArgumentLength::hh:
            return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
        case ArgumentLength::h:
            return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
        case ArgumentLength::l:
            return va_arg(arguments.list, unsigned long);
        case ArgumentLength::ll:
            return va_arg(arguments.list, unsigned long long);
        case ArgumentLength::z:  // NOLINT(bugprone-branch-clone): the same type here only
            return va_arg(arguments.list, size_t);
        case ArgumentLength::j:
            return va_arg(arguments.list, uintmax_t);
        case ArgumentLength::t:
            return va_arg(arguments.list, std::make_unsigned_t<ptrdiff_t>);
        default:
            return va_arg(arguments.list, unsigned);
    }
}

template <class T>
void store_zero(void* target) {
    if (target != nullptr) *static_cast<T*>(target) = 0;
}

// "%n" counts nothing: what stands before it in one language does not in another. Done without
// the C library, which may end the process over it.
void clear_count(ArgumentLength length, void* target) {
    switch (length) {
        case ArgumentLength::hh:
            return store_zero<signed char>(target);
        case ArgumentLength::h:
            return store_zero<short>(target);
        case ArgumentLength::l:
            return store_zero<long>(target);
        case ArgumentLength::ll:
            return store_zero<long long>(target);
        case ArgumentLength::z:
            return store_zero<std::make_signed_t<size_t>>(target);
        case ArgumentLength::j:
            return store_zero<intmax_t>(target);
        case ArgumentLength::t:
            return store_zero<ptrdiff_t>(target);
        default:
            return store_zero<int>(target);
    }
}

bool is_bare(const Conversion& conversion) {
    return conversion.flags[0] == '\0' && conversion.width == 0 && conversion.precision < 0;
}

// Formats a value with the C library, under a specification with the conversion's own flags,
// width and precision and the length of the type that was fetched.
template <class T>
int print(Slot& slot, const Conversion& conversion, const char* length, T value,
          ScratchScope& scratch) {
    const bool bare = is_bare(conversion);
    char specification[16];
    char* p = specification;
    const auto append = [&p](const char* part) {
        for (; *part != '\0'; ++part) *p++ = *part;
    };
    append("%");
    if (!bare) {
        append(conversion.flags);
        append("*.*");
    }
    append(length);
    *p++ = conversion.letter;
    *p = '\0';
    const auto format = [&](char* text, size_t size) {
        return bare ? std::snprintf(text, size, specification, value)
                    : std::snprintf(text, size, specification, conversion.width,
                                    conversion.precision, value);
    };
    const int needed = format(slot.small, sizeof slot.small);
    if (needed < 0) return needed;
    slot.length = static_cast<size_t>(needed);
    if (slot.length < sizeof slot.small) return 0;
    auto* const text = static_cast<char*>(scratch.take(slot.length + 1));
    if (text == nullptr) return kOutOfMemory;
    slot.bytes = text;
    const int written = format(text, slot.length + 1);
    return written < 0 ? written : 0;
}

// The bare conversions of integers, without the C library.
template <class T>
int print_integer(Slot& slot, const Conversion& conversion, T value, ScratchScope& scratch) {
    if (!is_bare(conversion)) return print(slot, conversion, "j", value, scratch);
    const int base = conversion.letter == 'o' ? 8 : (conversion.letter | 0x20) == 'x' ? 16 : 10;
    const auto result = std::to_chars(slot.small, slot.small + sizeof slot.small, value, base);
    if (conversion.letter == 'X')
        for (char* p = slot.small; p != result.ptr; ++p)
            if (*p >= 'a') *p = static_cast<char>(*p - 'a' + 'A');
    slot.length = static_cast<size_t>(result.ptr - slot.small);
    return 0;
}

// Whether std::to_chars prints as the C library would: it knows one decimal point and one way
// of rounding.
bool numbers_are_plain() {
    const char* const point = std::localeconv()->decimal_point;
    return point[0] == '.' && point[1] == '\0' && std::fegetround() == FE_TONEAREST;
}

// The conversions of double that have at most a precision, without the C library where possible.
int print_double(Slot& slot, const Conversion& conversion, double value, ScratchScope& scratch) {
    std::chars_format format{};
    switch (conversion.letter) {
        case 'f':
            format = std::chars_format::fixed;
            break;
        case 'e':
            format = std::chars_format::scientific;
            break;
        case 'g':
            format = std::chars_format::general;
            break;
        default:
            break;  // E and G
    }
    if (format != std::chars_format{} && conversion.flags[0] == '\0' && conversion.width == 0 &&
        numbers_are_plain()) {
        const int precision = conversion.precision < 0 ? 6 : conversion.precision;
        const auto result =
            std::to_chars(slot.small, slot.small + sizeof slot.small, value, format, precision);
        if (result.ec == std::errc()) {
            slot.length = static_cast<size_t>(result.ptr - slot.small);
            return 0;
        }
    }
    return print(slot, conversion, "", value, scratch);
}

// Records where the callback's arguments begin and steps over them.
int record_callback(Slot& slot, ut_arguments& arguments) {
    slot.callback.formatter = va_arg(arguments.list, ut_message_formatter);
    va_copy(slot.callback.position.list, arguments.list);
    slot.kind = Slot::Kind::callback;
    const int result = slot.callback.formatter(discard, nullptr, &arguments);
    return result < 0 ? result : 0;
}

}  // namespace

int fill_slot(Slot& slot, const Conversion& conversion, ut_arguments& arguments,
              ScratchScope& scratch) {
    slot.kind = Slot::Kind::text;
    slot.bytes = slot.small;
    slot.length = 0;
    const ArgumentLength length = conversion.length;
    switch (conversion.letter) {
        case 's':
            slot.kind = Slot::Kind::string;
            slot.bytes = va_arg(arguments.list, const char*);
            return 0;
        case 'd':
        case 'i':
            return print_integer(slot, conversion, fetch_signed(length, arguments), scratch);
        case 'u':
        case 'o':
        case 'x':
        case 'X':
            return print_integer(slot, conversion, fetch_unsigned(length, arguments), scratch);
        case 'c':
            if (length == ArgumentLength::l)
                return print(slot, conversion, "l", va_arg(arguments.list, wint_t), scratch);
            if (!is_bare(conversion))
                return print(slot, conversion, "", va_arg(arguments.list, int), scratch);
            slot.small[0] = static_cast<char>(va_arg(arguments.list, int));
            slot.length = 1;
            return 0;
        case 'p':
            return print(slot, conversion, "", va_arg(arguments.list, void*), scratch);
        case 'n':
            clear_count(length, va_arg(arguments.list, void*));
            return 0;
        case 'U':
            return record_callback(slot, arguments);
        default:
            if (length == ArgumentLength::L)
                return print(slot, conversion, "L", va_arg(arguments.list, long double), scratch);
            return print_double(slot, conversion, va_arg(arguments.list, double), scratch);
    }
}

}  // namespace qxut
