// context.cpp - the context that lends nothing, and warnings as text.
//
// Entry points: RE_Context, utFormatRegexpWarning. Tested by tests/regexp/evaluation_test.cpp.
#include <qxut/regexp/context.hpp>

#include <cstring>

RE_Context::~RE_Context() = default;

void RE_Context::warn(const char16_t* /*position*/, const char* /*format*/, va_list /*arguments*/) {
}

void RE_Context::parse_dynamic(const char16_t* /*text*/, size_t /*length*/) {}

bool RE_Context::allow_evaluation() const { return false; }

void* RE_Context::create_fcn(RE_Evaluation_Purpose /*purpose*/, const char16_t* /*expression*/,
                             size_t /*length*/, const RE_Evaluation_Inputs& /*inputs*/) {
    return nullptr;
}

void RE_Context::delete_fcn(void* /*function*/) noexcept {}

bool RE_Context::evaluate_string(RE_Evaluation_IO& /*io*/) { return false; }

namespace {

// Bytes of a code point in UTF-8. A NUL would end the text: it shows as a blank, and what is no
// character as U+FFFD.
size_t encode(int code_point, char (&bytes)[4]) {
    constexpr int kReplacement = 0xFFFD;
    int c = code_point;
    if (c < 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = kReplacement;
    if (c == 0) c = ' ';
    if (c < 0x80) {
        bytes[0] = static_cast<char>(c);
        return 1;
    }
    const size_t length = c < 0x800 ? 2 : (c < 0x10000 ? 3 : 4);
    for (size_t i = length - 1; i != 0; --i, c >>= 6) bytes[i] = static_cast<char>(0x80 | (c & 63));
    constexpr unsigned char kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    bytes[0] = static_cast<char>(kLead[length] | c);
    return length;
}

// Takes whole characters as long as they all fit, and counts the rest.
class Output {
  public:
    Output(char* buffer, size_t size) : buffer_(buffer), room_(size == 0 ? 0 : size - 1) {}
    void put(const char* character, size_t length) {
        needed_ += length;
        if (is_full_ || length > room_ - written_) {
            is_full_ = true;
            return;
        }
        std::memcpy(buffer_ + written_, character, length);
        written_ += length;
    }
    size_t written() const { return written_; }
    size_t needed() const { return needed_; }

  private:
    char* buffer_;
    size_t room_;
    size_t written_ = 0;
    size_t needed_ = 0;
    bool is_full_ = false;
};

}  // namespace

size_t utFormatRegexpWarning(char* buffer, size_t size, const char* format, va_list arguments) {
    va_list own;
    va_copy(own, arguments);
    Output output(buffer, size);
    for (const char* p = format; *p != '\0'; ++p) {
        const bool converts = p[0] == '%' && (p[1] == 'c' || p[1] == '%');
        if (converts && *++p == 'c') {
            char bytes[4];
            output.put(bytes, encode(va_arg(own, int), bytes));
        } else {
            output.put(p, 1);
        }
    }
    va_end(own);
    if (size != 0) buffer[output.written()] = '\0';
    return output.needed();
}
