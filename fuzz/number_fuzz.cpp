// number_fuzz.cpp - reads any bytes as a number and compares with the C library, which is exact and
// differs only in taking blanks in front, hexadecimal and "nan(...)"; what was read must survive
// being formatted. The first bytes are a double too, formatted in a mode that they choose.
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <qxut/util/error.h>
#include <qxut/util/fpc.h>
#include <qxut/util/message.h>

namespace {

int discard(void* /*stream*/, const char* /*text*/, int32_t length) { return length; }

void require(bool condition) {
    if (!condition) std::abort();
}

bool is_same(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b) || (a != a && b != b);
}

bool is_another_language(const std::string& text) {
    const size_t sign = text.empty() || (text[0] != '-' && text[0] != '+') ? 0 : 1;
    return std::strchr(" \t\n\v\f\r", text.c_str()[0]) != nullptr ||
           (text.c_str()[sign] == '0' && (text.c_str()[sign + 1] | 0x20) == 'x') ||
           (text.size() > sign + 3 && text[sign + 3] == '(');
}

void round_trip(ut_fpc_context* context, double value) {
    char text[26];
    char* end = nullptr;
    const double back = ut_strtod(context, ut_g_fmt(context, text, sizeof text, value), &end);
    require(*end == '\0' && is_same(back, value));
}

void read(ut_fpc_context* context, const std::string& text) {
    char* end = nullptr;
    const double value = ut_strtod(context, text.c_str(), &end);
    require(text.c_str() <= end && end <= text.c_str() + text.size());
    round_trip(context, value);
    if (is_another_language(text)) return;
    char* expected_end = nullptr;
    const double expected = std::strtod(text.c_str(), &expected_end);
    require(end == expected_end && is_same(value, expected));
}

void format(ut_fpc_context* context, const uint8_t* data, size_t size) {
    uint64_t bits = 0;
    int8_t choice[2] = {0, 0};
    if (size < sizeof bits + sizeof choice) return;
    std::memcpy(&bits, data, sizeof bits);
    std::memcpy(choice, data + sizeof bits, sizeof choice);
    const auto value = std::bit_cast<double>(bits);
    round_trip(context, value);
    char digits[768];
    int point = 0;
    int sign = 0;
    char* end = nullptr;
    ut_dtoa(context, digits, sizeof digits, value, choice[0] % 12, choice[1] * 8, &point, &sign,
            &end);
    require(*end == '\0' && std::strlen(digits) == static_cast<size_t>(end - digits));
    require(point == UT_DTOA_NOT_FINITE || end == digits || end == digits + 1 || end[-1] != '0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    int32_t status = 0;
    ut_message_context messages;
    ut_initialize_message_context(&status, &messages, std::malloc, std::realloc);
    _error_context errors;
    ut_initialize_error_context(&status, &errors, &messages, discard, nullptr, std::realloc);
    _memory_context memory;
    ut_initialize_memory_context(&memory, &errors, std::malloc, std::realloc, std::free);
    ut_fpc_context context;
    ut_initialize_fpc_context(&context, &memory);
    format(&context, data, size);
    read(&context, std::string(reinterpret_cast<const char*>(data), size).c_str());
    ut_clear_fpc_context(&context);
    ut_clear_message_context(&messages, std::free);
    return 0;
}
