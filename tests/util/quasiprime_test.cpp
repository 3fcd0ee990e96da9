#include <gtest/gtest.h>

#include <cstdint>

#include <qxut/util/ghash.h>

namespace {

// No divisor from 2 to 999 other than itself.
bool by_division(int32_t n) {
    if (n < 2) return false;
    for (int32_t divisor = 2; divisor < 1000 && divisor < n; ++divisor) {
        if (n % divisor == 0) return false;
    }
    return true;
}

TEST(Quasiprime, AgreesWithDivision) {
    for (int32_t n = -3; n <= 20000; ++n) EXPECT_EQ(ut_hash_is_quasiprime(n), by_division(n)) << n;
    const int32_t others[] = {
        INT32_MIN,   997 * 997, 997 * 1009,
        1009 * 1009,  // not a prime, but no prime below 1000 divides it
        1018081 + 2, 1000003,   INT32_MAX - 1, INT32_MAX,
    };
    for (const int32_t n : others) EXPECT_EQ(ut_hash_is_quasiprime(n), by_division(n)) << n;
    EXPECT_TRUE(ut_hash_is_quasiprime(1009 * 1009));
}

TEST(Quasiprime, Next) {
    struct Case {
        int32_t n, step, result;
    };
    const Case cases[] = {
        {0, 1, 2},
        {1, 1, 2},
        {-5, 1, 2},
        {2, 1, 2},
        {8, 1, 11},
        {1000, 1, 1009},
        {1001, 1, 1009},
        {1009, 1, 1009},
        {1008, -1, 997},
        {4, -1, 3},
        {1, -1, 2},
        {2, -1, 2},
        {9, 2, 11},
        {8, 0, 11},
        {8, -4, 2},
        {INT32_MAX, 1, INT32_MAX},
        // Steps past the largest number end there.
        {INT32_MAX - 1, 1, INT32_MAX},
        {INT32_MAX - 1, 2, INT32_MAX},
    };
    for (const auto& [n, step, result] : cases) {
        EXPECT_EQ(ut_hash_next_quasiprime(nullptr, n, step), result) << n << " step " << step;
    }
}

}  // namespace
