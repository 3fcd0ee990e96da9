// utf8.h - UTF-8 to UTF-16 and back, as ICU's converter does it, without ICU.
//
// The steps convert as many whole characters as the target has room for. Ill-formed bytes give
// U+FFFD, one for each maximal part of a well-formed sequence (a truncated one at the end, too); a
// surrogate without its other half gives the three bytes of U+FFFD. The plain forms go character
// by character; the vector forms take the well-formed runs between and leave the rest to them.
// The wholes add the semantics of a capacity. Tested by tests/i18n/conversion_test.cpp, the forms
// against each other by tests/i18n/utf8_forms_test.cpp.
#ifndef QXUT_SRC_I18N_UTF8_H
#define QXUT_SRC_I18N_UTF8_H

#include <cstddef>
#include <cstdint>

namespace qxut {

struct DecodeStep {
    const unsigned char* source;  // first byte that was not taken
    char16_t* target;             // first unit that was not written
};
struct EncodeStep {
    const char16_t* source;
    unsigned char* target;
};

// Within the target's end nothing behind the result's own units is changed, whichever form runs.
DecodeStep utf8_decode(const unsigned char* source, const unsigned char* source_end,
                       char16_t* target, char16_t* target_end);
DecodeStep utf8_decode_plain(const unsigned char* source, const unsigned char* source_end,
                             char16_t* target, char16_t* target_end);
EncodeStep utf8_encode(const char16_t* source, const char16_t* source_end, unsigned char* target,
                       unsigned char* target_end);
EncodeStep utf8_encode_plain(const char16_t* source, const char16_t* source_end,
                             unsigned char* target, unsigned char* target_end);

// Take what they can in large pieces; the source is not used up, and neither ends within a
// character. Only where has_vectors() is true.
DecodeStep utf8_decode_vectors(const unsigned char* source, const unsigned char* source_end,
                               char16_t* target, char16_t* target_end);
EncodeStep utf8_encode_vectors(const char16_t* source, const char16_t* source_end,
                               unsigned char* target, unsigned char* target_end);

// Take all that is well-formed and that the target has room for, but for what would fill its last
// few units. Only where has_wide_vectors() is true.
DecodeStep utf8_decode_wide(const unsigned char* source, const unsigned char* source_end,
                            char16_t* target, char16_t* target_end);
EncodeStep utf8_encode_wide(const char16_t* source, const char16_t* source_end,
                            unsigned char* target, unsigned char* target_end);

// Convert a text of `length` units and return the length of the whole result. At most `capacity`
// units of it are stored, and a NUL behind it where there is room.
size_t utf8_to_utf16_whole(char16_t* target, size_t capacity, const char* source, size_t length);
size_t utf16_to_utf8_whole(char* target, size_t capacity, const char16_t* source, size_t length);

// Units of the whole result.
size_t utf8_decoded_length(const unsigned char* source, const unsigned char* source_end);
size_t utf8_encoded_length(const char16_t* source, const char16_t* source_end);

}  // namespace qxut

#endif
