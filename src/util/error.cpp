// error.cpp - raising messages, unwinding try frames.
//
// A context holds a chain of frames and the cleanup items registered since the innermost one was
// opened; each frame keeps the list it found. Newest first:
//
//   context.cleanup -> item -> item -> 0       context.frame -> [ frame ] -> [ frame ] -> null
//                                                                   '-> saved cleanup list
//
// Raising a code: (1) ask the handlers, innermost frame first, while nothing has been cleaned up
// yet; (2) unwind to the frame that accepted: each item is unlinked before it runs, so one that
// raises is not run twice; (3) transfer control to that frame. The unwind target is set from the
// first handler call to the end of the unwinding. A raise that finds it set comes from a handler
// or an item, and first finishes the unwinding that it interrupted.
//
// Only transfer() and catch_in() know how control travels: as a C++ exception, so destructors
// between raise and frame run too, after the items. Nothing here allocates but the exception
// object itself, for which the C++ runtime keeps an emergency pool.
//
// Entry points: ut_try_catch, ut_verror_id. Tested by tests/util/error_test.cpp.
#include <qxut/util/error.h>

#include <qxut/util/message.h>
#include <qxut/system/termination.hpp>

#include "util/builtin_tables.h"
#include "util/cleanup_guard.h"
#include "util/interrupt_state.h"

namespace qxut {

namespace {

// What travels from raise to frame. Thrown by value; nobody outside this file catches it by name.
struct Transfer {
    const _error_context* context;
    const ut_try_frame* target;
};

constexpr ut_cleanup_link kTwoFieldForm = 1;

void run_item(ut_cleanup_link link) {
    if ((link & kTwoFieldForm) != 0) {
        const auto* item = reinterpret_cast<const ut_cleanup_item_2*>(link & ~kTwoFieldForm);
        item->clean(item->argument, cleanup_object(item->variable));
    } else {
        const auto* item = reinterpret_cast<const ut_cleanup_item*>(link);
        item->clean(cleanup_object(item->variable));
    }
}

ut_cleanup_link next_item(ut_cleanup_link link) {
    return reinterpret_cast<const ut_cleanup_item*>(link & ~kTwoFieldForm)->next;
}

bool has_handler(const ut_try_frame& frame) {
    return frame.message_handler != nullptr || frame.identifier_handler != nullptr;
}

// The result of a frame that an unwinding has popped, until it gets the accepted code. It tells
// those who still know the frame (its ut_try_catch, a raise that is asking it) what happened.
constexpr ut_message_code kPopped = UT_MESSAGE_CODES_END;

void pop(_error_context& context, ut_try_frame& frame) {
    context.cleanup = frame.saved_cleanup;
    context.frame = frame.outer;
    frame.result = kPopped;
}

// Runs items and pops frames down to the unwind target: a target with a handler is popped, a
// mark stays. Without a target everything goes. No target is left behind, not even when an item
// throws something that is no raise.
void unwind(_error_context& context) {
    const struct TargetReset {
        _error_context& context;
        ~TargetReset() { context.unwind_target = nullptr; }
    } reset{context};
    const ut_try_frame* const target = context.unwind_target;
    for (;;) {
        while (context.cleanup != 0) {
            const ut_cleanup_link head = context.cleanup;
            context.cleanup = next_item(head);
            run_item(head);
            // A raise inside the item has finished this unwinding, and the item outlived it.
            if (context.unwind_target != target) return;
        }
        ut_try_frame* const frame = context.frame;
        if (frame == nullptr) return;
        const bool reached = frame == target;
        if (!reached || has_handler(*frame)) pop(context, *frame);
        if (reached) return;
    }
}

// The identifier of an error: given, or made from the code for the first who wants it.
class Identifier {
  public:
    Identifier(const _error_context& context, const char* given, ut_message_code code)
        : text_(given), messages_(context.messages), code_(code) {}
    const char* text() {
        if (text_ == nullptr) {
            ut_make_message_identifier(made_, messages_, code_);
            text_ = made_;
        }
        return text_;
    }

