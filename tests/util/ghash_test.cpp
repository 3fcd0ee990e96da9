// ghash_test.cpp - what a generic hash table holds, and in which order, against a plain model.
#include <qxut/util/ghash.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <qxut/util/hash_bytes.h>
#include <qxut/util/hash_keys.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;
using Entry = std::pair<uint64_t, uint64_t>;
using Entries = std::vector<Entry>;

// Tables of words with default callbacks: a data offset of 8, or any other.
class Words : private qxut_test::NotCopied {
  public:
    Words(Contexts& contexts, int32_t size, float lower, float upper, int32_t data_offset = 8) {
        ut_initialize_ghash_table(&table, &contexts.memory, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, 8, data_offset, 8,
                                  static_cast<uint32_t>(data_offset) + 8, 0, size, lower, upper);
    }
    ~Words() { ut_clear_ghash_table(&table); }

    bool insert(uint64_t key, uint64_t data) { return ut_ghash_insert(&table, &key, &data); }
    bool replace(uint64_t key, uint64_t data) { return ut_ghash_replace(&table, &key, &data); }
    bool remove(uint64_t key) { return ut_ghash_remove_element(&table, &key); }
    Entries walk() const { return walk_from(plain_cursor()); }
    Entries walk_from(ut_ghash_cursor cursor) const {
        Entries entries;
        void* key = nullptr;
        void* data = nullptr;
        while (ut_ghash_iterate(&table, &cursor, &key, &data)) {
            Entry& entry = entries.emplace_back();
            std::memcpy(&entry.first, key, 8);
            std::memcpy(&entry.second, data, 8);
        }
        EXPECT_EQ(key, nullptr);
        EXPECT_EQ(data, nullptr);
        EXPECT_FALSE(ut_ghash_iterate(&table, &cursor, &key, &data)) << "after the end";
        return entries;
    }
    ut_ghash_cursor plain_cursor() const {
        ut_ghash_cursor cursor;
        ut_ghash_cursor_init(&table, &cursor);
        return cursor;
    }

    ut_ghash_table table{};
};

// The rules of the table over lists: order of chains, triggers and sizes of resizes.
class Model {
  public:
    Model(int32_t size, float lower, float upper) : lower_(lower), upper_(upper) {
        min_ = next(size, 1);
        chains_.resize(static_cast<size_t>(min_));
        upper_count_ = static_cast<int>(static_cast<float>(min_) * upper);
    }

    bool insert(uint64_t key, uint64_t data, bool overwrite) {
        auto& chain = chain_of(key);
        for (Entry& entry : chain) {
            if (entry.first != key) continue;
            if (overwrite) entry.second = data;
            return true;
        }
        chain.emplace_back(key, data);
        if (++count_ > upper_count_) resize();
        return false;
    }
    bool remove(uint64_t key) {
        if (std::erase_if(chain_of(key), [&](const Entry& e) { return e.first == key; }) == 0) {
            return false;
        }
        if (--count_ < lower_count_) resize();
        return true;
    }
    Entries walk() const {
        Entries entries;
        for (const Entries& chain : chains_) {
            entries.insert(entries.end(), chain.begin(), chain.end());
        }
        return entries;
    }
    size_t buckets() const { return chains_.size(); }

  private:
    static int32_t next(int32_t n, int32_t step) {
        return ut_hash_next_quasiprime(nullptr, n, step);
    }
    Entries& chain_of(uint64_t key) {
        return chains_[ut_hash_n_bytes(0, 8, &key) % chains_.size()];
    }
    void resize() {
        const double mean = static_cast<double>(std::sqrt(lower_ * upper_));
        const int target = std::max(static_cast<int>(std::floor(count_ / mean + 0.5)), min_);
        const int size = next(target, count_ < lower_count_ ? -1 : 1);
        if (static_cast<size_t>(size) == chains_.size()) return;
        const Entries entries = walk();
        chains_.assign(static_cast<size_t>(size), {});
        for (const Entry& entry : entries) {
            Entries& chain = chain_of(entry.first);
            chain.insert(chain.begin(), entry);
        }
        const auto scaled = [size](float load) {
            return static_cast<int>(static_cast<float>(size) * load);
        };
        lower_count_ = size == min_ ? 0 : scaled(lower_);
        upper_count_ = scaled(upper_);
    }

