// symbols.cpp - see symbols.h. Tested by tests/console (symbols, memory limit).
#include "symbols.h"

#include <cstring>

#include <qxut/util/contexts.h>

#include "messages.h"

namespace console {
namespace {

// Called by the table for a variable that goes.
void drop_value(uintptr_t, void* stored) { static_cast<Value*>(stored)->clear(); }

int32_t compare_names(void*, const void* a, const void* b) {
    return std::strcmp(*static_cast<const char* const*>(a), *static_cast<const char* const*>(b));
}

}  // namespace

const char* intern(const char* text) { return ut_namehash_add(utGetNamehashContext(), text); }

const char* intern(const char* text, size_t length) {
    return ut_namehash_add_with_length(utGetNamehashContext(), text, length);
}

void Symbols::open() {
    struct Item {  // what a node holds: canonical name, value
        const char* name;
        Value value;
    };
    // Names are canonical, so the default hash and comparison of the pointer's bytes will do.
    ut_initialize_ghash_table(&table_, utGetMemoryContext(), nullptr, nullptr, nullptr, nullptr,
                              nullptr, drop_value, sizeof(const char*), offsetof(Item, value),
                              sizeof(Value), sizeof(Item), 0, 64, 0.25F, 1.0F);
}

void Symbols::clear() { ut_clear_ghash_table(&table_); }

const Value* Symbols::find(const char* name) {
    const auto* value = static_cast<const Value*>(ut_ghash_query_data(&table_, &name));
    return value != nullptr && value->kind != Kind::undefined ? value : nullptr;
}

Value* Symbols::place(const char* name) {
    void* place = nullptr;
    const bool known = ut_ghash_insert_key(&table_, &name, nullptr, &place);
    auto* value = static_cast<Value*>(place);
    if (!known) *value = Value();
    return value;
}

void Symbols::remove(const char* name) { ut_ghash_remove_element(&table_, &name); }

void Symbols::remove_all() { ut_ghash_empty(&table_, 0); }

void Symbols::list() {
    ut_ghash_cursor cursor;
    ut_ghash_sorted_cursor_init(&table_, &cursor, compare_names, nullptr);
    void* key = nullptr;
    void* data = nullptr;
    while (ut_ghash_iterate(&table_, &cursor, &key, &data)) {
        const char* name = *static_cast<const char* const*>(key);
        const auto* value = static_cast<const Value*>(data);
        if (value->kind == Kind::undefined) continue;
        const bool numbers = value->kind == Kind::number;
        if (value->is_vector) {
            say(numbers ? Message::symbol_numbers : Message::symbol_texts, name, value->count());
        } else {
            say(numbers ? Message::symbol_number : Message::symbol_text, name);
        }
    }
}

}  // namespace console
