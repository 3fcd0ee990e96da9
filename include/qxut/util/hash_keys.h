/* hash_keys.h - ready-made key callbacks for the hash containers.
 *
 * Three kinds of keys, each with a hash, a comparison, a copy and a deletion:
 *
 *     ut_..._string_key(s)         the key argument is itself the NUL-terminated text
 *     ut_NULL_...key(s)            the key argument is itself the word, never followed
 *     ut_ghash_..._key(s)          the key argument points to the slot that holds the text pointer,
 *                                  or the word, as the nodes of a ut_ghash_table store it
 *
 * The functions have the shapes of ghash.h. `context` is not used, except that the copies and
 * deletions of texts take the memory context, converted to uintptr_t: make it the user data of the
 * container. Texts are compared byte by byte, unsigned.
 */
#ifndef QXUT_UTIL_HASH_KEYS_H
#define QXUT_UTIL_HASH_KEYS_H

#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

/* --- the key is a text ------------------------------------------------------------------------ */

/* ut_hash_string with seed 0. */
QXUT_API uint32_t ut_hash_string_key(uintptr_t context, const void* text);

/* -1, 0 or 1. */
QXUT_API int32_t ut_compare_string_keys(uintptr_t context, const void* a, const void* b);

/* A duplicate of the text, allocated from the memory context, and its deletion. The copy raises
 * OUT_OF_MEMORY. */
QXUT_API char* ut_copy_string_key(uintptr_t mem_ctx, const char* text);
QXUT_API void ut_delete_string_key(uintptr_t mem_ctx, char* text);

/* --- the key slot holds a pointer to a text --------------------------------------------------- */

/* ut_hash_string with seed 0xFFFFFFFF; ut_hash_lower_string with seed 0, where a null pointer
 * hashes as the empty text. */
QXUT_API uint32_t ut_ghash_string_key(uintptr_t context, const void* slot);
QXUT_API uint32_t ut_ghash_stringi_key(uintptr_t context, const void* slot);

/* -1, 0 or 1. The second lowers A to Z on both sides and takes a null pointer for the empty
 * text. */
QXUT_API int32_t ut_ghash_compare_string_keys(uintptr_t context, const void* a, const void* b);
QXUT_API int32_t ut_ghash_compare_stringi_keys(uintptr_t context, const void* a, const void* b);

/* Stores a duplicate of the text into the slot `destination` (null for null); frees the text of a
 * slot. The copy raises OUT_OF_MEMORY and leaves the slot alone. */
QXUT_API void ut_ghash_copy_string_key(uintptr_t mem_ctx, void* destination, const void* slot);
QXUT_API void ut_ghash_delete_string_key(uintptr_t mem_ctx, void* slot);

/* --- the key is a word ------------------------------------------------------------------------ */

/* ut_hash_uint of the low 32 bits, seed 0: of the word, of the word in the slot. */
QXUT_API uint32_t ut_NULL_hash_key(uintptr_t context, const void* word);
QXUT_API uint32_t ut_ghash_hash_ptr_key(uintptr_t context, const void* slot);

/* The sign of the difference a - b, taken as a signed 64-bit number: -1, 0 or 1. */
QXUT_API int32_t ut_NULL_compare_keys(uintptr_t context, const void* a, const void* b);
QXUT_API int32_t ut_ghash_compare_ptr_keys(uintptr_t context, const void* a, const void* b);

/* Do nothing. */
QXUT_API void ut_NULL_copy_key(uintptr_t context, void* destination, const void* word);
QXUT_API void ut_NULL_delete_key(uintptr_t context, void* word);

QXUT_END_DECLS

#endif
