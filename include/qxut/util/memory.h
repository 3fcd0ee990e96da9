/* memory.h - allocation functions bound to an error context.
 *
 * A memory context never answers a non-zero request with null: it raises OUT_OF_MEMORY on its
 * error context, so that cleanup items run and the nearest accepting try frame gets control.
 * Sizes are in bytes. A block belongs to the context that gave it. A context is used by the
 * thread that owns its error context; the functions it holds decide about anything else.
 */
#ifndef QXUT_UTIL_MEMORY_H
#define QXUT_UTIL_MEMORY_H

#include <qxut/util/message.h>

QXUT_BEGIN_DECLS

/* Module 2. */
enum ut_memory_code { UT_OUT_OF_MEMORY = 131073 };

struct _memory_context {
    _error_context* error_context;
    ut_alloc_fcn allocate;
    ut_realloc_fcn reallocate;
    ut_free_fcn release;
    _error_context* error_context_2; /* the same error context */
};

/* Fills the record and registers the module-2 messages with the error context's message
 * context. Raises OUT_OF_MEMORY, or the message context's own error. */
QXUT_API void ut_initialize_memory_context(_memory_context* context, _error_context* error_context,
                                           ut_alloc_fcn allocate, ut_realloc_fcn reallocate,
                                           ut_free_fcn release);

/* Allocates a record with `allocate` and initialises it. Raises as above; nothing leaks. */
QXUT_API _memory_context* ut_new_memory_context(_error_context* error_context,
                                                ut_alloc_fcn allocate, ut_realloc_fcn reallocate,
                                                ut_free_fcn release);

/* Frees a record of ut_new_memory_context with its own free function. */
QXUT_API void ut_delete_memory_context(_memory_context* context);

/* Allocate `size` bytes; ut_mem_calloc zeroes them. Null for size 0, without a call. Raise
 * OUT_OF_MEMORY. */
QXUT_API void* ut_mem_alloc(_memory_context* context, size_t size);
QXUT_API void* ut_mem_calloc(_memory_context* context, size_t size);

/* Resizes a block (null: allocates one). Size 0 frees it and returns null. Raises
 * OUT_OF_MEMORY with the block untouched. */
QXUT_API void* ut_mem_realloc(_memory_context* context, void* block, size_t size);

/* Copies a NUL-terminated text. Raises OUT_OF_MEMORY. */
QXUT_API char* ut_mem_strdup(_memory_context* context, const char* text);

/* Hands the block to the context's free function, null included. */
QXUT_API void ut_mem_free(_memory_context* context, void* block);

/* Register tables with the error context's message context, see message.h. Status 1 raises
 * OUT_OF_MEMORY, another one the message context's own error. */
QXUT_API void ut_mem_add_primary_message_table(_memory_context* context,
                                               const ut_message_table* table);
QXUT_API void ut_mem_remove_primary_message_table(_memory_context* context,
                                                  const ut_message_table* table);
QXUT_API void ut_mem_add_language(_memory_context* context, const char* name,
                                  const ut_language_tables* tables);

QXUT_END_DECLS

#endif
