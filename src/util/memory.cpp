// memory.cpp - allocation through a memory context: a null answer becomes a raised error.
//
// Entry points: ut_mem_alloc and kin. The registration wrappers turn the statuses of the message
// context into errors. Tested by tests/util/memory_test.cpp.
#include <qxut/util/memory.h>

#include <cstring>

#include <qxut/util/error.h>

#include "util/builtin_tables.h"
#include "util/cleanup_guard.h"

namespace {

[[noreturn]] void raise_out_of_memory(_error_context* errors) {
    ut_error(errors, UT_OUT_OF_MEMORY);
}

void* require(_error_context* errors, void* block) {
    if (block == nullptr) [[unlikely]]
        raise_out_of_memory(errors);
    return block;
}

void raise_status(_error_context* errors, int32_t status, ut_message_code position) {
    if (status == UT_MESSAGE_OK) return;
    if (status == UT_NO_MEMORY_FOR_MESSAGE_CONTEXT) raise_out_of_memory(errors);
    ut_handle_message_context_error(errors, ut_error, status, position);
}

}  // namespace

void ut_initialize_memory_context(_memory_context* context, _error_context* error_context,
                                  ut_alloc_fcn allocate, ut_realloc_fcn reallocate,
                                  ut_free_fcn release) {
    *context = {error_context, allocate, reallocate, release, error_context};
    ut_mem_add_primary_message_table(context, &qxut::memory_message_table);
}

_memory_context* ut_new_memory_context(_error_context* error_context, ut_alloc_fcn allocate,
                                       ut_realloc_fcn reallocate, ut_free_fcn release) {
    auto* context =
        static_cast<_memory_context*>(require(error_context, allocate(sizeof(_memory_context))));
    *context = {error_context, allocate, reallocate, release, error_context};
    // The record frees itself, with the function it holds.
    qxut::CleanupGuard guard(error_context, &context, context, qxut::free_through);
    ut_mem_add_primary_message_table(context, &qxut::memory_message_table);
    guard.release();
    return context;
}

void ut_delete_memory_context(_memory_context* context) { context->release(context); }

void* ut_mem_alloc(_memory_context* context, size_t size) {
    if (size == 0) return nullptr;
    return require(context->error_context, context->allocate(size));
}

void* ut_mem_calloc(_memory_context* context, size_t size) {
    if (size == 0) return nullptr;
    return std::memset(ut_mem_alloc(context, size), 0, size);
}

void* ut_mem_realloc(_memory_context* context, void* block, size_t size) {
    if (size == 0) {
        context->release(block);
        return nullptr;
    }
    return require(context->error_context, context->reallocate(block, size));
}

char* ut_mem_strdup(_memory_context* context, const char* text) {
    const size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(ut_mem_alloc(context, size), text, size));
}

void ut_mem_free(_memory_context* context, void* block) { context->release(block); }

void ut_mem_add_primary_message_table(_memory_context* context, const ut_message_table* table) {
    int32_t status = 0;
    const ut_message_code position = ut_add_primary_message_table(
        &status, context->error_context->messages, table, context->reallocate);
    raise_status(context->error_context, status, position);
}

void ut_mem_remove_primary_message_table(_memory_context* context, const ut_message_table* table) {
    int32_t status = 0;
    ut_remove_primary_message_table(&status, context->error_context->messages, table);
    ut_handle_message_context_error(context->error_context, ut_error, status,
                                    table->module * 65536u);
}

void ut_mem_add_language(_memory_context* context, const char* name,
                         const ut_language_tables* tables) {
    int32_t status = 0;
    const ut_message_code position = ut_add_language(&status, context->error_context->messages,
                                                     name, tables, context->reallocate);
    raise_status(context->error_context, status, position);
}
