#include <charconv>
#include <cstdio>
#include <cstring>

#include "util/fpc_support.h"
#include "util/fpc_vectors.inc"

namespace {

using namespace qxut_test;

// "d.ddde+xx" of a positive number as digits and point; trailing zeros are dropped.
Digits parse_scientific(const std::string& text) {
    Digits result;
    const size_t exponent = text.find('e');
    for (const char c : text.substr(0, exponent))
        if (c != '.') result.digits += c;
    while (result.digits.size() > 1 && result.digits.back() == '0') result.digits.pop_back();
    result.point = std::stoi(text.substr(exponent + 1)) + 1;
    return result;
}

// The value rounded to significant digits by the C library, which is exact.
Digits printed_digits(double value, int count) {
    char text[1200];
    std::snprintf(text, sizeof text, "%.*e", count - 1, value);
    return parse_scientific(text);
}

// The same for places behind the point.
Digits printed_places(double value, int places) {
    char text[1600];
    std::snprintf(text, sizeof text, "%.*f", places, value);
    std::string digits;
    const std::string all = text;
    const size_t point = all.find('.');
    Digits result;
    result.point = static_cast<int>(point == std::string::npos ? all.size() : point);
    for (const char c : all)
        if (c != '.') result.digits += c;
    const size_t first = result.digits.find_first_not_of('0');
    if (first == std::string::npos) return {"", -places, 0};
    result.digits.erase(0, first);
    result.point -= static_cast<int>(first);
    while (result.digits.back() == '0') result.digits.pop_back();
    return result;
}

Digits shortest_by_library(double value) {
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    return parse_scientific(std::string(text, end.ptr));
}

// Whether a decimal is strictly inside the rounding interval: it, and what is next to it by far
// less than any distance between the decimal and a middle of two doubles, reads as the value.
bool reads_strictly(const std::string& digits, int point, double value) {
    const std::string exponent = "e" + std::to_string(point - static_cast<int>(digits.size()));
    std::string less = digits;
    size_t i = less.size();
    while (less[--i] == '0') less[i] = '9';
    --less[i];
    const std::string tail(900, '9');
    return std::strtod((digits + "." + std::string(900, '0') + "1" + exponent).c_str(), nullptr) ==
               value &&
           std::strtod((less + "." + tail + exponent).c_str(), nullptr) == value;
}

TEST(FpcFormat, ShortestVectors) {
    FpcContext context;
    for (const auto& row : kShortest) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(dtoa(context, row.value, 0, 0), shortest_by_library(row.value));
        EXPECT_EQ(g_fmt(context, row.value), row.text);
        EXPECT_EQ(g_fmt(context, -row.value), std::string("-") + row.text);
        EXPECT_EQ(ut_strtod(context, row.text, nullptr), row.value);
    }
}

TEST(FpcFormat, RoundingVectors) {
    FpcContext context;
    for (const auto& row : kRounding) {
        SCOPED_TRACE(testing::Message() << row.value << " mode " << row.mode << " " << row.count);
        EXPECT_EQ(dtoa(context, row.value, row.mode, row.count),
                  (Digits{row.digits, row.point, 0}));
    }
}

TEST(FpcFormat, ZeroAndNotFinite) {
    FpcContext context;
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (int mode = 0; mode < 10; ++mode) {
        EXPECT_EQ(dtoa(context, 0.0, mode, -3), (Digits{"0", 1, 0}));
        EXPECT_EQ(dtoa(context, -0.0, mode, 5), (Digits{"0", 1, 1}));
        EXPECT_EQ(dtoa(context, -infinity, mode, 2), (Digits{"Inf", 9999, 1}));
        EXPECT_EQ(dtoa(context, nan, mode, 2), (Digits{"NaN", 9999, 0}));
    }
    EXPECT_EQ(g_fmt(context, 0.0), "0.0");
    EXPECT_EQ(g_fmt(context, -0.0), "-0.0");
    EXPECT_EQ(g_fmt(context, infinity), "Inf");
    EXPECT_EQ(g_fmt(context, -infinity), "-Inf");
    EXPECT_EQ(g_fmt(context, std::copysign(nan, -1.0)), "-NaN");
    int point = 0;
    int sign = 0;
    char buffer[8];
    EXPECT_STREQ(ut_dtoa(context, buffer, sizeof buffer, -1.5, 0, 0, &point, &sign, nullptr), "15");
}

TEST(FpcFormat, ShortestAgreesWithTheLibrary) {
    FpcContext context;
    Doubles doubles;
    for (int i = 0; i < 100000; ++i) {
        const double value = std::fabs(doubles.next());
        if (value == 0) continue;
        ASSERT_EQ(dtoa(context, value, 0, 0), shortest_by_library(value)) << value;
        char* end = nullptr;
        const std::string text = g_fmt(context, value);
        ASSERT_EQ(ut_strtod(context, text.c_str(), &end), value) << text;
        ASSERT_EQ(*end, '\0') << text;
        ASSERT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
    }
}

