/* hex.h - byte arrays as hexadecimal text, written and read back.
 *
 * The text is the count of bytes as "0%08x", then for each byte " %02x", and nothing after the
 * last one: the bytes 0x01 0xAB 0xFF are the text "000000003 01 ab ff".
 */
#ifndef QXUT_UTIL_HEX_H
#define QXUT_UTIL_HEX_H

#include <qxut/util/bstream.h>
#include <qxut/util/dsbuffer.h>

QXUT_BEGIN_DECLS

/* Writes `count` bytes as text: one call of `writer` for the count and one for each byte, whose
 * results are ignored. `stream` is the writer's second argument. */
QXUT_API void ut_dumphex(utPutsFcn writer, void* stream, uint32_t count, const void* bytes);

/* Reads such text from the position of `stream` and appends the bytes to `buffer`. Both advance:
 * the stream to the first byte that is neither part of the text nor white space.
 *
 * Malformed text is not reported. A number is read as strtoul reads one in base 16: leading white
 * space, a sign and the prefix "0x" are accepted, a number of more than 32 bits counts as
 * 0xFFFFFFFF, and a field without digits is 0 and consumes nothing. Of each byte's number the low
 * 8 bits count. Fields that are missing are zero bytes, as many as the count promises: limit the
 * memory of the buffer's context where the text is not trusted.
 *
 * Numbers are read as from a C string, whatever remains on the stream: the memory behind the
 * position must contain a byte that ends a number, such as a NUL. A stream that is so read past its
 * end remains at 0.
 *
 * Raises OUT_OF_MEMORY when the buffer cannot grow, and ERR_SIGNAL_INTERRUPT when an interrupt is
 * pending; the buffer then holds the bytes that were read before. */
QXUT_API void ut_parsehex(ut_dsbuffer* buffer, ut_bstream* stream);

QXUT_END_DECLS

#endif
