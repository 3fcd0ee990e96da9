// escapes.cpp - the reader of escapes.
//
// A letter with a meaning gives that; a special character gives itself, silently; anything else is
// the character itself with a warning at it. Tested by tests/regexp/parser_test.cpp.
#include "regexp/escapes.h"

#include <string_view>

#include "regexp/names.h"

namespace qxut::regexp {
namespace {

constexpr unsigned kNoDigit = 99;

unsigned digit_value(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10U;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10U;
    return kNoDigit;
}

constexpr std::u32string_view kSetSpecial = U"()-[]{|}";
constexpr std::u32string_view kPatternSpecial = U"()-[]{|}*+?\\<>$.^";
constexpr std::u32string_view kClassLetters = U"dDsSwW";

constexpr char32_t kNoControl = 0xFFFFFFFF;

constexpr char32_t control_character(char32_t letter) {
    switch (letter) {
        case U'a':
            return 7;
        case U'b':
            return 8;
        case U'f':
            return 12;
        case U'n':
            return 10;
        case U'r':
            return 13;
        case U't':
            return 9;
        case U'v':
            return 11;
        default:
            return kNoControl;
    }
}

Escape character(char32_t c, size_t end) {
    Escape result;
    result.character = c;
    result.end = end;
    return result;
}

}  // namespace

Escape EscapeReader::literal_with_warning(size_t position, size_t end) const {
    size_t after = position;
    const char32_t c = read_character(source_.text, after, end);
    source_.warn(position, "Escaped character '%c' is treated literally in this context.",
                 static_cast<int>(c == 0 ? U' ' : c));
    return character(c, after);
}

Escape EscapeReader::read_code(size_t letter, size_t end, unsigned base, size_t most_digits,
                               const EscapeOptions& options) {
    const char16_t* text = source_.text;
    const auto skip = [&](size_t position, size_t limit) {
        return options.free_spacing ? skip_free_spacing(source_, position, limit) : position;
    };
    size_t at = skip(letter + 1, end);
    if (at < end && text[at] == u'{') {
        const size_t brace = at;
        const size_t closer = braces_.find(source_, brace);
        if (closer >= end) return literal_with_warning(letter, end);
        constexpr char32_t kLast = 0x10FFFF;
        char32_t code = 0;
        bool is_number = false;
        for (at = skip(brace + 1, closer); at < closer && digit_value(text[at]) < base; ++at) {
            is_number = true;
            if (code <= kLast) code = code * base + digit_value(text[at]);
        }
        is_number = is_number && skip(at, closer) == closer;
        Escape result = character(code, closer + 1);
        if (!is_number) {
            source_.warn(brace, "Braced expression does not evaluate to a character.");
            result.kind = Escape::Kind::dropped;
        } else if (code > kLast) {
            source_.warn(brace, "Braced expression is too long to evaluate to a character.");
            result.kind = Escape::Kind::dropped;
        }
        return result;
    }
    char32_t code = 0;
    size_t digits = 0;
    for (; at < end && digits < most_digits && digit_value(text[at]) < base; ++at, ++digits) {
        code = code * base + digit_value(text[at]);
    }
    return digits == 0 ? literal_with_warning(letter, end) : character(code, at);
}

Escape EscapeReader::read(size_t backslash, size_t end, const EscapeOptions& options) {
    const char16_t* text = source_.text;
    const size_t letter = backslash + 1;
    if (letter >= end) {
        source_.warn(backslash, "Backslash at end of pattern is treated literally.");
        return character(U'\\', letter);
    }
    size_t after = letter;
    const char32_t c = read_character(text, after, end);
    if (const char32_t control = control_character(c); control != kNoControl) {
        return character(control, after);
    }
    if (c == U'o') return read_code(letter, end, 8, 3, options);
    if (c == U'x') return read_code(letter, end, 16, 2, options);
    if (c == U'0') {
        char32_t code = 0;
        for (int i = 0; i < 2 && after < end && digit_value(text[after]) < 8; ++i, ++after) {
            code = code * 8 + digit_value(text[after]);
        }
        return character(code, after);
    }
    if (c == U'<' || c == U'>') {
        Escape result = character(c, after);
        if (options.place == EscapePlace::pattern) {
            result.kind = c == U'<' ? Escape::Kind::start_of_word : Escape::Kind::end_of_word;
        } else if (options.place == EscapePlace::set) {
            source_.warn(backslash,
                         "Word breaks ('\\<' and '\\>') are treated literally in a set.");
        }
        return result;
    }
    if (options.place != EscapePlace::replacement && kClassLetters.find(c) != kClassLetters.npos) {
        Escape result = character(c, after);
        result.kind = Escape::Kind::character_class;
        return result;
    }
    if (options.place == EscapePlace::pattern) {
        if (c >= U'1' && c <= U'9') {
            Escape result;
            result.kind = Escape::Kind::number_reference;
            result.number = c - U'0';
            while (after < end && text[after] >= u'0' && text[after] <= u'9') {
                const size_t digit = text[after] - u'0';
                if (options.token_count < digit ||
                    result.number > (options.token_count - digit) / 10) {
                    break;
                }
                result.number = result.number * 10 + digit;
                ++after;
            }
            result.end = after;
            return result;
        }
        if (c == U'k') {
            if (after < end && text[after] == u'<') {
                Escape result;
                result.kind = Escape::Kind::name_reference;
                result.name_begin = after + 1;
                result.end = after + 1;
                result.name_end = read_closed_name(source_, result.end, end, u'>');
                if (result.end != result.name_begin) return result;
            }
            source_.warn(backslash, "Invalid named token backreference.");
            return literal_with_warning(letter, end);
        }
    }
    const auto& special = options.place == EscapePlace::set ? kSetSpecial : kPatternSpecial;
    if (special.find(c) != special.npos) return character(c, after);
    return literal_with_warning(letter, end);
}

}  // namespace qxut::regexp
