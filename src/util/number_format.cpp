// number_format.cpp - ut_g_fmt: the shortest text of a double that reads back the same.
//
// Text is written in wide stores that may reach behind its end: straight into the caller's buffer
// where that has room for the widest, else into a local one that is then copied as far as it fits.
// Entry point: ut_g_fmt. Tested by tests/util/fpc_format_test.cpp.
#include "util/number_format.h"

#include <algorithm>

#include <qxut/util/bstream.h>
#include <qxut/util/error.h>

namespace qxut::number {
namespace {

// The longest text has a sign, 22 digits (17 and up to five zeros) and ".0"; the furthest store
// ends eight characters behind digit 17, or eight behind an inserted point.
constexpr size_t kWorkSize = 40;

// Copies a literal without its NUL.
template <size_t Size>
char* write_literal(char* out, const char (&text)[Size]) {
    return std::copy_n(text, Size - 1, out);
}

// "e+20", "e-07", "e+100". Whether there are two or three digits is as good as random, so all three
// are made and a leading zero is shifted out.
char* write_exponent(char* out, int exponent) {
    const auto magnitude = static_cast<unsigned>(exponent < 0 ? -exponent : exponent);
    const unsigned digits = magnitude / 100 | magnitude / 10 % 10 << 8 | magnitude % 10 << 16;
    const unsigned skipped = magnitude < 100 ? 1 : 0;
    const uint64_t sign = exponent < 0 ? uint64_t{'-'} : uint64_t{'+'};
    const uint64_t text =
        uint64_t{'e'} | sign << 8 | uint64_t{digits | 0x303030} >> 8 * skipped << 16;
    store_characters(out, text);
    return out + 5 - skipped;
}

// "1e+20", "1.5e-07".
char* write_exponential(char* out, const DecimalText& text) {
    out[0] = static_cast<char>('0' + text.first);
    out[1] = '.';
    store_characters(out + 2, text.middle | kEightZeros);
    store_characters(out + 10, text.last | kEightZeros);
    return write_exponent(out + (text.count == 1 ? 1 : text.count + 1), text.point - 1);
}

// ".001": nothing in front of the point, at most three zeros behind it.
char* write_fraction(char* out, const DecimalText& text) {
    *out++ = '.';
    write_literal(out, "000");
    out -= text.point;
    text.store(out);
    return out + text.count;
}

// "123456.0": the digits behind the last are zeros already, up to the seventeenth.
char* write_whole(char* out, const DecimalText& text) {
    text.store(out);
    store_characters(out + kTextDigits, kEightZeros);
    out += text.point;
    *out++ = '.';
    *out++ = '0';
    return out;
}

// "123.456": the digits, then those behind the point once more, one character further on.
char* write_mixed(char* out, const DecimalText& text) {
    text.store(out);
    const auto skipped = 8 * static_cast<unsigned>(text.point - 1);  // bits of `middle`, `last`
    uint64_t next = text.last >> (skipped % 64);
    uint64_t behind = 0;
    if (skipped < 64) {
        behind = next;
        next = text.middle >> skipped;
        if (skipped != 0) next |= text.last << (64 - skipped);
    }
    out += text.point;
    *out++ = '.';
    store_characters(out, next | kEightZeros);
    store_characters(out + 8, behind | kEightZeros);
    return out + (text.count - text.point);
}

char* write_finite(char* out, uint64_t magnitude) {
    if (magnitude == 0) return write_literal(out, "0.0");
    const DecimalText text = shortest_text(magnitude, Boundaries::round_half_even);
    // A point at most at -4 or behind count + 5, asked as one question: the two answers apart are
    // as good as random, and a wrong guess waits for all of the above.
    if (static_cast<unsigned>(text.point + 3) > static_cast<unsigned>(text.count + 8))
        return write_exponential(out, text);
    if (text.point <= 0) return write_fraction(out, text);
    if (text.point >= text.count) return write_whole(out, text);
    return write_mixed(out, text);
}

char* write_text(char* out, double value) {
    const uint64_t magnitude = magnitude_bits(value);
    *out = '-';
    out += has_sign(value) ? 1 : 0;
    if (magnitude < kInfinityBits) return write_finite(out, magnitude);
    return write_literal(out, magnitude == kInfinityBits ? "Inf" : "NaN");
}

}  // namespace

void raise_buffer_too_small(const ut_fpc_context& context, size_t size) {
    const auto reported = static_cast<long>(size);
    ut_error(context.memory_context->error_context, UT_FPC_BUFFER_TOO_SMALL, reported,
             static_cast<long>(size + 1));
}

}  // namespace qxut::number

using namespace qxut::number;

char* ut_g_fmt(ut_fpc_context* context, char* buffer, size_t size, double value) {
    if (size >= kWorkSize) {
        *write_text(buffer, value) = '\0';
        return buffer;
    }
    char text[kWorkSize];
    char* const end = write_text(text, value);
    const auto length = static_cast<size_t>(end - text);
    std::copy_n(text, std::min(length, size), buffer);
    if (length >= size) raise_buffer_too_small(*context, size);
    buffer[length] = '\0';
    return buffer;
}
