/* namehash.h - interned names: one canonical pointer per distinct text.
 *
 * A name hash is a generic hash table (ghash.h) of text pointers with a pool from which copied
 * names are carved. Names are NUL-terminated bytes, compared byte by byte; two names are equal
 * exactly when their canonical pointers are. Pointers stay valid until the name hash is cleared.
 *
 * The table has a bucket for each one to four names. The record points into itself: it may not be
 * moved. Nothing is locked; callers serialise, the process-wide symbol table included.
 *
 * The functions that may allocate raise OUT_OF_MEMORY on the memory context given, with the name
 * hash as it was.
 */
#ifndef QXUT_UTIL_NAMEHASH_H
#define QXUT_UTIL_NAMEHASH_H

#include <qxut/util/ghash.h>
#include <qxut/util/memory.h>

QXUT_BEGIN_DECLS

/* A block of the name pool; `end` is one past the block's last byte. */
typedef struct ut_namehash_block {
    struct ut_namehash_block* previous;
    char* free_position;
    char* end;
    /* the characters follow */
} ut_namehash_block;

struct ut_namehash {
    ut_ghash_table table;
    _memory_context* pool_ctx;
    ut_namehash_block* pool_blocks; /* newest first */
    int32_t copy_names;             /* 1: a new name is copied into the pool; 0: adopted */
};

/* Bytes of a pool block, the record above included. A name that would not fit gets a block of its
 * size (with its NUL) more. */
enum { UT_NAMEHASH_BLOCK_SIZE = 16024 };

/* --- life ------------------------------------------------------------------------------------- */

/* Fill a record; allocate a record from the context and fill it. The table keeps at least the first
 * quasiprime at or above initial_size buckets. An error leaves the record cleared. */
QXUT_API void ut_initialize_namehash(ut_namehash* namehash, _memory_context* mem_ctx,
                                     int32_t initial_size);
QXUT_API ut_namehash* ut_new_namehash(_memory_context* mem_ctx, int32_t initial_size);

/* Frees the copied names, newest block first, and the table; every canonical pointer into the pool
 * ends. The record must be initialised again before it is used; clearing it again, or a record of
 * zeros, does nothing. The record that is the process-wide symbol table stops being it. */
QXUT_API void ut_clear_namehash(ut_namehash* namehash);

/* Clears and frees a record of ut_new_namehash; nothing for null. */
QXUT_API void ut_delete_namehash(ut_namehash* namehash);

/* --- interning -------------------------------------------------------------------------------- */

/* The canonical pointer of a name; a new name is copied. The second takes `length` characters,
 * which need not be terminated; a NUL among them ends the name. It copies them to a block of
 * utMallocWithCheck meanwhile, which throws std::bad_alloc when there is no memory for it. */
QXUT_API const char* ut_namehash_add(ut_namehash* namehash, const char* name);
QXUT_API const char* ut_namehash_add_with_length(ut_namehash* namehash, const char* characters,
                                                 size_t length);

/* Adopt a new name: the caller's pointer becomes the canonical one, and the caller keeps the text
 * alive and unchanged until the name hash is cleared. For a name that is there both return the
 * canonical pointer; for a new one the first returns null, the second the caller's pointer. */
QXUT_API const char* ut_namehash_add_string(ut_namehash* namehash, const char* name);
QXUT_API const char* ut_namehash_insert_string(ut_namehash* namehash, const char* name);

/* The canonical pointer, or null for a name that is not there. Changes nothing. */
QXUT_API const char* ut_namehash_lookup(const ut_namehash* namehash, const char* name);

/* Steps a cursor of ut_ghash_cursor_init(&namehash->table, ...): stores the next canonical pointer
 * and returns true, or stores null and returns false at the end. */
QXUT_API bool ut_namehash_iterate(const ut_namehash* namehash, ut_ghash_cursor* cursor,
                                  const char** out_name);

/* --- the process-wide symbol table -------------------------------------------------------------
 */

/* ut_namehash_add on the symbol table. Where none is installed, the current record's name hash
 * (utGetNamehashContext) is, and stays. */
QXUT_API const char* ut_symtab_add(const char* name);

/* Installs a symbol table if there is none, and returns the one that is then in force. */
QXUT_API ut_namehash* ut_set_symbol_table_nh(ut_namehash* namehash);

QXUT_END_DECLS

#endif
