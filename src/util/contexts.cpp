// contexts.cpp - the record of the six contexts: making it, clearing it, the current one.
//
// A record is set up in an order in which each context can use those before it:
//
//   message -> error -> | memory -> numbers -> names -> warnings |
//    statuses            '-- inside a try frame: they raise ----'
//
// Whichever step fails, its text is put into the record's error text buffer while the message
// context still stands; then what was set up is cleared again. The message context goes last and
// is zero from then on, which is how clearing knows that a record owns nothing.
//
// The error text stream writes into the buffer of its own record. Between uses it is at the
// buffer's start; a text is collected, terminated and handed out, and the stream starts afresh.
//
// Entry points: utInitializeBasicContexts_full, utClearBasicContexts. Tested by
// tests/util/contexts_test.cpp.
#include <qxut/util/contexts.h>

#include <cstdio>
#include <cstring>

#include <qxut/util/heap.h>
#include <qxut/util/output.h>
#include <qxut/system/termination.hpp>
#include <qxut/util/contexts.hpp>

#include "util/builtin_tables.h"
#include "util/cleanup_guard.h"
#include "util/current.h"

namespace qxut {
namespace {

utBasicContexts* current_record = nullptr;

// --- the error text ------------------------------------------------------------------------------

void reset_error_text(utBasicContexts& record) {
    record.error_text_stream = {record.error_text, sizeof record.error_text};
}

// A text that fills the buffer loses its last character to the NUL.
void terminate_error_text(utBasicContexts& record) {
    if (record.error_text_stream.remaining == 0) {
        record.error_text_stream.position[-1] = '\0';
    } else {
        ut_bputc('\0', &record.error_text_stream);
    }
}

// Ends the text collected so far without its last character, the newline of an error print, and
// lets the next one start afresh.
const char* take_error_text(utBasicContexts& record) {
    ut_bstream& stream = record.error_text_stream;
    if (stream.position != record.error_text) {
        --stream.position;
        ++stream.remaining;
    }
    terminate_error_text(record);
    reset_error_text(record);
    return record.error_text;
}

// --- the defaults of a record ----------------------------------------------------------------

// A writer to the console; its stream is the memory context that lends the terminated copy.
int print_warning(void* memory_context, const char* text, int32_t length) {
    if (length < 0) return 0;
    auto* memory = static_cast<_memory_context*>(memory_context);
    const auto size = static_cast<size_t>(length);
    auto* copy = static_cast<char*>(ut_mem_alloc(memory, size + 1));
    const CleanupGuard guard(memory->error_context, &copy, memory, free_through);
    std::memcpy(copy, text, size);
    copy[size] = '\0';
    utPuts(copy);
    return length;
}

// The error handler of a record: an error that no frame accepted ends in the throw function.
void throw_uncaught(void* data, const char* identifier, ut_message_code code) {
    auto& record = *static_cast<utBasicContexts*>(data);
    const char* text = take_error_text(record);
    record.throw_fcn(record.throw_data, identifier, static_cast<int32_t>(code), text);
}

// The throw function of records that are made without one.
void end_process(void* /*data*/, const char* identifier, int32_t code, const char* text) {
    // The text is the format: clients rely on "%%" standing for one "%" in what is written here.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
    std::fprintf(stderr, text);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    if (code == UT_ASSERTION_FAULT) Quorvanix::System::fatal(identifier);
    Quorvanix::System::panic(1);
}

// --- setting up and giving back --------------------------------------------------------------

// What a record is set up with, and how far its second half has come.
struct Setup {
    utBasicContexts* record;
    ut_alloc_fcn allocate;
    ut_realloc_fcn reallocate;
    ut_free_fcn release;
    ut_writer warning_print;
    void* warning_print_data;
    bool has_numbers = false;
    bool has_names = false;
};

void set_up_raising(_error_context* errors, void* data) {
    auto& setup = *static_cast<Setup*>(data);
    utBasicContexts& record = *setup.record;
    ut_initialize_memory_context(&record.memory_context, errors, setup.allocate, setup.reallocate,
                                 setup.release);
    ut_initialize_fpc_context(&record.fpc_context, &record.memory_context);
    setup.has_numbers = true;
    ut_initialize_namehash(&record.namehash_context, &record.memory_context, UT_NAMEHASH_BUCKETS);
    setup.has_names = true;
    ut_initialize_warning_context(&record.warning_context, &record.message_context, errors,
                                  &record.memory_context, setup.warning_print,
                                  setup.warning_print_data);
    // The other modules register theirs with their contexts; regular expressions have none.
    ut_mem_add_primary_message_table(&record.memory_context, &regexp_message_table);
}

int keep_error_text(_error_context* errors, void* data, ut_message_code code, va_list arguments) {
    utBasicContexts& record = *static_cast<Setup*>(data)->record;
    ut_verror_print(errors, code, arguments);
    // A host's own channel has the message now; the caller looks for it in the record.
    if (record.error_text_stream.position == record.error_text) {
        ut_vprintm(&record.message_context, ut_bputsn, &record.error_text_stream, code, arguments);
        ut_bputsn(&record.error_text_stream, "\n", 1);
    }
    terminate_error_text(record);
    return 1;
}

int32_t give_back(const Setup& setup, int32_t failure) {
    utBasicContexts& record = *setup.record;
    if (setup.has_names) ut_clear_namehash(&record.namehash_context);
    if (setup.has_numbers) ut_clear_fpc_context(&record.fpc_context);
    ut_clear_message_context(&record.message_context, setup.release);
    return failure;
}

int32_t fail_by_status(const Setup& setup, int32_t status) {
    utBasicContexts& record = *setup.record;
    ut_print_message_context_error(&record.message_context, ut_bputsn, &record.error_text_stream,
                                   status, UT_ASSERTION_FAULT);
    terminate_error_text(record);
    return give_back(setup, status);
}

int32_t set_up(Setup setup, utThrowFcn throw_fcn, void* throw_data, ut_writer error_print,
               void* error_print_destination) {
    utBasicContexts& record = *setup.record;
    record.throw_fcn = throw_fcn;
    record.throw_data = throw_data;
    reset_error_text(record);

    int32_t status = 0;
    ut_initialize_message_context(&status, &record.message_context, setup.allocate,
                                  setup.reallocate);
    if (status != 0) return fail_by_status(setup, status);
    ut_initialize_error_context(&status, &record.error_context, &record.message_context,
                                error_print, error_print_destination, setup.reallocate);
    if (status != 0) return fail_by_status(setup, status);
    ut_register_error_handler(&record.error_context, throw_uncaught, &record);

    const ut_message_code code =
        ut_try_catch(&record.error_context, &setup, set_up_raising, keep_error_text);
    return code == 0 ? 0 : give_back(setup, static_cast<int32_t>(code));
}

}  // namespace

_memory_context* current_memory_context() { return utGetMemoryContext(); }

ut_namehash* current_namehash() { return utGetNamehashContext(); }

}  // namespace qxut

