// Every code point, and what is none, compared with ICU, and the meanings that ICU does not give by
// one function.
#include <qxut/i18n/classification.h>

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <climits>
#include <cstdint>

namespace {

constexpr int32_t kEnd = 0x110000;

bool has_category(int32_t c, uint32_t categories) {
    return (categories >> (u_charType(c) % 32) & 1) != 0;
}

struct Row {
    const char* name;
    int32_t (*ours)(int32_t character);
    int32_t (*icu)(int32_t character);
};

const Row kRows[] = {
    {"isalnum", qxu_isalnum, [](int32_t c) -> int32_t { return u_isalnum(c) != 0; }},
    {"isalpha", qxu_isalpha, [](int32_t c) -> int32_t { return u_isalpha(c) != 0; }},
    {"isblank", qxu_isblank,
     [](int32_t c) -> int32_t { return c == 9 || has_category(c, 0x80001000); }},
    {"iscntrl", qxu_iscntrl, [](int32_t c) -> int32_t { return u_iscntrl(c) != 0; }},
    {"isdigit", qxu_isdigit, [](int32_t c) -> int32_t { return u_isdigit(c) != 0; }},
    {"isgraph", qxu_isgraph, [](int32_t c) -> int32_t { return has_category(c, 0x7FF80FFE); }},
    {"islower", qxu_islower, [](int32_t c) -> int32_t { return u_islower(c) != 0; }},
    {"isprint", qxu_isprint, [](int32_t c) -> int32_t { return u_isprint(c) != 0; }},
    {"ispunct", qxu_ispunct, [](int32_t c) -> int32_t { return has_category(c, 0x30F80000); }},
    {"isspace", qxu_isspace, [](int32_t c) -> int32_t { return u_isUWhiteSpace(c) != 0; }},
    {"isbreakablespace", qxu_isbreakablespace,
     [](int32_t c) -> int32_t { return u_isWhitespace(c) != 0; }},
    {"isupper", qxu_isupper, [](int32_t c) -> int32_t { return u_isupper(c) != 0; }},
    {"isxdigit", qxu_isxdigit, [](int32_t c) -> int32_t { return u_digit(c, 16) != -1; }},
    {"tolower", qxu_tolower, u_tolower},
    {"toupper", qxu_toupper, u_toupper},
};

TEST(Classification, EveryCodePointIsAsInIcu) {
    for (const Row& row : kRows) {
        for (int32_t c = 0; c < kEnd; ++c) {
            if (row.ours(c) != row.icu(c)) {
                ADD_FAILURE() << row.name << " of code point " << c << " gives " << row.ours(c);
                break;
            }
        }
    }
}

TEST(Classification, WhatIsNoCodePointIsAsInIcu) {
    for (const int32_t c : {-1, -2, -65, -0x10000, INT_MIN, INT_MIN + 65, kEnd, kEnd + 65,
                            0x110000 + 0x20, 0x1000041, INT_MAX - 1, INT_MAX}) {
        for (const Row& row : kRows) EXPECT_EQ(row.ours(c), row.icu(c)) << row.name << " of " << c;
    }
}

TEST(Classification, Meanings) {
    const struct {
        const char* name;
        int (*test)(int32_t);
        int32_t character;
        int answer;
    } rows[] = {
        {"blank", qxu_isblank, '\t', 1},
        {"blank", qxu_isblank, 0xA0, 1},
        {"blank", qxu_isblank, 0x3000, 1},
        {"blank", qxu_isblank, '\n', 0},
        {"blank", qxu_isblank, 0x2028, 0},
        {"space", qxu_isspace, 0xA0, 1},
        {"breakablespace", qxu_isbreakablespace, 0xA0, 0},
        {"punct", qxu_ispunct, '+', 0},
        {"punct", qxu_ispunct, '!', 1},
        {"graph", qxu_isgraph, '+', 1},
        {"graph", qxu_isgraph, ' ', 0},
        {"graph", qxu_isgraph, 0x378, 0},
        {"xdigit", qxu_isxdigit, 0xFF26, 1},
        {"xdigit", qxu_isxdigit, 0x663, 1},
        {"xdigit", qxu_isxdigit, 'g', 0},
        {"alpha", qxu_isalpha, 0x20000, 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.test(row.character), row.answer) << row.name << " of " << row.character;
}

}  // namespace
