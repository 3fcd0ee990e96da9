#include <gtest/gtest.h>
#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>
#include <qxut/i18n/invalid_character_set_exception.hpp>

#include <functional>
#include <memory>

#include "support/failing_malloc.h"
#include "support/icu_reference.h"

namespace {

using Quorvanix::I18N::InvalidCharacterSetException;
using namespace qxut_test;

constexpr uint32_t kTerminated = 0xFFFFFFFF;

template <typename Unit>
using Text = std::unique_ptr<Unit, decltype(&utFree)>;
template <typename Unit>
Text<Unit> own(Unit* text) {
    return {text, utFree};
}
template <typename Unit>
std::basic_string<Unit> taken(Unit* text) {
    const auto owned = own(text);
    return text == nullptr ? std::basic_string<Unit>{} : std::basic_string<Unit>(text);
}

std::string shown(std::string_view bytes) {
    std::string made;
    char hex[4];
    for (const char byte : bytes) {
        std::snprintf(hex, sizeof hex, "%02X ", static_cast<unsigned char>(byte));
        made += hex;
    }
    return made;
}
std::string shown(std::u16string_view units) {
    return shown({reinterpret_cast<const char*>(units.data()), units.size() * 2});
}

Converted<char16_t> counted_utf16(std::string_view text, uint32_t capacity) {
    Converted<char16_t> made{capacity, std::u16string(capacity + kGuard, u'#')};
    const uint32_t length = utf8_to_utf16_n(made.buffer.data(), &made.length, text.data(),
                                            static_cast<uint32_t>(text.size()));
    EXPECT_EQ(length, made.length);
    return made;
}
Converted<char> counted_utf8(std::u16string_view text, uint32_t capacity) {
    Converted<char> made{capacity, std::string(capacity + kGuard, '#')};
    const uint32_t length = utf16_to_utf8_n(made.buffer.data(), &made.length, text.data(),
                                            static_cast<uint32_t>(text.size()));
    EXPECT_EQ(length, made.length);
    return made;
}

class Differential : public testing::Test {
  protected:
    const IcuConverter icu{"UTF-8"};

