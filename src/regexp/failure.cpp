// failure.cpp - makes the exceptions of the regular expressions from their message table.
//
// A thread of the host may fail while another does, so the current message context is only read: a
// run of the formatter over these texts takes nothing from it. A record that a host installed may
// not know the module; then a context of the moment's own gives the English text.
//
// Entry points: fail_... (failure.h). Tested by tests/regexp/failure_test.cpp.
#include "regexp/failure.h"

#include <qxut/regexp/regexp.h>
#include <qxut/util/contexts.h>
#include <qxut/util/heap.h>
#include <qxut/regexp/exception.hpp>

#include "util/builtin_tables.h"
#include "util/heap_failure.h"

namespace qxut::regexp {
namespace {

constexpr size_t kTextSize = 512;

struct Texts {
    char message[kTextSize];
    char identifier[UT_MESSAGE_IDENTIFIER_SIZE];
};

void format(ut_message_context& messages, ut_message_code code, uint64_t limit, size_t position,
            Texts& texts) {
    ut_sprintm(&messages, texts.message, sizeof texts.message, code,
               static_cast<unsigned long long>(limit), static_cast<unsigned long long>(position));
    ut_make_message_identifier(texts.identifier, &messages, code);
}

class OwnContext {
  public:
    OwnContext() {
        int32_t status = 0;
        ut_initialize_message_context(&status, &messages_, utMalloc, utRealloc);
        if (status == 0)
            ut_add_primary_message_table(&status, &messages_, &regexp_message_table, utRealloc);
        if (status != 0) {
            ut_clear_message_context(&messages_, utFree);
            fail_memory();
        }
    }
    OwnContext(const OwnContext&) = delete;
    OwnContext& operator=(const OwnContext&) = delete;
    ~OwnContext() { ut_clear_message_context(&messages_, utFree); }
    ut_message_context& get() { return messages_; }

  private:
    ut_message_context messages_;
};

[[noreturn]] void fail(ut_message_code code, uint64_t limit, size_t position) {
    Texts texts;
    ut_message_context& current = *utGetMessageContext();
    if (ut_get_primary_message(&current, code) != nullptr) {
        format(current, code, limit, position, texts);
    } else {
        OwnContext own;
        format(own.get(), code, limit, position, texts);
    }
    throw RE_Exception(texts.message, code, texts.identifier, limit, position);
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
