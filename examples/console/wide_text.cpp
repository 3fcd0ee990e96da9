// wide_text.cpp - see wide_text.h. Tested by tests/console (patterns).
#include "wide_text.h"

#include <cstring>
#include <limits>

#include <qxut/i18n/classification.h>
#include <qxut/i18n/conversion.h>

namespace console {
namespace {

uint32_t checked(size_t length) {
    if (length > std::numeric_limits<int32_t>::max() / 3)
        ut_error(utGetErrorContext(), UT_OUT_OF_MEMORY);
    return static_cast<uint32_t>(length);
}

struct Range {
    char32_t first;
    char32_t last;
};

// Where characters are twice as wide, and where they stand over the one before.
constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},  {0x3041, 0xA4CF},
                           {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},  {0xFE30, 0xFE6F},
                           {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F},
                           {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
constexpr Range kCombining[] = {{0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF},
                                {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

template <size_t size>
bool is_in(const Range (&ranges)[size], char32_t c) {
    for (const Range& range : ranges) {
        if (c >= range.first && c <= range.last) return true;
    }
    return false;
}

// Takes the character at `position` and moves behind it.
char32_t take(const char16_t* text, size_t length, size_t& position) {
    const char16_t first = text[position++];
    const bool is_pair =
        (first & 0xFC00U) == 0xD800U && position < length && (text[position] & 0xFC00U) == 0xDC00U;
    if (!is_pair) return first;
    return 0x10000U + ((first & 0x3FFU) << 10U) + (text[position++] & 0x3FFU);
}

}  // namespace

void WideText::set(const char* text, size_t length) {
    length_ = 0;
    uint32_t capacity = checked(length);  // no character takes more units than bytes
    units_.reserve(length);
    length_ = utf8_to_utf16_n(units_.begin(), &capacity, text, capacity);
}

void WideText::set(const char* text) { set(text, std::strlen(text)); }

void append_utf8(Array<char>& target, const char16_t* text, size_t length) {
    uint32_t capacity = 3 * checked(length) + 1;
    const size_t before = target.size();
    target.reserve(before + capacity);
    utf16_to_utf8_n(target.end(), &capacity, text, static_cast<uint32_t>(length));
    target.resize(before + capacity + 1);
    target.back() = '\0';
}

TextCode wide_text_code(const char16_t* text, size_t length, Array<char>& scratch) {
    scratch.resize(0);
    append_utf8(scratch, text, length);
    return text_code(scratch.begin());
}

size_t count_characters(const char16_t* text, size_t length) {
    size_t count = 0;
    for (size_t i = 0; i < length; ++count) take(text, length, i);
    return count;
}

size_t count_columns(const char16_t* text, size_t length) {
    size_t columns = 0;
    for (size_t i = 0; i < length;) {
        const char32_t c = take(text, length, i);
        if (qxu_iscntrl(static_cast<int32_t>(c)) == 0 && !is_in(kCombining, c))
            columns += is_in(kWide, c) ? 2 : 1;
    }
    return columns;
}

}  // namespace console
