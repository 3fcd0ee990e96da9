/* regexp.h - one search with a regular expression, from C.
 *
 * utRegexp searches a text for the first match of a pattern; utRegexpi does so ignoring case. The
 * plain forms take text in the local code page and report bytes, the _u16 forms UTF-16 and its
 * units. The language is that of RE_Tree; problems in a pattern go unreported, evaluation is
 * disabled.
 *
 * Raised through the error context of the current record: REGEXP_REPEATED_MODE_FLAG,
 * REGEXP_PROGRAM_TOO_LARGE, REGEXP_STEP_LIMIT, REGEXP_MEMORY_LIMIT, ERR_SIGNAL_INTERRUPT,
 * OUT_OF_MEMORY.
 */
#ifndef QXUT_REGEXP_REGEXP_H
#define QXUT_REGEXP_REGEXP_H

#include <qxut/util/types.h>

#if !defined(__cplusplus)
#include <uchar.h>
#endif

QXUT_BEGIN_DECLS

/* An extent, half open; both SIZE_MAX for a token that took no part. */
typedef struct utRegexpExtent {
    size_t start;
    size_t end;
} utRegexpExtent;

/* Searches `text`, `length` bytes, for the NUL-terminated `pattern`. Returns the number of tokens
 * in the pattern plus one when there is a match, 0 otherwise. `extents`, which may be null with
 * `room` 0, gets the extent of the match, then those of the tokens, as far as `room` goes; it is
 * unchanged without a match. */
QXUT_API size_t utRegexp(const char* text, size_t length, const char* pattern,
                         utRegexpExtent* extents, size_t room);
QXUT_API size_t utRegexpi(const char* text, size_t length, const char* pattern,
                          utRegexpExtent* extents, size_t room);

/* UTF-16: `pattern` has `pattern_length` units. */
QXUT_API size_t utRegexp_u16(const char16_t* text, size_t length, const char16_t* pattern,
                             size_t pattern_length, utRegexpExtent* extents, size_t room);
QXUT_API size_t utRegexpi_u16(const char16_t* text, size_t length, const char16_t* pattern,
                              size_t pattern_length, utRegexpExtent* extents, size_t room);

QXUT_END_DECLS

#endif
