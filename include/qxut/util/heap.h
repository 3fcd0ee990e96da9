/* heap.h - the C runtime's heap under the library's names.
 *
 * The plain forms return null on failure. The WithCheck forms and the deprecated `new` family
 * never do for a non-zero request: they call the out-of-memory listener, then throw
 * std::bad_alloc, whose what() is "bad allocation"; the request is not retried. Blocks are freed
 * with utFree, those of the `new` family with the matching operator delete. Thread-safe as the C
 * runtime's heap is; the listener is one plain process-wide pointer. Sizes are in bytes.
 */
#ifndef QXUT_UTIL_HEAP_H
#define QXUT_UTIL_HEAP_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* Null for size 0, without asking the runtime. */
QXUT_API void* utMalloc(size_t size);
/* Zero-filled; null if either argument is 0 or the product does not fit in size_t. */
QXUT_API void* utCalloc(size_t count, size_t size);
/* Size 0 frees the block and returns null. On failure the block is untouched. */
QXUT_API void* utRealloc(void* block, size_t size);
QXUT_API void utFree(void* block);

QXUT_API void* utMallocWithCheck(size_t size);
QXUT_API void* utCallocWithCheck(size_t count, size_t size);
QXUT_API void* utReallocWithCheck(void* block, size_t size);

typedef void (*utOutOfMemoryListener)(void);
/* Sets the function to call before a WithCheck form throws; null: none. */
QXUT_API void utSetOutOfMemoryListener(utOutOfMemoryListener listener);

/* The non-throwing global operator new (or new[]); the Zero forms fill the block with zeros.
 * Null for size 0. */
QXUT_API void* utNew_deprecated(size_t size);
QXUT_API void* utNewArray_deprecated(size_t size);
QXUT_API void* utNewZero_deprecated(size_t size);
QXUT_API void* utNewArrayZero_deprecated(size_t size);

QXUT_END_DECLS

#endif
