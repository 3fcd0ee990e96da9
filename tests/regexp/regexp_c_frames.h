/* regexp_c_frames.h - searches from C, with the errors that they raise caught in C. */
#ifndef QXUT_TESTS_REGEXP_REGEXP_C_FRAMES_H
#define QXUT_TESTS_REGEXP_REGEXP_C_FRAMES_H

#include <qxut/regexp/regexp.h>
#include <qxut/util/error.h>

QXUT_BEGIN_DECLS

typedef struct c_search {
    const char* text;
    size_t length;
    const char* pattern;
    bool ignores_case;
    utRegexpExtent extents[4];
    size_t count; /* the answer */
    char message[256];
    char identifier[64];
} c_search;

/* Searches in a try frame that accepts every error; the code of the error, or 0. */
ut_message_code c_search_run(c_search* search);

/* "ab" in "xABx" through the UTF-16 form that ignores case. */
size_t c_search_u16(utRegexpExtent* extent);

QXUT_END_DECLS

#endif