using namespace qxut;

int32_t utInitializeBasicContexts(utBasicContexts* record, utThrowFcn throw_fcn, void* throw_data) {
    return set_up({record, utMalloc, utRealloc, utFree, print_warning, &record->memory_context},
                  throw_fcn, throw_data, ut_bputsn, &record->error_text_stream);
}

int32_t utInitializeBasicContexts_full(utBasicContexts* record, utThrowFcn throw_fcn,
                                       void* throw_data, ut_alloc_fcn allocate,
                                       ut_realloc_fcn reallocate, ut_free_fcn release,
                                       ut_writer error_print, void* error_print_destination,
                                       ut_writer warning_print, void* warning_print_data) {
    return set_up({record, allocate, reallocate, release, warning_print, warning_print_data},
                  throw_fcn, throw_data, error_print, error_print_destination);
}

void utClearBasicContexts(utBasicContexts* record) {
    const bool owns_nothing = record->message_context.allocate == nullptr;
    if (owns_nothing) return;
    ut_clear_warning_context(&record->warning_context);
    ut_clear_namehash(&record->namehash_context);
    ut_clear_fpc_context(&record->fpc_context);
    ut_clear_message_context(&record->message_context, record->memory_context.release);
}

utBasicContexts* utInstallBasicContexts(utBasicContexts* record) {
    utBasicContexts* const before = current_record;
    current_record = record;
    return before;
}

utBasicContexts* utInstallBasicThrow(utThrowFcn throw_fcn, void* throw_data) {
    current_record->throw_fcn = throw_fcn;
    current_record->throw_data = throw_data;
    return current_record;
}

utBasicContexts* utGetBasicContexts() { return current_record; }
ut_message_context* utGetMessageContext() { return &current_record->message_context; }
_error_context* utGetErrorContext() { return &current_record->error_context; }
_memory_context* utGetMemoryContext() { return &current_record->memory_context; }
ut_namehash* utGetNamehashContext() { return &current_record->namehash_context; }
ut_fpc_context* utGetFpcContext() { return &current_record->fpc_context; }
ut_warning_context* utGetWarningContext() { return &current_record->warning_context; }

const char* utReturnUTErrorString() { return take_error_text(*current_record); }

namespace Quorvanix::System {

BasicContextsHolder::BasicContextsHolder() {
    if (utInitializeBasicContexts(&record_, end_process, nullptr) != 0) {
        panicsf(3, "%s", record_.error_text);
    }
    pointer_ = &record_;
}

BasicContextsHolder::~BasicContextsHolder() {
    if (pointer_ == nullptr) return;
    pointer_ = nullptr;
    utClearBasicContexts(&record_);
}

}  // namespace Quorvanix::System
