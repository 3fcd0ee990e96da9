// ghash_find.cpp - the walk to a key's place in a generic hash table.
//
// Two kinds of keys are told by the callbacks of their table and found without a call: words under
// the default callbacks, and texts under the ready-made ones for slots. Same hashes, same order of
// the walk, same answers. Entry point: find_place. Tested by tests/util/ghash_test.cpp.
#include <qxut/util/hash_keys.h>

#include "util/byte_step.h"
#include "util/ghash_core.h"
#include "util/text_slot.h"

namespace qxut {
namespace {

[[gnu::noinline]] Place find_by_callbacks(const ut_ghash_table& table, const void* key) {
    const uint32_t hash = table.hash_fn(*table.hash_ctx, key);
    return walk_chain(table, hash, [&table, hash, key](const ut_ghash_node* node) {
        return node->hash == hash &&
               table.compare_fn(*table.compare_ctx, key, stored_key(node)) == 0;
    });
}

[[gnu::noinline]] Place find_text(const ut_ghash_table& table, const void* key) {
    const char* const text = text_in(key);
    const uint32_t hash = hash_slot_text(text, std::strlen(text) + 1);
    Place place = walk_to_tag<Expected::presence>(
        table, hash, hash, [](const ut_ghash_node* node) -> uint64_t { return node->hash; });
    while (place.node != nullptr && std::strcmp(text, text_in(stored_key(place.node))) != 0) {
        place = walk_from(&place.node->next, hash,
                          [hash](const ut_ghash_node* node) { return node->hash == hash; });
    }
    return place;
}

}  // namespace

Place find_other(const ut_ghash_table& table, const void* key) {
    if (table.hash_fn == ut_ghash_string_key && table.compare_fn == ut_ghash_compare_string_keys) {
        return find_text(table, key);
    }
    if (table.hash_fn == ghash_default::hash_plain_word) {
        uint64_t word = 0;
        std::memcpy(&word, key, sizeof word);
        return walk_to_word(table, byte_steps_8(0, key), word);
    }
    return find_by_callbacks(table, key);
}

}  // namespace qxut
