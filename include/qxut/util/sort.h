/* sort.h - sorting an array in place with a comparison that receives a context. */
#ifndef QXUT_UTIL_SORT_H
#define QXUT_UTIL_SORT_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* Compares two elements by their addresses; negative, zero or positive as a comes before, is
 * equal to or comes after b. It may raise: the array then holds the same elements in some order.
 * It must not change the elements. */
typedef int32_t (*ut_compare_fcn)(void* context, const void* a, const void* b);

/* Sorts the `n` elements of `size` bytes each at `base`; `context` goes to each call of
 * `compare`. Not stable, but the order of equal elements depends on nothing but the comparison's
 * answers: the same input gives the same result everywhere.
 *
 * One element's size is taken from the current memory context (see contexts.h) and given back,
 * also for 0 or 1 elements and when the comparison raises; so OUT_OF_MEMORY may be raised, with
 * the array untouched. At most a multiple of n log n comparisons are made, whatever the input.
 * A comparison that contradicts itself gives some order, but is never asked about anything
 * outside the array. Ranges of more than 65536 elements poll the interrupt state, so a long sort
 * may raise ERR_SIGNAL_INTERRUPT. */
QXUT_API void ut_qsort(void* base, uint32_t n, size_t size, void* context, ut_compare_fcn compare);

QXUT_END_DECLS

#endif
