#include "regexp/narrow_text.h"

#include <gtest/gtest.h>

#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>
#include <qxut/i18n/unicode_converter.hpp>

#include <random>
#include <string>

using Quorvanix::I18N::UnicodeConverterX;
using qxut::regexp::NarrowText;

namespace {

std::u16string converted(const std::string& bytes) {
    char16_t* const units = lcp_to_utf16(bytes.data(), static_cast<uint32_t>(bytes.size()));
    std::u16string text = units;
    utFree(units);
    return text;
}

// The units are those of the library's conversion, and the bytes in front of each unit's offset are
// the units in front of it. Texts without NUL.
void expect_maps(const std::string& bytes) {
    const NarrowText narrow(bytes.data(), bytes.size());
    const std::u16string units(narrow.units(), narrow.length());
    ASSERT_EQ(units, converted(bytes));
    size_t before = 0;
    for (size_t unit = 0; unit < units.size(); ++unit) {
        const size_t offset = narrow.byte_offset(unit);
        ASSERT_LE(before, offset);
        before = offset;
        const bool is_low = unit != 0 && (units[unit] & 0xFC00) == 0xDC00;
        if (is_low) {
            ASSERT_EQ(offset, narrow.byte_offset(unit - 1));
        } else if (unit % 7 == 0 || units.size() < 300) {
            ASSERT_EQ(converted(bytes.substr(0, offset)), units.substr(0, unit)) << unit;
        }
    }
    EXPECT_EQ(narrow.byte_offset(units.size()), bytes.size());
    EXPECT_EQ(narrow.byte_offset(units.size() + 1), bytes.size());
}

TEST(NarrowText, OffsetsOfUtf8) {
    const std::string mixed = "a\u00E9\u4E2D\U0001F600z";
    std::string longer;
    for (int i = 0; i < 60; ++i) longer += mixed;
    for (const std::string& text :
         {std::string(), std::string("plain"), mixed, longer, std::string("\xE4\xB8"),
          std::string("a\x80\xF0\x9F\x98z\xFF"), longer + "\xED\xA0\x80" + longer}) {
        SCOPED_TRACE(text);
        expect_maps(text);
    }
    // Pieces of characters in any order.
    std::mt19937 random(7);
    const char* const pieces[] = {
        "a", "\xC3", "\xA9", "\xE4\xB8\xAD", "\xE4\xB8", "\xF0\x9F\x98\x80"};
    for (int round = 0; round < 200; ++round) {
        std::string text;
        for (auto i = random() % 40; i != 0; --i) text += pieces[random() % 6];
        expect_maps(text);
    }
}

TEST(NarrowText, OffsetsOfOtherCodePages) {
    UnicodeConverterX::pushTssDefaultConvName("Shift_JIS");
    std::string text = "a\x93\xFA\x96\x7B z";
    expect_maps(text);
    expect_maps(text + "\x93");  // cut off
    // Over the pieces in which it is read, which end within characters.
    while (text.size() < 150'000) text.append(text).append("b");
    expect_maps(text.substr(0, 1000));
    const NarrowText narrow(text.data(), text.size());
    EXPECT_EQ(std::u16string(narrow.units(), narrow.length()), converted(text));
    for (size_t unit = 0; unit < narrow.length(); ++unit) {
        const char byte = text[narrow.byte_offset(unit)];
        const char16_t c = narrow.units()[unit];
        ASSERT_EQ(c == u'\u65E5', byte == '\x93') << unit;
        ASSERT_EQ(c == u'a', byte == 'a') << unit;
    }
    UnicodeConverterX::popTssDefaultConvName();

    UnicodeConverterX::pushTssDefaultConvName("ISO-8859-1");
    expect_maps("caf\xE9 \xFF");
    UnicodeConverterX::popTssDefaultConvName();
}

TEST(NarrowText, NullIsEmpty) {
    const NarrowText none(nullptr, 5);
    EXPECT_EQ(none.length(), 0u);
    EXPECT_NE(none.units(), nullptr);
    EXPECT_EQ(none.byte_offset(0), 0u);
}

}  // namespace
