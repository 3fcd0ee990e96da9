// utf8_scan.h - where UTF-8 stops being well-formed.
#ifndef QXUT_SRC_I18N_UTF8_SCAN_H
#define QXUT_SRC_I18N_UTF8_SCAN_H

#include <cstddef>

namespace qxut {

// What stands at some place of a text: a sequence of so many bytes, well-formed, or the maximal
// part of one that is not (which more bytes might complete when it `reaches_end` of the text).
struct Utf8Sequence {
    size_t length;  // at least 1
    bool is_valid;
    bool reaches_end;
};

// `size` is not 0.
Utf8Sequence utf8_sequence(const char* text, size_t size) noexcept;

// The number of bytes in front of the first sequence that is ill-formed or cut off.
size_t utf8_valid_length(const char* text, size_t size) noexcept;

}  // namespace qxut

#endif
