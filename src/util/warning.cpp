// warning.cpp - issuing warnings, their states and the last one.
//
// A warning is formatted to buffers of its own, remembered, and printed from them: the print
// function may use the context, and so change it, while it runs. Everything held meanwhile is
// guarded, because formatting and printing may raise.
// Entry point: ut_vwarning_id. Tested by tests/util/warning_test.cpp.
#include <qxut/util/warning.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include <qxut/util/dsbuffer.h>

#include "util/builtin_tables.h"
#include "util/cleanup_guard.h"
#include "util/warning_settings.h"

namespace {

using namespace qxut;

// What ut_make_message_identifier makes of UT_WARN_ALL.
constexpr char kAllWarnings[] = "VELUMA:warn_all";

bool stands_for_all(const char* identifier) { return std::strcmp(identifier, kAllWarnings) == 0; }

// A buffer that is cleared however its scope is left.
class ScopedBuffer {
  public:
    explicit ScopedBuffer(_memory_context* memory)
        : guard_(memory->error_context, &address_, nullptr, clear) {
        ut_initialize_dsbuffer(&buffer_, memory, kInitialSize);
    }

    ut_dsbuffer& operator*() { return buffer_; }
    ut_dsbuffer* operator->() { return &buffer_; }

  private:
    static constexpr uint64_t kInitialSize = 256;
    static void clear(void* /*argument*/, void* buffer) {
        ut_clear_dsbuffer(static_cast<ut_dsbuffer*>(buffer));
    }

    ut_dsbuffer buffer_{};
    ut_dsbuffer* address_ = &buffer_;
    CleanupGuard guard_;
};

void append_vmessage(const ut_warning_context& context, ut_dsbuffer& out, ut_message_code code,
                     va_list arguments) {
    const int result = ut_vprintm(context.message_context, ut_dsbputsn, &out, code, arguments);
    if (result < 0) ut_error(context.error_context, UT_OUT_OF_MEMORY);
}

void append_message(const ut_warning_context& context, ut_dsbuffer& out, ut_message_code code,
                    ...) {
    va_list arguments;
    va_start(arguments, code);
    append_vmessage(context, out, code, arguments);
    va_end(arguments);
}

// Composes what is printed of a warning: its text and the hint, a line each.
void compose(const ut_warning_context& context, ut_dsbuffer& out, const char* identifier,
             const char* text) {
    append_message(context, out, UT_WARNING_TEXT, text);
    ut_dsbputc('\n', &out);
    if (context.hint == 0) return;
    append_message(context, out, context.hint, identifier);
    ut_dsbputc('\n', &out);
}

void print(ut_writer writer, void* data, const ut_dsbuffer& text) {
    constexpr uint64_t kLargest = std::numeric_limits<int32_t>::max();
    for (uint64_t at = 0; at < text.length;) {
        const uint64_t some = std::min(text.length - at, kLargest);
        writer(data, text.data + at, static_cast<int32_t>(some));
        at += some;
    }
}

void free_text(_memory_context* memory, char* text) {
    if (text != nullptr) ut_mem_free(memory, text);
}

void clear_record(void* /*argument*/, void* record) {
    *static_cast<ut_warning_context*>(record) = {};
}

}  // namespace

void ut_initialize_warning_context(ut_warning_context* context, ut_message_context* message_context,
                                   _error_context* error_context, _memory_context* memory_context,
                                   ut_writer print_function, void* print_data) {
    *context = {};
    context->message_context = message_context;
    context->error_context = error_context;
    context->memory_context = memory_context;
    context->print = print_function;
    context->print_data = print_data;
    context->settings.all = UT_WARNING_ON;

    CleanupGuard guard(error_context, &context, nullptr, clear_record);
    int32_t status = 0;
    const ut_message_code position = ut_add_primary_message_table(
        &status, message_context, &warning_message_table, memory_context->reallocate);
    if (status == UT_NO_MEMORY_FOR_MESSAGE_CONTEXT) ut_error(error_context, UT_OUT_OF_MEMORY);
    ut_handle_message_context_error(error_context, ut_error, status, position);
    guard.release();
}

