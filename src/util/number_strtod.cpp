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
#include "util/number_nearest.h"
#include "util/number_read.h"
#include "util/number_text.h"

namespace qxut::number {
namespace {

constexpr int kWordDigits = 19;  // as many fit a 64-bit word
constexpr int64_t kExponentLimit = int64_t{1} << 58;

uint64_t digit_value(char c) { return static_cast<uint64_t>(c - '0'); }

// Digits are gathered in groups of eight, because the multiplications of one group need not wait
// for those of the group before it. Nothing behind the text's NUL may be looked at, so each
// character is asked for before the next one is; the templates below make one straight line of code
// of it, with an exit after each character. The word may wrap around; it counts only if it did not.

// Passes any number of digits, one at a time.
[[gnu::always_inline]] inline const char* scan_digits(const char* p, uint64_t& word) {
    for (; is_digit(*p); ++p) word = word * 10 + static_cast<uint64_t>(*p - '0');
    return p;
}

// Passes at most `Limit` digits, of which `Passed` have the value `group`.
template <int Limit, int Passed = 0>
[[gnu::always_inline]] inline const char* scan_group(const char* p, uint64_t& word,
                                                     uint32_t group = 0) {
    if constexpr (Passed < Limit) {
        const uint32_t digit = static_cast<unsigned char>(p[Passed]) - uint32_t{'0'};
        if (digit < 10) return scan_group<Limit, Passed + 1>(p, word, group * 10 + digit);
    }
    word = word * kSmallPowers[Passed] + group;
    return Passed == 8 ? scan_digits(p + 8, word) : p + Passed;
}

// The number that eight digits are: lanes of one digit are joined to lanes of two, four and eight.
constexpr uint64_t join_eight_digits(uint64_t digits) {
    const uint64_t pairs = ((digits * (10 * 0x100 + 1)) >> 8) & 0x00FF00FF00FF00FF;
    const uint64_t fours = ((pairs * (100 * 0x10000 + 1)) >> 16) & 0x0000FFFF0000FFFF;
    return (fours * (10000 * 0x100000000 + 1)) >> 32;
}

// Passes digits where many are likely, `Groups` of eight at once. A first pass over a group only
// looks for `Seen` characters that are not below '0', so neither NUL nor sign nor point; eight are
// then loaded, checked and converted together. The characters are read as volatile because the
// compiler would otherwise keep all of them in registers for the exits, where they are cheaper to
// load again.
template <int Groups, int Seen = 0>
[[gnu::always_inline]] inline const char* scan_groups(const char* p, uint64_t& word) {
    if constexpr (Groups == 0) {
        return scan_digits(p, word);
    } else if constexpr (Seen < 8) {
        const volatile char& next = p[Seen];
        if (static_cast<unsigned char>(next) >= '0') return scan_groups<Groups, Seen + 1>(p, word);
    } else {
        const uint64_t digits = load_characters(p) ^ kEightZeros;
        const uint64_t above_nine = (digits + 0x7676767676767676) | digits;
        if ((above_nine & 0x8080808080808080) == 0) {
            word = word * kSmallPowers[8] + join_eight_digits(digits);
            return scan_groups<Groups - 1>(p + 8, word);
        }
    }
    return scan_group<Seen>(p, word);
}

struct Exponent {
    int64_t value;
    const char* end;
};

// Passes an exponent part; what is none is not part of the number.
[[gnu::always_inline]] inline Exponent scan_exponent(const char* text) {
    if (*text != 'e' && *text != 'E') return {0, text};
    const char* p = text + 1;
    const bool negative = *p == '-';
    if (negative || *p == '+') ++p;
    if (!is_digit(*p)) return {0, text};
    int64_t value = 0;
    for (; is_digit(*p); ++p)
        if (value < kExponentLimit) value = value * 10 + (*p - '0');
    return {negative ? -value : value, p};
}

struct Scanned {
    DecimalDigits digits;
    uint64_t word;         // of all digits if they fit
    int64_t behind_point;  // digits behind the point
    int64_t count;         // of digits; 0: there is no number in digits
    bool is_negative;
    const char* end;
};

[[gnu::always_inline]] inline Scanned scan(const char* text) {
    const bool is_negative = *text == '-';
    const char* const begin = text + (is_negative || *text == '+' ? 1 : 0);
    uint64_t word = 0;
    const char* end = scan_group<8>(begin, word);
    const int64_t point = end - begin;
    int64_t behind_point = 0;
    if (*end == '.') {
        const char* const fraction = end + 1;
        end = scan_groups<2>(fraction, word);
        behind_point = end - fraction;
    }
    const Exponent exponent = scan_exponent(end);
    return {{begin, end, point, exponent.value},
            word,
            behind_point,
            point + behind_point,
            is_negative,
            exponent.end};
}

// The leading digits of a number: word * 10^exponent, or between that and one more in the word.
struct Leading {
    uint64_t word;
    int64_t exponent;
    bool is_all;
};

Leading leading_digits(const DecimalDigits& digits) {
    int64_t passed = 0;
    int significant = 0;
    uint64_t word = 0;
    const char* p = digits.begin;
    for (; p != digits.end && significant < kWordDigits; ++p) {
        if (*p == '.') continue;
        ++passed;
        word = word * 10 + digit_value(*p);
        significant += word != 0 ? 1 : 0;
    }
    return {word, digits.point - passed + digits.exponent, p == digits.end};
}

// The bits of the double nearest to any number, without its sign.
uint64_t nearest_to_any(ut_fpc_context& context, const DecimalDigits& digits) {
    const Leading leading = leading_digits(digits);
    if (leading.word == 0) return 0;
    const Nearest nearest = nearest_double(leading.word, leading.exponent);
    if (nearest.is_known) {
        if (leading.is_all) return nearest.magnitude;
        const Nearest above = nearest_double(leading.word + 1, leading.exponent);
        if (above.is_known && above.magnitude == nearest.magnitude) return nearest.magnitude;
    }
    return nearest_double_exact(context, digits, nearest.magnitude);
}

// Passes `lower` in any case, or answers null.
const char* pass_word(const char* p, const char* lower) {
    for (; *lower != '\0'; ++p, ++lower)
        if ((static_cast<unsigned char>(*p) | 0x20) != static_cast<unsigned char>(*lower))
            return nullptr;
    return p;
}

double with_sign(uint64_t magnitude, bool negative) {
    return std::bit_cast<double>(magnitude | (negative ? kSignBit : 0));
}

// The C library's functions of this shape hand out their argument in the same way.
void set_end(char** end, const char* stop) {
    if (end != nullptr) *end = const_cast<char*>(stop);
}

// Reads what is no digits: a word, or no number at all.
double read_special(const char* text, const char*& end) {
    const bool negative = *text == '-';
    const char* const word = text + (negative || *text == '+' ? 1 : 0);
    end = text;
    if (const char* const nan = pass_word(word, "nan")) {
        end = nan;
        return with_sign(kNaNBits, negative);
    }
    const char* const inf = pass_word(word, "inf");
    if (inf == nullptr) return 0.0;
    const char* const infinity = pass_word(inf, "inity");
    end = infinity != nullptr ? infinity : inf;
    return with_sign(kInfinityBits, negative);
}

// Reads anything. It starts over, so that the short way to most numbers keeps nothing for it.
[[gnu::noinline]] double read_any(ut_fpc_context& context, const char* text, char** end) {
    const Scanned scanned = scan(text);
    const char* stop = scanned.end;
    const double value = scanned.count == 0 ? read_special(text, stop)
                                            : with_sign(nearest_to_any(context, scanned.digits),
                                                        scanned.is_negative);
    set_end(end, stop);
    return value;
}

}  // namespace
}  // namespace qxut::number

using namespace qxut::number;

double ut_strtod(ut_fpc_context* context, const char* text, char** end) {
    const Scanned scanned = scan(text);
    const bool fits = scanned.count <= kWordDigits;
    if (fits && scanned.word != 0) {
        const uint64_t magnitude =
            quick_nearest_double(scanned.word, scanned.digits.exponent - scanned.behind_point);
        if (magnitude != 0) {
            set_end(end, scanned.end);
            return with_sign(magnitude, scanned.is_negative);
        }
    }
    return read_any(*context, text, end);
}
