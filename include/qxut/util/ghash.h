/* ghash.h - separately chained hash table with keys and data stored by value in the nodes.
 *
 * A node holds the address of the next node (8 bytes), the 32-bit hash of the key, then from byte
 * 16 on the stored key and, `data_offset` bytes after the key's start, the stored data. Callers get
 * the addresses of stored keys and data; they stay valid until the entry is removed, through any
 * growth. The offset need not suit the data's alignment: such data are read with memcpy.
 *
 * Everything that is done with keys and data is done through callbacks, any of which may be null
 * and then has a default for plain bytes. A callback may raise: the table stays valid, the
 * operation either happened or did not, except as said at the function. A callback may not use the
 * table that calls it.
 *
 * The order of the entries is part of the contract: buckets by index, and in a bucket's chain
 * first the entries that the last resize put there (see ut_ghash_set_bounds), then later ones in
 * the order of their insertion. A key's bucket is its hash modulo `num_buckets`.
 *
 * The number of buckets is a quasiprime. An insertion that brings the number of entries above
 * `upper_count`, and a removal that brings it below `lower_count`, resize the bucket vector
 * towards a load of the geometric mean of the two load bounds, never below `min_buckets`. Where
 * memory runs out for that, the insertion or removal stands, nothing is raised, and the next one
 * tries again. A table that shrinks keeps the memory of its vector until it grows again, is emptied
 * to another size, or is cleared; the memory of an entry goes back when the entry is removed.
 *
 * All memory comes from the table's memory context, whose OUT_OF_MEMORY every function that
 * allocates may raise; the table is then as it was. The record may point into itself: it may not
 * be moved. A table is used by one thread at a time.
 */
#ifndef QXUT_UTIL_GHASH_H
#define QXUT_UTIL_GHASH_H

#include <qxut/util/memory.h>
#include <qxut/util/sort.h>

QXUT_BEGIN_DECLS

/* Module 3. */
enum ut_hash_code {
    UT_HASH_INVALID_LOWER_LOAD_BOUND = 196609,
    UT_HASH_INVALID_UPPER_LOAD_BOUND = 196610,
    UT_HASH_INVALID_LOAD_BOUND_RANGE = 196611
};

typedef struct ut_ghash_node ut_ghash_node;

/* Callbacks. The first argument is the table's user_data for a function of the caller's; the
 * defaults get the size they work on. A comparison answers 0 for equal keys, which must have equal
 * hashes. */
typedef uint32_t (*ut_ghash_hash_fcn)(uintptr_t context, const void* key);
typedef int32_t (*ut_ghash_compare_fcn)(uintptr_t context, const void* key, const void* stored_key);
typedef void (*ut_ghash_copy_fcn)(uintptr_t context, void* destination, const void* source);
typedef void (*ut_ghash_delete_fcn)(uintptr_t user_data, void* stored);

/* The record. The fields may be read; they are changed by the functions below only. */
typedef struct ut_ghash_table {
    _memory_context* mem_ctx; /* null: not initialised, or cleared */
    ut_ghash_node** buckets;
    int32_t lower_count; /* a removal that leaves fewer entries shrinks the table */
    int32_t upper_count; /* an insertion that makes more entries grows it */
    float lower_load;    /* -1 when cleared, both */
    float upper_load;
    int32_t num_buckets;
    int32_t min_buckets;
    int32_t count;
    uint64_t key_size;
    uint64_t data_size;  /* 0: a set */
    int32_t data_offset; /* from the start of the stored key */
    uint32_t node_size;  /* item size + 16 */
    uint64_t value_size; /* data_size, or key_size for a set */
    ut_ghash_hash_fcn hash_fn;
    ut_ghash_compare_fcn compare_fn;
    ut_ghash_copy_fcn copy_key_fn;
    ut_ghash_delete_fcn delete_key_fn;
    ut_ghash_copy_fcn copy_data_fn;
    ut_ghash_delete_fcn delete_data_fn;
    uintptr_t user_data;
    const uintptr_t* hash_ctx; /* where each callback's first argument is read from */
    const uintptr_t* compare_ctx;
    const uintptr_t* copy_key_ctx;
    const uintptr_t* copy_data_ctx;
    void* sorted_keys; /* the keys in the order of the sorted walk */
    int32_t sorted_count;
    uint64_t sorted_stamp;
} ut_ghash_table;

/* A position in a walk over the entries; the caller's, nothing to clear. */
typedef struct ut_ghash_cursor {
    int32_t position; /* index of a bucket, or into sorted_keys */
    ut_ghash_node* node;
    int32_t sorted;
    uint32_t stamp; /* low half of the table's sorted_stamp when the cursor was made */
} ut_ghash_cursor;

/* --- life ------------------------------------------------------------------------------------- */

