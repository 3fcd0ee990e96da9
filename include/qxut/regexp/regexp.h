/* regexp.h - one search with a regular expression, from C.
 *
 * utRegexp searches a text for the first match of a pattern; utRegexpi does so ignoring case. The
 * plain forms take text in the local code page and report bytes, the _u16 forms UTF-16 and its
 * units. The language is that of RE_Tree; problems in a pattern go unreported, evaluation is
 * disabled.
 *
 * Raised through the error context of the current record: a code of module
 * "regexp", ERR_SIGNAL_INTERRUPT, OUT_OF_MEMORY. The arguments of the codes below are unsigned long
 * long.
 */
#ifndef QXUT_REGEXP_REGEXP_H
#define QXUT_REGEXP_REGEXP_H

#include <qxut/util/types.h>

#if !defined(__cplusplus)
#include <uchar.h>
#endif

QXUT_BEGIN_DECLS

/* Module 41. */
enum ut_regexp_code {
    UT_REGEXP_REPEATED_MODE_FLAG = 2686977,
    UT_REGEXP_PROGRAM_TOO_LARGE = 2686978, /* arguments: limit, position in the pattern */
    UT_REGEXP_STEP_LIMIT = 2686979,        /* arguments: limit, position in the text */
    UT_REGEXP_MEMORY_LIMIT = 2686980,
    UT_REGEXP_DEPTH_LIMIT = 2686981
};

/* Sets the process-wide bounds of a search: steps (by default 10^7 + 256 * length * program size),
 * bytes of working memory (64 MiB), nesting of dynamic patterns (100). Set at start-up, by one
 * thread; 0 goes back to the default. */
QXUT_API void utSetRegexpLimits(uint64_t steps, size_t memory, size_t dynamic_depth);

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
