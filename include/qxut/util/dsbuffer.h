/* dsbuffer.h - a byte buffer that grows in memory of a memory context.
 *
 *   data -> [ bytes written so far |   unused   ]
 *           |<----- length ------->|
 *           |<------------ capacity ----------->|
 *
 * The record is the caller's; the buffer owns the block that `data` points to. The functions have
 * the shapes of their models in the C library, so that code that formats to a file or to a
 * fixed-size stream (see bstream.h) formats to memory as well: fputc, fputs, fwrite, and ut_writer.
 *
 * Bytes are counted, not terminated: whoever wants a C string appends the NUL with ut_dsbputc.
 * `data` stays valid until the next append, which may move it, or the clear.
 *
 * Growth doubles the capacity until the bytes fit; no other size is ever taken. A buffer
 * of capacity 0 therefore cannot grow: initialise with at least 1. An append that needs growth
 * raises OUT_OF_MEMORY, with the buffer as it was, when memory runs out, when the capacity is 0 or
 * when the size would pass 64 bits. Appending no bytes is always harmless. An append's source may
 * lie inside the buffer's own data.
 *
 * Sizes are in bytes. No argument is checked. A buffer belongs to one thread at a time.
 */
#ifndef QXUT_UTIL_DSBUFFER_H
#define QXUT_UTIL_DSBUFFER_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

typedef struct ut_dsbuffer {
    _memory_context* memory_context;
    char* data; /* null while the capacity is 0 */
    uint64_t length;
    uint64_t capacity;
} ut_dsbuffer;

/* Makes an empty buffer of the given capacity. Raises OUT_OF_MEMORY with the record empty, of
 * capacity 0; clearing it is then harmless. */
QXUT_API void ut_initialize_dsbuffer(ut_dsbuffer* buffer, _memory_context* memory_context,
                                     uint64_t capacity);

/* Frees the data and zeroes the record, which may be initialised again. Harmless on a zeroed
 * record. */
QXUT_API void ut_clear_dsbuffer(ut_dsbuffer* buffer);

/* Appends the low 8 bits of `character` and returns them as 0..255. */
QXUT_API int ut_dsbputc(int character, ut_dsbuffer* buffer);

/* Appends `count` bytes and returns the count; a negative count raises OUT_OF_MEMORY.
 * `buffer` is a ut_dsbuffer*; the shape is that of ut_writer. */
QXUT_API int ut_dsbputsn(void* buffer, const char* source, int32_t count);

/* Appends a text without its NUL. Returns 1, or 0 when the text is empty. The length counts as a
 * signed 32-bit number, as in ut_dsbputsn. `buffer` is a ut_dsbuffer*; the shape is that of
 * utPutsFcn. */
QXUT_API int ut_dsbputs(const char* source, void* buffer);

/* Appends `count` elements of `size` bytes and returns the count. */
QXUT_API uint64_t ut_dsbwrite(const void* source, uint64_t size, uint64_t count,
                              ut_dsbuffer* buffer);

/* Sets the length and nothing else: neither reallocates nor compares with length or capacity. A
 * length above the bytes written uncovers bytes of no defined value; above the capacity it must be
 * set back before the data is read, and an append counts from it. */
QXUT_API void ut_dsb_shrink_buffer(ut_dsbuffer* buffer, uint64_t length);

QXUT_END_DECLS

#endif
