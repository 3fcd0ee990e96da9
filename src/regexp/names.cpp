// names.cpp - the reader of token names.
//
// Tested by tests/regexp/parser_test.cpp.
#include "regexp/names.h"

#include <qxut/i18n/classification.h>

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

}  // namespace qxut::regexp
