// dump_text.h - pieces of text for the dumps of graphs and templates, UTF-8.
//
// A lone surrogate shows as U+FFFD, NUL as a blank.
#ifndef QXUT_SRC_REGEXP_DUMP_TEXT_H
#define QXUT_SRC_REGEXP_DUMP_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qxut::regexp {

// All throw std::bad_alloc.
void append_character(std::string& text, char32_t c);
void append_characters(std::string& text, const char16_t* units, size_t length);
void append_name(std::string& text, const char16_t* name);  // NUL-terminated
void append_decimal(std::string& text, uint64_t number);
void append_hexadecimal(std::string& text, uint32_t number);  // eight digits

// Appends a quoted string of Graphviz's language that shows `label` as it is: no escape of that
// language or of HTML is taken for one, a control character is shown as \x and two digits.
void append_label(std::string& text, std::string_view label);

}  // namespace qxut::regexp

#endif
