// names.cpp - the reader of token names, and what a name means.
//
// Tested by tests/regexp/parser_test.cpp.
#include "regexp/names.h"

#include <qxut/i18n/classification.h>

#include "regexp/pattern.h"

namespace qxut::regexp {

size_t read_name(const Source& source, size_t position, size_t end) {
    const size_t begin = position;
    while (position < end) {
        size_t after = position;
        const auto c = static_cast<int32_t>(read_character(source.text, after, end));
        const bool is_part =
            c == '_' || (position == begin ? qxu_isalpha(c) != 0 : qxu_isalnum(c) != 0);
        if (!is_part) break;
        position = after;
    }
    return position;
}

size_t read_closed_name(const Source& source, size_t& position, size_t end, char16_t closer) {
    const size_t name_end = read_name(source, position, end);
    if (name_end == position || name_end >= end || source.text[name_end] != closer) return position;
    position = name_end + 1;
    return name_end;
}

Vector<size_t> tokens_named(const char16_t* const* names, size_t count, const char16_t* name) {
    Vector<size_t> tokens;
    for (size_t token = 0; token < count; ++token) {
        const char16_t* a = names[token];
        if (a == nullptr) continue;
        const char16_t* b = name;
        for (; *a != 0 && *a == *b; ++a, ++b) {
        }
        if (*a == *b) tokens.push_back(token + 1);
    }
    return tokens;
}

}  // namespace qxut::regexp
