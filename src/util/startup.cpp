// startup.cpp - everything that happens when the library is loaded and unloaded.
//
// Loading, in this order:
//   1. the process default record is made in its holder and becomes the current record;
//   2. the built-in message tables are registered with it, one reference of the library's own;
//   3. the built-in Japanese texts are added under "ja".
// Unloading, or the end of the process: the converters that threads have kept are closed, the
// tables lose the library's reference, then the holder clears the record. Nothing is allocated
// then.
//
// No other file of the library has work to do at these times: there are no global constructors,
// no thread-local destructors and no exit handlers that would outlive the code they call.
// Entry points: library_loaded, library_unloading. Tested by tests/util/startup_test.cpp.
#include <cstddef>
#include <iterator>
#include <new>

#include <qxut/util/heap.h>
#include <qxut/system/termination.hpp>
#include <qxut/util/contexts.hpp>

#include "i18n/unloading.h"
#include "platform/loader.h"
#include "regexp/unloading.h"
#include "util/builtin_tables.h"

namespace qxut {
namespace {

using Quorvanix::System::BasicContextsHolder;

enum class State { unloaded, loading, loaded };
State state = State::unloaded;

// Storage only: the holder lives from library_loaded to library_unloading, not by the rules of
// static objects.
alignas(BasicContextsHolder) std::byte default_storage[sizeof(BasicContextsHolder)];
BasicContextsHolder* default_holder = nullptr;

constexpr const ut_message_table* kBuiltinTables[] = {
    &error_message_table, &memory_message_table, &hash_message_table,  &warning_message_table,
    &fpc_message_table,   &gtable_message_table, &array_message_table, &regexp_message_table,
};

void require(utBasicContexts& record, int32_t status, ut_message_code position) {
    if (status == UT_MESSAGE_OK) return;
    char text[UT_ERROR_TEXT_SIZE];
    ut_bstream stream = {text, sizeof text - 1};
    ut_print_message_context_error(&record.message_context, ut_bputsn, &stream, status, position);
    *stream.position = '\0';
    Quorvanix::System::panicsf(3, "%s", text);
}

void add_messages(utBasicContexts& record) {
    int32_t status = 0;
    for (const ut_message_table* table : kBuiltinTables) {
        const ut_message_code position =
            ut_add_primary_message_table(&status, &record.message_context, table, utRealloc);
        require(record, status, position);
    }
    const ut_message_code position =
        ut_add_builtin_japanese(&status, &record.message_context, utRealloc);
    require(record, status, position);
}

// A host may have cleared the record before: what is no longer registered is no failure now.
void remove_messages(utBasicContexts& record) {
    int32_t status = 0;
    for (auto table = std::rbegin(kBuiltinTables); table != std::rend(kBuiltinTables); ++table) {
        ut_remove_primary_message_table(&status, &record.message_context, *table);
    }
}

}  // namespace

void library_loaded() {
    if (state != State::unloaded) return;
    state = State::loading;
    default_holder = new (default_storage) BasicContextsHolder;
    utInstallBasicContexts(default_holder->get());
    add_messages(*default_holder->get());
    state = State::loaded;
}

void library_unloading() {
    if (state != State::loaded) return;
    close_thread_converters();
    regexp::close_thread_scratches();
    remove_messages(*default_holder->get());
    default_holder->~BasicContextsHolder();
    default_holder = nullptr;
    state = State::unloaded;
}

}  // namespace qxut
