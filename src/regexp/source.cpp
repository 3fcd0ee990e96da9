// source.cpp - warnings, free spacing and braces of a text that is parsed.
//
// Tested by tests/regexp/parser_test.cpp.
#include "regexp/source.h"

#include <cstdarg>

#include <qxut/i18n/classification.h>

namespace qxut::regexp {

void Source::warn(size_t position, const char* format, ...) const {
    if (context == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    try {
        context->warn(shown + position, format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
}

size_t skip_free_spacing(const Source& source, size_t position, size_t end) {
    while (position < end) {
        size_t after = position;
        const char32_t c = read_character(source.text, after, end);
        if (c == U'#') {
            while (after < end && source.text[after] != u'\n') ++after;
        } else if (qxu_isspace(static_cast<int32_t>(c)) == 0) {
            break;
        }
        position = after;
    }
    return position;
}

size_t NextBrace::find(const Source& source, size_t position) {
    if (is_known_ && position >= from_ && position <= found_) return found_;
    from_ = position;
    found_ = position;
    while (found_ < source.length && source.text[found_] != u'}') ++found_;
    is_known_ = true;
    return found_;
}

}  // namespace qxut::regexp
