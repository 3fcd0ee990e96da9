// number_strtod.cpp - ut_strtod: reads the text of a number and finds the nearest double.
//
//     [sign] digits [. digits] [e [sign] digits]        at least one digit in front of the e
//
// The digits are gathered in one 64-bit word as they are passed. Up to 19 of them fit, which is
// nearly every number; nearest_double then answers. Of a longer number the word holds the first 19
// significant digits: the number lies between the word and the word plus one, so where both have
// the same nearest double that is the answer. nearest_double_exact decides what is left.
//
// Every character is looked at a fixed number of times; counts and exponents are 64-bit and the
// written exponent is cut off far beyond any count of digits that fits a memory, so that neither
// overflows. Tested by tests/util/fpc_parse_test.cpp.
#include <bit>

#include <qxut/util/fpc.h>

#include "util/number_binary.h"
#include "util/number_read.h"

namespace qxut::number {
namespace {

constexpr int kWordDigits = 19;  // as many fit a 64-bit word
constexpr int64_t kExponentLimit = int64_t{1} << 62;

struct Scanned {
    DecimalDigits digits;
    uint64_t word;  // of all digits if they fit
    int64_t count;  // of digits
    const char* end;
};

uint64_t digit_value(char c) { return static_cast<uint64_t>(c - '0'); }

// Passes digits, adding them to the word. The word may wrap around; it counts only if it did not.
const char* scan_digits(const char* p, uint64_t& word) {
    for (; is_digit(*p); ++p) word = word * 10 + digit_value(*p);
    return p;
}

// Passes an exponent part; text that is none is not part of the number.
const char* scan_exponent(const char* text, int64_t& exponent) {
    const char* p = text + 1;
    const bool negative = *p == '-';
    if (negative || *p == '+') ++p;
    if (!is_digit(*p)) return text;
    int64_t value = 0;
    for (; is_digit(*p); ++p)
        if (value < kExponentLimit / 16) value = value * 10 + (*p - '0');
    exponent = negative ? -value : value;
    return p;
}

// A count of 0 tells that there is no number.
Scanned scan(const char* text) {
    Scanned result{{text, text, 0, 0}, 0, 0, text};
    const char* p = scan_digits(text, result.word);
    result.count = result.digits.point = p - text;
    if (*p == '.') {
        const char* const fraction = p + 1;
        p = scan_digits(fraction, result.word);
        result.count += p - fraction;
    }
    if (result.count == 0) return result;
    result.digits.end = p;
    result.end = *p == 'e' || *p == 'E' ? scan_exponent(p, result.digits.exponent) : p;
    return result;
}

// The leading digits of a number: word * 10^exponent, or between that and one more in the word.
struct Leading {
    uint64_t word;
    int64_t exponent;
    bool is_all;
};

Leading leading_digits(const Scanned& scanned) {
    const DecimalDigits& digits = scanned.digits;
    if (scanned.count <= kWordDigits)
        return {scanned.word, digits.point - scanned.count + digits.exponent, true};
    int64_t passed = 0;
    int significant = 0;
    uint64_t word = 0;
    for (const char* p = digits.begin; p != digits.end && significant < kWordDigits; ++p) {
        if (*p == '.') continue;
        ++passed;
        word = word * 10 + digit_value(*p);
        significant += word != 0 ? 1 : 0;
    }
    return {word, digits.point - passed + digits.exponent, passed == scanned.count};
}

// The bits of the nearest double, without a sign.
uint64_t magnitude_of(ut_fpc_context& context, const Scanned& scanned) {
    const Leading leading = leading_digits(scanned);
    if (leading.word == 0) return 0;
    const Nearest nearest = nearest_double(leading.word, leading.exponent);
    if (nearest.is_known) {
        if (leading.is_all) return nearest.magnitude;
        const Nearest above = nearest_double(leading.word + 1, leading.exponent);
        if (above.is_known && above.magnitude == nearest.magnitude) return nearest.magnitude;
    }
    return nearest_double_exact(context, scanned.digits, nearest.magnitude);
}

// Passes `lower` in any case, or answers null.
const char* pass_word(const char* p, const char* lower) {
    for (; *lower != '\0'; ++p, ++lower)
        if ((static_cast<unsigned char>(*p) | 0x20) != static_cast<unsigned char>(*lower))
            return nullptr;
    return p;
}

struct Special {
    uint64_t magnitude;
    const char* end;  // null: neither of the words is there
};

Special read_special(const char* p) {
    if (const char* end = pass_word(p, "nan")) return {kNaNBits, end};
    const char* const inf = pass_word(p, "inf");
    if (inf == nullptr) return {0, nullptr};
    const char* const infinity = pass_word(inf, "inity");
    return {kInfinityBits, infinity != nullptr ? infinity : inf};
}

double with_sign(uint64_t magnitude, bool negative) {
    return std::bit_cast<double>(magnitude | (negative ? kSignBit : 0));
}

}  // namespace
}  // namespace qxut::number

using namespace qxut::number;

double ut_strtod(ut_fpc_context* context, const char* text, char** end) {
    const bool negative = *text == '-';
    const char* const unsigned_text = text + (negative || *text == '+' ? 1 : 0);
    const Scanned scanned = scan(unsigned_text);
    const char* stop = scanned.end;
    double result = 0.0;
    if (scanned.count != 0) {
        result = with_sign(magnitude_of(*context, scanned), negative);
    } else {
        const Special special = read_special(unsigned_text);
        stop = special.end != nullptr ? special.end : text;
        if (special.end != nullptr) result = with_sign(special.magnitude, negative);
    }
    // The C library's functions of this shape hand out their argument in the same way.
    if (end != nullptr) *end = const_cast<char*>(stop);
    return result;
}
