/* conversion.h - texts between UTF-16 and UTF-8, the local code page, named encodings and the
 * internal character set.
 *
 * utf8_ is UTF-8, lcp_ the calling thread's default encoding (see unicode_converter.hpp), enc_ the
 * encoding that an ICU converter name such as "Shift_JIS" means, ics_ the internal character set,
 * whose bytes are copied, widened and narrowed without being decoded. UTF-16 text is char16_t;
 * lengths and capacities count units, that is bytes or 16-bit units.
 *
 * The length of a source:
 *   0xFFFFFFFF               the source ends with a NUL, which is not converted
 *   0x80000000..0xFFFFFFFE   utf8_, lcp_, enc_: as an empty text; ics_: taken as it stands
 * A null source is an empty text whatever its length.
 *
 * What cannot be converted is substituted and not reported: ill-formed bytes become U+FFFD, one for
 * each maximal part of a well-formed sequence, and a unit that the encoding lacks (or a surrogate
 * without its other half) becomes the encoding's substitute, in UTF-8 that of U+FFFD. Byte-order
 * marks are converted as ICU's converters do: "UTF-8" keeps them. Every result is that of ICU's
 * converter.
 *
 * All functions may be called from any thread; each thread has converters of its own, and no lock
 * is taken. Nothing is raised, with one exception: enc_to_utf16, utf16_to_enc and enc_to_utf16_n
 * throw Quorvanix::I18N::InvalidCharacterSetException for a name that ICU cannot open, with nothing
 * allocated and nothing stored. The name null means the local code page.
 */
#ifndef QXUT_I18N_CONVERSION_H
#define QXUT_I18N_CONVERSION_H

#include <qxut/util/types.h>

#if !defined(__cplusplus)
#include <uchar.h>
#endif

QXUT_BEGIN_DECLS

/* Units in front of the first NUL; 0 for null. */
QXUT_API size_t utf16_strlen(const char16_t* text);

/* Allocating forms: a new NUL-terminated text, which the caller frees with utFree; null when memory
 * is short, for the result or for opening a converter. */
QXUT_API char16_t* utf8_to_utf16(const char* source, uint32_t length);
QXUT_API char16_t* lcp_to_utf16(const char* source, uint32_t length);
QXUT_API char16_t* enc_to_utf16(const char* encoding, const char* source, uint32_t length);
QXUT_API char* utf16_to_utf8(const char16_t* source, uint32_t length);
QXUT_API char* utf16_to_lcp(const char16_t* source, uint32_t length);
QXUT_API char* utf16_to_enc(const char* encoding, const char16_t* source, uint32_t length);

/* Counted forms: write into the caller's buffer of *capacity units, store the length of the whole
 * result in *capacity and return it. A result longer than the capacity was cut there (be it within
 * a character), and its length is what would have been needed. A NUL follows where there is room
 * for it. The target may be null when the capacity is 0; a capacity of 0x80000000 or more, or a
 * null target with another capacity, gives 0 with nothing written, as does a converter that cannot
 * be opened for lack of memory. Source and target do not overlap. */
QXUT_API uint32_t utf8_to_utf16_n(char16_t* target, uint32_t* capacity, const char* source,
                                  uint32_t length);
QXUT_API uint32_t lcp_to_utf16_n(char16_t* target, uint32_t* capacity, const char* source,
                                 uint32_t length);
QXUT_API uint32_t enc_to_utf16_n(const char* encoding, char16_t* target, uint32_t* capacity,
                                 const char* source, uint32_t length);
QXUT_API uint32_t utf16_to_utf8_n(char* target, uint32_t* capacity, const char16_t* source,
                                  uint32_t length);
QXUT_API uint32_t utf16_to_lcp_n(char* target, uint32_t* capacity, const char16_t* source,
                                 uint32_t length);

/* The internal character set. A byte becomes the unit of the same value as a signed number, so that
 * 0xE9 gives 0xFFE9; a unit becomes the byte of its low 8 bits; ics_to_utf8 and utf8_to_ics copy.
 * Allocating forms as above. */
QXUT_API char16_t* ics_to_utf16(const char* source, uint32_t length);
QXUT_API char* utf16_to_ics(const char16_t* source, uint32_t length);
QXUT_API char* ics_to_utf8(const char* source, uint32_t length);
QXUT_API char* utf8_to_ics(const char* source, uint32_t length);

/* Counted forms: as many units as both capacity and length allow are written, without a NUL; their
 * number is stored in *capacity and returned. */
QXUT_API uint32_t ics_to_utf16_n(char16_t* target, uint32_t* capacity, const char* source,
                                 uint32_t length);
QXUT_API uint32_t utf16_to_ics_n(char* target, uint32_t* capacity, const char16_t* source,
                                 uint32_t length);
QXUT_API uint32_t ics_to_utf8_n(char* target, uint32_t* capacity, const char* source,
                                uint32_t length);
QXUT_API uint32_t utf8_to_ics_n(char* target, uint32_t* capacity, const char* source,
                                uint32_t length);

QXUT_END_DECLS

#endif
