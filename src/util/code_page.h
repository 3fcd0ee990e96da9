// code_page.h - the process's code page: how many bytes make one character.
//
// The code page is the one that the host's setlocale chose for LC_CTYPE; where the host chose
// none ("C" and "POSIX" count as none) it is UTF-8.
#ifndef QXUT_SRC_UTIL_CODE_PAGE_H
#define QXUT_SRC_UTIL_CODE_PAGE_H

#include <cstddef>

namespace qxut {

// True where the host chose no locale.
bool code_page_is_default();

// Bytes of the character that `text` begins with; 1 when these are no complete character.
// `length` is at least 1.
size_t character_length(const char* text, size_t length, bool default_code_page);

}  // namespace qxut

#endif