    float lower_, upper_;
    int min_ = 0, count_ = 0, lower_count_ = 0, upper_count_ = 0;
    std::vector<Entries> chains_;
};

TEST(Ghash, RandomOperationsAgreeWithTheModelInOrder) {
    struct Case {
        uint64_t distinct_keys;
        int32_t size;
        float lower, upper;
        int32_t data_offset;
    };
    const Case cases[] = {
        {50, 0, 0.25F, 1.0F, 8},     {300, 11, 0.5F, 2.0F, 8},    {3000, 0, 0.5F, 2.0F, 9},
        {1000, 1, 0.03F, 3.0F, 8},   {400, 200, 0.9F, 0.95F, 11}, {20, 0, 1e-5F, 5e-4F, 8},
        {2000, 500, 0.25F, 1.0F, 8},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lower);
        Contexts contexts;
        Words words(contexts, c.size, c.lower, c.upper, c.data_offset);
        Model model(c.size, c.lower, c.upper);
        std::mt19937_64 random(c.distinct_keys);
        for (int step = 0; step < 6000; ++step) {
            // Grows for a while, then shrinks, twice.
            const bool growing = step % 3000 < 1500;
            const uint64_t key = (random() % c.distinct_keys) * 0x9E3779B97F4A7C15;
            const uint64_t data = random();
            const uint64_t choice = random() % 10;
            if (choice < (growing ? 6u : 2u)) {
                ASSERT_EQ(words.insert(key, data), model.insert(key, data, false));
            } else if (choice < 7) {
                if (growing) {
                    ASSERT_EQ(words.replace(key, data), model.insert(key, data, true));
                } else {
                    ASSERT_EQ(words.remove(key), model.remove(key));
                }
            } else {
                ASSERT_EQ(words.remove(key), model.remove(key));
            }
            ASSERT_EQ(static_cast<size_t>(words.table.num_buckets), model.buckets()) << step;
            if (step % 50 == 0) {
                ASSERT_EQ(words.walk(), model.walk()) << step;
            }
        }
        EXPECT_EQ(words.walk(), model.walk());
    }
}

TEST(Ghash, LoadBoundsAreCheckedInOrder) {
    const float nan = std::nanf("");
    const float infinity = HUGE_VALF;
    constexpr ut_message_code kLower = UT_HASH_INVALID_LOWER_LOAD_BOUND;
    constexpr ut_message_code kUpper = UT_HASH_INVALID_UPPER_LOAD_BOUND;
    constexpr ut_message_code kRange = UT_HASH_INVALID_LOAD_BOUND_RANGE;
    struct Case {
        float lower, upper;
        ut_message_code code;
    };
    const Case cases[] = {
        {0.5F, 2.0F, 0},          {0.5F, 3.0F, 0},        {0.03F, 3.0F, 0},
        {0.0F, 2.0F, kLower},     {-1.0F, -1.0F, kLower}, {nan, nan, kLower},
        {0.5F, 0.0F, kUpper},     {0.5F, 3.01F, kUpper},  {0.5F, nan, kUpper},
        {0.5F, infinity, kUpper}, {0.5F, 0.5F, kRange},   {2.0F, 1.0F, kRange},
        {infinity, 2.0F, kRange}, {0.01F, 3.0F, kRange},  {1e-45F, 3.0F, kRange},
    };
    for (const Case& c : cases) {
        const float lower = c.lower;
        const float upper = c.upper;
        const ut_message_code code = c.code;
        SCOPED_TRACE(testing::Message() << lower << " " << upper);
        Contexts contexts;
        ut_ghash_table table;
        const auto raised = contexts.run([&] {
            ut_initialize_ghash_table(&table, &contexts.memory, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, 8, 8, 8, 16, 0, 5, lower, upper);
        });
        EXPECT_EQ(raised.code, code);
        if (code != 0) {
            EXPECT_EQ(table.mem_ctx, nullptr);
            EXPECT_EQ(table.sorted_count, -1);
        }
        ut_clear_ghash_table(&table);

        Words words(contexts, 5, 0.5F, 1.0F);
        const auto set = contexts.run([&] { ut_ghash_set_bounds(&words.table, 7, lower, upper); });
        EXPECT_EQ(set.code, code);
        float upper_now = 0;
        int32_t min_size = 0;
        ut_ghash_get_bounds(&words.table, &min_size, nullptr, &upper_now);
        EXPECT_EQ(upper_now, code == 0 ? upper : 1.0F);
        EXPECT_EQ(min_size, code == 0 ? 7 : 5);
    }
    Contexts contexts;
    ut_ghash_table table;
    EXPECT_EQ(contexts
                  .run([&] {
                      ut_initialize_ghash_table(&table, &contexts.memory, nullptr, nullptr, nullptr,
                                                nullptr, nullptr, nullptr, 8, 8, 8, 16, 0, 5, 0.0F,
                                                1.0F);
                  })
                  .text,
              "Internal Error: Load factor lower bound must be greater than or equal to 0.");
}

