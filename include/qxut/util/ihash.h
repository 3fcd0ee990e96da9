/* ihash.h - a hash table whose n entries are also numbered from 0 to n - 1.
 *
 *   hash:  node | key | index |  --.         index:      0      1      2
 *          node | key | index |  ----.       keys ->  | &key | &key | &key |   stored keys
 *                                     '----> data ->  | data | data | data |   by value
 *
 * Entries are reached by key, through a generic hash table (see ghash.h) that holds each key's
 * index, and by index, through two arrays (see array.h): the addresses of the stored keys, and the
 * data. A new entry gets the index n. Insertions change no other index; a removal moves the last
 * entry into the hole, so that walking by index visits the entries in the order of their insertion
 * as long as none was removed.
 *
 * Keys are handled by callbacks as in the generic table, of which the header says more; data by
 * the two callbacks of the indexed table. Each may be null and then has the default for plain
 * bytes, and each may raise: key, index and data stay in step. The address of a stored key is
 * valid until its entry is removed; that of data until the next insertion or removal.
 *
 * All memory comes from the memory context, whose OUT_OF_MEMORY every function that adds entries
 * may raise, with the table as it was. Removals allocate nothing. Look-ups compare a key with those
 * of its chain: with many keys of one hash an operation takes time linear in their number. The
 * record may not be moved. A table is used by one thread at a time.
 */
#ifndef QXUT_UTIL_IHASH_H
#define QXUT_UTIL_IHASH_H

#include <qxut/util/array.h>
#include <qxut/util/ghash.h>

QXUT_BEGIN_DECLS

/* The record. The fields may be read; they are changed by the functions below only. */
typedef struct _ihash_table {
    _memory_context* mem_ctx; /* null: not initialised, or cleared */
    ut_ghash_table hash;      /* key -> index, 64 bits */
    ut_array* keys;           /* elements: addresses of the stored keys */
    ut_array* data;           /* null when the data size is 0 */
    ut_ghash_copy_fcn copy_data_fn;
    ut_ghash_delete_fcn delete_data_fn;
} _ihash_table;

/* --- life ------------------------------------------------------------------------------------- */

/* Fills a record. The arguments are those of ut_initialize_ghash_table, except that the value that
 * a node holds is the index: `item_size` must have room for the stored key and, from data_offset
 * on, 8 bytes. `data_size` is that of the data in their array, 0 for none. The callbacks get
 * user_data as their first argument. Bounds are checked as there; an error leaves the record
 * cleared. */
QXUT_API void ut_initialize_ihash_table(_ihash_table* table, _memory_context* mem_ctx,
                                        ut_ghash_hash_fcn hash_fn, ut_ghash_compare_fcn compare_fn,
                                        ut_ghash_copy_fcn copy_key_fn,
                                        ut_ghash_delete_fcn delete_key_fn,
                                        ut_ghash_copy_fcn copy_data_fn,
                                        ut_ghash_delete_fcn delete_data_fn, uint64_t key_size,
                                        int32_t data_offset, uint32_t item_size,
                                        uintptr_t user_data, int32_t initial_size, float lower_load,
                                        float upper_load, uint64_t data_size);

/* The same on a record allocated from the context. */
QXUT_API _ihash_table* ut_new_ihash_table(
    _memory_context* mem_ctx, ut_ghash_hash_fcn hash_fn, ut_ghash_compare_fcn compare_fn,
    ut_ghash_copy_fcn copy_key_fn, ut_ghash_delete_fcn delete_key_fn,
    ut_ghash_copy_fcn copy_data_fn, ut_ghash_delete_fcn delete_data_fn, uint64_t key_size,
    int32_t data_offset, uint32_t item_size, uintptr_t user_data, int32_t initial_size,
    float lower_load, float upper_load, uint64_t data_size);

/* Deletes every entry, first its key, then its data, in the order of the hash table, and gives
 * everything back. The record must be initialised again before it is used; clearing it again, or a
 * record of zeros, does nothing. A delete callback that raises loses its own entry only: the
 * others stay, and the table is usable. */
QXUT_API void ut_clear_ihash_table(_ihash_table* table);

