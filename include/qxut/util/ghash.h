/* ghash.h - separately chained hash table with keys and data stored by value in the nodes.
 */
#ifndef QXUT_UTIL_GHASH_H
#define QXUT_UTIL_GHASH_H

#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

typedef struct ut_ghash_node ut_ghash_node;

/* Callbacks. The first argument is the table's user_data for a function of the caller's; the
 * defaults get the size they work on. */
typedef uint32_t (*ut_ghash_hash_fcn)(uintptr_t context, const void* key);
typedef int32_t (*ut_ghash_compare_fcn)(uintptr_t context, const void* key, const void* stored_key);
typedef void (*ut_ghash_copy_fcn)(uintptr_t context, void* destination, const void* source);
typedef void (*ut_ghash_delete_fcn)(uintptr_t user_data, void* stored);

typedef struct ut_ghash_table {
    _memory_context* mem_ctx;
    ut_ghash_node** buckets;
    int32_t lower_count;
    int32_t upper_count;
    float lower_load;
    float upper_load;
    int32_t num_buckets;
    int32_t min_buckets;
    int32_t count;
    uint64_t key_size;
    uint64_t data_size;
    int32_t data_offset;
    uint32_t node_size;
    uint64_t value_size;
    ut_ghash_hash_fcn hash_fn;
    ut_ghash_compare_fcn compare_fn;
    ut_ghash_copy_fcn copy_key_fn;
    ut_ghash_delete_fcn delete_key_fn;
    ut_ghash_copy_fcn copy_data_fn;
    ut_ghash_delete_fcn delete_data_fn;
    uintptr_t user_data;
    const uintptr_t* hash_ctx;
    const uintptr_t* compare_ctx;
    const uintptr_t* copy_key_ctx;
    const uintptr_t* copy_data_ctx;
    void* sorted_keys;
    int32_t sorted_count;
    uint64_t sorted_stamp;
} ut_ghash_table;

QXUT_END_DECLS

#endif