TEST(Ghash, SetBoundsResizesAtOnce) {
    Contexts contexts;
    Words words(contexts, 0, 0.25F, 1.0F);
    for (uint64_t key = 0; key < 100; ++key) words.insert(key, key);
    const int32_t before = words.table.num_buckets;
    // Within the new bounds and not below the new lowest size: nothing moves.
    ut_ghash_set_bounds(&words.table, 50, 0.1F, 1.0F);
    EXPECT_EQ(words.table.num_buckets, before);
    EXPECT_EQ(words.table.min_buckets, 53);
    // Fewer entries than the lowest size.
    ut_ghash_set_bounds(&words.table, 500, 0.25F, 1.0F);
    EXPECT_EQ(words.table.num_buckets, 503);
    EXPECT_EQ(words.table.lower_count, 0);
    // Too many entries for the new bounds.
    ut_ghash_set_bounds(&words.table, 2, 0.05F, 0.15F);
    EXPECT_GT(words.table.num_buckets, 503);
    // Too few: towards 100 / 2.
    ut_ghash_set_bounds(&words.table, 2, 1.5F, 2.7F);
    EXPECT_EQ(words.table.num_buckets, 47);
    EXPECT_EQ(words.walk().size(), 100u);
}

TEST(Ghash, OperationsOnPresentAndAbsentKeys) {
    Contexts contexts;
    Words words(contexts, 0, 0.25F, 1.0F);
    ut_ghash_table* const table = &words.table;
    const uint64_t key = 7;
    uint64_t data = 70;
    uint64_t out = 1;
    EXPECT_FALSE(ut_ghash_query(table, &key, &out));
    EXPECT_EQ(out, 1u);
    EXPECT_EQ(ut_ghash_query_element(table, &key), nullptr);
    EXPECT_EQ(ut_ghash_query_data(table, &key), nullptr);
    EXPECT_FALSE(ut_ghash_remove_element(table, &key));
    EXPECT_FALSE(ut_ghash_query_remove(table, &key, &out));

    EXPECT_FALSE(ut_ghash_query_insert(table, &key, &data, &out));
    EXPECT_EQ(out, 70u);
    data = 71;
    EXPECT_TRUE(ut_ghash_insert(table, &key, &data));
    EXPECT_TRUE(ut_ghash_query_insert(table, &key, &data, &out));
    EXPECT_EQ(out, 70u) << "data of an existing entry";
    EXPECT_TRUE(ut_ghash_query_replace(table, &key, &data, &out));
    EXPECT_EQ(out, 70u);
    EXPECT_TRUE(ut_ghash_query(table, &key, &out));
    EXPECT_EQ(out, 71u);
    EXPECT_TRUE(ut_ghash_query(table, &key, nullptr));
    const uint64_t other = 8;
    data = 80;
    EXPECT_FALSE(ut_ghash_query_replace(table, &other, &data, &out));
    EXPECT_EQ(out, 80u);

    void* stored_key = nullptr;
    void* stored_data = nullptr;
    EXPECT_TRUE(ut_ghash_insert_key(table, &key, &stored_key, &stored_data));
    EXPECT_EQ(stored_key, ut_ghash_query_element(table, &key));
    EXPECT_EQ(stored_data, ut_ghash_query_data(table, &key));
    EXPECT_EQ(static_cast<char*>(stored_data) - static_cast<char*>(stored_key), 8);
    data = 80;
    EXPECT_EQ(ut_ghash_query_by_data(table, &data), ut_ghash_query_element(table, &other));
    data = 81;
    EXPECT_EQ(ut_ghash_query_by_data(table, &data), nullptr);
    EXPECT_TRUE(ut_ghash_query_remove(table, &other, &out));
    EXPECT_EQ(out, 80u);
    EXPECT_EQ(words.walk(), (Entries{{7, 71}}));
}