/* Clears and frees a table of ut_new_ihash_table; nothing for null. */
QXUT_API void ut_delete_ihash_table(_ihash_table* table);

/* Deletes every entry and keeps the table. A new_size above 0 also sets the number of buckets as
 * ut_ghash_empty does. */
QXUT_API void ut_ihash_empty(_ihash_table* table, int32_t new_size);

QXUT_API uint64_t ut_ihash_num_entries(const _ihash_table* table);

/* --- lookup or insertion -------------------------------------------------------------------- */

/* Each returns whether the key was there before. Any out argument may be null. "The value" is the
 * data, data_size bytes, or without data the stored key. `data` may lie in the table itself. */

/* Finds the entry or makes it, with its data zeroed; tells the addresses of the stored key and of
 * the data (null without data). */
QXUT_API bool ut_ihash_insert_key(_ihash_table* table, const void* key, void** out_key,
                                  void** out_data);

/* Makes an entry where there is none; leaves an existing one alone. The second copies the value
 * that is then stored to `out`. */
QXUT_API bool ut_ihash_insert(_ihash_table* table, const void* key, const void* data);
QXUT_API bool ut_ihash_query_insert(_ihash_table* table, const void* key, const void* data,
                                    void* out);

/* Makes the entry, or deletes the data of an existing one and copies the new data in, at the same
 * index. When one of these two steps raises, the entry is removed. */
QXUT_API bool ut_ihash_replace(_ihash_table* table, const void* key, const void* data);

/* Hands the old value to the caller in `out`, undeleted, and copies the new data in; a new entry's
 * own value goes to `out`. When the copy raises, the entry has kept its old value. */
QXUT_API bool ut_ihash_query_replace(_ihash_table* table, const void* key, const void* data,
                                     void* out);

/* Finds the entry or makes it, with its data zeroed, and copies the stored key to `out`. */
QXUT_API bool ut_ihash_uniquify(_ihash_table* table, const void* key, void* out);

/* --- lookup by key ---------------------------------------------------------------------------- */

/* The entry's index, or -1 (in 64 bits, unlike the arrays' not-found index) when absent. */
QXUT_API int64_t ut_ihash_index_of(const _ihash_table* table, const void* key);

/* Whether the key is there; copies the stored value to `out`. */
QXUT_API bool ut_ihash_query(const _ihash_table* table, const void* key, void* out);

/* Address of the stored data; null when the key is absent, and without data. */
QXUT_API void* ut_ihash_query_data(const _ihash_table* table, const void* key);

/* Stored key of the first entry, in index order, whose data_size bytes of data equal `data`, or
 * null. Time is linear in the number of entries. */
QXUT_API void* ut_ihash_query_by_data(const _ihash_table* table, const void* data);

/* --- lookup by index -------------------------------------------------------------------------- */

/* Copies the bytes of the stored key, and of the data, of entry i; false when there is no such
 * entry. */
QXUT_API bool ut_ihash_index(const _ihash_table* table, uint64_t i, void* out_key, void* out_data);

/* Address of the data of entry i; null when there is no such entry, and without data. */
QXUT_API void* ut_ihash_query_data_by_index(const _ihash_table* table, uint64_t i);

/* Calls fn with the addresses of stored key and data (null without data) for each entry in index
 * order; stops and returns 0 when fn returns 0. Returns 1 after the last entry. fn may change the
 * data, not the table. */
typedef int32_t (*ut_ihash_apply_fcn)(void* argument, void* key, void* data);
QXUT_API int32_t ut_ihash_apply(_ihash_table* table, void* argument, ut_ihash_apply_fcn fn);

/* --- removal ---------------------------------------------------------------------------------- */

/* Remove an entry (first its key is deleted, then its data) and move the last entry to its index;
 * false when the key is absent. The second, given `out`, copies the stored value there instead of
 * deleting the data. A delete callback that raises does not keep the entry, nor `out` from being
 * filled. */
QXUT_API bool ut_ihash_remove_element(_ihash_table* table, const void* key);
QXUT_API bool ut_ihash_query_remove(_ihash_table* table, const void* key, void* out);

QXUT_END_DECLS

#endif
