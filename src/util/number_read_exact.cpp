// number_read_exact.cpp - decides between two neighbouring doubles by exact arithmetic.
//
// The number D * 10^e (D the integer of its digits) is compared with the middle of the two,
// (2m + 1) * 2^(q - 1) for the lower one m * 2^q. Powers of five go to the side where they have a
// positive exponent, powers of two likewise after cancelling:
//
//     e >= 0:   D * 5^e * 2^(e-q+1)  ?  2m + 1         a negative power of two
//     e <  0:   D * 2^(e-q+1)        ?  (2m + 1) * 5^-e      changes sides
//
// A middle of two doubles has at most 768 significant digits. So of a longer number only the first
// kUsedDigits count, and of the others whether one is not zero, which is told by a 1 after the used
// ones: such a number cannot be a middle and lies on the same side of each. The work for a text of
// any length is therefore bounded, but for one look at each character.
//
// Entry point: nearest_double_exact. Tested by tests/util/fpc_parse_test.cpp.
#include <algorithm>

#include "util/number_binary.h"
#include "util/number_integer.h"
#include "util/number_read.h"

namespace qxut::number {
namespace {

constexpr int64_t kUsedDigits = 768;
constexpr uint32_t kGroup = 1000000000;

// The significant digits of a text, without leading zeros, point, and trailing ones unused.
struct Significant {
    const char* begin;  // the first non-zero digit
    int64_t count;      // digits to use
    int64_t place;      // power of ten of the last digit to use
    bool more;          // a non-zero digit follows
};

Significant find_significant(const DecimalDigits& number) {
    const char* p = number.begin;
    int64_t before = 0;  // digits in front of p
    for (; *p == '0' || *p == '.'; ++p) before += *p == '0' ? 1 : 0;
    Significant result{p, 0, 0, false};
    for (; p != number.end && result.count < kUsedDigits; ++p) result.count += *p == '.' ? 0 : 1;
    result.more = std::any_of(p, number.end, [](char c) { return c != '0' && c != '.'; });
    result.place = number.point - before - result.count + number.exponent;
    return result;
}

void read_digits(BigInteger& integer, const Significant& digits) {
    const char* p = digits.begin;
    uint32_t group = 0;
    uint32_t scale = 1;
    for (int64_t i = 0; i < digits.count; ++p) {
        if (*p == '.') continue;
        group = group * 10 + static_cast<uint32_t>(*p - '0');
        scale *= 10;
        ++i;
        if (scale == kGroup || i == digits.count) {
            multiply_add(integer, scale, group);
            group = 0;
            scale = 1;
        }
    }
}

}  // namespace

uint64_t nearest_double_exact(ut_fpc_context& context, const DecimalDigits& number,
                              uint64_t lower) {
    Significant digits = find_significant(number);
    if (digits.more) --digits.place;  // of the 1 that stands for the rest

    const Binary binary = decompose(lower);
    const auto fives = static_cast<uint32_t>(digits.place < 0 ? -digits.place : digits.place);
    const int64_t twos = digits.place - (binary.exponent - 1);
    const auto shift = static_cast<uint32_t>(twos < 0 ? -twos : twos);
    const bool is_fraction = digits.place < 0;

    const size_t digit_bits = bits_of_power_of_ten(static_cast<size_t>(digits.count) + 1);
    const size_t five_bits = bits_of_power_of_five(fives);
    const PooledInteger left(context, words_for_bits(digit_bits + (is_fraction ? 0 : five_bits) +
                                                     (twos > 0 ? shift : 0)));
    const PooledInteger right(
        context,
        words_for_bits(kFractionBits + 2 + (is_fraction ? five_bits : 0) + (twos < 0 ? shift : 0)));
    read_digits(*left, digits);
    if (digits.more) multiply_add(*left, 10, 1);
    assign(*right, 2 * binary.significand + 1);
    multiply_by_power_of_five(is_fraction ? *right : *left, fives);
    shift_left(twos < 0 ? *right : *left, shift);

    const int order = compare(*left, *right);
    const bool up = order > 0 || (order == 0 && (lower & 1) != 0);
    return lower + (up ? 1 : 0);
}

}  // namespace qxut::number