TEST(Ghash, SetsOfWideKeys) {
    struct Wide {
        char bytes[20];
    };
    Contexts contexts;
    ut_ghash_table table;
    ut_initialize_ghash_table(&table, &contexts.memory, nullptr, nullptr, nullptr, nullptr, nullptr,
                              nullptr, sizeof(Wide), 0, 0, sizeof(Wide), 0, 0, 0.25F, 1.0F);
    const Wide a{"a wide key"};
    const Wide b{"another"};
    Wide out{};
    void* key = nullptr;
    void* data = &out;
    EXPECT_FALSE(ut_ghash_insert_key(&table, &a, &key, &data));
    EXPECT_EQ(data, nullptr) << "a set has no data";
    EXPECT_FALSE(ut_ghash_uniquify(&table, &b, &out));
    EXPECT_STREQ(out.bytes, "another");
    EXPECT_TRUE(ut_ghash_query(&table, &a, &out));
    EXPECT_STREQ(out.bytes, "a wide key") << "the value of a set's entry is its key";
    EXPECT_EQ(table.value_size, sizeof(Wide));
    EXPECT_TRUE(ut_ghash_query_remove(&table, &b, &out));
    EXPECT_STREQ(out.bytes, "another");
    ut_clear_ghash_table(&table);
}

// Callbacks that note what they are called with.
struct Calls {
    std::string log;
    uintptr_t word() { return reinterpret_cast<uintptr_t>(this); }
    static Calls& of(uintptr_t word) { return *reinterpret_cast<Calls*>(word); }
    static int value(const void* stored) {
        int value = 0;
        std::memcpy(&value, stored, sizeof value);
        return value;
    }
    void note(const char* what, const void* stored) {
        log += what + std::to_string(value(stored)) + ' ';
    }
};

uint32_t hash_int(uintptr_t calls, const void* key) {
    Calls::of(calls).note("hash", key);
    return static_cast<uint32_t>(Calls::value(key) % 10);  // so that hashes collide
}
int32_t compare_int(uintptr_t calls, const void* key, const void* stored_key) {
    Calls::of(calls).note("compare", stored_key);
    return Calls::value(key) - Calls::value(stored_key);
}
void copy_key(uintptr_t calls, void* destination, const void* key) {
    Calls::of(calls).note("copykey", key);
    std::memcpy(destination, key, sizeof(int));
}
void copy_data(uintptr_t calls, void* destination, const void* data) {
    Calls::of(calls).note("copydata", data);
    std::memcpy(destination, data, sizeof(int));
}
void delete_key(uintptr_t calls, void* stored) { Calls::of(calls).note("deletekey", stored); }
void delete_data(uintptr_t calls, void* stored) { Calls::of(calls).note("deletedata", stored); }

