// number_integer.h - the few operations on big integers that exact conversion needs.
//
// All work in place. The caller has chosen a block whose capacity holds every result; asserting
// builds check that.
#ifndef QXUT_SRC_UTIL_NUMBER_INTEGER_H
#define QXUT_SRC_UTIL_NUMBER_INTEGER_H

#include "util/number_pool.h"

namespace qxut::number {

void assign(BigInteger& x, uint64_t value);
void multiply_add(BigInteger& x, uint32_t factor, uint32_t summand);  // x = x * factor + summand
void multiply_by_power_of_five(BigInteger& x, uint32_t exponent);
void shift_left(BigInteger& x, uint32_t bits);
uint32_t divide(BigInteger& x, uint32_t divisor);       // returns the remainder
int compare(const BigInteger& a, const BigInteger& b);  // negative, 0 or positive

// Words that hold integers below 2^bits.
constexpr size_t words_for_bits(size_t bits) { return (bits + 31) / 32; }

// At least the number of bits of 5^n, and of 10^n: 2.3219 and 3.3219 bits a factor.
constexpr size_t bits_of_power_of_five(size_t n) { return n * 2322 / 1000 + 1; }
constexpr size_t bits_of_power_of_ten(size_t n) { return n * 3322 / 1000 + 1; }

}  // namespace qxut::number

#endif