// The shortest digits are those of the open interval too, unless they are one of its ends.
TEST(FpcFormat, OpenIntervalLeavesItsEndsOut) {
    FpcContext context;
    Doubles doubles;
    int ends = 0;
    for (int i = 0; i < 3000; ++i) {
        // Powers of ten with few digits in front are where the ends of intervals matter.
        const double power = std::pow(10, 15 + static_cast<int>(doubles.below(12)));
        const double value =
            i % 2 == 0 ? std::fabs(doubles.next()) : static_cast<double>(1 + i) * power;
        if (value == 0) continue;
        const Digits closed = dtoa(context, value, 0, 0);
        const Digits open = dtoa(context, value, 1, 0);
        ASSERT_TRUE(reads_strictly(open.digits, open.point, value)) << value << ": " << open;
        if (reads_strictly(closed.digits, closed.point, value)) {
            ASSERT_EQ(open, closed) << value;
        } else {
            ++ends;
            ASSERT_GE(open.digits.size(), closed.digits.size()) << value;
        }
    }
    EXPECT_GT(ends, 10);
}

TEST(FpcFormat, RoundingAgreesWithTheLibrary) {
    FpcContext context;
    Doubles doubles;
    for (int i = 0; i < 60000; ++i) {
        const double value = std::fabs(doubles.next());
        if (value == 0) continue;
        // Mostly counts that the fast ways serve; some up to more than there are digits.
        const int count = 1 + static_cast<int>(doubles.below(i % 16 == 0 ? 780 : 19));
        const Digits significant = dtoa(context, value, 2, count);
        ASSERT_EQ(significant, printed_digits(value, count)) << value << " to " << count;
        const int places = static_cast<int>(doubles.below(i % 16 == 0 ? 1100 : 12));
        const Digits fixed = dtoa(context, value, 3, places);
        ASSERT_EQ(fixed, printed_places(value, places)) << value << " to " << places;

        const Digits shortest = dtoa(context, value, 0, 0);
        const auto length = static_cast<int>(shortest.digits.size());
        ASSERT_EQ(dtoa(context, value, 4, count), length <= count ? shortest : significant)
            << value << " to " << count;
        ASSERT_EQ(dtoa(context, value, 5, places),
                  length - shortest.point <= places ? shortest : fixed)
            << value << " to " << places;
    }
}

TEST(FpcFormat, IgnoresTheRoundingMode) {
    FpcContext context;
    Doubles doubles;
    for (int i = 0; i < 2000; ++i) {
        const double value = doubles.next();
        const std::string text = g_fmt(context, value);
        const Digits rounded = dtoa(context, value, 2, 12);
        const Digits exact = dtoa(context, value, 3, 40);
        for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            const RoundingMode scope(mode);
            ASSERT_EQ(g_fmt(context, value), text);
            ASSERT_EQ(dtoa(context, value, 2, 12), rounded) << value;
            ASSERT_EQ(dtoa(context, value, 3, 40), exact) << value;
            ASSERT_EQ(bits_of(ut_strtod(context, text.c_str(), nullptr)), bits_of(value)) << text;
        }
    }
}

TEST(FpcFormat, TextBufferTooSmall) {
    FpcContext context;
    for (const double value : {1.0, -0.0, -1.2345678901234568e21, 1.5e-7, -HUGE_VAL, 123.456}) {
        const std::string whole = g_fmt(context, value);
        for (size_t size = 0; size <= whole.size() + 1; ++size) {
            SCOPED_TRACE(testing::Message() << whole << " in " << size);
            std::string buffer(size + 4, '#');
            const Raised raised =
                context.contexts.run([&] { ut_g_fmt(context, buffer.data(), size, value); });
            if (size > whole.size()) {
                EXPECT_EQ(raised.code, 0u);
                EXPECT_STREQ(buffer.c_str(), whole.c_str());
            } else {
                EXPECT_EQ(raised.code, UT_FPC_BUFFER_TOO_SMALL);
                EXPECT_EQ(raised.text,
                          "Internal Error: Cannot format a floating point number using "
                          "the specified buffer size of " +
                              std::to_string(size) + " characters, " + std::to_string(size + 1) +
                              " would be required to format this number");
                EXPECT_EQ(buffer.substr(0, size), whole.substr(0, size));
            }
            EXPECT_EQ(buffer.substr(size), "####");
        }
    }
}

TEST(FpcFormat, DigitBufferTooSmall) {
    FpcContext context;
    struct Case {
        double value;
        int mode;
        int count;
    };
    for (const Case& c : {Case{0.1, 0, 0}, Case{0.1, 2, 50}, Case{1e300, 3, 2}, Case{0.0, 0, 0},
                          Case{1.0, 3, -5}, Case{INFINITY, 0, 0}, Case{1.0 / 3, 2, 17}}) {
        const Digits whole = dtoa(context, c.value, c.mode, c.count);
        for (size_t size = 0; size <= whole.digits.size() + 1; ++size) {
            SCOPED_TRACE(testing::Message() << whole << " in " << size);
            std::string buffer(size + 4, '#');
            int point = -77;
            int sign = -77;
            char* end = nullptr;
            const Raised raised = context.contexts.run([&] {
                ut_dtoa(context, buffer.data(), size, c.value, c.mode, c.count, &point, &sign,
                        &end);
            });
            if (size > whole.digits.size()) {
                EXPECT_EQ(raised.code, 0u);
                EXPECT_EQ(end, buffer.data() + whole.digits.size());
            } else {
                EXPECT_EQ(raised.code, UT_FPC_BUFFER_TOO_SMALL);
                EXPECT_EQ(buffer, std::string(size + 4, '#'));
                EXPECT_EQ(point, -77);
                EXPECT_EQ(sign, -77);
            }
            EXPECT_EQ(buffer.substr(size), "####");
        }
    }
}

}  // namespace
