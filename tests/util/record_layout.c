/* record_layout.c - the fields of the records that callers own, in their order and at their places.
 * Seen from C, as a client sees them; a program that was built against one version of the library
 * reads the records of another. Compiling this file is the test. */
#include <qxut/util/contexts.h>
#include <qxut/util/dsbuffer.h>

#define AT(record, field, offset) \
    _Static_assert(offsetof(record, field) == (offset), #record "." #field)
#define AT2(record, field, offset, ...) \
    AT(record, field, offset);          \
    AT(record, __VA_ARGS__)
#define AT3(record, field, offset, ...) \
    AT(record, field, offset);          \
    AT2(record, __VA_ARGS__)
#define AT4(record, field, offset, ...) \
    AT(record, field, offset);          \
    AT3(record, __VA_ARGS__)
#define AT5(record, field, offset, ...) \
    AT(record, field, offset);          \
    AT4(record, __VA_ARGS__)
#define SIZE(record, size) _Static_assert(sizeof(record) == (size), #record)
#define FOLLOWS(record, field, before)                                                      \
    _Static_assert(                                                                         \
        offsetof(record, field) - offsetof(record, before) - sizeof(((record*)0)->before) < \
            sizeof(void*),                                                                  \
        #record "." #field)

AT2(ut_bstream, position, 0, remaining, 8);
SIZE(ut_bstream, 16);

AT4(ut_dsbuffer, memory_context, 0, data, 8, length, 16, capacity, 24);
SIZE(ut_dsbuffer, 32);

AT5(ut_message_table, count, 0, module, 4, codes, 8, mnemonics, 16, texts, 24);

AT5(struct ut_message_context, highest_module, 0, entry_counts, 8, reference_counts, 16, mnemonics,
    24, components, 32);
AT5(struct ut_message_context, current_language, 40, scratch, 48, languages, 56, allocate, 64,
    reallocate, 72);
SIZE(struct ut_message_context, 80);

AT3(ut_cleanup_item, next, 0, variable, 8, clean, 16);
SIZE(ut_cleanup_item, 24);

AT4(ut_cleanup_item_2, next, 0, variable, 8, argument, 16, clean, 24);
SIZE(ut_cleanup_item_2, 32);

AT5(ut_try_frame, outer, 0, saved_cleanup, 8, handler_data, 16, message_handler, 24,
    identifier_handler, 32);
AT(ut_try_frame, result, 40);
SIZE(ut_try_frame, 48);
SIZE(ut_cleanup_mark, sizeof(ut_try_frame));

AT5(struct _error_context, cleanup, 0, frame, 8, unwind_target, 16, messages, 24, print, 32);
AT4(struct _error_context, print_destination, 40, reserved, 48, error_handler, 56,
    error_handler_data, 64);
SIZE(struct _error_context, 72);

AT5(struct _memory_context, error_context, 0, allocate, 8, reallocate, 16, release, 24,
    error_context_2, 32);
SIZE(struct _memory_context, 40);

AT5(ut_ghash_table, mem_ctx, 0, buckets, 8, lower_count, 16, upper_count, 20, lower_load, 24);
AT5(ut_ghash_table, upper_load, 28, num_buckets, 32, min_buckets, 36, count, 40, key_size, 48);
AT5(ut_ghash_table, data_size, 56, data_offset, 64, node_size, 68, value_size, 72, hash_fn, 80);
AT5(ut_ghash_table, compare_fn, 88, copy_key_fn, 96, delete_key_fn, 104, copy_data_fn, 112,
    delete_data_fn, 120);
AT5(ut_ghash_table, user_data, 128, hash_ctx, 136, compare_ctx, 144, copy_key_ctx, 152,
    copy_data_ctx, 160);
AT3(ut_ghash_table, sorted_keys, 168, sorted_count, 176, sorted_stamp, 184);
SIZE(ut_ghash_table, 192);

AT4(ut_ghash_cursor, position, 0, node, 8, sorted, 16, stamp, 20);
SIZE(ut_ghash_cursor, 24);

AT4(struct ut_namehash, table, 0, pool_ctx, 192, pool_blocks, 200, copy_names, 208);

AT3(ut_namehash_block, previous, 0, free_position, 8, end, 16);
SIZE(ut_namehash_block, 24);

AT4(struct ut_fpc_context, memory_context, 0, private_pool, 8, pool_cursor, 8 + 2304, free_lists,
    8 + 2304 + 8);
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
