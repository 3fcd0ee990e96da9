// ghash_failure_test.cpp - a generic hash table whose callbacks raise, and that runs out of memory.
//
// Keys and data are pointers to counted blocks: whatever fails, each block has one owner, so that
// the check for leaks at the end of a test finds what was lost and the sanitizers what was freed
// twice.
#include <qxut/util/ghash.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>

#include <qxut/util/hash_keys.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;

enum class Step { none, hash, compare, copy_key, copy_data, delete_key, delete_data };

// A table from texts to texts, both duplicated, that fails at the next call of one callback.
class Texts : private qxut_test::NotCopied {
  public:
    explicit Texts(Contexts& owner, int32_t size = 0) : contexts(owner) {
        ut_initialize_ghash_table(&table, &contexts.memory, hash, compare, copy<Step::copy_key>,
                                  remove<Step::delete_key>, copy<Step::copy_data>,
                                  remove<Step::delete_data>, 8, 8, 8, 16,
                                  reinterpret_cast<uintptr_t>(this), size, 0.25F, 1.0F);
    }
    ~Texts() {
        failing = Step::none;
        ut_clear_ghash_table(&table);
    }

    bool insert(const char* key, const char* data) { return ut_ghash_insert(&table, &key, &data); }
    bool replace(const char* key, const char* data) {
        return ut_ghash_replace(&table, &key, &data);
    }
    bool erase(const char* key) { return ut_ghash_remove_element(&table, &key); }
    bool has(const char* key) { return ut_ghash_query(&table, &key, nullptr); }

    // "key=data" for each entry, sorted; checks the count.
    std::set<std::string> entries() {
        std::set<std::string> found;
        ut_ghash_cursor cursor;
        ut_ghash_cursor_init(&table, &cursor);
        void* key = nullptr;
        void* data = nullptr;
        while (ut_ghash_iterate(&table, &cursor, &key, &data)) {
            found.insert(std::string(text(key)) + "=" + text(data));
        }
        EXPECT_EQ(found.size(), static_cast<size_t>(table.count));
        return found;
    }

    Contexts& contexts;
    Step failing = Step::none;
    bool throwing = false;  // a C++ exception instead of an error
    ut_ghash_table table{};

  private:
    static const char* text(const void* slot) {
        const char* text = nullptr;
        std::memcpy(&text, slot, sizeof text);
        return text;
    }
    static Texts& of(uintptr_t word) { return *reinterpret_cast<Texts*>(word); }
    static uintptr_t memory(Texts& texts) {
        return reinterpret_cast<uintptr_t>(&texts.contexts.memory);
    }
    void pass(Step step) {
        if (failing != step) return;
        failing = Step::none;
        if (throwing) throw std::runtime_error("callback");
        ut_error(&contexts.errors, UT_ERR_FATAL);
    }
    static uint32_t hash(uintptr_t texts, const void* slot) {
        of(texts).pass(Step::hash);
        return static_cast<unsigned char>(text(slot)[0]);  // collides for the same first letter
    }
    static int32_t compare(uintptr_t texts, const void* a, const void* b) {
        of(texts).pass(Step::compare);
        return std::strcmp(text(a), text(b));
    }
    template <Step step>
    static void copy(uintptr_t texts, void* destination, const void* slot) {
        of(texts).pass(step);
        ut_ghash_copy_string_key(memory(of(texts)), destination, slot);
    }
    // Deletes first and fails then, as a deletion that reports an error does.
    template <Step step>
    static void remove(uintptr_t texts, void* slot) {
        ut_ghash_delete_string_key(memory(of(texts)), slot);
        of(texts).pass(step);
    }
};

const std::set<std::string> kBefore = {"alpha=1", "apple=2", "beta=3"};

struct Case {
    const char* what;
    Step failing;
    void (*operation)(Texts&);
    std::set<std::string> after;
};

const Case kCases[] = {
    {"insert", Step::hash, [](Texts& t) { t.insert("aqua", "4"); }, kBefore},
    {"insert", Step::compare, [](Texts& t) { t.insert("aqua", "4"); }, kBefore},
    {"insert", Step::copy_key, [](Texts& t) { t.insert("aqua", "4"); }, kBefore},
    {"insert", Step::copy_data, [](Texts& t) { t.insert("aqua", "4"); }, kBefore},
    {"insert_element", Step::copy_key,
     [](Texts& t) {
         const char* key = "aqua";
         ut_ghash_insert_element(&t.table, &key, nullptr);
     },
     kBefore},
    {"replace a new key", Step::copy_data, [](Texts& t) { t.replace("aqua", "4"); }, kBefore},
    {"replace", Step::compare, [](Texts& t) { t.replace("apple", "4"); }, kBefore},
    {"replace",
     Step::delete_data,
     [](Texts& t) { t.replace("apple", "4"); },
     {"alpha=1", "beta=3"}},
    {"replace", Step::copy_data, [](Texts& t) { t.replace("apple", "4"); }, {"alpha=1", "beta=3"}},
    {"query_replace", Step::copy_data,
     [](Texts& t) {
         const char* key = "apple";
         const char* data = "4";
         void* out = nullptr;
         ut_ghash_query_replace(&t.table, &key, &data, &out);
     },
     kBefore},
    {"remove", Step::compare, [](Texts& t) { t.erase("apple"); }, kBefore},
    {"remove", Step::delete_data, [](Texts& t) { t.erase("apple"); }, {"alpha=1", "beta=3"}},
    {"remove", Step::delete_key, [](Texts& t) { t.erase("alpha"); }, {"apple=2", "beta=3"}},
    {"empty",
     Step::delete_key,
     [](Texts& t) { ut_ghash_empty(&t.table, 50); },
     {"apple=2", "beta=3"}},
    {"empty",
     Step::delete_data,
     [](Texts& t) { ut_ghash_empty(&t.table, 0); },
     {"apple=2", "beta=3"}},
    {"clear",
     Step::delete_key,
     [](Texts& t) { ut_clear_ghash_table(&t.table); },
     {"apple=2", "beta=3"}},
    {"sorted walk", Step::compare,
     [](Texts& t) {
         ut_ghash_cursor cursor;
         ut_ghash_sorted_cursor_init(
             &t.table, &cursor,
             [](void* texts, const void*, const void*) -> int32_t {
                 ut_error(&static_cast<Texts*>(texts)->contexts.errors, UT_ERR_FATAL);
             },
             &t);
     },
     kBefore},
};

