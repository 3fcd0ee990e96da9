// utf8_scan.cpp - see utf8_scan.h. ASCII is passed eight bytes at a time.
//
// Tested by tests/i18n/utf8_string_test.cpp, against ICU.
#include "i18n/utf8_scan.h"

#include <cstdint>
#include <cstring>

namespace qxut {
namespace {

// What may follow a first byte.
struct Shape {
    size_t length;  // 0: it is no first byte
    unsigned char second_low, second_high;
};

Shape shape_of(unsigned char first) {
    if (first < 0x80) return {1, 0, 0};
    if (first < 0xC2) return {0, 0, 0};
    if (first < 0xE0) return {2, 0x80, 0xBF};
    if (first == 0xE0) return {3, 0xA0, 0xBF};  // shorter forms exist
    if (first == 0xED) return {3, 0x80, 0x9F};  // surrogates
    if (first < 0xF0) return {3, 0x80, 0xBF};
    if (first == 0xF0) return {4, 0x90, 0xBF};
    if (first < 0xF4) return {4, 0x80, 0xBF};
    if (first == 0xF4) return {4, 0x80, 0x8F};  // above U+10FFFF
    return {0, 0, 0};
}

size_t ascii_length(const char* text, size_t size) {
    size_t at = 0;
    for (uint64_t word = 0; size - at >= sizeof word; at += sizeof word) {
        std::memcpy(&word, text + at, sizeof word);
        if ((word & 0x8080808080808080u) != 0) break;
    }
    while (at < size && static_cast<unsigned char>(text[at]) < 0x80) ++at;
    return at;
}

}  // namespace

Utf8Sequence utf8_sequence(const char* text, size_t size) noexcept {
    const Shape shape = shape_of(static_cast<unsigned char>(text[0]));
    if (shape.length == 0) return {1, false, false};
    unsigned char low = shape.second_low;
    unsigned char high = shape.second_high;
    for (size_t i = 1; i < shape.length; ++i) {
        if (i == size) return {i, false, true};
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < low || byte > high) return {i, false, false};
        low = 0x80;
        high = 0xBF;
    }
    return {shape.length, true, false};
}

size_t utf8_valid_length(const char* text, size_t size) noexcept {
    size_t at = 0;
    for (;;) {
        at += ascii_length(text + at, size - at);
        if (at == size) return at;
        const Utf8Sequence sequence = utf8_sequence(text + at, size - at);
        if (!sequence.is_valid) return at;
        at += sequence.length;
    }
}

}  // namespace qxut