TEST(Ghash, CallbacksAreCalledInTheirOrderWithUserData) {
    Contexts contexts;
    Calls calls;
    ut_ghash_table* const table = ut_new_ghash_table(
        &contexts.memory, hash_int, compare_int, copy_key, delete_key, copy_data, delete_data,
        sizeof(int), 5, sizeof(int), 9, calls.word(), 2, 0.25F, 3.0F);
    const auto expect = [&](const char* what, const char* log) {
        EXPECT_EQ(calls.log, log) << what;
        calls.log.clear();
    };
    const int one = 1;
    const int eleven = 11;
    const int two = 2;
    const int data = 100;
    const int more = 200;
    int out = 0;
    ut_ghash_insert(table, &one, &data);
    expect("a new key", "hash1 copykey1 copydata100 ");
    ut_ghash_insert(table, &eleven, &data);
    expect("a colliding key", "hash11 compare1 copykey11 copydata100 ");
    ut_ghash_insert(table, &two, &data);
    expect("another hash is not compared", "hash2 copykey2 copydata100 ");
    ut_ghash_insert(table, &one, &more);
    expect("an existing key", "hash1 compare1 ");
    ut_ghash_replace(table, &one, &more);
    expect("replacing", "hash1 compare1 deletedata100 copydata200 ");
    ut_ghash_query_replace(table, &one, &data, &out);
    expect("handing the old value out", "hash1 compare1 copydata100 ");
    EXPECT_EQ(out, 200);
    ut_ghash_remove_element(table, &eleven);
    expect("removing", "hash11 compare1 compare11 deletedata100 deletekey11 ");
    ut_ghash_query_remove(table, &two, &out);
    expect("removing with the value handed out", "hash2 compare2 deletekey2 ");
    ut_ghash_query_remove(table, &one, nullptr);
    expect("removing without", "hash1 compare1 deletedata100 deletekey1 ");
    ut_ghash_insert_element(table, &one, nullptr);
    expect("making an entry without data", "hash1 copykey1 ");
    const void* const stored = ut_ghash_query_data(table, &one);
    std::memcpy(const_cast<void*>(stored), &data, sizeof data);
    calls.log.clear();
    ut_delete_ghash_table(table);
    expect("deleting the table", "deletekey1 deletedata100 ");
    ut_delete_ghash_table(nullptr);
}

TEST(Ghash, EmptyKeepsTheTable) {
    Contexts contexts;
    Words words(contexts, 0, 0.25F, 1.0F);
    for (uint64_t key = 0; key < 1000; ++key) words.insert(key, key);
    const int32_t grown = words.table.num_buckets;
    ut_ghash_empty(&words.table, 0);
    EXPECT_EQ(words.table.count, 0);
    EXPECT_EQ(words.table.num_buckets, grown);
    EXPECT_TRUE(words.walk().empty());
    for (uint64_t key = 0; key < 5; ++key) words.insert(key, key);
    ut_ghash_empty(&words.table, 100);
    EXPECT_EQ(words.table.num_buckets, 101);
    EXPECT_EQ(words.table.min_buckets, 101);
    EXPECT_EQ(words.table.lower_count, 0);
    EXPECT_EQ(words.table.upper_count, 101);
    EXPECT_TRUE(words.walk().empty());
    ut_ghash_empty(&words.table, 101);
    EXPECT_EQ(words.table.num_buckets, 101);
}

TEST(Ghash, SortedWalk) {
    Contexts contexts;
    Words words(contexts, 0, 0.25F, 1.0F);
    const auto descending = [](void* calls, const void* a, const void* b) {
        ++*static_cast<int*>(calls);
        uint64_t left = 0;
        uint64_t right = 0;
        std::memcpy(&left, a, 8);
        std::memcpy(&right, b, 8);
        return left == right ? 0 : left > right ? -1 : 1;
    };
    int calls = 0;
    ut_ghash_cursor cursor;
    ut_ghash_sorted_cursor_init(&words.table, &cursor, descending, &calls);
    EXPECT_TRUE(words.walk_from(cursor).empty());

    Entries expected;
    for (uint64_t key = 0; key < 100; ++key) {
        words.insert(key * 7919 % 1000, key);
        expected.emplace_back(key * 7919 % 1000, key);
    }
    std::sort(expected.rbegin(), expected.rend());
    ut_ghash_sorted_cursor_init(&words.table, &cursor, descending, &calls);
    EXPECT_GT(calls, 0);
    EXPECT_EQ(words.walk_from(cursor), expected);

    uint64_t stamp = 0;
    void* key = nullptr;
    ut_ghash_cursor plain = words.plain_cursor();
    while (ut_ghash_iterate(&words.table, &plain, &key, nullptr)) {
        stamp = std::rotl(stamp, 1) ^ reinterpret_cast<uintptr_t>(key);
    }
    EXPECT_EQ(words.table.sorted_stamp, stamp);
    EXPECT_EQ(words.table.sorted_count, 100);
    EXPECT_EQ(cursor.stamp, static_cast<uint32_t>(stamp));
}

