// number_powers.h - powers of ten to 128 bits, shared by both directions of conversion.
//
// For every k of the table, 10^k = (T + t) * 2^(floor_log2_power_of_ten(k) - 127), where T is the
// integer high * 2^64 + low, 2^127 <= T < 2^128, and 0 <= t < 1. The power is exact, t = 0, for k
// from 0 to kLastExactPower and inexact, 0 < t, otherwise: 5^55 is the last power of five below
// 2^128, and a negative power of ten is no binary fraction.
#ifndef QXUT_SRC_UTIL_NUMBER_POWERS_H
#define QXUT_SRC_UTIL_NUMBER_POWERS_H

#include <cstdint>

namespace qxut::number {

struct PowerOfTen {
    uint64_t high;
    uint64_t low;
};

inline constexpr int kMinPower = -342;
inline constexpr int kMaxPower = 340;
inline constexpr int kLastExactPower = 55;

struct PowerTable {
    PowerOfTen entries[kMaxPower - kMinPower + 1];
};
[[gnu::visibility("hidden")]] extern const PowerTable power_table;

inline const PowerOfTen& power_of_ten(int k) { return power_table.entries[k - kMinPower]; }
constexpr bool is_exact_power(int k) { return k >= 0 && k <= kLastExactPower; }

// Floors of logarithms as multiples of truncated constants; right shifts of negative numbers round
// down. Exact for |k| <= 400 and |e| <= 1500, which the tests check value by value.
constexpr int floor_log2_power_of_ten(int k) { return (k * 1741647) >> 19; }
constexpr int floor_log10_power_of_two(int e) { return (e * 1262611) >> 22; }
constexpr int floor_log10_three_quarters_power_of_two(int e) {
    return (e * 1262611 - 524031) >> 22;
}

// Powers of ten that fit a word.
inline constexpr uint64_t kSmallPowers[] = {1u,
                                            10u,
                                            100u,
                                            1000u,
                                            10000u,
                                            100000u,
                                            1000000u,
                                            10000000u,
                                            100000000u,
                                            1000000000u,
                                            10000000000u,
                                            100000000000u,
                                            1000000000000u,
                                            10000000000000u,
                                            100000000000000u,
                                            1000000000000000u,
                                            10000000000000000u,
                                            100000000000000000u,
                                            1000000000000000000u,
                                            10000000000000000000u};

}  // namespace qxut::number

#endif
