// Writers over puts functions and back, in the code pages that a process may have.
#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

#include <qxut/util/message.h>

#include "support/countdown_heap.h"
#include "support/message_tables.h"
#include "support/temporary_locale.h"

using qxut_test::CountdownHeap;
using qxut_test::Table;
using qxut_test::TemporaryLocale;

namespace {

using Units = std::vector<std::string>;

// What a puts function was given; it refuses after `accepted` calls.
struct Sink {
    size_t accepted = 1000;
    Units units;
};
int take(const char* text, void* data) {
    auto& sink = *static_cast<Sink*>(data);
    if (sink.units.size() == sink.accepted) return -1;
    sink.units.emplace_back(text);
    return 0;
}

Units split(const std::string& text) {
    Sink sink;
    ut_puts_adapter adapter{take, &sink};
    EXPECT_EQ(ut_puts_to_putsn(&adapter, text.data(), static_cast<int32_t>(text.size())),
              static_cast<int>(text.size()));
    return sink.units;
}

struct Row {
    const char* text;
    Units units;
};

const Row kUtf8[] = {
    {"", {}},
    {"ab\n", {"a", "b", "\n"}},
    {"aé表😀z", {"a", "é", "表", "😀", "z"}},
    {"\xF4\x8F\xBF\xBF\xEF\xBF\xBF\xDF\xBF", {"\xF4\x8F\xBF\xBF", "\xEF\xBF\xBF", "\xDF\xBF"}},
    // incomplete, at the end and in the middle
    {"\xE8\xA1", {"\xE8", "\xA1"}},
    {"\xF0\x9F\x98x", {"\xF0", "\x9F", "\x98", "x"}},
    {"\xC3\xC3\xA9", {"\xC3", "\xC3\xA9"}},
    // no lead byte, overlong forms, a surrogate
    {"\xFF\xBF\xFE", {"\xFF", "\xBF", "\xFE"}},
    {"\xC0\x80", {"\xC0", "\x80"}},
    {"\xE0\x9F\xBF", {"\xE0", "\x9F", "\xBF"}},
    {"\xED\xA0\x80", {"\xED", "\xA0", "\x80"}},
    {"\xF0\x8F\xBF\xBF", {"\xF0", "\x8F", "\xBF", "\xBF"}},
};

TEST(MessageAdapters, CharactersAreUtf8WithoutALocale) {
    for (const Row& row : kUtf8) EXPECT_EQ(split(row.text), row.units);
    EXPECT_EQ(split("\xF4\x90\x80\x80"), (Units{"\xF4", "\x90", "\x80", "\x80"}));
    EXPECT_EQ(split(std::string("a\0b", 3)), (Units{"a", "", "b"}));
}

TEST(MessageAdapters, CharactersAreUtf8InItsLocale) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    for (const Row& row : kUtf8) EXPECT_EQ(split(row.text), row.units);
    std::setlocale(LC_ALL, "C");
}

TEST(MessageAdapters, CharactersAreThoseOfTheCodePage) {
    const struct {
        const char* charmap;
        const char* text;
        Units units;
    } rows[] = {
        // Two bytes, the second a backslash; a half-width letter; a lead byte alone.
        {"SHIFT_JIS", "a\x95\x5C\xB1\\b", {"a", "\x95\x5C", "\xB1", "\\", "b"}},
        {"SHIFT_JIS", "\x95", {"\x95"}},
        {"EUC-JP", "\xC9\xBD\x8E\xB1\x8F\xB0\xA1z", {"\xC9\xBD", "\x8E\xB1", "\x8F\xB0\xA1", "z"}},
        {"GBK", "\x81\x40z", {"\x81\x40", "z"}},
        {"ISO-8859-1", "\xC3\xA9", {"\xC3", "\xA9"}},
    };
    for (const auto& row : rows) {
        const TemporaryLocale locale("POSIX", row.charmap);
        ASSERT_TRUE(locale.is_set()) << "package locales";
        EXPECT_EQ(split(row.text), row.units) << row.charmap;
    }
}

TEST(MessageAdapters, FirstFailureEndsTheText) {
    Sink sink{2, {}};
    ut_puts_adapter adapter{take, &sink};
    EXPECT_EQ(ut_puts_to_putsn(&adapter, "é表z", 6), 5);
    EXPECT_EQ(ut_puts_to_putsn(&adapter, "z", 1), 0);
    EXPECT_EQ(ut_puts_to_putsn(&adapter, "z", 0), 0);
    EXPECT_EQ(ut_puts_to_putsn(&adapter, "z", -1), 0);
    EXPECT_EQ(sink.units.size(), 2u);
}

TEST(MessageAdapters, WriterTakesWholeTexts) {
    std::string text;
    const ut_writer writer = [](void* stream, const char* piece, int32_t length) {
        if (length == 3) return -9;
        static_cast<std::string*>(stream)->append(piece, static_cast<size_t>(length));
        return length;
    };
    ut_putsn_adapter adapter{writer, &text};
    EXPECT_EQ(ut_putsn_to_puts("text", &adapter), 4);
    EXPECT_EQ(ut_putsn_to_puts("", &adapter), 0);
    EXPECT_EQ(ut_putsn_to_puts("bad", &adapter), -9);
    EXPECT_EQ(text, "text");
}

// Numbers in messages have the decimal point of the process's locale.
TEST(MessageAdapters, MessagesFollowTheLocale) {
    const TemporaryLocale locale("de_DE", "UTF-8");
    ASSERT_TRUE(locale.is_set());
    CountdownHeap heap;
    ut_message_context context{};
    int32_t status = -1;
    ut_initialize_message_context(&status, &context, CountdownHeap::allocate,
                                  CountdownHeap::reallocate);
    const Table table(9, {"%g %.2f %e %d %lc"});
    ut_add_primary_message_table(&status, &context, &table.record, CountdownHeap::reallocate);
    ASSERT_EQ(status, 0);
    char text[64];
    ut_sprintm(&context, text, sizeof text, 9 * 65536 + 1, 0.5, 1234.5, 1.5, 1234567, L'ß');
    EXPECT_STREQ(text, "0,5 1234,50 1,500000e+00 1234567 ß");
    std::setlocale(LC_ALL, "C");
    EXPECT_LT(ut_sprintm(&context, text, sizeof text, 9 * 65536 + 1, 0.5, 1.0, 1.0, 1, L'ß'), 0);
    ut_clear_message_context(&context, CountdownHeap::release);
}

}  // namespace
