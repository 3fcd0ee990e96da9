// fpc.cpp - the life of a conversion context: its messages, its record, what it owns.
//
// The record owns the blocks on its free lists that lie outside its private pool; blocks are on no
// list only while a conversion runs. Entry points: ut_initialize_fpc_context, ut_clear_fpc_context.
// Tested by tests/util/fpc_context_test.cpp.
#include <qxut/util/fpc.h>

#include "util/builtin_tables.h"
#include "util/cleanup_guard.h"
#include "util/number_pool.h"

void ut_initialize_fpc_messages(_memory_context* memory_context) {
    ut_mem_add_primary_message_table(memory_context, &qxut::fpc_message_table);
}

void ut_initialize_fpc_context(ut_fpc_context* context, _memory_context* memory_context) {
    ut_initialize_fpc_messages(memory_context);
    *context = ut_fpc_context{};
    context->memory_context = memory_context;
    context->pool_cursor = context->private_pool;
}

ut_fpc_context* ut_new_fpc_context(_memory_context* memory_context) {
    auto* context =
        static_cast<ut_fpc_context*>(ut_mem_alloc(memory_context, sizeof(ut_fpc_context)));
    qxut::CleanupGuard guard(memory_context->error_context, &context, memory_context,
                             qxut::free_through);
    ut_initialize_fpc_context(context, memory_context);
    guard.release();
    return context;
}

void ut_clear_fpc_context(ut_fpc_context* context) {
    qxut::number::free_released_blocks(*context);
    *context = ut_fpc_context{};
}

void ut_delete_fpc_context(ut_fpc_context* context) {
    _memory_context* const memory_context = context->memory_context;
    ut_clear_fpc_context(context);
    ut_mem_free(memory_context, context);
}
