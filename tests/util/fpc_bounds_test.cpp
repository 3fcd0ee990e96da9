// Checks what the fast conversions rest on: the table of powers, the logarithms, the portable
// multiplication, and the distance between scaled doubles and integers that the proof of the
// shortest digits uses. Everything is recomputed with integers of any size.
#include <gtest/gtest.h>

#include <boost/multiprecision/cpp_int.hpp>
#include <random>

#include "util/number_binary.h"
#include "util/number_powers.h"
#include "util/number_text.h"
#include "util/wide_multiply.h"

namespace {

using namespace qxut::number;
using Integer = boost::multiprecision::cpp_int;

Integer power(int base, int exponent) {
    Integer result = 1;
    for (; exponent > 0; --exponent) result *= base;
    return result;
}

// base^exponent as a fraction.
struct Ratio {
    Integer top;
    Integer bottom;
};
Ratio ratio(int base, int exponent) {
    return exponent >= 0 ? Ratio{power(base, exponent), 1} : Ratio{1, power(base, -exponent)};
}

TEST(FpcBounds, PowersOfTen) {
    for (int k = kMinPower; k <= kMaxPower; ++k) {
        SCOPED_TRACE(k);
        const Ratio ten = ratio(10, k);
        const Ratio unit = ratio(2, floor_log2_power_of_ten(k) - 127);
        const Integer top = ten.top * unit.bottom;
        const Integer bottom = ten.bottom * unit.top;
        const PowerOfTen& entry = power_of_ten(k);
        EXPECT_EQ((Integer(entry.high) << 64) + entry.low, top / bottom);
        EXPECT_NE(entry.high >> 63, 0u);
        EXPECT_EQ(top % bottom == 0, is_exact_power(k));
    }
}

TEST(FpcBounds, Logarithms) {
    for (int k = -400; k <= 400; ++k) {
        const Ratio ten = ratio(10, k);
        const auto is_at_least = [&](int e) {
            const Ratio two = ratio(2, e);
            return ten.top * two.bottom >= two.top * ten.bottom;
        };
        const int e = floor_log2_power_of_ten(k);
        EXPECT_TRUE(is_at_least(e) && !is_at_least(e + 1)) << k;
    }
    for (int e = -1500; e <= 1500; ++e) {
        const Ratio two = ratio(2, e);
        const auto is_at_least = [&](int quarters, int k) {
            const Ratio ten = ratio(10, k);
            return two.top * quarters * ten.bottom >= ten.top * two.bottom * 4;
        };
        const int whole = floor_log10_power_of_two(e);
        EXPECT_TRUE(is_at_least(4, whole) && !is_at_least(4, whole + 1)) << e;
        const int part = floor_log10_three_quarters_power_of_two(e);
        EXPECT_TRUE(is_at_least(3, part) && !is_at_least(3, part + 1)) << e;
    }
}

TEST(FpcBounds, PortableMultiplication) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        const uint64_t a = i < 4 ? UINT64_MAX - (i & 1) : random() >> (random() % 64);
        const uint64_t b = i < 4 ? UINT64_MAX << (i & 2) : random() >> (random() % 64);
        const qxut::Wide portable = qxut::wide_multiply_portable(a, b);
        const qxut::Wide wide = qxut::wide_multiply(a, b);
        ASSERT_EQ((Integer(portable.high) << 64) + portable.low, Integer(a) * b);
        ASSERT_EQ((Integer(wide.high) << 64) + wide.low, Integer(a) * b);
    }
}

TEST(FpcBounds, EightDigits) {
    for (uint32_t n = 0; n < 100000000; n += n < 20000 ? 1 : 7919) {
        char text[9];
        std::snprintf(text, sizeof text, "%08u", n);
        char digits[8];
        store_characters(digits, spread_eight_digits(n) | kEightZeros);
        ASSERT_EQ(std::string(digits, 8), text);
    }
}

// The smallest positive (n * top) mod bottom and (-n * top) mod bottom over 1 <= n <= limit: the
// classic walk over best approximations. `above` and `below` are the smallest so far, reached at
// the multiples n_above and n_below; the larger of the two is lowered by the smaller as often as it
// stays positive and the multiple allowed.
struct Distances {
    Integer above;
    Integer below;
};
Distances smallest_distances(const Integer& top, const Integer& bottom, const Integer& limit) {
    Distances d{top % bottom, bottom - top % bottom};
    Integer n_above = 1;
    Integer n_below = 1;
    const auto lower = [&](Integer& larger, Integer& n_larger, const Integer& smaller,
                           const Integer& n_smaller) {
        const Integer wanted = (larger - 1) / smaller;
        const Integer allowed = (limit - n_larger) / n_smaller;
        const Integer steps = wanted < allowed ? wanted : allowed;
        larger -= steps * smaller;
        n_larger += steps * n_smaller;
        return steps != 0 && steps == wanted;
    };
    while (d.above != d.below) {
        const bool go_on = d.above < d.below ? lower(d.below, n_below, d.above, n_above)
                                             : lower(d.above, n_above, d.below, n_below);
        if (!go_on) break;
    }
    return d;
}

// The comparisons for the shortest digits are of x = 2 * j * 2^q / 10^k, j < 2^54, with even
// integers; that is of j * 2^q / 10^k with any integers. Unless equal they must be apart by more
// than the computation's error, and by what the cut fraction can tell: x by 2^-64 above, 2^-68
// below.
TEST(FpcBounds, ScaledDoublesKeepAwayFromIntegers) {
    for (int q = kMinExponent; q <= 971; ++q) {
        const int k = floor_log10_power_of_two(q);
        const Ratio two = ratio(2, q);
        const Ratio ten = ratio(10, k);
        const Integer top = two.top * ten.bottom;
        const Integer bottom = two.bottom * ten.top;
        if (top % bottom == 0) continue;
        const Distances distances =
            smallest_distances(top % bottom, bottom, (Integer(1) << 54) - 1);
        ASSERT_GE(distances.above << 65, bottom) << q;  // 2^-64 of x is 2^-65 of its half
        ASSERT_GE(distances.below << 65, bottom) << q;
    }
    // Powers of two have a shorter interval, and with it other k; there is one of them for each q.
    for (int q = kMinExponent + 1; q <= 971; ++q) {
        const int k = floor_log10_three_quarters_power_of_two(q);
        const Ratio two = ratio(2, q);
        const Ratio ten = ratio(10, k);
        for (const int quarters : {-1, 0, 2}) {
            const Integer top = ((Integer(1) << 54) + quarters) * two.top * ten.bottom;
            const Integer bottom = two.bottom * ten.top;
            const Integer rest = top % bottom;
            if (rest == 0) continue;
            ASSERT_GE(rest << 64, bottom) << q;
            ASSERT_GE((bottom - rest) << 64, bottom) << q;
        }
    }
}

}  // namespace
