// code_page.cpp - character lengths in the process's code page; see code_page.h.
// Tested by tests/util/message_adapters_test.cpp.
#include "util/code_page.h"

#include <clocale>
#include <cstring>
#include <cwchar>

namespace qxut {
namespace {

// The bytes that may follow a UTF-8 lead byte first; all further ones are 80..BF. The narrower
// ranges keep out overlong forms, surrogates and numbers above 10FFFF.
struct LeadByte {
    size_t length;  // 0: cannot lead
    unsigned char lowest;
    unsigned char highest;
};

LeadByte lead_byte(unsigned char byte) {
    if (byte < 0xC2 || byte > 0xF4) return {0, 0, 0};
    if (byte < 0xE0) return {2, 0x80, 0xBF};
    if (byte < 0xF0)
        return {3, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    return {4, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
}

size_t utf8_length(const char* text, size_t length) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const LeadByte lead = lead_byte(byte(0));
    if (lead.length == 0 || lead.length > length) return 1;
    if (byte(1) < lead.lowest || byte(1) > lead.highest) return 1;
    for (size_t i = 2; i < lead.length; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 1;
    return lead.length;
}

}  // namespace

bool code_page_is_default() {
    const char* const locale = std::setlocale(LC_CTYPE, nullptr);
    return locale == nullptr || std::strcmp(locale, "C") == 0 || std::strcmp(locale, "POSIX") == 0;
}

size_t character_length(const char* text, size_t length, bool default_code_page) {
    // No code page that a process can have leads a multibyte character with an ASCII byte.
    if (static_cast<unsigned char>(*text) < 0x80) return 1;
    if (default_code_page) return utf8_length(text, length);
    std::mbstate_t state{};
    const size_t bytes = std::mbrlen(text, length, &state);
    return bytes == 0 || bytes > length ? 1 : bytes;  // failures are huge numbers
}

}  // namespace qxut
