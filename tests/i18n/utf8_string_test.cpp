// The checked text: what it takes, how it converts, compares and is walked; its rules of UTF-8
// compared with ICU over all short sequences of interesting bytes.
#include <qxut/i18n/utf8_string.hpp>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include <qxut/i18n/invalid_character_set_exception.hpp>

namespace {

using Quorvanix::I18N::Utf8String;

std::string icu_repaired(const std::string& bytes) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open("UTF-8", &status);
    char16_t units[64];
    const int32_t length = ucnv_toUChars(converter, units, 64, bytes.data(),
                                         static_cast<int32_t>(bytes.size()), &status);
    ucnv_close(converter);
    char text[256];
    int32_t size = 0;
    u_strToUTF8(text, 256, &size, units, length, &status);
    EXPECT_TRUE(U_SUCCESS(status));
    return std::string(text, static_cast<size_t>(size));
}

TEST(Utf8String, RepairsAndRefusesAsIcu) {
    const std::string alphabet =
        "a\x7F\x80\x8F\x90\x9F\xA0\xBF\xC1\xC2\xDF\xE0\xED\xEF\xF0\xF4\xF5\xFF";
    std::vector<std::string> texts{""};
    for (int length = 0; length < 4; ++length) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            for (const char byte : alphabet) longer.push_back(text + byte);
            const std::string icu = icu_repaired(text);
            ASSERT_EQ(Utf8String::repaired(text).view(), icu) << testing::PrintToString(text);
            ASSERT_EQ(Utf8String::ifValid(text).has_value(), icu == text)
                << testing::PrintToString(text);
        }
        texts = std::move(longer);
    }
}

TEST(Utf8String, TellsWhereBytesAreIllFormed) {
    try {
        const Utf8String text(std::string_view("0123456789abc\xC3"));
        FAIL();
    } catch (const std::invalid_argument& problem) {
        EXPECT_STREQ(problem.what(), "Utf8String: ill-formed at byte 13");
    }
}

TEST(Utf8String, FormsOfOneText) {
    const Utf8String text(u8"a\u00E9\u20AC\U0001F600z");
    EXPECT_EQ(text.size(), 11u);
    EXPECT_EQ(text.length(), 5u);
    EXPECT_EQ(text.toUtf16(), u"a\u00E9\u20AC\U0001F600z");
    EXPECT_EQ(text.toCodePoints(), U"a\u00E9\u20AC\U0001F600z");
    EXPECT_EQ(Utf8String::fromUtf16(text.toUtf16()), text);
    EXPECT_EQ(Utf8String::fromCodePoints(text.toCodePoints()), text);
    std::u32string backwards;
    for (auto at = text.end(); at != text.begin();) backwards += *--at;
    EXPECT_EQ(backwards, U"z\U0001F600\u20AC\u00E9a");
    // What has no UTF-8 of its own.
    const char16_t lone[] = {0xDC00, 'a', 0xD800};
    EXPECT_EQ(Utf8String::fromUtf16(std::u16string_view(lone, 3)), Utf8String(u8"\uFFFDa\uFFFD"));
    const char32_t none[] = {0xD800, 0x110000, 0x10FFFF, 0xFFFFFFFF};
    EXPECT_EQ(Utf8String::fromCodePoints(std::u32string_view(none, 4)),
              Utf8String(u8"\uFFFD\uFFFD\U0010FFFF\uFFFD"));
}

TEST(Utf8String, EncodingsByName) {
    const Utf8String text = Utf8String::fromEncoding("Shift_JIS", "\x90\x85\x91\x66\x81\x45H");
    EXPECT_EQ(text, Utf8String(u8"水素・H"));
    EXPECT_EQ(text.toEncoding("Shift_JIS"), "\x90\x85\x91\x66\x81\x45H");
    EXPECT_EQ(Utf8String(u8"é").toEncoding("ISO-8859-1"), "\xE9");
    EXPECT_EQ(Utf8String::fromEncoding("Shift_JIS", ""), Utf8String());
    EXPECT_THROW(text.toEncoding("no such"), Quorvanix::I18N::InvalidCharacterSetException);
}

TEST(Utf8String, CopiesShareTheBytes) {
    const Utf8String text(u8"shared, and long enough to be on the heap");
    const Utf8String copy(text);  // NOLINT(performance-unnecessary-copy-initialization): is tested
    EXPECT_EQ(copy.c_str(), text.c_str());
    EXPECT_EQ((text + Utf8String()).c_str(), text.c_str());
    EXPECT_EQ(text.substr(0).c_str(), text.c_str());
    EXPECT_STREQ(Utf8String().c_str(), "");
    EXPECT_EQ(Utf8String().begin(), Utf8String().end());
}

TEST(Utf8String, ComparesInBothWays) {
    const Utf8String high(u8"\U00010000");
    const Utf8String low(u8"\uFFFD");
    EXPECT_LT(low, high);
    EXPECT_GT(low.compareIgnoringCase(high), 0);  // by UTF-16 units
    EXPECT_EQ(Utf8String(u8"straße ΑΣ").compareIgnoringCase(Utf8String(u8"STRASSE ας")), 0);
    EXPECT_LT(Utf8String(u8"Apfel").compareIgnoringCase(Utf8String(u8"apfelbaum")), 0);
    const Utf8String nul(std::string_view("a\0b", 3));
    EXPECT_EQ(nul.compareIgnoringCase(Utf8String(std::string_view("A\0B", 3))), 0);
    EXPECT_NE(nul, Utf8String(u8"a"));
}

TEST(Utf8String, Parts) {
    const Utf8String text(u8"密度 密度");
    const Utf8String wanted(u8"度");
    EXPECT_EQ(text.find(wanted), 3u);
    EXPECT_EQ(text.find(wanted, 4), 10u);
    EXPECT_EQ(text.find(wanted, 11), Utf8String::npos);
    EXPECT_EQ(text.substr(3, 4), Utf8String(u8"度 "));
    EXPECT_EQ(text.substr(0, 3) + text.substr(3), text);
    EXPECT_THROW(text.substr(1), std::invalid_argument);
    EXPECT_THROW(text.substr(0, 4), std::invalid_argument);
    EXPECT_THROW(text.substr(14), std::out_of_range);
    EXPECT_TRUE(text.substr(13).empty());
}

}  // namespace
