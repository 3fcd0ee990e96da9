// dump_text.cpp - UTF-8, numbers and labels for the dumps.
//
// Tested by tests/regexp/dump_test.cpp.
#include "regexp/dump_text.h"

#include <charconv>

#include "regexp/source.h"

namespace qxut::regexp {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

}  // namespace

void append_character(std::string& text, char32_t c) {
    const auto put = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto put_rest = [&](int shift) { put(0x80 | ((c >> shift) & 0x3F)); };
    if (c == 0) c = U' ';
    if (is_surrogate(c)) c = 0xFFFD;
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put_rest(0);
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put_rest(6);
        put_rest(0);
    } else {
        put(0xF0 | (c >> 18));
        put_rest(12);
        put_rest(6);
        put_rest(0);
    }
}

void append_characters(std::string& text, const char16_t* units, size_t length) {
    for (size_t i = 0; i < length;) append_character(text, read_character(units, i, length));
}

void append_name(std::string& text, const char16_t* name) {
    append_characters(text, name, std::char_traits<char16_t>::length(name));
}

void append_decimal(std::string& text, uint64_t number) {
    char digits[20];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text.append(digits, static_cast<size_t>(end - digits));
}

void append_hexadecimal(std::string& text, uint32_t number) {
    for (int shift = 28; shift >= 0; shift -= 4) text.push_back(kHexDigits[number >> shift & 0xF]);
}

void append_label(std::string& text, std::string_view label) {
    text.push_back('"');
    for (const char c : label) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text.push_back('\\');
            text.push_back(c);
        } else if (c == '&') {
            text += "&amp;";
        } else if (byte < 0x20 || byte == 0x7F) {
            text += "\\\\x";
            text.push_back(kHexDigits[byte >> 4]);
            text.push_back(kHexDigits[byte & 0xF]);
        } else {
            text.push_back(c);
        }
    }
    text.push_back('"');
}

}  // namespace qxut::regexp
