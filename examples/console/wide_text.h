// wide_text.h - a text as UTF-16, as the library's regular expressions take it, and back.
#ifndef CONSOLE_WIDE_TEXT_H
#define CONSOLE_WIDE_TEXT_H

#include "array.h"
#include "texts.h"

namespace console {

// Give it a Guard. A new text reuses the memory of the one before.
class WideText {
  public:
    // UTF-8; what is ill-formed becomes U+FFFD. Raises OUT_OF_MEMORY.
    void set(const char* text, size_t length);
    void set(const char* text);
    void clear() { units_.clear(); }

    const char16_t* begin() const { return length_ > 0 ? &units_[0] : u""; }
    size_t length() const { return length_; }

  private:
    Array<char16_t> units_;
    size_t length_ = 0;
};

// UTF-16 as UTF-8 with a NUL, behind what the array holds. Raises OUT_OF_MEMORY.
void append_utf8(Array<char>& target, const char16_t* text, size_t length);

// The code of a text given as UTF-16. `scratch` is overwritten.
TextCode wide_text_code(const char16_t* text, size_t length, Array<char>& scratch);

// Characters in a text, and the columns that a terminal gives to them.
size_t count_characters(const char16_t* text, size_t length);
size_t count_columns(const char16_t* text, size_t length);

}  // namespace console

#endif
