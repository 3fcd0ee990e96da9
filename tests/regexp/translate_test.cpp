// The three translations: tables, the buffer's growth, and a model over generated texts.
#include <gtest/gtest.h>
#include <qxut/i18n/classification.h>
#include <qxut/util/heap.h>

#include <cstring>
#include <new>
#include <qxut/i18n/unicode_converter.hpp>
#include <qxut/regexp/translate.hpp>
#include <random>
#include <string>

#include "support/failing_malloc.h"

namespace {

using qxut_test::FailingMalloc;

using Wide = char16_t* (*)(char16_t*, size_t*, size_t*);
using Narrow = char* (*)(const char*, size_t*);

// Every buffer is exactly as large as its capacity says, so that the sanitizer sees what is beyond.
struct Translated {
    std::u16string text;
    size_t capacity;
    bool same_buffer;
};
Translated translate(Wide function, const std::u16string& text, size_t capacity) {
    auto* const buffer = static_cast<char16_t*>(utMalloc(capacity * sizeof(char16_t)));
    text.copy(buffer, text.size());
    size_t length = text.size();
    const auto before = reinterpret_cast<uintptr_t>(buffer);
    char16_t* const result = function(buffer, &length, &capacity);
    Translated translated{std::u16string(result, length), capacity,
                          reinterpret_cast<uintptr_t>(result) == before};
    utFree(result);
    return translated;
}

std::string translate(Narrow function, const std::string& text) {
    size_t length = text.size();
    char* const result = function(text.data(), &length);
    EXPECT_EQ(result[length], 0);
    std::string translated(result, length);
    utFree(result);
    return translated;
}

constexpr Wide kEscape = RE_Translate::escape;
constexpr Wide kWildcard = RE_Translate::translateWildcard;
constexpr Wide kSpaces = RE_Translate::makeWhitespaceSpaces;

TEST(Translate, ChangesWhatItNames) {
    const struct {
        Wide wide;
        Narrow narrow;
        std::string text;
        std::string translated;
    } kCases[] = {
        {kEscape, RE_Translate::escape, "", ""},
        {kEscape, RE_Translate::escape, "a.b*", "a\\.b\\*"},
        {kEscape, RE_Translate::escape, "$^.\\*+[](){}?|-",
         "\\$\\^\\.\\\\\\*\\+\\[\\]\\(\\)\\{\\}\\?\\|\\-"},
        {kEscape, RE_Translate::escape, "/<>=#&'\" ", "/<>=#&'\" "},
        {kWildcard, RE_Translate::translateWildcard, "*.txt", ".*\\.txt"},
        {kWildcard, RE_Translate::translateWildcard, "a?", "a."},
        {kWildcard, RE_Translate::translateWildcard, "$^\\+[](){}|-",
         "\\$\\^\\\\\\+\\[\\]\\(\\)\\{\\}\\|\\-"},
        {kSpaces, RE_Translate::makeWhitespaceSpaces, {"\t\0a\r\n\x1F", 6}, {"  a  \x1F", 6}},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.text);
        const std::u16string wide(c.text.begin(), c.text.end());
        const std::u16string expected(c.translated.begin(), c.translated.end());
        EXPECT_EQ(translate(c.wide, wide, wide.size() + 1).text, expected);
        EXPECT_EQ(translate(c.narrow, c.text), c.translated);
    }
}

TEST(Translate, NarrowTextIsThatOfTheCodePage) {
    // U+00E9 U+2003 (an em space) U+1F600
    EXPECT_EQ(translate(RE_Translate::makeWhitespaceSpaces, "\xC3\xA9\xE2\x80\x83\xF0\x9F\x98\x80"),
              "\xC3\xA9 \xF0\x9F\x98\x80");
    // The second byte of U+8868 is that of a backslash.
    Quorvanix::I18N::UnicodeConverterX::pushTssDefaultConvName("Shift_JIS");
    EXPECT_EQ(translate(RE_Translate::escape, "\x95\x5C."), "\x95\x5C\\.");
    Quorvanix::I18N::UnicodeConverterX::popTssDefaultConvName();

    const std::string long_text(3000, '.');
    EXPECT_EQ(translate(RE_Translate::escape, long_text).size(), 6000U);
    size_t length = 7;
    char* const empty = RE_Translate::escape(nullptr, &length);
    EXPECT_STREQ(empty, "");
    EXPECT_EQ(length, 0U);
    utFree(empty);
    char* const terminated = RE_Translate::translateWildcard("*a", nullptr);
    EXPECT_STREQ(terminated, ".*a");
    utFree(terminated);
}

// One unit is added at a time; each that does not fit adds the new length to the capacity.
TEST(Translate, CapacityGrowsUnitByUnit) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        const size_t length = random() % 12;
        const std::u16string text(length, random() % 4 == 0 ? u'a' : u'.');
        const size_t capacity = length + random() % 8;
        size_t expected = capacity;
        const size_t new_length = length * (text.substr(0, 1) == u"." ? 2 : 1);
        for (size_t l = length + 1; l <= new_length; ++l) expected += l > expected ? l : 0;
        const Translated translated = translate(kEscape, text, capacity);
        EXPECT_EQ(translated.capacity, expected) << length << " of " << capacity;
        if (expected == capacity) {
            EXPECT_TRUE(translated.same_buffer);
        }
    }
}

TEST(Translate, AgreesWithAModel) {
    const std::u16string special = u"$^.\\*+[](){}?|-";
    std::mt19937 random(2);
    for (int round = 0; round < 300; ++round) {
        std::u16string text;
        for (auto left = random() % 40; left > 0; --left) {
            text += static_cast<char16_t>(random() % 3 == 0 ? random() : random() % 0x80);
        }
        std::u16string escaped;
        std::u16string wild;
        std::u16string spaced;
        for (const char16_t c : text) {
            if (special.find(c) != std::u16string::npos) escaped += u'\\';
            escaped += c;
            if (c == u'*') wild += u'.';
            if (special.find(c) != std::u16string::npos && c != u'*' && c != u'?') wild += u'\\';
            wild += c == u'?' ? u'.' : c;
            spaced += c == 0 || qxu_isspace(c) != 0 ? u' ' : c;
        }
        EXPECT_EQ(translate(kEscape, text, text.size()).text, escaped);
        EXPECT_EQ(translate(kWildcard, text, text.size()).text, wild);
        EXPECT_EQ(translate(kSpaces, text, text.size()).text, spaced);
    }
}

TEST(Translate, OutOfMemoryLeavesTheBuffer) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    size_t length = 1;
    size_t capacity = 1;
    auto* buffer = static_cast<char16_t*>(utMalloc(2));
    *buffer = u'.';
    bool thrown = false;
    {
        const FailingMalloc failing(0);
        try {
            buffer = RE_Translate::escape(buffer, &length, &capacity);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
    }
    EXPECT_TRUE(thrown);
    EXPECT_EQ(length, 1U);
    EXPECT_EQ(capacity, 1U);
    EXPECT_EQ(*buffer, u'.');
    utFree(buffer);

    const std::string text(2000, '.');
    for (size_t request = 0;; ++request) {
        size_t bytes = text.size();
        bool failed = false;
        {
            const FailingMalloc failing(request);
            try {
                utFree(RE_Translate::escape(text.data(), &bytes));
            } catch (const std::bad_alloc&) {
                failed = true;
            }
        }
        EXPECT_EQ(failed, FailingMalloc::has_failed());
        EXPECT_EQ(bytes, failed ? 2000U : 4000U);
        if (!FailingMalloc::has_failed()) break;
    }
}

}  // namespace
