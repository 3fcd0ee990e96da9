/* hash_bytes.h - the byte hash: 32-bit hashes of bytes, numbers and texts.
 *
 * Every function feeds bytes, one after the other, to the step
 *
 *     h = T[(b ^ h) & 0xFF] ^ (h >> 8)
 *
 * where T is the reflected CRC-32 table (polynomial 0xEDB88320), starting from a seed, without a
 * final inversion. A result may be the seed of the next call, so that a hash can be built from
 * parts. Values are the same on every machine. Nothing here raises or allocates, and all of it may
 * be called while the library is being loaded.
 */
#ifndef QXUT_UTIL_HASH_BYTES_H
#define QXUT_UTIL_HASH_BYTES_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

QXUT_API uint32_t ut_hash_byte(uint32_t seed, unsigned char byte);

/* Feeds `n` bytes; n = 0 returns the seed, and `bytes` may then be null. */
QXUT_API uint32_t ut_hash_n_bytes(uint32_t seed, size_t n, const void* bytes);

/* Feed the low 32 bits of the value, least significant byte first: at least one byte, and as long
 * as what remains is 256 or more. 0xFF feeds one byte, 0x100 two. */
QXUT_API uint32_t ut_hash_uint(uint32_t seed, uint32_t value);
QXUT_API uint32_t ut_hash_int(uint32_t seed, int32_t value);
QXUT_API uint32_t ut_hash_pointer(uint32_t seed, const void* value);

/* Feed the bits of the number as ut_hash_uint does, of a double the low 32 and then the high 32.
 * Numbers that are equal but differ in their bits (0.0 and -0.0) hash differently. */
QXUT_API uint32_t ut_hash_float(uint32_t seed, float value);
QXUT_API uint32_t ut_hash_double(uint32_t seed, double value);

/* Feed the bytes of a NUL-terminated text and then the NUL: as they stand, from the last to the
 * first (the NUL last all the same), or with A to Z lowered. Other bytes, those above 127 too, are
 * not changed by the lowering. */
QXUT_API uint32_t ut_hash_string(uint32_t seed, const char* text);
QXUT_API uint32_t ut_hash_reverse_string(uint32_t seed, const char* text);
QXUT_API uint32_t ut_hash_lower_string(uint32_t seed, const char* text);
QXUT_API uint32_t ut_hash_stringi(uint32_t seed, const char* text);

QXUT_END_DECLS

#endif
