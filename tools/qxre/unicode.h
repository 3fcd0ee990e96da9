// unicode.h - texts between UTF-8 and UTF-16, and what a terminal makes of them.
#ifndef QXRE_UNICODE_H
#define QXRE_UNICODE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qxre {

// What is ill-formed becomes U+FFFD. decode_utf8 writes at most one unit a byte and returns how
// many.
size_t decode_utf8(char16_t* target, std::string_view text);
std::u16string to_utf16(std::string_view text);
void append_utf8(std::string& target, std::u16string_view text);
std::string to_utf8(std::u16string_view text);

// Takes the character that begins at `position`, a surrogate without its other half being one, and
// moves behind it.
char32_t take_character(std::u16string_view text, size_t& position);

// How many columns a terminal gives to a text: two for a wide character, none for a combining one.
size_t display_width(std::u16string_view text);

}  // namespace qxre

#endif
