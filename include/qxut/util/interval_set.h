/* interval_set.h - an ordered set of signed 64-bit integers, held as intervals in a balanced tree.
 *
 * The set holds its members as closed intervals [first, last] that neither overlap nor touch:
 * neighbours merge as soon as they meet, an interval that loses members from its middle becomes
 * two. A dense set of any size therefore costs what one interval costs. All of INT64_MIN to
 * INT64_MAX may be members.
 *
 * With n the number of intervals, a function takes O(log n) time, except where its comment says
 * otherwise; one that swallows or removes k intervals takes O((1 + k / 8) log n). Memory is taken
 * in nodes of about half a kilobyte, each for 8 to 32 intervals.
 *
 * An interval is given by its first and last member; one whose first is above its last is empty.
 * All memory comes from the set's memory context, whose OUT_OF_MEMORY every function that
 * allocates may raise: the insertions, ut_fsi_remove and ut_fsi_remove_interval (a hole in an
 * interval makes one more), and those that build a set from others. The set is then as it was.
 * The record does not point into itself. A set is used by one thread at a time; several may
 * read it.
 */
#ifndef QXUT_UTIL_INTERVAL_SET_H
#define QXUT_UTIL_INTERVAL_SET_H

#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

typedef struct ut_fsi_node ut_fsi_node;

/* A closed interval; not empty where a function gives one out. */
typedef struct ut_fsi_interval {
    int64_t first;
    int64_t last;
} ut_fsi_interval;

/* The record. The fields may be read; they are changed by the functions below only. */
typedef struct ut_fsi {
    _memory_context* mem_ctx; /* null: not initialised, or cleared */
    ut_fsi_node* root;        /* null: empty */
    ut_fsi_node* spares;      /* nodes got ahead of a change, linked; null between calls unless
                                 memory ran out */
    uint64_t num_intervals;
    uint64_t num_members; /* modulo 2^64: the full range has 0 */
    int32_t height;       /* levels above the leaves */
} ut_fsi;

/* A position between two intervals of a set; the caller's, nothing to clear. */
typedef struct ut_fsi_cursor {
    const ut_fsi_node* leaf;
    int32_t position;
} ut_fsi_cursor;

/* --- life ------------------------------------------------------------------------------------- */

/* Fills a record as an empty set; allocates nothing. */
QXUT_API void ut_initialize_fsi(ut_fsi* set, _memory_context* mem_ctx);

/* The same on a record allocated from the context. */
QXUT_API ut_fsi* ut_new_fsi(_memory_context* mem_ctx);

/* Gives everything back. The record must be initialised again before it is used; clearing it
 * again, or a record of zeros, does nothing. O(n). */
QXUT_API void ut_clear_fsi(ut_fsi* set);

/* Clears and frees a set of ut_new_fsi; nothing for null. O(n). */
QXUT_API void ut_delete_fsi(ut_fsi* set);

/* Removes every member and keeps the set. O(n). */
QXUT_API void ut_fsi_empty(ut_fsi* set);

/* --- insertion and removal ------------------------------------------------------------------ */

/* Return whether the value, or all of the interval, was in the set before. An empty interval
 * changes nothing and was. */
QXUT_API bool ut_fsi_insert(ut_fsi* set, int64_t value);
QXUT_API bool ut_fsi_insert_interval(ut_fsi* set, int64_t first, int64_t last);

/* Return whether the value, or any member of the interval, was in the set before. An empty
 * interval changes nothing and had none. */
QXUT_API bool ut_fsi_remove(ut_fsi* set, int64_t value);
QXUT_API bool ut_fsi_remove_interval(ut_fsi* set, int64_t first, int64_t last);

/* --- lookup ----------------------------------------------------------------------------------- */

QXUT_API bool ut_fsi_is_member(const ut_fsi* set, int64_t value);

/* Whether all of an interval is in the set (an empty one is), whether any member of it is. */
QXUT_API bool ut_fsi_contains_interval(const ut_fsi* set, int64_t first, int64_t last);
QXUT_API bool ut_fsi_meets_interval(const ut_fsi* set, int64_t first, int64_t last);

