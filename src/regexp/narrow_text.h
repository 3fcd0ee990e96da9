// narrow_text.h - a text of the local code page as UTF-16, and the way back to its bytes.
#ifndef QXUT_SRC_REGEXP_NARROW_TEXT_H
#define QXUT_SRC_REGEXP_NARROW_TEXT_H

#include <cstddef>

#include "regexp/allocator.h"

namespace qxut::regexp {

// What the conversion gives is that of lcp_to_utf16, for a text of any length. The bytes are not
// needed any more once it is made.
class NarrowText {
  public:
    NarrowText() noexcept = default;
    // A null text is empty. Throws std::bad_alloc.
    NarrowText(const char* text, size_t length);

    // Not NUL-terminated; never null.
    const char16_t* units() const noexcept { return units_.empty() ? u"" : units_.data(); }
    size_t length() const noexcept { return units_.size(); }

    // Where the character of a unit begins in the bytes; for the length, where they end. Of a
    // surrogate pair both units give its beginning.
    size_t byte_offset(size_t unit) const noexcept;

  private:
    void take_utf8(const char* text, size_t length);
    void take_legacy(const char* text, size_t length);
    void map_well_formed_utf8();
    void map_any_utf8(const char* text, size_t length);

    Vector<char16_t> units_;
    size_t bytes_ = 0;
    // The offsets of the units: of one unit in kStride when `is_sparse_`, else of each; none where
    // each unit is one byte.
    Vector<size_t> offsets_;
    bool is_sparse_ = false;
};

}  // namespace qxut::regexp

#endif
