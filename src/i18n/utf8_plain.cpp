// utf8_plain.cpp - UTF-8 and UTF-16 character by character, with all rules; see utf8.h.
#include "i18n/utf8.h"

namespace qxut {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool is_continuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }
bool is_lead_surrogate(uint32_t unit) { return (unit & 0xFC00) == 0xD800; }
bool is_trail_surrogate(uint32_t unit) { return (unit & 0xFC00) == 0xDC00; }

struct Character {
    uint32_t code_point;  // U+FFFD where the bytes are none
    uint32_t length;      // bytes, at least 1
};

// What the lead byte demands of the second one keeps out overlong forms, surrogates and numbers
// above 10FFFF; a sequence breaks off in front of the first byte that does not fit.
Character decode_multibyte(const unsigned char* source, size_t available) {
    const unsigned lead = source[0];
    if (lead < 0xC2 || lead > 0xF4) return {kReplacement, 1};
    if (available < 2) return {kReplacement, 1};
    const unsigned second = source[1];
    if (lead < 0xE0) {
        if (!is_continuation(source[1])) return {kReplacement, 1};
        return {(lead & 0x1F) << 6 | (second & 0x3F), 2};
    }
    const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (second < lowest || second > highest) return {kReplacement, 1};
    if (available < 3 || !is_continuation(source[2])) return {kReplacement, 2};
    const uint32_t three = (second & 0x3F) << 6 | (source[2] & 0x3Fu);
    if (lead < 0xF0) return {(lead & 0x0F) << 12 | three, 3};
    if (available < 4 || !is_continuation(source[3])) return {kReplacement, 3};
    return {(lead & 0x07) << 18 | three << 6 | (source[3] & 0x3Fu), 4};
}

}  // namespace

DecodeStep utf8_decode_plain(const unsigned char* source, const unsigned char* source_end,
                             char16_t* target, char16_t* target_end) {
    while (source != source_end && target != target_end) {
        if (*source < 0x80) {
            *target++ = *source++;
            continue;
        }
        const Character next = decode_multibyte(source, static_cast<size_t>(source_end - source));
        if (next.code_point < 0x10000) {
            *target++ = static_cast<char16_t>(next.code_point);
        } else {
            if (target_end - target < 2) break;
            *target++ = static_cast<char16_t>(0xD7C0 + (next.code_point >> 10));
            *target++ = static_cast<char16_t>(0xDC00 + (next.code_point & 0x3FF));
        }
        source += next.length;
    }
    return {source, target};
}

EncodeStep utf8_encode_plain(const char16_t* source, const char16_t* source_end,
                             unsigned char* target, unsigned char* target_end) {
    const auto byte = [](uint32_t value) { return static_cast<unsigned char>(value); };
    while (source != source_end) {
        const auto room = static_cast<size_t>(target_end - target);
        uint32_t c = *source;
        if (c < 0x80) {
            if (room < 1) break;
            *target++ = byte(c);
        } else if (c < 0x800) {
            if (room < 2) break;
            *target++ = byte(0xC0 | c >> 6);
            *target++ = byte(0x80 | (c & 0x3F));
        } else if (is_lead_surrogate(c) && source_end - source > 1 &&
                   is_trail_surrogate(source[1])) {
            if (room < 4) break;
            c = 0x10000 + ((c & 0x3FF) << 10) + (source[1] & 0x3FFu);
            *target++ = byte(0xF0 | c >> 18);
            *target++ = byte(0x80 | (c >> 12 & 0x3F));
            *target++ = byte(0x80 | (c >> 6 & 0x3F));
            *target++ = byte(0x80 | (c & 0x3F));
            ++source;
        } else {
            if (room < 3) break;
            if (is_lead_surrogate(c) || is_trail_surrogate(c)) c = kReplacement;
            *target++ = byte(0xE0 | c >> 12);
            *target++ = byte(0x80 | (c >> 6 & 0x3F));
            *target++ = byte(0x80 | (c & 0x3F));
        }
        ++source;
    }
    return {source, target};
}

}  // namespace qxut
