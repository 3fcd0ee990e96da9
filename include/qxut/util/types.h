/* types.h - the function shapes and small types that several families share. */
#ifndef QXUT_UTIL_TYPES_H
#define QXUT_UTIL_TYPES_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include <qxut/util/export.h>

QXUT_BEGIN_DECLS

/* A message code: module number * 65536 + entry number; entries count from 1. */
typedef uint32_t ut_message_code;

/* Writer: writes `length` bytes of `text` to `stream`; the text need not end in a NUL.
 * Returns the number of bytes written, or a negative value on failure. A length of 0 or less
 * writes nothing. */
typedef int (*ut_writer)(void* stream, const char* text, int32_t length);

/* A writer of NUL-terminated text, with the arguments in the order of fputs.
 * Returns a negative value on failure. */
typedef int (*utPutsFcn)(const char* text, void* stream);

/* The three functions of an allocator, with the contracts of malloc, realloc and free: a null
 * result means that the request failed and that the old block is untouched. The library never
 * asks them for 0 bytes. */
typedef void* (*ut_alloc_fcn)(size_t size);
typedef void* (*ut_realloc_fcn)(void* block, size_t size);
typedef void (*ut_free_fcn)(void* block);

/* The contexts; each is described in the header of its family. */
typedef struct ut_message_context ut_message_context;
typedef struct _error_context _error_context;
typedef struct _memory_context _memory_context;
typedef struct ut_warning_context ut_warning_context;
typedef struct ut_fpc_context ut_fpc_context;
typedef struct ut_namehash ut_namehash;
typedef struct utBasicContexts utBasicContexts;

QXUT_END_DECLS

#endif
