// unicode.cpp - see unicode.h. Tested by tests/tools/qxre_test.py (carets under wide characters).
#include "unicode.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstdint>

#include <qxut/i18n/conversion.h>

namespace qxre {
namespace {

// What the library's functions take at once: lengths there are 32 bits wide.
constexpr size_t kPiece = size_t{1} << 28;

size_t columns(char32_t c) {
    const auto code = static_cast<UChar32>(c);
    const int category = u_charType(code);
    if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK ||
        category == U_FORMAT_CHAR || category == U_CONTROL_CHAR)
        return 0;
    const int width = u_getIntPropertyValue(code, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace

size_t decode_utf8(char16_t* target, std::string_view text) {
    size_t made = 0;
    for (size_t taken = 0; taken < text.size();) {
        size_t size = std::min(kPiece, text.size() - taken);
        // Not within a character.
        while (taken + size < text.size() && size > kPiece - 4 &&
               (static_cast<unsigned char>(text[taken + size]) & 0xC0U) == 0x80U)
            --size;
        auto capacity = static_cast<uint32_t>(size);
        made += utf8_to_utf16_n(target + made, &capacity, text.data() + taken,
                                static_cast<uint32_t>(size));
        taken += size;
    }
    return made;
}

std::u16string to_utf16(std::string_view text) {
    std::u16string result(text.size(), u'\0');
    result.resize(decode_utf8(result.data(), text));
    return result;
}

void append_utf8(std::string& target, std::u16string_view text) {
    for (size_t taken = 0; taken < text.size();) {
        size_t size = std::min(kPiece, text.size() - taken);
        if (taken + size < text.size() && (text[taken + size - 1] & 0xFC00U) == 0xD800U) --size;
        const size_t before = target.size();
        target.resize(before + 3 * size);
        auto capacity = static_cast<uint32_t>(3 * size);
        const uint32_t made = utf16_to_utf8_n(target.data() + before, &capacity,
                                              text.data() + taken, static_cast<uint32_t>(size));
        target.resize(before + made);
        taken += size;
    }
}

std::string to_utf8(std::u16string_view text) {
    std::string result;
    append_utf8(result, text);
    return result;
}

char32_t take_character(std::u16string_view text, size_t& position) {
    const char16_t first = text[position++];
    if ((first & 0xFC00U) != 0xD800U || position == text.size() ||
        (text[position] & 0xFC00U) != 0xDC00U)
        return first;
    return 0x10000U + ((first & 0x3FFU) << 10U) + (text[position++] & 0x3FFU);
}

size_t display_width(std::u16string_view text) {
    size_t width = 0;
    for (size_t i = 0; i < text.size();) width += columns(take_character(text, i));
    return width;
}

}  // namespace qxre
