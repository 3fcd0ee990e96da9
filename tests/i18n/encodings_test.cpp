#include <gtest/gtest.h>
#include <qxut/i18n/unicode_converter.hpp>

#include "support/icu_reference.h"

namespace {

using namespace qxut_test;
using Quorvanix::I18N::UnicodeConverterX;

Converted<char16_t> ours_to_utf16(const UnicodeConverterX& converter, std::string_view text,
                                  uint32_t capacity) {
    Converted<char16_t> made{0, std::u16string(capacity + kGuard, u'#')};
    made.length = static_cast<uint32_t>(
        converter.toUnicode(made.buffer.data(), static_cast<int32_t>(capacity), text.data(),
                            static_cast<int32_t>(text.size())));
    return made;
}
Converted<char> ours_from_utf16(const UnicodeConverterX& converter, std::u16string_view text,
                                uint32_t capacity) {
    Converted<char> made{0, std::string(capacity + kGuard, '#')};
    made.length = static_cast<uint32_t>(
        converter.fromUnicode(made.buffer.data(), static_cast<int32_t>(capacity), text.data(),
                              static_cast<int32_t>(text.size())));
    return made;
}

// Every two bytes beside each other.
std::string all_pairs() {
    std::string text;
    for (int a = 0; a < 256; ++a) {
        for (int b = 0; b < 256; ++b) {
            text += static_cast<char>(a);
            text += static_cast<char>(b);
        }
    }
    return text;
}

// Over every encoding that ICU has: the tables that stand in front of it hide no rule of its own,
// such as two characters that become one byte together.
TEST(Encodings, AreIcusForAllPairsAndAllUnits) {
    const std::string pairs = all_pairs();
    std::u16string units;
    for (uint32_t unit = 0; unit < 0x10000; ++unit) units += static_cast<char16_t>(unit);
    HardTexts texts(5);
    int tested = 0;
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        const char* const name = ucnv_getAvailableName(i);
        SCOPED_TRACE(name);
        const IcuConverter icu(name);
        const UConverterType type = ucnv_getType(icu.get());
        const bool has_tables = type == UCNV_SBCS || type == UCNV_LATIN_1 || type == UCNV_US_ASCII;
        const UnicodeConverterX ours = UnicodeConverterX::getThreadSpecific(name);
        UErrorCode error = U_ZERO_ERROR;
        EXPECT_STREQ(ours.getName(), ucnv_getName(icu.get(), &error));
        EXPECT_EQ(ours.getMaxCharSize(), ucnv_getMaxCharSize(icu.get()));
        ++tested;
        const std::string bytes = texts.bytes(200);
        ASSERT_EQ(ours_to_utf16(ours, bytes, 900), icu.to_utf16(bytes, 900));
        if (!has_tables) continue;

        ASSERT_EQ(ours_to_utf16(ours, pairs, 140'000), icu.to_utf16(pairs, 140'000));
        ASSERT_EQ(ours_from_utf16(ours, units, 140'000), icu.from_utf16(units, 140'000));
        // What can be mapped, in every pair, with what cannot between; and at all capacities.
        std::u16string mapped = icu.to_utf16(pairs, 140'000).buffer.substr(0, pairs.size());
        std::erase(mapped, u'\uFFFD');
        std::erase(mapped, u'\u001A');
        ASSERT_EQ(ours_from_utf16(ours, mapped, 140'000), icu.from_utf16(mapped, 140'000));
        for (size_t at = 0; at + 64 < mapped.size(); at += 4099) {
            for (uint32_t capacity = 0; capacity <= 66; ++capacity) {
                const std::u16string_view part = std::u16string_view(mapped).substr(at, 64);
                ASSERT_EQ(ours_from_utf16(ours, part, capacity), icu.from_utf16(part, capacity));
                const std::string_view narrow = std::string_view(pairs).substr(at, 64);
                ASSERT_EQ(ours_to_utf16(ours, narrow, capacity), icu.to_utf16(narrow, capacity));
            }
        }
        for (int round = 0; round < 20; ++round) {
            std::u16string mixed = mapped.substr(0, 100);
            mixed.insert(texts.below(100), 1, static_cast<char16_t>(texts.below(0x10000)));
            ASSERT_EQ(ours_from_utf16(ours, mixed, 150), icu.from_utf16(mixed, 150));
        }
    }
    EXPECT_GT(tested, 200);
}

}  // namespace
