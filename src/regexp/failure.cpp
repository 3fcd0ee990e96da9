// failure.cpp - makes the exceptions of the regular expressions from their message table.
//
// A thread of the host may fail while another does, so the current message context is only read: a
// run of the formatter over these texts takes nothing from it.
//
// Entry points: fail_... (failure.h). Tested by tests/regexp/failure_test.cpp.
#include "regexp/failure.h"

#include <qxut/regexp/regexp.h>
#include <qxut/util/contexts.h>
#include <qxut/regexp/exception.hpp>

#include "util/heap_failure.h"

namespace qxut::regexp {
namespace {

constexpr size_t kTextSize = 512;

[[noreturn]] void fail(ut_message_code code, uint64_t limit, size_t position) {
    ut_message_context& messages = *utGetMessageContext();
    char text[kTextSize];
    ut_sprintm(&messages, text, sizeof text, code, static_cast<unsigned long long>(limit),
               static_cast<unsigned long long>(position));
    char identifier[UT_MESSAGE_IDENTIFIER_SIZE];
    ut_make_message_identifier(identifier, &messages, code);
    throw RE_Exception(text, code, identifier, limit, position);
}

}  // namespace

void fail_repeated_mode_flag(size_t position) { fail(UT_REGEXP_REPEATED_MODE_FLAG, 0, position); }
void fail_program_too_large(uint64_t limit, size_t position) {
    fail(UT_REGEXP_PROGRAM_TOO_LARGE, limit, position);
}
void fail_step_limit(uint64_t limit, size_t position) {
    fail(UT_REGEXP_STEP_LIMIT, limit, position);
}
void fail_memory_limit(uint64_t limit, size_t position) {
    fail(UT_REGEXP_MEMORY_LIMIT, limit, position);
}
void fail_depth_limit(uint64_t limit, size_t position) {
    fail(UT_REGEXP_DEPTH_LIMIT, limit, position);
}

void fail_interrupt() { throw Quorvanix::System::InterruptException(); }

void fail_memory() { fail_for_memory(); }

}  // namespace qxut::regexp
