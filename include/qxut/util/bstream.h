/* bstream.h - a fixed-size memory stream over a block of the caller's.
 *
 *   block  [ consumed | position ->            ]
 *                       |<----- remaining ---->|
 *
 * A stream is two words that the caller fills; it knows neither its start nor its size, never
 * grows and allocates nothing. Reading and writing k bytes advances `position` by k and lowers
 * `remaining` by k. The functions have the shapes of their models in the C library: all take the
 * stream last, ut_bputsn alone takes it first. No argument is checked. Nothing is raised.
 *
 * A stream belongs to one thread at a time. Sizes are in bytes.
 */
#ifndef QXUT_UTIL_BSTREAM_H
#define QXUT_UTIL_BSTREAM_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

typedef struct ut_bstream {
    char* position;     /* the next byte to read or write */
    uint64_t remaining; /* bytes left from position to the end of the block */
} ut_bstream;

/* True at the end of the stream. */
QXUT_API bool ut_beof(const ut_bstream* stream);

/* Consumes one byte and returns it as 0..255; -1 at the end. */
QXUT_API int ut_bgetc(ut_bstream* stream);

/* Stores the low 8 bits of `character` and returns them as 0..255; -1 at the end. */
QXUT_API int ut_bputc(int character, ut_bstream* stream);

/* Steps back by one byte and stores the low 8 bits of `character` there (the block is written
 * to); returns them as 0..255. A character of -1 changes nothing and returns -1. */
QXUT_API int ut_bungetc(int character, ut_bstream* stream);

/* Reads a line of at most size - 1 bytes, its newline included, and ends it with a NUL.
 * Returns `destination`, or null when the stream ended before a newline: the bytes of that last
 * line are nevertheless in `destination`, terminated. A size of 1 stores only the NUL.
 * The byte at `position` is looked at before `remaining` is, so the block must have one readable
 * byte after its end. */
QXUT_API char* ut_bgets(char* destination, int32_t size, ut_bstream* stream);

/* Copies min(count, remaining / size) whole elements of `size` bytes out of (ut_bread) or into
 * (ut_bwrite) the stream and returns that number. `size` must not be 0. */
QXUT_API uint64_t ut_bread(void* destination, uint64_t size, uint64_t count, ut_bstream* stream);
QXUT_API uint64_t ut_bwrite(const void* source, uint64_t size, uint64_t count, ut_bstream* stream);

/* Writes as much of `text` as fits. Returns 1 when all of it did, -1 when it was cut.
 * `stream` is a ut_bstream*; the shape is that of utPutsFcn. */
QXUT_API int ut_bputs(const char* text, void* stream);

/* Writes min(count, remaining) bytes and returns that number; -1 for a non-zero count when the
 * stream is full. `stream` is a ut_bstream*; the shape is that of ut_writer. */
QXUT_API int ut_bputsn(void* stream, const char* source, int32_t count);

/* Length of the run of bytes at `position` that are all (ut_bufspn) or none of them (ut_bufcspn)
 * in the NUL-terminated `set`; the NUL itself counts as a member of every set. Consumes nothing. */
QXUT_API uint64_t ut_bufspn(const ut_bstream* stream, const char* set);
QXUT_API uint64_t ut_bufcspn(const ut_bstream* stream, const char* set);

/* Consumes white space as isspace sees it; returns true when the stream is then at its end. */
QXUT_API bool ut_skip_white_space(ut_bstream* stream);

QXUT_END_DECLS

#endif