TEST(Ghash, ApplyStopsWhenTold) {
    Contexts contexts;
    Words words(contexts, 0, 0.25F, 1.0F);
    const auto count_to_three = [](ut_ghash_table*, void* calls, void*, void*) -> int32_t {
        return ++*static_cast<int*>(calls) < 3 ? 1 : 0;
    };
    int calls = 0;
    EXPECT_EQ(ut_ghash_apply(&words.table, &calls, count_to_three), 1);
    EXPECT_EQ(calls, 0);
    for (uint64_t key = 0; key < 2; ++key) words.insert(key, key);
    EXPECT_EQ(ut_ghash_apply(&words.table, &calls, count_to_three), 1);
    calls = 0;
    for (uint64_t key = 0; key < 9; ++key) words.insert(key, key);
    EXPECT_EQ(ut_ghash_apply(&words.table, &calls, count_to_three), 0);
    EXPECT_EQ(calls, 3);
}

TEST(Ghash, Statistics) {
    Contexts contexts;
    Calls calls;
    ut_ghash_table table;
    ut_initialize_ghash_table(&table, &contexts.memory, hash_int, compare_int, nullptr, nullptr,
                              nullptr, nullptr, sizeof(int), 4, sizeof(int), 8, calls.word(), 11,
                              0.25F, 3.0F);
    for (const int key : {1, 11, 21, 2, 12, 3}) ut_ghash_insert(&table, &key, &key);
    uint64_t bytes = 0;
    uint64_t bytes_again = 0;
    int32_t collisions = 0;
    int32_t used = 0;
    int32_t longest = 0;
    ut_ghash_stats(&table, &bytes, &bytes_again, &collisions);
    EXPECT_EQ(bytes, 192u + 8u * 11u + 24u * 6u);
    EXPECT_EQ(bytes_again, bytes);
    EXPECT_EQ(collisions, 3);
    ut_ghash_collision_stats(&table, &collisions, &used, &longest);
    EXPECT_EQ(collisions, 3);
    EXPECT_EQ(used, 3);
    EXPECT_EQ(longest, 3);
    ut_ghash_stats(&table, nullptr, nullptr, nullptr);
    ut_clear_ghash_table(&table);
}

TEST(Ghash, TextsByTheReadyMadeCallbacks) {
    Contexts contexts;
    ut_ghash_table table;
    ut_initialize_ghash_table(&table, &contexts.memory, ut_ghash_string_key,
                              ut_ghash_compare_string_keys, ut_ghash_copy_string_key,
                              ut_ghash_delete_string_key, nullptr, nullptr, 8, 8, 4, 12,
                              reinterpret_cast<uintptr_t>(&contexts.memory), 0, 0.25F, 1.0F);
    for (const bool present : {false, true}) {
        for (int i = 0; i < 200; ++i) {
            const std::string text =
                std::string(static_cast<size_t>(i % 40), 'x') + std::to_string(i);
            const char* const slot = text.c_str();
            EXPECT_EQ(ut_ghash_insert(&table, &slot, &i), present) << text;
            if (present && i % 2 == 0) {
                EXPECT_TRUE(ut_ghash_remove_element(&table, &slot));
            }
        }
    }
    EXPECT_EQ(table.count, 100);
    ut_clear_ghash_table(&table);
}

}  // namespace