/* Whether the value is in the set; if so tells the interval that holds it. */
QXUT_API bool ut_fsi_query_interval(const ut_fsi* set, int64_t value, ut_fsi_interval* out);

/* Tell the smallest member above `value`, the largest below it; false, and nothing told, when
 * there is none. `value` need not be a member. */
QXUT_API bool ut_fsi_next(const ut_fsi* set, int64_t value, int64_t* out);
QXUT_API bool ut_fsi_previous(const ut_fsi* set, int64_t value, int64_t* out);

/* Tell the smallest, the largest member; false, and nothing told, for an empty set. */
QXUT_API bool ut_fsi_min(const ut_fsi* set, int64_t* out);
QXUT_API bool ut_fsi_max(const ut_fsi* set, int64_t* out);

/* The number of members, in constant time. The full range has 2^64, one more than can be told: it
 * gives UINT64_MAX as well. */
QXUT_API uint64_t ut_fsi_count(const ut_fsi* set);

/* The number of intervals, and whether there is none, in constant time. */
QXUT_API uint64_t ut_fsi_num_intervals(const ut_fsi* set);
QXUT_API bool ut_fsi_is_empty(const ut_fsi* set);

/* Whether two sets have the same members; whether each member of `a` is one of `b`. O(n) of
 * both. */
QXUT_API bool ut_fsi_equal(const ut_fsi* a, const ut_fsi* b);
QXUT_API bool ut_fsi_is_subset(const ut_fsi* a, const ut_fsi* b);

/* --- traversal -------------------------------------------------------------------------------- */

/* Set a cursor before the first interval, after the last one, and before the first interval that
 * ends at or above `value`. */
QXUT_API void ut_fsi_cursor_init(const ut_fsi* set, ut_fsi_cursor* cursor);
QXUT_API void ut_fsi_cursor_init_end(const ut_fsi* set, ut_fsi_cursor* cursor);
QXUT_API void ut_fsi_cursor_init_at(const ut_fsi* set, ut_fsi_cursor* cursor, int64_t value);

/* Step over the interval after, before, the cursor and tell it; false, with the cursor and `out`
 * as they were, when there is none. Constant time. The set must not be changed during the walk. */
QXUT_API bool ut_fsi_iterate(ut_fsi_cursor* cursor, ut_fsi_interval* out);
QXUT_API bool ut_fsi_iterate_backward(ut_fsi_cursor* cursor, ut_fsi_interval* out);

/* Calls fn for each interval in ascending order; stops and returns 0 when fn returns 0. Returns 1
 * after the last one. fn may not change the set. */
typedef int32_t (*ut_fsi_apply_fcn)(const ut_fsi* set, void* argument, int64_t first, int64_t last);
QXUT_API int32_t ut_fsi_apply(const ut_fsi* set, void* argument, ut_fsi_apply_fcn fn);

/* --- sets from sets --------------------------------------------------------------------------- */

/* Each replaces the members of `result`, which is an initialised set and may be one of the
 * others. The time is linear in the intervals of all of them. They take an interrupt
 * (ERR_SIGNAL_INTERRUPT); `result` is then as it was. */
QXUT_API void ut_fsi_copy(ut_fsi* result, const ut_fsi* set);
QXUT_API void ut_fsi_union(ut_fsi* result, const ut_fsi* a, const ut_fsi* b);
QXUT_API void ut_fsi_intersection(ut_fsi* result, const ut_fsi* a, const ut_fsi* b);
/* The members of `a` that are not in `b`. */
QXUT_API void ut_fsi_difference(ut_fsi* result, const ut_fsi* a, const ut_fsi* b);
/* The members of exactly one of the two. */
QXUT_API void ut_fsi_symmetric_difference(ut_fsi* result, const ut_fsi* a, const ut_fsi* b);
/* The integers of [first, last] that are not in the set. */
QXUT_API void ut_fsi_complement(ut_fsi* result, const ut_fsi* set, int64_t first, int64_t last);

/* --- for tests -------------------------------------------------------------------------------- */

/* Goes through the whole set and tells, in English, the first thing about its structure that does
 * not hold; null when all does. O(n). */
QXUT_API const char* ut_fsi_check(const ut_fsi* set);

QXUT_END_DECLS

#endif