    void compare(std::string_view text, uint32_t capacity) {
        ASSERT_EQ(counted_utf16(text, capacity), icu.to_utf16(text, capacity))
            << shown(text) << "into " << capacity;
    }
    void compare(std::u16string_view text, uint32_t capacity) {
        ASSERT_EQ(counted_utf8(text, capacity), icu.from_utf16(text, capacity))
            << shown(text) << "into " << capacity;
    }
};

// The result, the cut one too, and what is behind it are ICU's at each capacity and each cut of
// the source.
TEST_F(Differential, Utf8AtEveryCapacityAndLength) {
    HardTexts texts(1);
    for (int round = 0; round < 60; ++round) {
        const std::string text = texts.utf8(round < 50 ? 120 : 400, round % 3 == 0);
        for (uint32_t capacity = 0; capacity <= text.size() + 2; ++capacity) {
            ASSERT_NO_FATAL_FAILURE(compare(text, capacity));
        }
        for (size_t cut = 0; cut < text.size(); ++cut) {
            ASSERT_NO_FATAL_FAILURE(compare(std::string_view(text).substr(cut), 500));
            ASSERT_NO_FATAL_FAILURE(compare(std::string_view(text).substr(0, cut), 500));
        }
    }
}

TEST_F(Differential, Utf16AtEveryCapacityAndLength) {
    HardTexts texts(2);
    for (int round = 0; round < 60; ++round) {
        const std::u16string text = texts.utf16(round < 50 ? 70 : 200, round % 3 == 0);
        for (uint32_t capacity = 0; capacity <= 3 * text.size() + 2; ++capacity) {
            ASSERT_NO_FATAL_FAILURE(compare(text, capacity));
        }
        for (size_t cut = 0; cut < text.size(); ++cut) {
            ASSERT_NO_FATAL_FAILURE(compare(std::u16string_view(text).substr(cut), 700));
            ASSERT_NO_FATAL_FAILURE(compare(std::u16string_view(text).substr(0, cut), 700));
        }
    }
}

TEST_F(Differential, EveryShortSequenceInsideALongText) {
    // Three bytes of each kind of byte, where the vector form finds them and at the end.
    static constexpr unsigned char kKinds[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0,
                                               0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xED,
                                               0xEE, 0xEF, 0xF0, 0xF1, 0xF4, 0xF5, 0xF8, 0xFF};
    for (const unsigned char a : kKinds) {
        for (const unsigned char b : kKinds) {
            for (const unsigned char c : kKinds) {
                const char three[] = {static_cast<char>(a), static_cast<char>(b),
                                      static_cast<char>(c)};
                const std::string_view sequence(three, 3);
                for (const char* tail : {"", "\x80", "\xBF\x80"}) {
                    std::string text = "ab";
                    text += sequence;
                    text += tail;
                    text.append(100, 'x');
                    text += sequence;
                    text += tail;
                    ASSERT_NO_FATAL_FAILURE(compare(text, 300));
                }
            }
        }
    }
}

TEST_F(Differential, AllCodePoints) {
    std::u16string all;
    for (uint32_t c = 0; c < 0x10000; ++c) all += static_cast<char16_t>(c);
    for (uint32_t c = 0x10000; c < 0x110000; ++c) {
        all += static_cast<char16_t>(0xD7C0 + (c >> 10));
        all += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    }
    compare(all, 5'000'000);
    const Converted<char> bytes = icu.from_utf16(all, 5'000'000);
    compare(std::string_view(bytes.buffer).substr(0, bytes.length), 5'000'000);
}

TEST_F(Differential, LongHardTexts) {
    HardTexts texts(3);
    for (int round = 0; round < 40; ++round) {
        const std::string text = texts.utf8(20'000, round % 2 == 0);
        const std::u16string units = texts.utf16(20'000, round % 2 == 0);
        for (const uint32_t capacity : {0u, 1u, 1000u, 1024u, 9999u, 100'000u}) {
            ASSERT_NO_FATAL_FAILURE(compare(text, capacity));
            ASSERT_NO_FATAL_FAILURE(compare(units, capacity));
        }
        ASSERT_EQ(taken(utf8_to_utf16(text.c_str(), kTerminated)),
                  icu.to_utf16(text.c_str(), 100'000).buffer.c_str());
        ASSERT_EQ(taken(utf16_to_utf8(units.c_str(), kTerminated)),
                  icu.from_utf16(units.c_str(), 100'000).buffer.c_str());
    }
}

TEST(Conversion, AllocatingFormsAroundTheFirstPass) {
    // Results of the lengths at which the first pass just fits, and far beyond.
    for (const uint32_t length : {0u, 1u, 170u, 171u, 341u, 342u, 1023u, 1024u, 1025u, 70'000u}) {
        SCOPED_TRACE(length);
        const std::string ascii(length, 'q');
        const std::u16string wide(length, u'q');
        EXPECT_EQ(taken(utf8_to_utf16(ascii.data(), length)), wide);
        EXPECT_EQ(taken(utf16_to_utf8(wide.data(), length)), ascii);
        EXPECT_EQ(taken(lcp_to_utf16(ascii.data(), length)), wide);
        EXPECT_EQ(taken(utf16_to_lcp(wide.data(), kTerminated)), ascii);
        for (const char* name : {"UTF-8", "windows-1252", "Shift_JIS", "UTF-7"}) {
            EXPECT_EQ(taken(enc_to_utf16(name, ascii.data(), length)), wide);
            EXPECT_EQ(taken(utf16_to_enc(name, wide.data(), length)), ascii);
        }
        const std::u16string accented(length, u'\u00E9');
        EXPECT_EQ(taken(utf16_to_utf8(accented.data(), length)).size(), 2 * length);
        EXPECT_EQ(taken(utf16_to_enc("ISO-8859-1", accented.data(), length)),
                  std::string(length, '\xE9'));
    }
}

TEST(Conversion, SourcesThatAreNullOrHaveUnusualLengths) {
    for (const uint32_t length : {0u, 5u, 0x80000000u, 0xFFFFFFFEu, kTerminated}) {
        SCOPED_TRACE(length);
        const std::function<char16_t*()> wide[] = {
            [=] { return utf8_to_utf16(nullptr, length); },
            [=] { return lcp_to_utf16(nullptr, length); },
            [=] { return enc_to_utf16("Shift_JIS", nullptr, length); },
            [=] { return ics_to_utf16(nullptr, length); }};
        for (const auto& convert : wide) {
            const auto text = own(convert());
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(*text, 0);
        }
        const std::function<char*()> narrow[] = {
            [=] { return utf16_to_utf8(nullptr, length); },
            [=] { return utf16_to_lcp(nullptr, length); },
            [=] { return utf16_to_enc("ISO-8859-1", nullptr, length); },
            [=] { return utf16_to_ics(nullptr, length); },
            [=] { return utf8_to_ics(nullptr, length); },
            [=] { return ics_to_utf8(nullptr, length); }};
        for (const auto& convert : narrow) {
            const auto text = own(convert());
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(*text, '\0');
        }
    }
    for (const uint32_t length : {0x80000000u, 0xFFFFFFFEu}) {
        EXPECT_EQ(taken(utf8_to_utf16("text", length)), u"");
        EXPECT_EQ(taken(utf16_to_utf8(u"text", length)), "");
        EXPECT_EQ(taken(enc_to_utf16("windows-1252", "text", length)), u"");
        EXPECT_EQ(taken(utf16_to_enc("Shift_JIS", u"text", length)), "");
    }
}

TEST(Conversion, CapacityTellsWhatIsNeeded) {
    char bytes[8] = "#######";
    uint32_t capacity = 4;
    EXPECT_EQ(utf16_to_utf8_n(bytes, &capacity, u"\u20AC\u20AC", 2), 6u);
    EXPECT_EQ(capacity, 6u);
    EXPECT_STREQ(bytes, "\xE2\x82\xAC\xE2###");
    for (const uint32_t impossible : {0x80000000u, 0xFFFFFFFFu}) {
        capacity = impossible;
        EXPECT_EQ(utf16_to_utf8_n(bytes, &capacity, u"text", 4), 0u);
        EXPECT_EQ(capacity, 0u);
    }
    capacity = 0;
    EXPECT_EQ(utf8_to_utf16_n(nullptr, &capacity, "\xF0\x9F\x98\x80!", kTerminated), 3u);
    capacity = 0;
    EXPECT_EQ(enc_to_utf16_n("Shift_JIS", nullptr, &capacity, "\x83\x65", 2), 1u);
    capacity = 7;
    EXPECT_EQ(utf16_to_lcp_n(nullptr, &capacity, u"text", 4), 0u);
    char16_t units[4] = {u'#', u'#', u'#', u'#'};
    capacity = 4;
    EXPECT_EQ(lcp_to_utf16_n(units, &capacity, "\xC3\xA9", 2), 1u);
    EXPECT_EQ(std::u16string(units, 4), std::u16string(u"\u00E9\0##", 4));
}

TEST(Conversion, InternalCharacterSetIsNotDecoded) {
    EXPECT_EQ(taken(ics_to_utf16("a\x7F\x80\xE9\xFF", 5)), u"a\x7F\xFF80\xFFE9\xFFFF");
    EXPECT_EQ(taken(utf16_to_ics(u"a\u20AC\u00E9", kTerminated)), "a\xAC\xE9");
    EXPECT_EQ(taken(utf8_to_ics("\xC3\xA9\xFF", 2)), "\xC3\xA9");
    EXPECT_EQ(taken(ics_to_utf8("\xE9\x01", kTerminated)), "\xE9\x01");
    char16_t units[4] = {u'#', u'#', u'#', u'#'};
    uint32_t capacity = 2;
    EXPECT_EQ(ics_to_utf16_n(units, &capacity,
                             "\xE9"
                             "bc",
                             3),
              2u);
    EXPECT_EQ(std::u16string(units, 4),
              u"\xFFE9"
              u"b##");
    char bytes[4] = {'#', '#', '#', '#'};
    for (const auto& copy : {utf8_to_ics_n, ics_to_utf8_n}) {
        capacity = 4;
        EXPECT_EQ(copy(bytes, &capacity, "xy", kTerminated), 2u);
        EXPECT_EQ(std::string(bytes, 4), "xy##");
    }
    capacity = 4;
    EXPECT_EQ(utf16_to_ics_n(bytes, &capacity, u"\u20AC", 1), 1u);
    EXPECT_EQ(std::string(bytes, 4), "\xACy##");
    capacity = 3;
    EXPECT_EQ(utf16_to_ics_n(bytes, &capacity, nullptr, 3), 0u);
    EXPECT_EQ(capacity, 0u);
}

TEST(Conversion, UnknownEncodingsPassThrough) {
    uint32_t capacity = 3;
    char16_t units[3] = {1, 2, 3};
    for (const char* name : {"no such encoding", "", ",swaplfnl", "../UTF-8", "a\\b"}) {
        SCOPED_TRACE(name);
        EXPECT_THROW(enc_to_utf16(name, "text", 4), InvalidCharacterSetException);
        EXPECT_THROW(utf16_to_enc(name, u"text", 4), InvalidCharacterSetException);
        EXPECT_THROW(enc_to_utf16_n(name, units, &capacity, "text", 4),
                     InvalidCharacterSetException);
    }
    EXPECT_EQ(capacity, 3u);
    EXPECT_EQ(units[0], 1);
}

TEST(Conversion, ShortOfMemoryGivesNull) {
    if (!kCanFailMalloc) GTEST_SKIP() << "the heap is the sanitizer's";
    const std::u16string wide(3000, u'\u00E9');
    const std::string narrow(3000, 'n');
    const std::function<void*()> forms[] = {
        [&] { return utf8_to_utf16(narrow.c_str(), kTerminated); },
        [&] { return utf16_to_utf8(wide.c_str(), kTerminated); },
        [&] { return lcp_to_utf16(narrow.c_str(), 3000); },
        [&] { return utf16_to_lcp(wide.c_str(), 3000); },
        [&] { return enc_to_utf16("ISO-8859-2", narrow.c_str(), 3000); },
        [&] { return utf16_to_enc("EUC-KR", wide.c_str(), 3000); },
        [&] { return ics_to_utf16(narrow.c_str(), 3000); },
        [&] { return utf16_to_ics(wide.c_str(), 3000); },
        [&] { return ics_to_utf8(narrow.c_str(), 3000); },
        [&] { return utf8_to_ics(narrow.c_str(), 3000); }};
    for (const auto& form : forms) {
        // Warm, the result is the one request.
        utFree(form());
        {
            const FailingMalloc failing(0);
            EXPECT_EQ(form(), nullptr);
        }
        EXPECT_TRUE(FailingMalloc::has_failed());
        EXPECT_EQ(FailingMalloc::live_blocks(), 0);
        const auto again = own(static_cast<char*>(form()));
        EXPECT_NE(again, nullptr);
    }
}

}  // namespace
