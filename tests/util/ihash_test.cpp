// ihash_test.cpp - indexed hash tables: indices, each operation on keys with and without data, what
// callbacks get and when, failures at documented places.
#include <qxut/util/ihash.h>

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <qxut/util/hash_keys.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;
using testing::ElementsAre;
using testing::Pair;

using Entries = std::vector<std::pair<int64_t, int64_t>>;

// What the recording callbacks saw, in order.
std::vector<std::string> calls;
void delete_key(uintptr_t user_data, void* stored) {
    EXPECT_EQ(user_data, 7u);
    calls.push_back("key " + std::to_string(*static_cast<int64_t*>(stored)));
}
void delete_data(uintptr_t user_data, void* stored) {
    EXPECT_EQ(user_data, 7u);
    calls.push_back("data " + std::to_string(*static_cast<int64_t*>(stored)));
}
void copy_data(uintptr_t user_data, void* destination, const void* source) {
    EXPECT_EQ(user_data, 7u);
    std::memcpy(destination, source, sizeof(int64_t));
    calls.push_back("copy " + std::to_string(*static_cast<int64_t*>(destination)));
}

class Table : private qxut_test::NotCopied {
  public:
    // 64-bit keys with the default callbacks; 64-bit data or none.
    explicit Table(Contexts& contexts, bool has_data = true, bool records = false) {
        calls.clear();
        ut_initialize_ihash_table(&record, &contexts.memory, nullptr, nullptr, nullptr,
                                  records ? delete_key : nullptr, records ? copy_data : nullptr,
                                  records ? delete_data : nullptr, 8, 8, 16, 7, 0, 0.5F, 2.0F,
                                  has_data ? 8 : 0);
    }
    ~Table() { ut_clear_ihash_table(&record); }

    bool insert(int64_t key, int64_t data) { return ut_ihash_insert(&record, &key, &data); }
    bool remove(int64_t key) { return ut_ihash_remove_element(&record, &key); }
    int64_t index_of(int64_t key) const { return ut_ihash_index_of(&record, &key); }

    Entries entries() const {
        Entries result;
        int64_t key = 0;
        int64_t data = 0;
        for (uint64_t i = 0; ut_ihash_index(&record, i, &key, &data); ++i) {
            result.emplace_back(key, data);
        }
        EXPECT_EQ(result.size(), ut_ihash_num_entries(&record));
        return result;
    }

    _ihash_table record{};
};

TEST(Ihash, TellsAddressesOfKeysAndData) {
    Contexts contexts;
    Table table(contexts);
    int64_t key = 5;
    void* stored = nullptr;
    void* data = &key;
    EXPECT_FALSE(ut_ihash_insert_key(&table.record, &key, &stored, &data));
    EXPECT_EQ(*static_cast<int64_t*>(data), 0) << "zeroed";
    *static_cast<int64_t*>(data) = 50;
    void* again = nullptr;
    EXPECT_TRUE(ut_ihash_insert_key(&table.record, &key, &again, nullptr));
    EXPECT_EQ(again, stored);
    EXPECT_EQ(ut_ihash_query_data(&table.record, &key), data);
    EXPECT_EQ(ut_ihash_query_data_by_index(&table.record, 0), data);
    EXPECT_EQ(ut_ihash_query_data_by_index(&table.record, 1), nullptr);
    table.insert(6, 50);
    const int64_t wanted = 50;
    EXPECT_EQ(ut_ihash_query_by_data(&table.record, &wanted), stored) << "the first by index";
    EXPECT_EQ(ut_ihash_query_by_data(&table.record, &key), nullptr);
    int64_t out = 0;
    EXPECT_TRUE(ut_ihash_uniquify(&table.record, &key, &out));
    EXPECT_EQ(out, 5);
    EXPECT_FALSE(ut_ihash_uniquify(&table.record, &(key = 9), &out));
    EXPECT_EQ(out, 9);
    EXPECT_THAT(table.entries(), ElementsAre(Pair(5, 50), Pair(6, 50), Pair(9, 0)));
    EXPECT_FALSE(ut_ihash_index(&table.record, UINT64_MAX, nullptr, nullptr));
    EXPECT_FALSE(ut_ihash_query(&table.record, &(key = 10), &out));
    EXPECT_EQ(ut_ihash_query_data(&table.record, &key), nullptr);
}

