// records.cpp - holds one record of each kind that gdb has a printer for, and stops.
#include <cstdint>
#include <initializer_list>

#include <qxut/util/array.h>
#include <qxut/util/contexts.h>
#include <qxut/util/dsbuffer.h>
#include <qxut/util/ghash.h>
#include <qxut/util/gtable.h>
#include <qxut/util/hash_keys.h>
#include <qxut/util/ihash.h>
#include <qxut/util/interval_set.h>
#include <qxut/util/namehash.h>
#include <qxut/util/set.h>

namespace {

char object[] = "object";
char* object_address = object;
char argument[] = "argument";
void* argument_address = argument;

}  // namespace

// Outside the unnamed namespace: the debugger shows these names.
extern "C" {

void clean_one(void*);
void clean_two(void*, void*);
int inner_handler(_error_context*, void*, ut_message_code, va_list);
int outer_handler(_error_context*, void*, ut_message_code, va_list);
void stop_here(void);

void clean_one(void*) {}
void clean_two(void*, void*) {}
__attribute__((noinline)) void stop_here() { __asm__ volatile(""); }
}

namespace {

void show_records(_error_context* contexts_errors) {
    _memory_context* const memory = utGetMemoryContext();
    [[maybe_unused]] ut_message_context* const messages = utGetMessageContext();

    ut_array numbers;
    ut_array empty_array;
    ut_array_initialize(&numbers, memory, 4, nullptr, nullptr, nullptr, nullptr);
    ut_array_initialize(&empty_array, memory, 8, nullptr, nullptr, nullptr, nullptr);
    for (const uint32_t number : {10U, 20U, 30U}) ut_array_append(&numbers, &number);

    ut_ghash_table table;
    ut_initialize_ghash_table(&table, memory, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              8, 8, 8, 16, 0, 5, 0.25F, 3.0F);
    for (uint64_t key = 5; key <= 6; ++key) {
        const uint64_t data = key * 10;
        ut_ghash_insert(&table, &key, &data);
    }
    [[maybe_unused]] ut_ghash_table cleared{};

    _ihash_table indexed;
    ut_initialize_ihash_table(&indexed, memory, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, 8, 8, 16, 0, 5, 0.25F, 3.0F, 4);
    const uint64_t keys[] = {100, 90};
    for (uint32_t i = 0; i < 2; ++i) {
        const uint32_t data = 7 + i;
        ut_ihash_insert(&indexed, &keys[i], &data);
    }

    ut_namehash names;
    ut_initialize_namehash(&names, memory, 5);
    ut_namehash_add(&names, "alpha");

    ut_gtable columns;
    uint64_t* prices = nullptr;
    uint16_t* flags = nullptr;
    ut_initialize_gtable(&columns, memory, 2, 4);
    ut_new_gtable(&columns, &prices, sizeof *prices);
    ut_new_gtable(&columns, &flags, sizeof *flags);
    for (uint16_t row = 0; row < 2; ++row) {
        ut_gtable_add_row(&columns);
        prices[row] = 11U + row;
        flags[row] = static_cast<uint16_t>(1 + row);
    }

    utSet* const set = utCreateSet();
    utAddElementToEndOfSet(3, set);
    utAddElementToEndOfSet(4, set);

    ut_fsi intervals;
    ut_fsi full;
    ut_initialize_fsi(&intervals, memory);
    ut_initialize_fsi(&full, memory);
    ut_fsi_insert_interval(&intervals, 7, 8);
    ut_fsi_insert_interval(&intervals, -3, -1);
    ut_fsi_insert_interval(&full, INT64_MIN, INT64_MAX);

    ut_dsbuffer buffer;
    ut_initialize_dsbuffer(&buffer, memory, 16);
    ut_dsbputs("some text", &buffer);

    ut_cleanup_item first;
    ut_cleanup_item_2 second;
    ut_link_cleanup(contexts_errors, &first, &object_address, clean_one);
    ut_link_cleanup_2(contexts_errors, &second, &object_address, argument_address, clean_two);
    stop_here();
    ut_unlink_cleanup(contexts_errors, first.next);

    ut_clear_dsbuffer(&buffer);
    ut_clear_fsi(&full);
    ut_clear_fsi(&intervals);
    utDestroyNonEmptySet(set);
    ut_clear_gtable(&columns);
    ut_clear_namehash(&names);
    ut_clear_ihash_table(&indexed);
    ut_clear_ghash_table(&table);
    ut_array_clear(&numbers);
}

}  // namespace

int inner_handler(_error_context*, void*, ut_message_code, va_list) { return 0; }
int outer_handler(_error_context*, void*, ut_message_code, va_list) { return 0; }

int main() {
    const auto inner = [](_error_context* errors, void*) { show_records(errors); };
    const auto outer = [](_error_context* errors, void* body) {
        ut_cleanup_item item;
        ut_link_cleanup(errors, &item, &object_address, clean_one);
        ut_try_catch(errors, nullptr, *static_cast<ut_try_body*>(body), inner_handler);
        ut_unlink_cleanup(errors, item.next);
    };
    ut_try_body body = inner;
    return ut_try_catch(utGetErrorContext(), &body, outer, outer_handler) == 0 ? 0 : 1;
}
