// pattern_warnings.h - the library's warnings about patterns in the words of the console.
#ifndef CONSOLE_PATTERN_WARNINGS_H
#define CONSOLE_PATTERN_WARNINGS_H

#include <cstdarg>
#include <cstddef>

namespace console {

// Writes the text of a warning, as RE_Context::warn gets it, in the current language. One that is
// not known is written as the library puts it.
void describe_pattern_warning(char* text, size_t size, const char* format, va_list arguments);

}  // namespace console

#endif
