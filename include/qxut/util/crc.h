/* crc.h - running CRC-32 checksums over bytes and over arrays of texts.
 *
 * The CRC-32 of ISO 3309 and IEEE 802.3: reflected polynomial 0xEDB88320, the register preset to
 * all ones, the result inverted; "123456789" gives 0xCBF43926. Calls chain: the result of one is
 * the seed of the next, and 0 is the seed of a fresh checksum.
 *
 *     uint32_t crc = 0;
 *     while ((n = read_some(file, block)) > 0) crc = ut_crc_update(crc, block, n);
 *
 * Nothing here raises or allocates; all of it may be called from any thread, and while the library
 * is being loaded. The C++ side of the table's initialisation is in crc_initializer.hpp.
 */
#ifndef QXUT_UTIL_CRC_H
#define QXUT_UTIL_CRC_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* The checksum `crc` goes on over `n` bytes. n = 0 returns `crc`, and `bytes` may then be null. */
QXUT_API uint32_t ut_crc_update(uint32_t crc, const void* bytes, uint32_t n);

/* The checksum `crc` goes on over the bytes of NUL-terminated texts, one after the other without
 * their NULs, as if they were one. `texts` ends with a null pointer; an empty text adds nothing and
 * does not end it. Without any text - `texts` null, or its first element - the result is 0
 * whatever the seed: unlike ut_crc_update, and callers rely on it to tell an absent list. */
QXUT_API uint32_t ut_crc_string_array(uint32_t crc, const char* const* texts);

/* Makes sure that the table of the checksum is there. It always is, and the result is true. */
QXUT_API bool init_crc_i(void);

QXUT_END_DECLS

#endif
