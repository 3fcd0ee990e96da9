/* namehash.h - interned names: one canonical pointer per distinct text.
 *
 * A name hash is a generic hash table (ghash.h) of text pointers with a pool from which copied
 * names are carved. Names are NUL-terminated bytes, compared byte by byte; two names are equal
 * exactly when their canonical pointers are. Pointers stay valid until the name hash is cleared.
 *
 * The record points into itself: it may not be moved. Nothing is locked; callers serialise, the
 * process-wide symbol table included.
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

QXUT_END_DECLS

#endif