  private:
    const char* text_;
    const ut_message_context* messages_;
    ut_message_code code_;
    char made_[UT_MESSAGE_IDENTIFIER_SIZE];
};

// Asks one frame's handler, giving it a list of its own: a list that one handler consumed must
// not reach the next.
bool accepts(_error_context& context, const ut_try_frame& frame, Identifier& identifier,
             ut_message_code code, va_list arguments) {
    va_list own;
    va_copy(own, arguments);
    const int answer =
        frame.message_handler != nullptr
            ? frame.message_handler(&context, frame.handler_data, code, own)
            : frame.identifier_handler(&context, frame.handler_data, identifier.text(), code, own);
    va_end(own);
    return answer != 0;
}

[[noreturn]] void end_uncaught(_error_context& context, ut_try_frame* mark, Identifier& identifier,
                               ut_message_code code, va_list arguments) {
    const char* const text = identifier.text();
    ut_verror_print(&context, code, arguments);
    context.unwind_target = mark;
    unwind(context);
    context.error_handler(context.error_handler_data, text, code);
    Quorvanix::System::fatal("The error handler returned.");
}

// Everything about a raise but the transfer: asks the handlers and runs the items. Returns the
// frame that accepted, with its result; does not return when none did. A null identifier stands
// for that of the code.
[[gnu::noinline]] const ut_try_frame& settle(_error_context& context, const char* given_identifier,
                                             ut_message_code code, va_list arguments) {
    if (context.unwind_target != nullptr) unwind(context);
    Identifier identifier(context, given_identifier, code);
    ut_try_frame* frame = context.frame;
    while (frame != nullptr) {
        context.unwind_target = frame;
        if (!has_handler(*frame)) break;
        const bool accepted = accepts(context, *frame, identifier, code, arguments);
        // A handler may outlive an error of its own, which has then unwound past this frame.
        const bool is_open = frame->result != kPopped;
        if (accepted) {
            if (is_open) {
                context.unwind_target = frame;
                unwind(context);
            }
            frame->result = code;
            return *frame;
        }
        frame = is_open ? frame->outer : context.frame;
    }
    end_uncaught(context, frame, identifier, code, arguments);
}

// Transfers control. Part of each raising function: a frame less to unwind, twice.
[[noreturn, gnu::always_inline]] inline void transfer(const _error_context& context,
                                                      const ut_try_frame& target) {
    throw Transfer{&context, &target};
}

// What a context held when a try frame was opened.
struct OpenedAt {
    ut_try_frame* outer;
    ut_cleanup_link cleanup;
    ut_try_frame* target;
};

// Closes a frame that something else than an accepted error leaves, and that need not be the
// innermost one any more. An uncaught error pops every frame; when its error handler leaves by an
// exception of the host's, the items that these frames saved have been run already.
[[gnu::noinline]] void close_disturbed(_error_context& context, const ut_try_frame& frame,
                                       OpenedAt opened) {
    if (frame.result == kPopped) return;
    context.cleanup = opened.cleanup;
    context.frame = opened.outer;
    context.unwind_target = opened.target;
}

// The values to go back to are kept beside the frame as well, where the compiler can hold them in
// registers: entering and leaving a frame then costs a few stores that nothing waits for.
[[gnu::always_inline]] inline ut_message_code catch_in(_error_context& context, void* data,
                                                       ut_try_body body,
                                                       ut_message_handler message_handler,
                                                       ut_identifier_handler identifier_handler) {
    const OpenedAt opened{context.frame, context.cleanup, context.unwind_target};
    ut_try_frame frame{opened.outer, opened.cleanup, data, message_handler, identifier_handler, 0};
    context.cleanup = 0;
    context.frame = &frame;
    const bool interrupts = interrupts_enabled;
    try {
        body(&context, data);
    } catch (const Transfer& arrived) {
        if (arrived.target == &frame) {
            interrupts_enabled = interrupts;
            return frame.result;
        }
        if (arrived.context != &context) close_disturbed(context, frame, opened);
        throw;
    } catch (...) {
        close_disturbed(context, frame, opened);
        throw;
    }
    if (context.frame == &frame) [[likely]] {
        context.cleanup = opened.cleanup;
        context.frame = opened.outer;
    } else {
        close_disturbed(context, frame, opened);
    }
    return 0;
}

}  // namespace
}  // namespace qxut

