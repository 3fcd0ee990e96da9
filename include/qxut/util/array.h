/* array.h - a growable vector of elements of one size, held by value in one block.
 *
 *   data -> | element 0 | element 1 | ... | element length - 1 |   unused slots   |
 *           |<------------------- length --------------------->|
 *           |<----------------------------- capacity ---------------------------->|
 *
 * Element i lies at data + i * elem_size. The array serves as a list, as a list kept sorted by its
 * comparison, and as a stack whose top is element 0. What elements are only the three callbacks
 * know, any of which may be null and then has a default for plain bytes.
 *
 * Indices and lengths count elements, sizes count bytes, all in unsigned 64 bits. Addresses of
 * elements stay valid until the next function that adds, removes or moves elements.
 *
 * Callbacks may raise. Unless a function says otherwise the array is then as it was, except that
 * an element whose delete callback raised is gone; those that it was not called for stay. Every
 * function that grows the array may raise OUT_OF_MEMORY, also for a size beyond what an address
 * can tell, with the array as it was. A callback may read the array that calls it, not change it.
 * An array is used by one thread at a time.
 */
#ifndef QXUT_UTIL_ARRAY_H
#define QXUT_UTIL_ARRAY_H

#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

/* Module 40. */
enum ut_array_code { UT_ARRAY_INVALID_DATASIZE = 2621441 };

/* The index that stands for "not found", and the capacity that stands for "the length". It has 32
 * bits, also where an index has 64, since callers compare with exactly this value and store it in
 * 32 bits. An element of an array that is longer than that can have the index; the functions that
 * return addresses tell such an element from none. */
#define UT_ARRAY_NOT_FOUND UINT64_C(0xFFFFFFFF)

typedef struct ut_array ut_array;

/* Fills `destination`, a slot, from an element. The slot is zeroed, except in ut_array_set, where
 * it holds the bytes of the element just deleted. */
typedef void (*ut_array_copy_fcn)(ut_array* array, void* destination, const void* source);

/* Releases what an element owns. */
typedef void (*ut_array_delete_fcn)(ut_array* array, void* element);

/* 0 for equal elements, negative when a sorts before b. Searches in a list pass the stored element
 * first and the key second, searches in a sorted list the key first. */
typedef int32_t (*ut_array_compare_fcn)(ut_array* array, const void* a, const void* b);

typedef void (*ut_array_apply_fcn)(void* user_data, void* element);

/* The record. The fields may be read; they are changed by the functions below only. */
struct ut_array {
    _memory_context* mem_ctx;
    void* user_data;
    ut_array_copy_fcn copy_fn;
    ut_array_delete_fcn delete_fn;
    ut_array_compare_fcn compare_fn;
    uint64_t elem_size; /* never 0 */
    uint64_t length;
    uint64_t capacity; /* slots; the block may hold more, see ut_array_set_size */
    void* data;        /* null while nothing was allocated */
};

/* --- life ------------------------------------------------------------------------------------- */

/* Fills a record of the caller's and returns 0. Registers the messages of module 40 with the
 * memory context's message context first; an elem_size of 0 raises ARRAY_INVALID_DATASIZE.
 * Null callbacks get defaults: copies copy elem_size bytes, deletions do nothing, comparisons
 * compare the bytes, unsigned. Nothing is allocated. */
QXUT_API int32_t ut_array_initialize(ut_array* array, _memory_context* mem_ctx, uint64_t elem_size,
                                     void* user_data, ut_array_copy_fcn copy_fn,
                                     ut_array_delete_fcn delete_fn,
                                     ut_array_compare_fcn compare_fn);

/* The same on a record allocated from the context. */
QXUT_API ut_array* ut_array_new(_memory_context* mem_ctx, uint64_t elem_size, void* user_data,
                                ut_array_copy_fcn copy_fn, ut_array_delete_fcn delete_fn,
                                ut_array_compare_fcn compare_fn);

/* Deletes every element, in index order, and frees the block: the array is as after
 * ut_array_initialize. */
QXUT_API void ut_array_clear(ut_array* array);

/* Clears and frees an array of ut_array_new; nothing for null. */
QXUT_API void ut_array_delete(ut_array* array);

/* --- size ------------------------------------------------------------------------------------- */

/* Lengthens by n zeroed elements; no copy callback is called. Here and wherever elements are added
 * one by one, a block too small for m elements is replaced by one of m + 5 slots while m is below
 * 50, of 2 * m slots from there on. */
QXUT_API void ut_array_expand(ut_array* array, uint64_t n);

/* Sets length and capacity; a new_capacity of UT_ARRAY_NOT_FOUND means new_length. Added elements
 * are zeroed, dropped ones deleted in index order. `capacity` becomes new_capacity even where that
 * is less than the block holds, or less than the length: the block never shrinks here. A caller
 * that takes the capacity back this way makes the next addition reallocate. */
QXUT_API void ut_array_set_size(ut_array* array, uint64_t new_length, uint64_t new_capacity);

/* Drops the last k elements, deleted in index order, and keeps the capacity, with the meaning that
 * UT_ARRAY_NOT_FOUND has in ut_array_set_size. The caller sees to it that there are k: more ask
 * for a length below zero, which is OUT_OF_MEMORY. */
