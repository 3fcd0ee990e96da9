/* set.h - a small ordered collection of words, as a circular doubly linked list with a header.
 *
 * A value is a pointer-sized word, compared by identity. The value 0 belongs to the header: the
 * stepping functions return it at either end. A 0 that is added all the same is counted and
 * visited, but stepping ends on it. Nothing keeps a value from being there twice.
 *
 * The set remembers the last value that stepping gave out, and its node (the cursor), so that a
 * walk takes constant time a step. Adding never moves the cursor; removing its node forgets it.
 * Everything else that is given a value searches for its node, in time linear in the distance.
 *
 * Nodes come from utMalloc and go to utFree; where memory runs out a function returns false, or
 * null, and the set is as it was. Nothing is raised and nothing is locked. The header's address is
 * in the nodes: it may not be moved or copied.
 */
#ifndef QXUT_UTIL_SET_H
#define QXUT_UTIL_SET_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

typedef struct utSetElement {
    struct utSetElement* prev;
    struct utSetElement* next;
    uintptr_t value;
} utSetElement;

typedef struct utSet {
    utSetElement header;    /* prev: the last node, next: the first, value: 0. Empty: itself */
    uintptr_t cursor_value; /* 0: no cursor */
    utSetElement* cursor;   /* the node that cursor_value was read from */
} utSet;

typedef void (*utSetElementFcn)(uintptr_t value, uintptr_t argument_1, uintptr_t argument_2);

/* --- life ------------------------------------------------------------------------------------- */

/* An empty set; null when memory runs out. */
QXUT_API utSet* utCreateSet(void);

/* Frees the header only: the set must be empty. Nothing for null. */
QXUT_API void utDestroySet(utSet* set);

/* Frees the nodes and the header; nothing for null. */
QXUT_API void utDestroyNonEmptySet(utSet* set);

/* --- adding and removing -------------------------------------------------------------------- */

/* Link a new node at the front, at the back. */
QXUT_API bool utAddElementToSet(uintptr_t value, utSet* set);
QXUT_API bool utAddElementToEndOfSet(uintptr_t value, utSet* set);

/* Moves the first node that holds the value to the front, or adds the value there if it is absent.
 * A cursor on that node is forgotten. */
QXUT_API bool utPutElementAtFrontOfSet(uintptr_t value, utSet* set);

/* Link a new node right after, right before, the node that holds `existing`: the cursor's if that
 * has this value, else the first of them, counted from the front for after and from the back for
 * before. Where `existing` is 0 or absent the header stands for it: after it is the front of the
 * set, before it the back. */
QXUT_API bool utInsertSetElementAfter(utSet* set, uintptr_t existing, uintptr_t value);
QXUT_API bool utInsertSetElementBefore(utSet* set, uintptr_t existing, uintptr_t value);

/* Frees the first node, from the front, that holds the value; nothing when it is absent. */
QXUT_API void utRemoveElementFromSet(uintptr_t value, utSet* set);

/* --- looking ---------------------------------------------------------------------------------- */

QXUT_API bool utIsElementInSet(uintptr_t value, const utSet* set);

/* Counts by walking. */
QXUT_API size_t utGetNumElementsInSet(const utSet* set);

/* The value after (before) the given one, which becomes the cursor; 0 after the last. A value of 0
 * gives the first (last) value, and so does one that is not there. A value other than the
 * cursor's is searched from the front (back).
 *
 *     for (v = utGetNextSetElement(set, 0); v != 0; v = utGetNextSetElement(set, v)) ...
 */
QXUT_API uintptr_t utGetNextSetElement(utSet* set, uintptr_t value);
QXUT_API uintptr_t utGetPrevSetElement(utSet* set, uintptr_t value);

/* Call fn(value, argument_1, argument_2) for each value from first to last, from last to first.
 * The following node is read before the call, so fn may remove the value it is given, if that is
 * there once, but not the one that follows. */
QXUT_API void utToEachSetElement(utSet* set, utSetElementFcn fn, uintptr_t argument_1,
                                 uintptr_t argument_2);
QXUT_API void utToEachSetElementBackward(utSet* set, utSetElementFcn fn, uintptr_t argument_1,
                                         uintptr_t argument_2);

QXUT_END_DECLS

#endif
