// narrow_result.h - UTF-16 to the local code page, for what the narrow forms return. Tested by
// tests/regexp/translate_test.cpp.
#ifndef QXUT_SRC_REGEXP_NARROW_RESULT_H
#define QXUT_SRC_REGEXP_NARROW_RESULT_H

#include <cstddef>

namespace qxut::regexp {

// A new NUL-terminated text of utMalloc's, and its length in bytes; what the code page lacks is
// substituted. Throws std::bad_alloc, for a text of 2 GiB or more too, with `*length` as it was.
char* narrowed(const char16_t* text, size_t units, size_t* length);

}  // namespace qxut::regexp

#endif
