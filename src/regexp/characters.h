// characters.h - the characters of a UTF-16 text. A pair of surrogates is one character and is
// never split; a surrogate without its partner is a character too. Positions stand between
// characters.
#ifndef QXUT_SRC_REGEXP_CHARACTERS_H
#define QXUT_SRC_REGEXP_CHARACTERS_H

#include <cstdint>

#include <qxut/i18n/classification.h>

namespace qxut::regexp {

constexpr bool is_high_surrogate(char32_t c) { return (c & 0xFFFFFC00) == 0xD800; }
constexpr bool is_low_surrogate(char32_t c) { return (c & 0xFFFFFC00) == 0xDC00; }
constexpr bool is_surrogate(char32_t c) { return (c & 0xFFFFF800) == 0xD800; }
constexpr char32_t pair_character(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// The character at `p`, which moves behind it. There must be one.
inline char32_t next_character(const char16_t*& p, const char16_t* end) {
    const char32_t unit = *p++;
    if (!is_high_surrogate(unit) || p == end || !is_low_surrogate(*p)) return unit;
    return pair_character(unit, *p++);
}

// The character before `p`, which moves before it. There must be one.
inline char32_t previous_character(const char16_t*& p, const char16_t* begin) {
    const char32_t unit = *--p;
    if (!is_low_surrogate(unit) || p == begin || !is_high_surrogate(p[-1])) return unit;
    --p;
    return pair_character(*p, unit);
}

inline const char16_t* behind_character(const char16_t* p, const char16_t* end) {
    const char16_t unit = *p++;
    return is_high_surrogate(unit) && p != end && is_low_surrogate(*p) ? p + 1 : p;
}
inline const char16_t* before_character(const char16_t* p, const char16_t* begin) {
    const char16_t unit = *--p;
    return is_low_surrogate(unit) && p != begin && is_high_surrogate(p[-1]) ? p - 1 : p;
}

// What \w takes.
inline bool is_word_character(char32_t c) {
    if (c < 0x80) return (c | 0x20) - U'a' < 26 || c - U'0' < 10 || c == U'_';
    return qxu_isalnum(static_cast<int32_t>(c)) != 0;
}

}  // namespace qxut::regexp

#endif
