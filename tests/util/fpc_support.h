// fpc_support.h - a conversion context for tests, and the doubles that they go through.
#ifndef QXUT_TESTS_UTIL_FPC_SUPPORT_H
#define QXUT_TESTS_UTIL_FPC_SUPPORT_H

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>

#include <qxut/util/fpc.h>

#include "support/contexts.h"

namespace qxut_test {

class FpcContext : private NotCopied {
  public:
    FpcContext() { ut_initialize_fpc_context(&context_, &contexts.memory); }
    ~FpcContext() { ut_clear_fpc_context(&context_); }

    operator ut_fpc_context*() { return &context_; }
    ut_fpc_context* operator->() { return &context_; }

    Contexts contexts;

  private:
    ut_fpc_context context_{};
};

// What ut_dtoa answered.
struct Digits {
    std::string digits;
    int point = 0;
    int sign = 0;
    bool operator==(const Digits&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Digits& d) {
    return out << (d.sign != 0 ? "-" : "") << "0." << d.digits << "e" << d.point;
}

inline Digits dtoa(ut_fpc_context* context, double value, int mode, int count) {
    char buffer[800];
    Digits result;
    char* end = nullptr;
    EXPECT_EQ(ut_dtoa(context, buffer, sizeof buffer, value, mode, count, &result.point,
                      &result.sign, &end),
              buffer);
    EXPECT_EQ(*end, '\0');
    result.digits.assign(buffer, end);
    return result;
}

inline std::string g_fmt(ut_fpc_context* context, double value) {
    char buffer[64];
    return ut_g_fmt(context, buffer, sizeof buffer, value);
}

inline uint64_t bits_of(double value) { return std::bit_cast<uint64_t>(value); }

// Finite doubles of many kinds, the same ones in every run: any bits, uniform, decimals of few
// digits, integers of any size, subnormals, powers of two and their neighbours.
class Doubles {
  public:
    double next() {
        for (;;) {
            const double value = any();
            if (std::isfinite(value)) return value;
        }
    }
    uint64_t below(uint64_t limit) { return random_() % limit; }

  private:
    double any() {
        switch (kind_++ % 7) {
            case 0:
                return std::bit_cast<double>(random_());
            case 1:
                return static_cast<double>(random_() >> 11) * 0x1p-53;
            case 2:
                return static_cast<double>(below(10000000)) / std::pow(10, below(10));
            case 3:
                return static_cast<double>(random_() >> below(64));
            case 4:
                return std::bit_cast<double>(random_() >> (12 + below(52)));
            case 5:
                return std::bit_cast<double>((below(2047) << 52) + below(5) - 2);
            default:  // few bits, so that decimal ties occur
                return std::ldexp(static_cast<double>(below(4096)),
                                  static_cast<int>(below(40)) - 24);
        }
    }

    std::mt19937_64 random_{42};
    unsigned kind_ = 0;
};

// Sets a rounding mode for a scope.
class RoundingMode : private NotCopied {
  public:
    explicit RoundingMode(int mode) : before_(std::fegetround()) { std::fesetround(mode); }
    ~RoundingMode() { std::fesetround(before_); }

  private:
    int before_;
};

}  // namespace qxut_test

#endif