TEST(GhashFailure, RaisingCallbacksLeaveAValidTable) {
    for (const bool throwing : {false, true}) {
        for (const Case& c : kCases) {
            SCOPED_TRACE(testing::Message()
                         << c.what << ", callback " << static_cast<int>(c.failing)
                         << (throwing ? ", exception" : ", error"));
            Contexts contexts;
            Texts texts(contexts, 3);
            texts.insert("alpha", "1");
            texts.insert("apple", "2");
            texts.insert("beta", "3");
            texts.failing = c.failing;
            texts.throwing = throwing;
            bool failed = false;
            try {
                failed = contexts.run([&] { c.operation(texts); }).code == UT_ERR_FATAL;
            } catch (const std::runtime_error&) {
                failed = true;
            }
            EXPECT_TRUE(failed);
            texts.failing = Step::none;
            EXPECT_EQ(texts.entries(), c.after);
            // It goes on working, resizes included.
            for (char letter = 'c'; letter <= 'z'; ++letter) {
                const char key[] = {letter, '\0'};
                EXPECT_FALSE(texts.insert(key, "new"));
                EXPECT_TRUE(texts.has(key));
            }
            EXPECT_EQ(texts.entries().size(), c.after.size() + 24);
        }
    }
}

std::string nth_key(int i) {
    return std::string(1, static_cast<char>('a' + i % 26)) + std::to_string(i);
}

void fill(Texts& texts, int from, int to) {
    for (int i = from; i < to; ++i) texts.insert(nth_key(i).c_str(), "data");
}

TEST(GhashFailure, OutOfMemoryLeavesTheTableAsItWas) {
    struct Operation {
        const char* what;
        void (*run)(Texts&);
        bool single;  // done or not done; the others get as far as they get
    };
    const Operation operations[] = {
        {"insert", [](Texts& texts) { fill(texts, 12, 40); }, false},
        {"insert one", [](Texts& texts) { texts.insert("new", "data"); }, true},
        {"set_bounds", [](Texts& t) { ut_ghash_set_bounds(&t.table, 300, 0.2F, 0.9F); }, true},
        {"empty", [](Texts& texts) { ut_ghash_empty(&texts.table, 500); }, true},
        {"sorted walk",
         [](Texts& texts) {
             ut_ghash_cursor cursor;
             ut_ghash_sorted_cursor_init(
                 &texts.table, &cursor,
                 [](void*, const void* a, const void* b) {
                     return ut_ghash_compare_string_keys(0, a, b);
                 },
                 nullptr);
         },
         true},
        // A removal needs no memory; that for the shrunk vector may be missing.
        {"remove",
         [](Texts& texts) {
             for (int i = 0; i < 12; ++i) EXPECT_TRUE(texts.erase(nth_key(i).c_str()));
         },
         false},
    };
    using Failure = qxut_test::CountdownHeap::Failure;
    for (const Operation& operation : operations) {
        for (const auto failure : {Failure::once, Failure::from_then_on}) {
            bool failing = true;
            for (size_t k = 0; failing; ++k) {
                SCOPED_TRACE(testing::Message() << operation.what << ", allocation " << k);
                Contexts contexts;
                Texts texts(contexts);
                fill(texts, 0, 12);
                const auto before = texts.entries();
                const float upper_load = texts.table.upper_load;
                contexts.heap.fail_at(k, failure);
                const auto raised = contexts.run([&] { operation.run(texts); });
                failing = contexts.heap.has_failed();
                contexts.heap.fail_at(qxut_test::CountdownHeap::kNever);
                if (raised.code != 0) {
                    EXPECT_EQ(raised.code, UT_OUT_OF_MEMORY);
                    EXPECT_TRUE(failing);
                    EXPECT_EQ(texts.table.upper_load, upper_load);
                    if (operation.single) {
                        EXPECT_EQ(texts.entries(), before);
                    }
                }
                fill(texts, 100, 200);
                for (int i = 100; i < 200; ++i) EXPECT_TRUE(texts.has(nth_key(i).c_str()));
                texts.entries();
            }
        }
    }
}

TEST(GhashFailure, OutOfMemoryWhileInitialising) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        ut_ghash_table* const table =
            ut_new_ghash_table(&contexts.memory, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, 8, 8, 8, 16, 0, 100, 0.25F, 1.0F);
        ut_delete_ghash_table(table);
    });
    // A node that no size could hold.
    Contexts contexts;
    ut_ghash_table table;
    const auto raised = contexts.run([&] {
        ut_initialize_ghash_table(&table, &contexts.memory, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, 8, 8, 8, UINT32_MAX - 15, 0, 1, 0.25F, 1.0F);
    });
    EXPECT_EQ(raised.code, UT_OUT_OF_MEMORY);
    EXPECT_EQ(table.mem_ctx, nullptr);
}

}  // namespace
