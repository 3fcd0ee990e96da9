// number_exact.cpp - the digits of a double by exact arithmetic, rounded to any decimal place.
//
// A double is either an integer or a fixed-point number whose integral part fits one word:
//
//     significand * 2^exponent, exponent >= 0      one big integer: divide by 10^9 from the right
//     significand / 2^-exponent                    [ word ] . [ fraction, a big integer ]:
//                                                  multiply by 10^9, the carry is the next group
//
// Groups are made, leading zeros skipped, until the last wanted digit and one more are there; then
// the rest of the number is only asked whether it is zero. Entry point: exact_digits. Tested by
// tests/util/fpc_format_test.cpp.
#include "util/number_exact.h"

#include <algorithm>
#include <cassert>

#include "util/number_integer.h"

namespace qxut::number {
namespace {

constexpr uint32_t kGroup = 1000000000;
constexpr int kGroupDigits = 9;
constexpr int kMaxIntegralGroups = 35;  // of 309 digits

// Appends a group of nine digits; zeros before the first digit move the point instead.
void append_group(DigitString& text, uint32_t group) {
    char digits[kGroupDigits];
    for (int i = kGroupDigits - 1; i >= 0; --i, group /= 10)
        digits[i] = static_cast<char>('0' + group % 10);
    int first = 0;
    if (text.count == 0)
        while (first < kGroupDigits && digits[first] == '0') ++first;
    assert(text.count + kGroupDigits - first <= kMaxExactDigits);
    std::copy(digits + first, digits + kGroupDigits, text.digits + text.count);
    text.count += kGroupDigits - first;
}

// Appends an integer and sets the point behind it.
void append_integer(DigitString& text, BigInteger& integer) {
    uint32_t groups[kMaxIntegralGroups];
    int count = 0;
    while (integer.count != 0) groups[count++] = divide(integer, kGroup);
    while (count != 0) append_group(text, groups[--count]);
    text.point = text.count;
}

// The part of a number behind its point: words [zeros, size) of a fraction over 2^(32 * size).
// Every product with 10^9 moves at least nine zero bits in at the low end, so words fall away.
class Fraction {
  public:
    Fraction(BigInteger& words, uint32_t size) : words_(words), size_(size) {
        std::fill(words.words() + std::min(words.count, size), words.words() + size, 0u);
        skip_zeros();
    }
    bool is_zero() const { return zeros_ == size_; }

    uint32_t next_group() {
        uint64_t carry = 0;
        uint32_t* const words = words_.words();
        for (uint32_t i = zeros_; i < size_; ++i) {
            carry += uint64_t{words[i]} * kGroup;
            words[i] = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
        skip_zeros();
        return static_cast<uint32_t>(carry);
    }

  private:
    void skip_zeros() {
        while (zeros_ < size_ && words_.words()[zeros_] == 0) ++zeros_;
    }

    BigInteger& words_;
    uint32_t size_;
    uint32_t zeros_ = 0;
};

// Appends the digits behind the point until all of the fraction is done or the digit after the
// one at 10^exponent is there. Returns whether something is left.
bool append_fraction(DigitString& text, Fraction& fraction, int64_t exponent) {
    int64_t place = 0;  // of the last digit made
    while (!fraction.is_zero() && place >= exponent) {
        const int before = text.count;
        append_group(text, fraction.next_group());
        place -= kGroupDigits;
        if (before == 0) text.point = static_cast<int>(place) + text.count;
    }
    return !fraction.is_zero();
}

// Keeps `kept` digits of the text, rounding half to even; `more` tells whether non-zero digits
// follow the text.
void round_to(DigitString& text, int64_t kept, bool more) {
    if (kept >= text.count) return;
    if (kept < 0) {
        text.count = 0;
        return;
    }
    const char* const next = text.digits + kept;
    const char* const end = text.digits + text.count;
    bool up = *next >= '5';
    if (*next == '5' && !more && std::all_of(next + 1, end, [](char c) { return c == '0'; }))
        up = kept != 0 && (next[-1] - '0') % 2 != 0;
    text.count = static_cast<int>(kept);
    if (!up) return;
    while (text.count != 0 && text.digits[text.count - 1] == '9') --text.count;
    if (text.count != 0) {
        ++text.digits[text.count - 1];
    } else {
        text.digits[text.count++] = '1';
        ++text.point;
    }
}

}  // namespace

void exact_digits(ut_fpc_context& context, Binary value, int64_t exponent, DigitString& result) {
    result.count = 0;
    result.point = 0;
    bool more = false;
    if (value.exponent >= 0) {
        const auto shift = static_cast<uint32_t>(value.exponent);
        const PooledInteger integer(context, words_for_bits(shift + kFractionBits + 1));
        assign(*integer, value.significand);
        shift_left(*integer, shift);
        append_integer(result, *integer);
    } else {
        const auto fraction_bits = static_cast<uint32_t>(-value.exponent);
        const auto size = static_cast<uint32_t>(words_for_bits(fraction_bits));
        const uint64_t integral = fraction_bits < 64 ? value.significand >> fraction_bits : 0;
        const PooledInteger integer(context, size + words_for_bits(kFractionBits + 1));
        assign(*integer, integral);
        append_integer(result, *integer);
        assign(*integer, fraction_bits < 64 ? value.significand - (integral << fraction_bits)
                                            : value.significand);
        shift_left(*integer, size * 32 - fraction_bits);
        Fraction fraction(*integer, size);
        more = append_fraction(result, fraction, exponent);
    }
    round_to(result, result.point - exponent, more);
    while (result.count != 0 && result.digits[result.count - 1] == '0') --result.count;
}

}  // namespace qxut::number
