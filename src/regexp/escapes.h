// escapes.h - what stands behind a backslash, in a pattern, in one of its sets, in a template.
#ifndef QXUT_SRC_REGEXP_ESCAPES_H
#define QXUT_SRC_REGEXP_ESCAPES_H

#include <cstddef>
#include <cstdint>

#include "regexp/source.h"

namespace qxut::regexp {

enum class EscapePlace : uint8_t {
    pattern,
    set,          // no references; word breaks are characters
    replacement,  // nor classes: only characters come of it
};

struct Escape {
    enum class Kind : uint8_t {
        character,
        character_class,   // `character` is its letter, one of dDsSwW
        start_of_word,     // \<
        end_of_word,       // \>
        number_reference,  // \N
        name_reference,    // \k<name>
        dropped,           // a braced code that is none: the piece counts for nothing
    };
    Kind kind = Kind::character;
    char32_t character = 0;
    size_t number = 0;  // of the token
    size_t name_begin = 0;
    size_t name_end = 0;
    size_t end = 0;  // where the escape ends
};

struct EscapeOptions {
    EscapePlace place = EscapePlace::pattern;
    bool free_spacing = false;  // white space and comments may stand before the digits of a code
    size_t token_count = 0;     // defined so far: digits of \N that lead beyond it are dropped
};

class EscapeReader {
  public:
    // Reads from `source`, which must outlive the reader. Escapes are asked for from left to right.
    explicit EscapeReader(const Source& source) noexcept : source_(source) {}

    // The escape whose backslash stands at `backslash`; nothing from `end` on is looked at. Warns
    // where one is due, once for each call, and never fails.
    Escape read(size_t backslash, size_t end, const EscapeOptions& options);

    NextBrace& braces() noexcept { return braces_; }

  private:
    Escape read_code(size_t letter, size_t end, unsigned base, size_t most_digits,
                     const EscapeOptions& options);
    Escape literal_with_warning(size_t position, size_t end) const;

    const Source& source_;
    NextBrace braces_;
};

}  // namespace qxut::regexp

#endif
