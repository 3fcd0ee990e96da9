// texts.cpp - see texts.h. Tested by tests/console (csv, a million rows, memory limits).
//
// The codes are the indexes that the table gives its entries: 0, 1, 2 in the order of insertion,
// for good, since nothing is removed. They fit in 32 bits, as a table has less than 2^31 entries.
#include "texts.h"

#include <qxut/util/contexts.h>
#include <qxut/util/hash_keys.h>
#include <qxut/util/ihash.h>

namespace console {
namespace {

_ihash_table table{};

}  // namespace

void open_texts() {
    // The library's own callbacks for text keys: the table holds a copy of each. The index is
    // all that is wanted of an entry, so there are no data.
    _memory_context* memory = utGetMemoryContext();
    ut_initialize_ihash_table(
        &table, memory, ut_ghash_string_key, ut_ghash_compare_string_keys, ut_ghash_copy_string_key,
        ut_ghash_delete_string_key, nullptr, nullptr, sizeof(char*), sizeof(char*),
        sizeof(char*) + sizeof(uint64_t), reinterpret_cast<uintptr_t>(memory), 64, 0.25F, 1.0F, 0);
    text_code("");
}

void close_texts() { ut_clear_ihash_table(&table); }

TextCode text_code(const char* text) {
    int64_t index = ut_ihash_index_of(&table, &text);
    if (index < 0) {
        index = static_cast<int64_t>(ut_ihash_num_entries(&table));
        ut_ihash_insert(&table, &text, nullptr);
    }
    return static_cast<TextCode>(index);
}

const char* text_of(TextCode code) {
    const char* text = nullptr;
    ut_ihash_index(&table, code, &text, nullptr);
    return text;
}

}  // namespace console