using namespace qxut;

void ut_initialize_error_context(int32_t* status, _error_context* context,
                                 ut_message_context* messages, ut_writer print,
                                 void* print_destination, ut_realloc_fcn reallocate) {
    *context = _error_context{};
    context->messages = messages;
    context->print = print;
    context->print_destination = print_destination;
    context->reserved = [] {};
    context->error_handler = ut_error_exit_function;
    ut_add_primary_message_table(status, messages, &error_message_table, reallocate);
}

void ut_register_error_handler(_error_context* context, ut_error_handler handler, void* data) {
    context->error_handler = handler != nullptr ? handler : ut_error_exit_function;
    context->error_handler_data = data;
}

void ut_error_exit_function(void* /*data*/, const char* identifier, ut_message_code /*code*/) {
    Quorvanix::System::fatal(identifier);
}

ut_message_code ut_try_catch(_error_context* context, void* data, ut_try_body body,
                             ut_message_handler handler) {
    return catch_in(*context, data, body, handler, nullptr);
}

ut_message_code ut_try_catch_id(_error_context* context, void* data, ut_try_body body,
                                ut_identifier_handler handler) {
    return catch_in(*context, data, body, nullptr, handler);
}

void ut_verror_id(_error_context* context, const char* identifier, ut_message_code code,
                  va_list arguments) {
    transfer(*context, settle(*context, identifier, code, arguments));
}

void ut_verror(_error_context* context, ut_message_code code, va_list arguments) {
    transfer(*context, settle(*context, nullptr, code, arguments));
}

void ut_error(_error_context* context, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    transfer(*context, settle(*context, nullptr, code, arguments));
}

void ut_error_id(_error_context* context, const char* identifier, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    transfer(*context, settle(*context, identifier, code, arguments));
}

void ut_fault(_error_context* context, const char* expression, const char* file, int line) {
    ut_error(context, UT_ASSERTION_FAULT, expression, file, line);
}

void ut_verror_print(_error_context* context, ut_message_code code, va_list arguments) {
    va_list own;
    va_copy(own, arguments);
    ut_vprintm(context->messages, context->print, context->print_destination, code, own);
    va_end(own);
    context->print(context->print_destination, "\n", 1);
}

void ut_error_print(_error_context* context, ut_message_code code, ...) {
    va_list arguments;
    va_start(arguments, code);
    ut_verror_print(context, code, arguments);
    va_end(arguments);
}

void ut_prevent_further_cleanup_fcn(_error_context* context, ut_cleanup_mark* mark) {
    if (context == nullptr) return;
    *mark = ut_cleanup_mark{context->frame, context->cleanup, nullptr, nullptr, nullptr, 0};
    context->frame = mark;
    context->cleanup = 0;
}

void ut_allow_further_cleanup_fcn(_error_context* context, ut_cleanup_mark* mark) {
    if (context == nullptr) return;
    context->cleanup = mark->saved_cleanup;
    context->frame = mark->outer;
}

void ut_cleanup_protected_items(_error_context* context) {
    if (context == nullptr) return;
    ut_try_frame* mark = context->frame;
    while (mark != nullptr && has_handler(*mark)) mark = mark->outer;
    if (mark == nullptr) return;
    // A cleanup function may work under a mark of its own: the unwinding that runs it goes on
    // afterwards, unless its target was above the mark.
    ut_try_frame* const pending = context->unwind_target;
    context->unwind_target = mark;
    unwind(*context);
    if (pending != nullptr && pending->result != kPopped) context->unwind_target = pending;
}
