// c_string_output.cpp - bytes as a quoted literal, one writer call per piece.
//
// All forms go through write_literal, which alone decides between a plain byte, a named escape
// and a number. Tested by tests/util/c_string_output_test.cpp.
#include <qxut/util/c_string_output.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr char kSpecial[] = "\n\"\\\r\t\a\b\f\v";
constexpr char kLetters[] = "n\"\\rtabfv0";
static_assert(sizeof kLetters == sizeof kSpecial + 1, "the set's NUL has a letter too");

struct Escapes {
    const char* special;
    const char* letters;
    const char* prefix;
    const char* numeric_format;
    const char* suffix;
    ut_escape_callback before;
    ut_escape_callback after;
    void* argument;
};

// C's own, with callbacks.
Escapes c_escapes(ut_escape_callback before, ut_escape_callback after, void* argument) {
    return {kSpecial, kLetters, "\\", "%03o", "", before, after, argument};
}

class Output {
  public:
    Output(utPutsFcn writer, void* stream) : writer_(writer), stream_(stream) {}
    int write(const char* text) { return writer_(text, stream_); }
    int write_byte(char byte) {
        const char text[] = {byte, '\0'};
        return write(text);
    }

  private:
    utPutsFcn writer_;
    void* stream_;
};

void write_escape(Output& output, const Escapes& escapes, char byte, const char* found) {
    if (escapes.before != nullptr) escapes.before(escapes.argument);
    output.write(escapes.prefix);
    if (found != nullptr) {
        output.write_byte(escapes.letters[found - escapes.special]);
    } else {
        char number[32];
        std::snprintf(number, sizeof number, escapes.numeric_format,
                      static_cast<unsigned>(static_cast<unsigned char>(byte)));
        output.write(number);
    }
    output.write(escapes.suffix);
    if (escapes.after != nullptr) escapes.after(escapes.argument);
}

int write_literal(Output output, const char* bytes, uint64_t length, const Escapes& escapes) {
    output.write("\"");
    for (uint64_t i = 0; i < length; ++i) {
        const char byte = bytes[i];
        const char* const found = std::strchr(escapes.special, byte);
        // 0x7F counts as printable.
        const bool is_plain = byte >= 0x20 && static_cast<unsigned char>(byte) <= 0x7F;
        if (found == nullptr && is_plain)
            output.write_byte(byte);
        else
            write_escape(output, escapes, byte, found);
    }
    return output.write("\"");
}

}  // namespace

int ut_output_c_string(utPutsFcn writer, void* stream, const char* text) {
    return ut_output_c_string_with_length(writer, stream, text, std::strlen(text));
}

int ut_output_c_string_with_length(utPutsFcn writer, void* stream, const char* bytes,
                                   uint64_t length) {
    return write_literal({writer, stream}, bytes, length, c_escapes(nullptr, nullptr, nullptr));
}

int ut_output_c_string_with_tse(utPutsFcn writer, void* stream, const char* text,
                                ut_escape_callback before, ut_escape_callback after,
                                void* argument) {
    return write_literal({writer, stream}, text, std::strlen(text),
                         c_escapes(before, after, argument));
}

int ut_output_target_string_with_length(utPutsFcn writer, void* stream, const char* bytes,
                                        uint64_t length, const char* special, const char* letters,
                                        const char* prefix, const char* numeric_format,
                                        const char* suffix, ut_escape_callback before,
                                        ut_escape_callback after, void* argument) {
    return write_literal(
        {writer, stream}, bytes, length,
        {special, letters, prefix, numeric_format, suffix, before, after, argument});
}

int ut_output_target_string(utPutsFcn writer, void* stream, const char* text, const char* special,
                            const char* letters, const char* prefix, const char* numeric_format,
                            const char* suffix, ut_escape_callback before, ut_escape_callback after,
                            void* argument) {
    return write_literal(
        {writer, stream}, text, std::strlen(text),
        {special, letters, prefix, numeric_format, suffix, before, after, argument});
}

uint32_t ut_count_c_escape_sequences(const char* text) {
    uint32_t count = 0;
    for (; *text != '\0'; ++text)
        if (std::strchr(kSpecial, *text) != nullptr) ++count;
    return count;
}
