#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "util/fpc_support.h"
#include "util/fpc_vectors.inc"

namespace {

using namespace qxut_test;

struct Read {
    uint64_t bits;
    int length;
    bool operator==(const Read&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Read& read) {
    return out << std::hex << read.bits << std::dec << " in " << read.length;
}

// Reads a copy in a block of exactly its size, so that a look behind its end is found.
Read read_text(ut_fpc_context* context, const std::string& text) {
    const std::vector<char> copy(text.c_str(), text.c_str() + text.size() + 1);
    char* end = nullptr;
    const double value = ut_strtod(context, copy.data(), &end);
    return {bits_of(value), static_cast<int>(end - copy.data())};
}

// The C library's conversion, which is exact; in the rounding mode to nearest.
Read read_by_library(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    return {bits_of(value), static_cast<int>(end - text.c_str())};
}

// The exact middle of a positive double and the next larger one.
std::string middle_after(double value) {
    // A middle has one more binary digit, which long double keeps for all but the extremes.
    const double next = std::bit_cast<double>(bits_of(value) + 1);
    const long double middle =
        (static_cast<long double>(value) + static_cast<long double>(next)) / 2;
    char text[1300];
    std::snprintf(text, sizeof text, "%.1100Le", middle);
    return text;
}

TEST(FpcParse, VectorsInEveryRoundingMode) {
    FpcContext context;
    for (const auto& row : kReading)
        EXPECT_EQ(read_text(context, row.text), (Read{row.bits, row.length})) << row.text;
    for (const char* text : kNumbers) {
        const Read expected = read_by_library(text);
        for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            const RoundingMode scope(mode);
            EXPECT_EQ(read_text(context, text), expected) << text;
        }
    }
    EXPECT_EQ(ut_strtod(context, "2.5", nullptr), 2.5);
}

TEST(FpcParse, MiddlesAndTheirNeighbours) {
    FpcContext context;
    Doubles doubles;
    for (int i = 0; i < 4000; ++i) {
        const double value = std::fabs(doubles.next());
        if (value == std::numeric_limits<double>::max()) continue;
        const std::string middle = middle_after(value);
        const size_t e = middle.find('e');
        const uint64_t even = bits_of(value) + (bits_of(value) & 1);
        EXPECT_EQ(read_text(context, middle).bits, even) << middle;
        // Many zeros and then a 1 decide, however far behind.
        std::string above = middle;
        above.insert(e, std::string(1000, '0') + "1");
        EXPECT_EQ(read_text(context, above).bits, bits_of(value) + 1) << above;
        // The last non-zero digit, one less and followed by nines.
        std::string below = middle;
        const size_t last = below.find_last_not_of('0', e - 1);
        --below[last];
        below.replace(last + 1, e - last - 1, std::string(1000, '9'));
        EXPECT_EQ(read_text(context, below).bits, bits_of(value)) << below;
        if (HasFailure()) break;
    }
}

TEST(FpcParse, AgreesWithTheLibrary) {
    FpcContext context;
    Doubles doubles;
    for (int i = 0; i < 100000; ++i) {
        const double value = doubles.next();
        char text[900];
        // Too few, enough and too many digits to tell the double; often more than fit a word.
        const int digits = static_cast<int>(doubles.below(i % 8 == 0 ? 60 : 22));
        std::snprintf(text, sizeof text, i % 3 == 0 && std::fabs(value) < 1e60 ? "%.*f" : "%.*e",
                      digits, value);
        ASSERT_EQ(read_text(context, text), read_by_library(text)) << text;
    }
    for (int i = 0; i < 100000; ++i) {
        // Digits, point and exponent at random.
        std::string text = i % 5 == 0 ? "-" : "";
        const uint64_t count = 1 + doubles.below(i % 8 == 0 ? 60 : 24);
        for (uint64_t n = 0; n < count; ++n) text += static_cast<char>('0' + doubles.below(10));
        if (i % 3 != 0) text.insert(text.size() - doubles.below(count), ".");
        if (i % 4 != 0) {
            const int range = i % 4 == 1 ? 700 : 60;
            text +=
                "e" + std::to_string(static_cast<int>(doubles.below(static_cast<uint64_t>(range))) -
                                     range / 2);
        }
        ASSERT_EQ(read_text(context, text), read_by_library(text)) << text;
    }
}

TEST(FpcParse, EveryPowerOfTenWithFewDigits) {
    FpcContext context;
    for (int exponent = -400; exponent <= 400; ++exponent) {
        for (const char* digits : {"1", "2", "5", "9", "12345678", "9007199254740993",
                                   "18446744073709551615", "9999999999999999999"}) {
            const std::string text = std::string(digits) + "e" + std::to_string(exponent);
            ASSERT_EQ(read_text(context, text), read_by_library(text)) << text;
        }
    }
}

TEST(FpcParse, LongTexts) {
    FpcContext context;
    const std::string zeros(3000000, '0');
    EXPECT_EQ(ut_strtod(context, ("1" + zeros + "e-3000000").c_str(), nullptr), 1.0);
    EXPECT_EQ(ut_strtod(context, ("0." + zeros + "15e3000001").c_str(), nullptr), 1.5);
    EXPECT_EQ(ut_strtod(context, (zeros + "." + zeros).c_str(), nullptr), 0.0);
    EXPECT_EQ(ut_strtod(context, ("1." + zeros + "1").c_str(), nullptr), 1.0);
    // A tie that the last of six million digits decides, and a point among the digits.
    const std::string tie = "1.00000000000000011102230246251565404236316680908203125";
    EXPECT_EQ(bits_of(ut_strtod(context, (tie + zeros + zeros).c_str(), nullptr)), kOne);
    EXPECT_EQ(bits_of(ut_strtod(context, (tie + zeros + zeros + "1").c_str(), nullptr)), kOne + 1);
    EXPECT_EQ(
        bits_of(ut_strtod(
            context, ("9007199254740993" + zeros + "." + zeros + "1e-3000000").c_str(), nullptr)),
        0x4340000000000001u);
    EXPECT_EQ(context.contexts.blocks(), 0u);
}

}  // namespace