void ut_clear_warning_context(ut_warning_context* context) {
    if (context->memory_context != nullptr) {
        ut_clear_last_warning(context);
        clear_settings(context->settings, context->memory_context);
    }
    *context = {};
}

ut_message_code ut_set_warning_hint(ut_warning_context* context, ut_message_code hint) {
    return std::exchange(context->hint, hint);
}

void ut_vwarning_id(ut_warning_context* context, const char* identifier, ut_message_code code,
                    va_list arguments) {
    const ut_warning_state state = ut_get_warning_state(context, identifier);
    if (state == UT_WARNING_ERROR)
        ut_verror_id(context->error_context, identifier, code, arguments);

    ScopedBuffer text(context->memory_context);
    append_vmessage(*context, *text, code, arguments);
    ut_dsbputc('\0', &*text);
    ScopedBuffer shown(context->memory_context);
    if (state == UT_WARNING_ON) compose(*context, *shown, identifier, text->data);
    ut_set_last_warning(context, identifier, text->data);
    if (context->print != nullptr) print(context->print, context->print_data, *shown);
}

void ut_vwarning(ut_warning_context* context, ut_message_code code, va_list arguments) {
    char identifier[UT_MESSAGE_IDENTIFIER_SIZE];
    ut_make_message_identifier(identifier, context->message_context, code);
    ut_vwarning_id(context, identifier, code, arguments);
}

void ut_warning(ut_warning_context* context, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    ut_vwarning(context, code, arguments);
    va_end(arguments);
}

void ut_warning_id(ut_warning_context* context, const char* identifier, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    ut_vwarning_id(context, identifier, code, arguments);
    va_end(arguments);
}

void ut_set_warning_state(ut_warning_context* context, const char* identifier,
                          ut_warning_state state) {
    if (stands_for_all(identifier))
        ut_set_all_warning_states(context, state);
    else if (ut_warning_setting* const found = find_setting(context->settings, identifier))
        found->state = state;
    else
        add_setting(context->settings, context->memory_context, identifier, state);
}

void ut_set_all_warning_states(ut_warning_context* context, ut_warning_state state) {
    clear_settings(context->settings, context->memory_context);
    context->settings.all = state;
}

ut_warning_state ut_get_warning_state(const ut_warning_context* context, const char* identifier) {
    const ut_warning_setting* const found = find_setting(context->settings, identifier);
    return found != nullptr ? found->state : context->settings.all;
}

void ut_save_warning_states(const ut_warning_context* context, ut_warning_settings* saved) {
    copy_settings(*saved, context->settings, context->memory_context);
}

void ut_restore_warning_states(ut_warning_context* context, ut_warning_settings* saved) {
    clear_settings(context->settings, context->memory_context);
    context->settings = std::exchange(*saved, ut_warning_settings{});
}

void ut_drop_warning_states(ut_warning_context* context, ut_warning_settings* saved) {
    clear_settings(*saved, context->memory_context);
}

const char* ut_get_last_warning_identifier(const ut_warning_context* context) {
    return context->last_identifier != nullptr ? context->last_identifier : "";
}

const char* ut_get_last_warning_text(const ut_warning_context* context) {
    return context->last_text != nullptr ? context->last_text : "";
}

void ut_set_last_warning(ut_warning_context* context, const char* identifier, const char* text) {
    _memory_context* const memory = context->memory_context;
    char* identifier_copy = ut_mem_strdup(memory, identifier);
    CleanupGuard guard(memory->error_context, &identifier_copy, memory, free_through);
    char* const text_copy = ut_mem_strdup(memory, text);
    guard.release();
    ut_clear_last_warning(context);
    context->last_identifier = identifier_copy;
    context->last_text = text_copy;
}

void ut_clear_last_warning(ut_warning_context* context) {
    free_text(context->memory_context, std::exchange(context->last_identifier, nullptr));
    free_text(context->memory_context, std::exchange(context->last_text, nullptr));
}
