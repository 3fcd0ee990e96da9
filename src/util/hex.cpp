// hex.cpp - byte arrays as hexadecimal text, written and read back.
//
// The scanner does what strtoul does in base 16, but neither looks at the process's locale nor
// depends on the width of a C type. Entry points: ut_dumphex, ut_parsehex. Tested by
// tests/util/hex_test.cpp and fuzz/hex_fuzz.cpp.
#include <qxut/util/hex.h>

#include <algorithm>
#include <limits>

#include <qxut/util/interrupt.h>
#include <qxut/util/memory.h>

namespace {

constexpr char kDigits[] = "0123456789abcdef";
constexpr uint32_t kLargest = std::numeric_limits<uint32_t>::max();

// Writes the low `width` hexadecimal digits of a number, terminated.
void put_digits(char* out, uint32_t number, int width) {
    out[width] = '\0';
    while (width > 0) {
        out[--width] = kDigits[number & 0xF];
        number >>= 4;
    }
}

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// The value of a hexadecimal digit, or -1.
int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Reads a number at `text` and moves `text` behind it; without digits it stays and the number is
// 0. No byte behind the one that ends the number is looked at.
uint32_t scan_number(const char*& text) {
    const char* at = text;
    while (is_space(*at)) ++at;
    const bool negative = *at == '-';
    if (negative || *at == '+') ++at;
    if (at[0] == '0' && (at[1] == 'x' || at[1] == 'X') && digit_value(at[2]) >= 0) at += 2;
    const char* const first = at;
    uint32_t number = 0;
    bool too_large = false;
    for (int digit = digit_value(*at); digit >= 0; digit = digit_value(*++at)) {
        too_large = too_large || number > kLargest >> 4;
        number = number << 4 | static_cast<uint32_t>(digit);
    }
    if (at == first) return 0;
    text = at;
    if (too_large) return kLargest;
    return negative ? 0 - number : number;
}

// Reads a number and the white space behind it. Returns whether there was a number.
bool read_field(ut_bstream& stream, uint32_t& number) {
    const char* end = stream.position;
    number = scan_number(end);
    const auto consumed = static_cast<uint64_t>(end - stream.position);
    stream.position += consumed;
    stream.remaining -= std::min(consumed, stream.remaining);
    ut_skip_white_space(&stream);
    return consumed != 0;
}

constexpr uint32_t kBytesBetweenPolls = 1u << 12;

// Where one field is missing all the rest are: nothing was consumed, so nothing changes any more.
void append_zeros(ut_dsbuffer& buffer, uint32_t count) {
    static constexpr char kZeros[kBytesBetweenPolls] = {};
    while (count != 0) {
        utPollInterrupt(buffer.memory_context->error_context);
        const uint32_t some = std::min(count, kBytesBetweenPolls);
        ut_dsbwrite(kZeros, 1, some, &buffer);
        count -= some;
    }
}

}  // namespace

void ut_dumphex(utPutsFcn writer, void* stream, uint32_t count, const void* bytes) {
    char text[10] = {'0'};
    put_digits(text + 1, count, 8);
    writer(text, stream);
    text[0] = ' ';
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (uint32_t i = 0; i < count; ++i) {
        put_digits(text + 1, byte[i], 2);
        writer(text, stream);
    }
}

void ut_parsehex(ut_dsbuffer* buffer, ut_bstream* stream) {
    uint32_t count = 0;
    read_field(*stream, count);
    for (; count != 0; --count) {
        if (count % kBytesBetweenPolls == 0) utPollInterrupt(buffer->memory_context->error_context);
        uint32_t number = 0;
        if (!read_field(*stream, number)) {
            append_zeros(*buffer, count);
            return;
        }
        ut_dsbputc(static_cast<int>(number & 0xFF), buffer);
    }
}
