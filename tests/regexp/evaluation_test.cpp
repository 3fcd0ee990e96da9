// What an expression sees, what a host answers, and warnings as text.
#include <gtest/gtest.h>

#include <qxut/regexp/context.hpp>
#include <qxut/regexp/tokens.hpp>

#include <cstdarg>
#include <string>

namespace {

TEST(RegexpInputs, FindByNameTheFirstThatIsSet) {
    RE_Evaluation_Input inputs[4];
    inputs[0] = {u"n", 1, nullptr, 0, 0, 0, false};
    inputs[1] = {nullptr, 2, u"ab", 2, 4, 6, true};
    inputs[2] = {u"n", 3, u"c", 1, 6, 7, true};
    inputs[3] = {u"former", RE_Evaluation_Input::kNoToken, u"", 0, 0, 0, true};
    const RE_Evaluation_Inputs all(inputs, 4);
    EXPECT_EQ(all.get(u"n"), inputs + 2);
    EXPECT_EQ(all.get(u"former"), inputs + 3);
    EXPECT_EQ(all.get(u"none"), nullptr);
    EXPECT_EQ(all.get(static_cast<const char16_t*>(nullptr)), nullptr);
    EXPECT_EQ(all.token(2), inputs + 1);
    EXPECT_EQ(all.token(4), nullptr);
    EXPECT_EQ(all.token(RE_Evaluation_Input::kNoToken), nullptr);
    EXPECT_EQ(all.get(size_t{3}), inputs + 3);
    EXPECT_EQ(all.get(size_t{4}), nullptr);
    const RE_Evaluation_Inputs unset(inputs, 1);
    EXPECT_EQ(unset.get(u"n"), inputs);
}

std::u16string text_of(const RE_Evaluation_IO& io) { return {io.text(), io.text_length()}; }

TEST(RegexpAnswer, TheLastOneCounts) {
    const RE_Evaluation_Inputs none(nullptr, 0);
    RE_Evaluation_IO io(RE_EVALUATE_PATTERN, u"x", 1, none);
    EXPECT_EQ(text_of(io), u"");
    EXPECT_FALSE(io.truth());
    io.set_text(u"first", 5);
    EXPECT_EQ(text_of(io), u"first");
    EXPECT_TRUE(io.truth());
    io.set_text(io.text() + 1, 3);  // out of itself
    EXPECT_EQ(text_of(io), u"irs");
    io.set_truth(false);
    EXPECT_EQ(text_of(io), u"0");
    EXPECT_FALSE(io.truth());
    io.set_truth(true);
    EXPECT_EQ(text_of(io), u"1");
    io.set_text(nullptr, 0);
    EXPECT_EQ(text_of(io), u"");
    EXPECT_FALSE(io.truth());
    const std::u16string longer(1000, u'x');
    io.set_text(longer.data(), longer.size());
    EXPECT_EQ(text_of(io), longer);
}

TEST(RegexpTokens, AreSetAtTheirEnd) {
    RE_Token_Stack tokens(2);
    EXPECT_EQ(tokens.count(), 2u);
    tokens.set_start(1, u"n", 3);
    EXPECT_FALSE(tokens.get(1)->is_set);
    EXPECT_EQ(tokens.get(u"n"), tokens.get(1));
    tokens.set_end(1, 5);
    tokens.set_start(1, u"n", 7);  // open again: the extent before stays
    EXPECT_EQ(tokens.get(1)->start, 3u);
    EXPECT_EQ(tokens.get(1)->end, 5u);
    tokens.set_start(2, u"n", 8);
    tokens.set_end(2, 9);
    EXPECT_EQ(tokens.get(u"n"), tokens.get(1));
    tokens.set_start(3, u"x", 1);  // there is none
    tokens.set_end(3, 2);
    EXPECT_EQ(tokens.get(3), nullptr);
    EXPECT_EQ(tokens.get(u"x"), nullptr);
    tokens.reset();
    tokens.set_start(2, u"n", 1);
    tokens.set_end(2, 1);
    EXPECT_EQ(tokens.get(u"n"), tokens.get(2));
    EXPECT_FALSE(tokens.get(1)->is_set);
    EXPECT_EQ(tokens.get(1)->end, 0u);
}

// Into a buffer of that many bytes; "text|needed".
std::string formatted(size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string buffer(size, '#');
    const size_t needed = utFormatRegexpWarning(buffer.data(), size, format, arguments);
    const size_t again = utFormatRegexpWarning(nullptr, 0, format, arguments);
    va_end(arguments);
    EXPECT_EQ(again, needed);
    return std::string(buffer.c_str()) + "|" + std::to_string(needed);
}

TEST(RegexpWarning, IsUtf8CutBetweenCharacters) {
    EXPECT_EQ(formatted(64, "Unbound range."), "Unbound range.|14");
    EXPECT_EQ(formatted(64, "'%c' 100%%", 'q'), "'q' 100%|8");
    EXPECT_EQ(formatted(64, "'%c%c'", 0xE9, 0x1F600), "'\u00E9\U0001F600'|8");
    EXPECT_EQ(formatted(64, "'%c' '%c'", 0xD800, 0), "'\uFFFD' ' '|9");
    EXPECT_EQ(formatted(64, "%c", 0x110000), "\uFFFD|3");
    EXPECT_EQ(formatted(4, "'%c'", 0x4E2D), "'|5");
    EXPECT_EQ(formatted(5, "'%c'", 0x4E2D), "'\u4E2D|5");
    EXPECT_EQ(formatted(1, "abc"), "|3");
}

TEST(RegexpContext, LendsNothingByDefault) {
    RE_Context context;
    const RE_Evaluation_Inputs none(nullptr, 0);
    RE_Evaluation_IO io(RE_EVALUATE_TEXT, u"x", 1, none);
    EXPECT_FALSE(context.allow_evaluation());
    EXPECT_EQ(context.create_fcn(RE_EVALUATE_TEXT, u"x", 1, none), nullptr);
    EXPECT_FALSE(context.evaluate_string(io));
}

}  // namespace