/* Registers the messages of module 3 with the memory context's message context. */
QXUT_API void ut_initialize_hashtool_messages(_memory_context* mem_ctx);

/* Fills a record and allocates its buckets.
 *
 * Null callbacks get defaults: the hash is ut_hash_n_bytes with seed 0 and the comparison that of
 * the bytes, both over key_size bytes; copies copy key_size and data_size bytes (a size of 0:
 * nothing; 8: one word, aligned or not); the deletions do nothing. `item_size` is what a node
 * holds for the caller: the stored key and the data at data_offset must fit into it. Callbacks of
 * the caller's decide for themselves how much of it they use.
 *
 * The table starts with, and never shrinks below, the first quasiprime at or above initial_size.
 * Load bounds are checked in this order: lower_load above 0, else HASH_INVALID_LOWER_LOAD_BOUND;
 * upper_load above 0 and at most 3, else HASH_INVALID_UPPER_LOAD_BOUND; upper_load above
 * lower_load and at most 100 times that, else HASH_INVALID_LOAD_BOUND_RANGE. An error leaves the
 * record cleared. */
QXUT_API void ut_initialize_ghash_table(ut_ghash_table* table, _memory_context* mem_ctx,
                                        ut_ghash_hash_fcn hash_fn, ut_ghash_compare_fcn compare_fn,
                                        ut_ghash_copy_fcn copy_key_fn,
                                        ut_ghash_delete_fcn delete_key_fn,
                                        ut_ghash_copy_fcn copy_data_fn,
                                        ut_ghash_delete_fcn delete_data_fn, uint64_t key_size,
                                        int32_t data_offset, uint64_t data_size, uint32_t item_size,
                                        uintptr_t user_data, int32_t initial_size, float lower_load,
                                        float upper_load);

/* The same on a record allocated from the context. */
QXUT_API ut_ghash_table* ut_new_ghash_table(
    _memory_context* mem_ctx, ut_ghash_hash_fcn hash_fn, ut_ghash_compare_fcn compare_fn,
    ut_ghash_copy_fcn copy_key_fn, ut_ghash_delete_fcn delete_key_fn,
    ut_ghash_copy_fcn copy_data_fn, ut_ghash_delete_fcn delete_data_fn, uint64_t key_size,
    int32_t data_offset, uint64_t data_size, uint32_t item_size, uintptr_t user_data,
    int32_t initial_size, float lower_load, float upper_load);

/* Deletes every entry (first its key, then its data) and gives everything back. The record must be
 * initialised again before it is used; clearing it again, or a record of zeros, does nothing. A
 * delete callback that raises loses its own entry only: the others stay, and the table is usable.
 */
QXUT_API void ut_clear_ghash_table(ut_ghash_table* table);

/* Clears and frees a table of ut_new_ghash_table; nothing for null. */
QXUT_API void ut_delete_ghash_table(ut_ghash_table* table);

/* Deletes every entry and keeps the table. A new_size above 0 makes the number of buckets, and the
 * lowest one, the first quasiprime at or above it. */
QXUT_API void ut_ghash_empty(ut_ghash_table* table, int32_t new_size);

/* --- lookup or insertion -------------------------------------------------------------------- */

/* Each returns whether the key was there before. `key` is what the hash, comparison and copy
 * callbacks take; `data` what the data copy takes. Any out argument may be null. */

/* Finds the entry or makes it, with its data bytes left as allocated; tells the address of the
 * stored key and of the data (null for a set). */
QXUT_API bool ut_ghash_insert_element(ut_ghash_table* table, const void* key, void** out_key);
QXUT_API bool ut_ghash_insert_key(ut_ghash_table* table, const void* key, void** out_key,
                                  void** out_data);

/* Makes an entry where there is none; leaves the data of an existing one alone. The second copies
 * the value that is then stored (value_size bytes: the data, of a set the key) to `out`. */
QXUT_API bool ut_ghash_insert(ut_ghash_table* table, const void* key, const void* data);
QXUT_API bool ut_ghash_query_insert(ut_ghash_table* table, const void* key, const void* data,
                                    void* out);

/* Makes the entry, or deletes the data of an existing one and copies the new data in. When one of
 * these two steps raises, the entry is removed. */
QXUT_API bool ut_ghash_replace(ut_ghash_table* table, const void* key, const void* data);

/* Hands the old value to the caller in `out`, without deleting it, and copies the new data in; a
 * new entry's own value goes to `out`. When the copy raises, the entry has kept its old value. */
QXUT_API bool ut_ghash_query_replace(ut_ghash_table* table, const void* key, const void* data,
                                     void* out);

/* Finds the entry or makes it, and copies the key_size bytes of the stored key to `out`: for keys
 * that are pointers, the one canonical pointer of all equal keys. */
