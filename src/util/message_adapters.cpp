// message_adapters.cpp - writers over a C file and over puts functions, and back.
// Tested by tests/util/message_adapters_test.cpp.
#include <climits>
#include <cstdio>
#include <cstring>

#include <qxut/util/message.h>

#include "util/code_page.h"

int ut_fputsn(void* file, const char* text, int32_t length) {
    return length < 1 ? 0 : std::fprintf(static_cast<FILE*>(file), "%.*s", length, text);
}

int ut_puts_to_putsn(void* adapter, const char* text, int32_t length) {
    const auto& target = *static_cast<const ut_puts_adapter*>(adapter);
    if (length < 1) return 0;
    const auto size = static_cast<size_t>(length);
    const bool default_code_page = qxut::code_page_is_default();
    size_t consumed = 0;
    while (consumed < size) {
        const size_t bytes =
            qxut::character_length(text + consumed, size - consumed, default_code_page);
        char character[MB_LEN_MAX + 1];
        std::memcpy(character, text + consumed, bytes);
        character[bytes] = '\0';
        if (target.puts(character, target.data) < 0) break;
        consumed += bytes;
    }
    return static_cast<int>(consumed);
}

int ut_putsn_to_puts(const char* text, void* adapter) {
    const auto& target = *static_cast<const ut_putsn_adapter*>(adapter);
    size_t length = std::strlen(text);
    int total = 0;
    do {
        const auto piece = static_cast<int32_t>(length > INT32_MAX ? INT32_MAX : length);
        const int result = target.writer(target.stream, text, piece);
        if (result < 0) return result;
        total = total > INT_MAX - result ? INT_MAX : total + result;
        text += piece;
        length -= static_cast<size_t>(piece);
    } while (length != 0);
    return total;
}
