/* record_layout.c - the fields of the records that callers own, in their order and at their places.
 * Seen from C, as a client sees them; a program that was built against one version of the library
 * reads the records of another. Compiling this file is the test. */
#include <qxut/util/contexts.h>
#include <qxut/util/dsbuffer.h>

#define AT(record, field, offset) \
    _Static_assert(offsetof(record, field) == (offset), #record "." #field)
#define SIZE(record, size) _Static_assert(sizeof(record) == (size), #record)
#define FOLLOWS(record, field, before)                                                      \
    _Static_assert(                                                                         \
        offsetof(record, field) - offsetof(record, before) - sizeof(((record*)0)->before) < \
            sizeof(void*),                                                                  \
        #record "." #field)

AT(ut_bstream, position, 0);
AT(ut_bstream, remaining, 8);
SIZE(ut_bstream, 16);

AT(ut_dsbuffer, memory_context, 0);
AT(ut_dsbuffer, data, 8);
AT(ut_dsbuffer, length, 16);
AT(ut_dsbuffer, capacity, 24);
SIZE(ut_dsbuffer, 32);

AT(ut_message_table, count, 0);
AT(ut_message_table, module, 4);
AT(ut_message_table, codes, 8);
AT(ut_message_table, mnemonics, 16);
AT(ut_message_table, texts, 24);

AT(struct ut_message_context, highest_module, 0);
AT(struct ut_message_context, entry_counts, 8);
AT(struct ut_message_context, reference_counts, 16);
AT(struct ut_message_context, mnemonics, 24);
AT(struct ut_message_context, components, 32);
AT(struct ut_message_context, current_language, 40);
AT(struct ut_message_context, scratch, 48);
AT(struct ut_message_context, languages, 56);
AT(struct ut_message_context, allocate, 64);
AT(struct ut_message_context, reallocate, 72);
SIZE(struct ut_message_context, 80);

AT(ut_cleanup_item, next, 0);
AT(ut_cleanup_item, variable, 8);
AT(ut_cleanup_item, clean, 16);
SIZE(ut_cleanup_item, 24);

AT(ut_cleanup_item_2, next, 0);
AT(ut_cleanup_item_2, variable, 8);
AT(ut_cleanup_item_2, argument, 16);
AT(ut_cleanup_item_2, clean, 24);
SIZE(ut_cleanup_item_2, 32);

AT(ut_try_frame, outer, 0);
AT(ut_try_frame, saved_cleanup, 8);
AT(ut_try_frame, handler_data, 16);
AT(ut_try_frame, message_handler, 24);
AT(ut_try_frame, identifier_handler, 32);
AT(ut_try_frame, result, 40);
SIZE(ut_try_frame, 48);
SIZE(ut_cleanup_mark, sizeof(ut_try_frame));

AT(struct _error_context, cleanup, 0);
AT(struct _error_context, frame, 8);
AT(struct _error_context, unwind_target, 16);
AT(struct _error_context, messages, 24);
AT(struct _error_context, print, 32);
AT(struct _error_context, print_destination, 40);
AT(struct _error_context, reserved, 48);
AT(struct _error_context, error_handler, 56);
AT(struct _error_context, error_handler_data, 64);
SIZE(struct _error_context, 72);

AT(struct _memory_context, error_context, 0);
AT(struct _memory_context, allocate, 8);
AT(struct _memory_context, reallocate, 16);
AT(struct _memory_context, release, 24);
AT(struct _memory_context, error_context_2, 32);
SIZE(struct _memory_context, 40);

AT(ut_ghash_table, mem_ctx, 0);
AT(ut_ghash_table, buckets, 8);
AT(ut_ghash_table, lower_count, 16);
AT(ut_ghash_table, upper_count, 20);
AT(ut_ghash_table, lower_load, 24);
AT(ut_ghash_table, upper_load, 28);
AT(ut_ghash_table, num_buckets, 32);
AT(ut_ghash_table, min_buckets, 36);
AT(ut_ghash_table, count, 40);
AT(ut_ghash_table, key_size, 48);
AT(ut_ghash_table, data_size, 56);
AT(ut_ghash_table, data_offset, 64);
AT(ut_ghash_table, node_size, 68);
AT(ut_ghash_table, value_size, 72);
AT(ut_ghash_table, hash_fn, 80);
AT(ut_ghash_table, compare_fn, 88);
AT(ut_ghash_table, copy_key_fn, 96);
AT(ut_ghash_table, delete_key_fn, 104);
AT(ut_ghash_table, copy_data_fn, 112);
AT(ut_ghash_table, delete_data_fn, 120);
AT(ut_ghash_table, user_data, 128);
AT(ut_ghash_table, hash_ctx, 136);
AT(ut_ghash_table, compare_ctx, 144);
AT(ut_ghash_table, copy_key_ctx, 152);
AT(ut_ghash_table, copy_data_ctx, 160);
AT(ut_ghash_table, sorted_keys, 168);
AT(ut_ghash_table, sorted_count, 176);
AT(ut_ghash_table, sorted_stamp, 184);
SIZE(ut_ghash_table, 192);

AT(ut_ghash_cursor, position, 0);
AT(ut_ghash_cursor, node, 8);
AT(ut_ghash_cursor, sorted, 16);
AT(ut_ghash_cursor, stamp, 20);
SIZE(ut_ghash_cursor, 24);

AT(struct ut_namehash, table, 0);
AT(struct ut_namehash, pool_ctx, 192);
AT(struct ut_namehash, pool_blocks, 200);
AT(struct ut_namehash, copy_names, 208);

AT(ut_namehash_block, previous, 0);
AT(ut_namehash_block, free_position, 8);
AT(ut_namehash_block, end, 16);
SIZE(ut_namehash_block, 24);

AT(struct ut_fpc_context, memory_context, 0);
AT(struct ut_fpc_context, private_pool, 8);
AT(struct ut_fpc_context, pool_cursor, 8 + 2304);
AT(struct ut_fpc_context, free_lists, 8 + 2304 + 8);
SIZE(struct ut_fpc_context, 8 + 2304 + 8 + 64);

AT(struct utBasicContexts, message_context, 0);
FOLLOWS(struct utBasicContexts, error_context, message_context);
FOLLOWS(struct utBasicContexts, memory_context, error_context);
FOLLOWS(struct utBasicContexts, namehash_context, memory_context);
FOLLOWS(struct utBasicContexts, fpc_context, namehash_context);
FOLLOWS(struct utBasicContexts, warning_context, fpc_context);
FOLLOWS(struct utBasicContexts, error_text_stream, warning_context);
FOLLOWS(struct utBasicContexts, error_text, error_text_stream);
FOLLOWS(struct utBasicContexts, throw_fcn, error_text);
FOLLOWS(struct utBasicContexts, throw_data, throw_fcn);
_Static_assert(sizeof(((struct utBasicContexts*)0)->error_text) == 4096, "error text");