QXUT_API bool ut_ghash_uniquify(ut_ghash_table* table, const void* key, void* out);

/* --- lookup ----------------------------------------------------------------------------------- */

/* Address of the stored key, of the stored data; null when the key is absent. Of a set the second
 * is the address where data would stand. */
QXUT_API void* ut_ghash_query_element(const ut_ghash_table* table, const void* key);
QXUT_API void* ut_ghash_query_data(const ut_ghash_table* table, const void* key);

/* Whether the key is there; copies the stored value (value_size bytes) to `out`, if given. */
QXUT_API bool ut_ghash_query(const ut_ghash_table* table, const void* key, void* out);

/* Stored key of the first entry, in traversal order, whose data_size bytes equal `data`, or null.
 * Time is linear in the number of entries. */
QXUT_API void* ut_ghash_query_by_data(const ut_ghash_table* table, const void* data);

/* --- removal ---------------------------------------------------------------------------------- */

/* Remove an entry (first its data is deleted, then its key); false when the key is absent. The
 * second, given `out`, copies the stored value there instead of deleting the data. A delete
 * callback that raises does not keep the entry. */
QXUT_API bool ut_ghash_remove_element(ut_ghash_table* table, const void* key);
QXUT_API bool ut_ghash_query_remove(ut_ghash_table* table, const void* key, void* out);

/* --- traversal -------------------------------------------------------------------------------- */

/* Sets a cursor before the first entry, in traversal order. */
QXUT_API void ut_ghash_cursor_init(const ut_ghash_table* table, ut_ghash_cursor* cursor);

/* Sets a cursor before the first entry in the order of `compare` (see sort.h), which gets
 * compare_ctx and the addresses of two copies of stored keys. The keys are copied, byte by
 * byte, to scratch memory of the table: a table has one sorted walk at a time. When the comparison
 * raises, the walk before is gone as well. */
QXUT_API void ut_ghash_sorted_cursor_init(ut_ghash_table* table, ut_ghash_cursor* cursor,
                                          ut_compare_fcn compare, void* compare_ctx);

/* Steps to the next entry and tells the addresses of its key and data; false, and null for both,
 * at the end. The table must not be changed during the walk. */
QXUT_API bool ut_ghash_iterate(const ut_ghash_table* table, ut_ghash_cursor* cursor, void** out_key,
                               void** out_data);

/* Calls fn for each entry in traversal order; stops and returns 0 when fn returns 0. Returns 1
 * after the last entry. */
typedef int32_t (*ut_ghash_apply_fcn)(ut_ghash_table* table, void* argument, void* key, void* data);
QXUT_API int32_t ut_ghash_apply(ut_ghash_table* table, void* argument, ut_ghash_apply_fcn fn);

/* --- bounds and statistics ----------------------------------------------------------------------
 */

/* Sets the load bounds, checked as by ut_initialize_ghash_table, and the lowest number of buckets
 * (the first quasiprime at or above min_size), and resizes when the number of entries is outside
 * the bounds or below that number.
 *
 * Every resize goes to the first quasiprime at or above (at or below, when entries are too few)
 * count / sqrt(lower_load * upper_load), rounded; it takes the entries in traversal order and puts
 * each in front of its new chain. */
QXUT_API void ut_ghash_set_bounds(ut_ghash_table* table, int32_t min_size, float lower_load,
                                  float upper_load);

/* Any out argument may be null, here and below. */
QXUT_API void ut_ghash_get_bounds(const ut_ghash_table* table, int32_t* out_min_size,
                                  float* out_lower, float* out_upper);

/* Bytes of record, buckets and nodes, told twice; number of nodes that are not the first of their
 * chain. */
QXUT_API void ut_ghash_stats(const ut_ghash_table* table, uint64_t* out_bytes,
                             uint64_t* out_bytes_again, int32_t* out_collisions);

/* Collisions as above, number of buckets that hold an entry, length of the longest chain. */
QXUT_API void ut_ghash_collision_stats(const ut_ghash_table* table, int32_t* out_collisions,
                                       int32_t* out_used_buckets, int32_t* out_longest_chain);

/* --- quasiprimes --------------------------------------------------------------------------------
 */

/* Whether n is 2 or more and has no prime divisor below 1000 other than itself. */
QXUT_API bool ut_hash_is_quasiprime(int32_t n);

/* The first quasiprime among n, n + step, n + 2 * step, ...; 2 when the values fall below 2, the
 * largest 32-bit number (a prime) when they pass it. A step of 0 counts as 1. The context is not
 * used. */
QXUT_API int32_t ut_hash_next_quasiprime(_memory_context* mem_ctx, int32_t n, int32_t step);

QXUT_END_DECLS

#endif
