// Encodings told by bytes: marks, wide forms, UTF-8 in whole and cut off, legacy encodings.
#include <qxut/i18n/encodings.hpp>
#include <qxut/i18n/recognition.hpp>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Quorvanix::I18N::kRecognitionSize;
using Quorvanix::I18N::Recognition;
using Quorvanix::I18N::recognize;

std::string encoded(const char* encoding, std::u16string_view text) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(encoding, &status);
    std::string bytes(text.size() * 8 + 16, '\0');
    bytes.resize(static_cast<size_t>(
        ucnv_fromUChars(converter, bytes.data(), static_cast<int32_t>(bytes.size()), text.data(),
                        static_cast<int32_t>(text.size()), &status)));
    ucnv_close(converter);
    EXPECT_TRUE(U_SUCCESS(status)) << encoding;
    return bytes;
}

constexpr std::u16string_view kJapanese =
    u"番号,名前,密度\n1,水素,0.0708\n2,ヘリウム,0.122\n3,リチウム,0.534\n4,ベリリウム,1.848\n"
    u"5,ホウ素,2.34\n6,炭素,2.1\n7,窒素,0.808\n8,酸素,1.149\n";
constexpr std::u16string_view kRussian =
    u"Плотность осмия равна 22,57 г/см3; ни один другой элемент не плотнее. За ним следует иридий.";
constexpr std::u16string_view kEnglish = u"number,symbol,name\n1,H,hydrogen\n2,He,helium\n";

TEST(Recognition, TellsTheEncoding) {
    const struct {
        const char* encoding;
        std::u16string_view text;
        const char* name;
        size_t mark;
    } rows[] = {
        {"UTF-8", kEnglish, "UTF-8", 0},
        {"UTF-8", u"\uFEFFa", "UTF-8", 3},
        {"UTF-8", kRussian, "UTF-8", 0},
        {"UTF-8", kJapanese, "UTF-8", 0},
        {"UTF-16LE", u"\uFEFFa", "UTF-16LE", 2},
        {"UTF-16BE", u"\uFEFF水素", "UTF-16BE", 2},
        {"UTF-32LE", u"\uFEFFa", "UTF-32LE", 4},
        {"UTF-32BE", u"\uFEFFa", "UTF-32BE", 4},
        {"UTF-16LE", kEnglish, "UTF-16LE", 0},
        {"UTF-16BE", kEnglish, "UTF-16BE", 0},
        {"UTF-32LE", kEnglish, "UTF-32LE", 0},
        {"UTF-32BE", kEnglish, "UTF-32BE", 0},
        {"Shift_JIS", kJapanese, "Shift_JIS", 0},
        {"EUC-JP", kJapanese, "EUC-JP", 0},
        {"ISO-2022-JP", kJapanese, "ISO-2022-JP", 0},
        {"windows-1251", kRussian, "windows-1251", 0},
        {"KOI8-R", kRussian, "KOI8-R", 0},
        {"UTF-8", u"", "UTF-8", 0},
        {"UTF-8", u"\u001B[1mbold\u001B[0m", "UTF-8", 0},
    };
    for (const auto& row : rows) {
        const std::string bytes = encoded(row.encoding, row.text);
        const Recognition found = recognize(bytes.data(), bytes.size());
        EXPECT_EQ(found.name, row.name) << row.encoding << ": " << testing::PrintToString(bytes);
        EXPECT_EQ(found.mark_size, row.mark) << row.encoding;
        EXPECT_GT(found.confidence, 0) << row.encoding;
        EXPECT_LE(found.confidence, 100) << row.encoding;
    }
    EXPECT_EQ(recognize(nullptr, 0).name, "UTF-8");
}

TEST(Recognition, ACutCharacterAtTheEnd) {
    const std::string_view cut = "density \xE5\xAF\x86\xE5\xBA";
    EXPECT_EQ(recognize(cut.data(), cut.size(), false).name, "UTF-8");
    EXPECT_NE(recognize(cut.data(), cut.size(), true).name, "UTF-8");
    // Only the first bytes are looked at.
    std::string text(kRecognitionSize - 1, 'a');
    text += "\xC3\xA9\xFF";
    EXPECT_EQ(recognize(text.data(), text.size()).name, "UTF-8");
}

TEST(Encodings, EachNameOpensAConverter) {
    const std::vector<std::string> names = Quorvanix::I18N::encodingNames();
    for (const std::string& name : names) {
        UErrorCode status = U_ZERO_ERROR;
        ucnv_close(ucnv_open(name.c_str(), &status));
        EXPECT_TRUE(U_SUCCESS(status)) << name;
    }
    for (const char* name : {"UTF-8", "Shift_JIS", "windows-1252", "KOI8-R"})
        EXPECT_EQ(std::count(names.begin(), names.end(), name), 1) << name;
}

}  // namespace
