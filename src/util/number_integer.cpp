// number_integer.cpp - big-integer arithmetic in words of 32 bits, see number_integer.h.
//
// Exact conversion is the rare case, so these are the plain loops. Tested through the conversions
// by tests/util/fpc_format_test.cpp and fpc_parse_test.cpp.
#include "util/number_integer.h"

#include <algorithm>
#include <cassert>

namespace qxut::number {
namespace {

void append(BigInteger& x, uint32_t word) {
    assert(x.count < x.capacity());
    x.words()[x.count++] = word;
}

void drop_leading_zeros(BigInteger& x) {
    while (x.count != 0 && x.words()[x.count - 1] == 0) --x.count;
}

}  // namespace

void assign(BigInteger& x, uint64_t value) {
    x.count = 0;
    for (; value != 0; value >>= 32) append(x, static_cast<uint32_t>(value));
}

void multiply_add(BigInteger& x, uint32_t factor, uint32_t summand) {
    uint64_t carry = summand;
    uint32_t* const words = x.words();
    for (uint32_t i = 0; i < x.count; ++i) {
        carry += uint64_t{words[i]} * factor;
        words[i] = static_cast<uint32_t>(carry);
        carry >>= 32;
    }
    if (carry != 0) append(x, static_cast<uint32_t>(carry));
}

void multiply_by_power_of_five(BigInteger& x, uint32_t exponent) {
    constexpr uint32_t kStep = 13;
    constexpr uint32_t kFiveToStep = 1220703125;  // the last power of five in 32 bits
    for (; exponent >= kStep; exponent -= kStep) multiply_add(x, kFiveToStep, 0);
    uint32_t rest = 1;
    for (; exponent != 0; --exponent) rest *= 5;
    multiply_add(x, rest, 0);
}

void shift_left(BigInteger& x, uint32_t bits) {
    if (x.count == 0) return;
    const uint32_t whole = bits / 32;
    const uint32_t part = bits % 32;
    assert(x.count + whole <= x.capacity());
    uint32_t* const words = x.words();
    std::copy_backward(words, words + x.count, words + x.count + whole);
    std::fill_n(words, whole, 0u);
    x.count += whole;
    if (part == 0) return;
    uint32_t carry = 0;
    for (uint32_t i = whole; i < x.count; ++i) {
        const uint32_t word = words[i];
        words[i] = (word << part) | carry;
        carry = word >> (32 - part);
    }
    if (carry != 0) append(x, carry);
}

uint32_t divide(BigInteger& x, uint32_t divisor) {
    uint64_t rest = 0;
    uint32_t* const words = x.words();
    for (uint32_t i = x.count; i-- != 0;) {
        rest = (rest << 32) | words[i];
        words[i] = static_cast<uint32_t>(rest / divisor);
        rest %= divisor;
    }
    drop_leading_zeros(x);
    return static_cast<uint32_t>(rest);
}

int compare(const BigInteger& a, const BigInteger& b) {
    if (a.count != b.count) return a.count < b.count ? -1 : 1;
    for (uint32_t i = a.count; i-- != 0;)
        if (a.words()[i] != b.words()[i]) return a.words()[i] < b.words()[i] ? -1 : 1;
    return 0;
}

}  // namespace qxut::number