// Without data, the value is the key.
TEST(Ihash, KeysWithoutData) {
    Contexts contexts;
    Table table(contexts, false);
    int64_t out = 0;
    void* data = &out;
    for (const int64_t key : {3, 4, 5}) {
        EXPECT_FALSE(ut_ihash_insert_key(&table.record, &key, nullptr, &data));
        EXPECT_EQ(data, nullptr);
        EXPECT_TRUE(ut_ihash_query_replace(&table.record, &key, nullptr, &out));
        EXPECT_EQ(out, key);
        EXPECT_TRUE(ut_ihash_replace(&table.record, &key, nullptr));
        EXPECT_TRUE(ut_ihash_query_insert(&table.record, &key, nullptr, &(out = 0)));
        EXPECT_EQ(out, key);
        EXPECT_EQ(ut_ihash_query_data(&table.record, &key), nullptr);
        EXPECT_EQ(ut_ihash_query_by_data(&table.record, &key), nullptr);
    }
    const int64_t key = 3;
    EXPECT_TRUE(ut_ihash_query_remove(&table.record, &key, &out));
    EXPECT_EQ(out, 3);
    EXPECT_EQ(ut_ihash_query_data_by_index(&table.record, 0), nullptr);
    EXPECT_EQ(table.index_of(5), 0);
    EXPECT_EQ(table.index_of(4), 1);
    ut_ihash_empty(&table.record, 0);
    EXPECT_EQ(table.index_of(4), -1);
    EXPECT_THAT(table.entries(), ElementsAre());
}

TEST(Ihash, AppliesInIndexOrderAndStopsEarly) {
    Contexts contexts;
    Table table(contexts);
    EXPECT_EQ(ut_ihash_apply(&table.record, nullptr, nullptr), 1);
    for (int64_t key = 0; key < 5; ++key) table.insert(key, 10 + key);
    table.remove(1);
    Entries visited;
    const auto visit = [](void* argument, void* key, void* data) {
        static_cast<Entries*>(argument)->emplace_back(*static_cast<int64_t*>(key),
                                                      *static_cast<int64_t*>(data));
        return static_cast<int32_t>(*static_cast<int64_t*>(key) != 2);
    };
    EXPECT_EQ(ut_ihash_apply(&table.record, &visited, visit), 0);
    EXPECT_THAT(visited, ElementsAre(Pair(0, 10), Pair(4, 14), Pair(2, 12)));
    table.remove(2);
    EXPECT_EQ(ut_ihash_apply(&table.record, &visited, visit), 1);
}

TEST(Ihash, EmptyingAndClearingDeleteKeyThenData) {
    Contexts contexts;
    Table table(contexts, true, true);
    for (const bool clears : {false, true}) {
        table.insert(1, 11);
        EXPECT_THAT(calls, ElementsAre("copy 11"));
        calls.clear();
        if (clears) {
            ut_clear_ihash_table(&table.record);
        } else {
            ut_ihash_empty(&table.record, 1000);
            EXPECT_EQ(table.record.hash.num_buckets, 1009);
            EXPECT_EQ(ut_ihash_num_entries(&table.record), 0u);
        }
        EXPECT_THAT(calls, ElementsAre("key 1", "data 11"));
        calls.clear();
    }
    EXPECT_EQ(contexts.blocks(), 0u);
    EXPECT_EQ(table.record.mem_ctx, nullptr);
    ut_clear_ihash_table(&table.record);
    ut_delete_ihash_table(nullptr);
}

TEST(Ihash, TextsAndDataOfOtherSizesAtAnUnevenOffset) {
    Contexts contexts;
    struct Colour {
        unsigned char red, green, blue;
    };
    // The index stands 9 bytes into the item.
    _ihash_table* const table = ut_new_ihash_table(
        &contexts.memory, ut_ghash_string_key, ut_ghash_compare_string_keys,
        ut_ghash_copy_string_key, ut_ghash_delete_string_key, nullptr, nullptr, 8, 9, 17,
        reinterpret_cast<uintptr_t>(&contexts.memory), 0, 0.5F, 2.0F, sizeof(Colour));
    for (unsigned char i = 0; i < 100; ++i) {
        const std::string text = "colour " + std::to_string(i);
        const char* key = text.c_str();
        const Colour colour = {i, 1, 2};
        EXPECT_FALSE(ut_ihash_insert(table, &key, &colour));
        if (i % 3 == 2) {
            EXPECT_TRUE(ut_ihash_remove_element(table, &key));
        }
    }
    // Data that lie in the table are inserted again.
    const char* key = "another";
    EXPECT_FALSE(ut_ihash_insert(table, &key, ut_ihash_query_data_by_index(table, 0)));
    for (uint64_t i = 0; i < ut_ihash_num_entries(table); ++i) {
        char* text = nullptr;
        Colour colour{};
        EXPECT_TRUE(ut_ihash_index(table, i, &text, &colour));
        EXPECT_EQ(ut_ihash_index_of(table, &text), static_cast<int64_t>(i));
        if (i != 67) {
            EXPECT_EQ("colour " + std::to_string(colour.red), text);
        }
    }
    EXPECT_EQ(ut_ihash_num_entries(table), 68u);
    ut_delete_ihash_table(table);
}

}  // namespace
