// host.cpp - see host.h. Tested by tests/console (memory limits from none to plenty).
#include "host.h"

#include <cstdio>
#include <cstdlib>

#include "counting_heap.h"
#include "messages.h"
#include "terminal.h"

namespace console {
namespace {

// The throw function: an error came that no try frame accepted. Its message has been printed to
// standard error; there is nothing to go back to.
void give_up(void*, const char* identifier, int32_t code, const char*) {
    std::fprintf(stderr, "console: %s (%d) was not caught.\n", identifier, static_cast<int>(code));
    std::exit(3);
}

void add_texts(_error_context*, void*) {
    add_messages();
    // Fits our command as it is; a host whose command differs registers a hint of its own.
    ut_set_warning_hint(utGetWarningContext(), UT_WARNING_HINT);
}

int report_and_accept(_error_context* errors, void*, ut_message_code code, va_list arguments) {
    ut_verror_print(errors, code, arguments);
    return 1;
}

}  // namespace

bool Host::open() {
    const int32_t status =
        utInitializeBasicContexts_full(&contexts_, give_up, nullptr, heap_allocate, heap_reallocate,
                                       heap_release, ut_fputsn, stderr, write_terminal, nullptr);
    // A message code was printed through our print function when it was caught; the status of the
    // message context, which has no error context yet, stands in the error text only.
    if (status != 0 && status < 65536) std::fprintf(stderr, "%s\n", contexts_.error_text);
    if (status != 0) return false;
    previous_ = utInstallBasicContexts(&contexts_);
    if (ut_try_catch(utGetErrorContext(), nullptr, add_texts, report_and_accept) != 0) {
        close();
        return false;
    }
    return true;
}

void Host::close() {
    utInstallBasicContexts(previous_);
    utClearBasicContexts(&contexts_);
}

}  // namespace console