QXUT_API void ut_array_shrink(ut_array* array, uint64_t k);

QXUT_API bool ut_array_is_empty(const ut_array* array);
QXUT_API uint64_t ut_array_length(const ut_array* array);

/* --- access ----------------------------------------------------------------------------------- */

/* Address of element i, of the first, of the last one; null when there is none. */
QXUT_API void* ut_array_get(const ut_array* array, uint64_t i);
QXUT_API void* ut_array_head(const ut_array* array);
QXUT_API void* ut_array_tail(const ut_array* array);

/* Deletes element i and copies `element` into its slot. i is not checked. When one of the two
 * raises, the element is removed from the array. */
QXUT_API void ut_array_set(ut_array* array, uint64_t i, const void* element);

/* --- a list: linear search -------------------------------------------------------------------- */

/* The first element equal to the key: its index or UT_ARRAY_NOT_FOUND; its address or null;
 * whether there is one. Compares stored elements, in index order, with the key. */
QXUT_API uint64_t ut_array_index_of(ut_array* array, const void* key);
QXUT_API void* ut_array_find(ut_array* array, const void* key);
QXUT_API bool ut_array_is_member(ut_array* array, const void* key);

/* Removes that element; nothing when there is none. */
QXUT_API void ut_array_remove_element(ut_array* array, const void* key);

/* Appends an element and returns 1, or returns 0 when an equal one is there. */
QXUT_API int32_t ut_array_append_new(ut_array* array, const void* element);

/* --- a sorted list: binary search ------------------------------------------------------------- */

/* An element equal to the key, not always the first of several: its index or UT_ARRAY_NOT_FOUND;
 * its address or null; whether there is one. Compares the key with stored elements: the order of
 * the arguments is the reverse of the linear search's. */
QXUT_API uint64_t ut_array_sorted_index_of(ut_array* array, const void* key);
QXUT_API void* ut_array_find_sorted(ut_array* array, const void* key);
QXUT_API bool ut_array_is_member_sorted(ut_array* array, const void* key);

/* Index of the equal element that the search meets, or the one where the key would be inserted. */
QXUT_API uint64_t ut_array_find_sorted_index_of(ut_array* array, const void* key);

/* Inserts an element there, before the equal element met, and returns its address. */
QXUT_API void* ut_array_insert_sorted(ut_array* array, const void* element);

/* Removes the equal element that the search meets; nothing when there is none. */
QXUT_API void ut_array_remove_sorted_element(ut_array* array, const void* key);

/* --- insertion and removal -------------------------------------------------------------------- */

/* `element` may lie inside the array that it is added to, here and below. */

/* Inserts an element before the one at `index`, or, when `after` is exactly 1, after it; `after`
 * is a choice, not a distance: any other value inserts before. Returns the element's address, or
 * null when the place is beyond the length. */
QXUT_API void* ut_array_insert(ut_array* array, uint64_t index, const void* element, int32_t after);

/* Adds an element at the end, at the front. Returns its address. */
QXUT_API void* ut_array_append(ut_array* array, const void* element);
QXUT_API void* ut_array_push(ut_array* array, const void* element);

/* Remove the first element, the last one, element i; nothing when there is none. */
QXUT_API void ut_array_pop(ut_array* array);
QXUT_API void ut_array_pop_end(ut_array* array);
QXUT_API void ut_array_remove(ut_array* array, uint64_t i);

/* Moves the bytes of element i to `out`, undeleted: the caller owns it then. False when there is
 * no such element. */
QXUT_API bool ut_array_reclaim(ut_array* array, uint64_t i, void* out);

/* --- whole arrays ----------------------------------------------------------------------------- */

/* Exchanges the bytes of elements i and j, through a temporary of elem_size bytes from the memory
 * context (none when i is j). Indices are not checked. */
QXUT_API void ut_array_swap(ut_array* array, uint64_t i, uint64_t j);

/* Reverses the order of the elements, through one such temporary. */
QXUT_API void ut_array_reverse(ut_array* array);

/* Calls fn(user_data, element) for each element in index order. */
QXUT_API void ut_array_apply(ut_array* array, ut_array_apply_fcn fn);

/* A new array of ut_array_new with the same attributes, copies of the elements and a capacity of
 * exactly its length. The copy callback is called with the new array. */
QXUT_API ut_array* ut_array_copy(ut_array* array);

/* Whether element size, callbacks and user data are the same. */
QXUT_API bool ut_array_are_compatible(const ut_array* a, const ut_array* b);

/* Appends copies of the elements of src, which may be dst itself, and returns dst; null, with
 * nothing done, for arrays that are not compatible. When a copy raises, those made before it are
 * deleted again. */
QXUT_API ut_array* ut_array_append_array(ut_array* dst, ut_array* src);

/* 0 when some element of a differs from the element of b at the same index, else 1. Arrays that
 * are not compatible, and an array and itself, are not compared: 1. The lengths are not compared
 * either: 1 says that a is a prefix of what b's block holds, which must have room for as many
 * elements as a. Callers use it that way to test a change that only ever appended. */
QXUT_API int32_t ut_array_compare(ut_array* a, ut_array* b);

QXUT_END_DECLS

#endif
