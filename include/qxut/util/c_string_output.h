/* c_string_output.h - writes bytes as a double-quoted string literal of C or of a similar language.
 *
 *     ut_output_c_string(puts, stream, "A\t\x01")      writes      "A\t\001"
 *
 * A byte of the special set is written as the escape prefix and the letter that stands at the
 * same place in the string of escape letters; any other byte outside 0x20..0x7F as the prefix and
 * the byte in the numeric format; all others, 0x7F included, as they are. The set's terminating
 * NUL counts as its last member, so there is one letter more than there are members.
 *
 * Every quote, byte, prefix, letter, number and suffix is a writer call of its own; the results
 * but the last are not looked at. Nothing is allocated, raised or checked.
 */
#ifndef QXUT_UTIL_C_STRING_OUTPUT_H
#define QXUT_UTIL_C_STRING_OUTPUT_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* Called with the caller's argument before or after each escape sequence, so that a caller that
 * measures or breaks lines can keep the sequence together. May be null where it is asked for. */
typedef void (*ut_escape_callback)(void* argument);

/* Each returns the result of its last writer call, the one for the closing quote.
 *
 * C's own escapes: \n \" \\ \r \t \a \b \f \v, \0 for a NUL, and three octal digits. The forms
 * without a length end at a NUL; lengths are in bytes. */
QXUT_API int ut_output_c_string(utPutsFcn writer, void* stream, const char* text);
QXUT_API int ut_output_c_string_with_length(utPutsFcn writer, void* stream, const char* bytes,
                                            uint64_t length);
QXUT_API int ut_output_c_string_with_tse(utPutsFcn writer, void* stream, const char* text,
                                         ut_escape_callback before, ut_escape_callback after,
                                         void* argument);

/* The caller's own escapes.
 *   special         NUL-terminated set of bytes that have an escape letter
 *   letters         their letters in the same order, then that of NUL
 *   prefix, suffix  written around the letter or number of each escape; may be empty
 *   numeric_format  printf format of one unsigned int, the byte; its result is cut at 31 bytes
 */
QXUT_API int ut_output_target_string_with_length(utPutsFcn writer, void* stream, const char* bytes,
                                                 uint64_t length, const char* special,
                                                 const char* letters, const char* prefix,
                                                 const char* numeric_format, const char* suffix,
                                                 ut_escape_callback before,
                                                 ut_escape_callback after, void* argument);
QXUT_API int ut_output_target_string(utPutsFcn writer, void* stream, const char* text,
                                     const char* special, const char* letters, const char* prefix,
                                     const char* numeric_format, const char* suffix,
                                     ut_escape_callback before, ut_escape_callback after,
                                     void* argument);

/* Number of bytes of `text` that have a named escape in C; those that would be written in octal
 * do not count. */
QXUT_API uint32_t ut_count_c_escape_sequences(const char* text);

QXUT_END_DECLS

#endif
