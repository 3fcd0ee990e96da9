#include <qxut/util/namehash.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <qxut/util/contexts.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;

class Names : private qxut_test::NotCopied {
  public:
    explicit Names(Contexts& contexts, int32_t size = 0) {
        ut_initialize_namehash(&record, &contexts.memory, size);
    }
    ~Names() { ut_clear_namehash(&record); }

    const char* add(const std::string& name) { return ut_namehash_add(&record, name.c_str()); }
    const char* lookup(const char* name) { return ut_namehash_lookup(&record, name); }
    size_t blocks() const {
        size_t count = 0;
        for (const auto* block = record.pool_blocks; block != nullptr; block = block->previous) {
            ++count;
        }
        return count;
    }
    size_t block_size() const {  // of the newest
        return static_cast<size_t>(record.pool_blocks->end -
                                   reinterpret_cast<const char*>(record.pool_blocks));
    }
    size_t block_free() const {
        return static_cast<size_t>(record.pool_blocks->end - record.pool_blocks->free_position);
    }

    ut_namehash record{};
};

TEST(Namehash, CopiedAndAdoptedNames) {
    Contexts contexts;
    Names names(contexts);
    std::string alpha = "alpha";
    const char* const canonical = names.add(alpha);
    EXPECT_STREQ(canonical, "alpha");
    EXPECT_NE(canonical, alpha.c_str());
    EXPECT_EQ(names.add(alpha), canonical);
    EXPECT_EQ(ut_namehash_add_with_length(&names.record, "alphabet", 5), canonical);
    alpha[0] = 'x';
    EXPECT_STREQ(canonical, "alpha");
    EXPECT_EQ(names.lookup("alphabet"), nullptr);

    const char beta[] = "beta";
    const char beta_again[] = "beta";
    EXPECT_EQ(ut_namehash_add_string(&names.record, beta), nullptr) << "it is new";
    EXPECT_EQ(names.lookup("beta"), beta);
    EXPECT_EQ(ut_namehash_add_string(&names.record, beta_again), beta);
    EXPECT_EQ(names.add("beta"), beta) << "adopted names stay canonical";
    const char gamma[] = "gamma";
    EXPECT_EQ(ut_namehash_insert_string(&names.record, gamma), gamma);
    EXPECT_EQ(ut_namehash_insert_string(&names.record, alpha.c_str()), alpha.c_str());
    EXPECT_EQ(ut_namehash_insert_string(&names.record, "alpha"), canonical);

    EXPECT_STREQ(names.add(""), "");
    EXPECT_EQ(ut_namehash_add_with_length(&names.record, nullptr, 0), names.lookup(""));

    std::set<const char*> found;
    ut_ghash_cursor cursor;
    ut_ghash_cursor_init(&names.record.table, &cursor);
    const char* name = nullptr;
    while (ut_namehash_iterate(&names.record, &cursor, &name)) found.insert(name);
    EXPECT_EQ(name, nullptr);
    EXPECT_EQ(found,
              (std::set<const char*>{canonical, beta, gamma, alpha.c_str(), names.lookup("")}));
}

TEST(Namehash, BlocksOfThePool) {
    Contexts contexts;
    Names names(contexts);
    EXPECT_EQ(names.blocks(), 0u);
    names.add("a");
    EXPECT_EQ(names.block_size(), 16024u);
    EXPECT_EQ(names.block_free(), 16000u - 2u);
    // What remains must be greater than the name with its NUL.
    names.add(std::string(15990, 'b'));
    EXPECT_EQ(names.block_free(), 7u);
    names.add("12345");
    EXPECT_EQ(names.blocks(), 1u);
    EXPECT_EQ(names.block_free(), 1u);
    const char* const next = names.add("");
    EXPECT_EQ(names.blocks(), 2u);
    EXPECT_EQ(next, reinterpret_cast<const char*>(names.record.pool_blocks) + 24);

    // 15998 characters are the longest of a common block; with one more the block grows by them.
    const struct {
        size_t length, size, left;
    } cases[] = {
        {15998, 16024, 1}, {15999, 32024, 16000}, {20000, 36025, 16000}, {100000, 116025, 16000}};
    for (const auto& [length, size, left] : cases) {
        Names fresh(contexts);
        EXPECT_EQ(std::strlen(fresh.add(std::string(length, 'd'))), length);
        EXPECT_EQ(fresh.block_size(), size) << length;
        EXPECT_EQ(fresh.block_free(), left) << length;
        fresh.add(std::string(left > 1 ? left - 2 : 0, 'e'));
        EXPECT_EQ(fresh.blocks(), left > 1 ? 1u : 2u) << "carved from the room behind the longest";
    }
}

TEST(Namehash, ManyNamesKeepTheirPointers) {
    Contexts contexts;
    Names names(contexts, 100);
    EXPECT_EQ(names.record.table.min_buckets, 101);
    std::unordered_map<std::string, const char*> expected;
    std::mt19937 random(5);
    for (int i = 0; i < 20000; ++i) {
        std::string name(random() % 30, 'n');
        name += std::to_string(random() % 5000);
        const char* const canonical = names.add(name);
        ASSERT_EQ(canonical, name);
        ASSERT_EQ(expected.emplace(name, canonical).first->second, canonical) << name;
    }
    EXPECT_EQ(static_cast<size_t>(names.record.table.count), expected.size());
    EXPECT_GE(static_cast<size_t>(names.record.table.num_buckets), expected.size());
    for (const auto& [name, canonical] : expected) EXPECT_EQ(names.lookup(name.c_str()), canonical);
}

TEST(Namehash, NameOfTheLargestLengthFindsNoMemory) {
    Contexts contexts;
    Names names(contexts);
    const auto raised = contexts.run(
        [&] { ut_namehash_add_with_length(&names.record, "name", static_cast<size_t>(-1)); });
    EXPECT_EQ(raised.code, UT_OUT_OF_MEMORY);
    EXPECT_EQ(names.record.table.count, 0);
}

TEST(Namehash, OutOfMemoryLosesNoName) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        ut_namehash* const names = ut_new_namehash(&contexts.memory, 0);
        struct Owner {
            ut_namehash* names;
            ~Owner() { ut_delete_namehash(names); }
        } const owner{names};
        const char adopted[] = "adopted";
        // Some share a block, some need the next one, one is longer than a block.
        const size_t lengths[] = {0, 40, 9000, 8000, 20000, 60, 70, 80};
        std::map<std::string, const char*> canonical;
        for (const size_t length : lengths) {
            const std::string name(length, 'x');
            const auto raised = contexts.run([&] {
                ut_namehash_insert_string(names, adopted);
                canonical[name] = ut_namehash_add_with_length(names, name.c_str(), length);
            });
            if (raised.code != 0) canonical[name] = nullptr;
        }
        for (const auto& [name, pointer] : canonical) {
            EXPECT_EQ(ut_namehash_lookup(names, name.c_str()), pointer) << name.size();
        }
    });
}

TEST(SymbolTable, FirstInstalledStaysUntilItIsCleared) {
    Contexts contexts;
    {
        Names first(contexts);
        Names second(contexts);
        EXPECT_EQ(ut_set_symbol_table_nh(&first.record), &first.record);
        EXPECT_EQ(ut_set_symbol_table_nh(&second.record), &first.record);
        const char* const name = ut_symtab_add("symbol");
        EXPECT_EQ(first.lookup("symbol"), name);
        EXPECT_EQ(second.lookup("symbol"), nullptr);
        ut_clear_namehash(&first.record);
        EXPECT_EQ(ut_set_symbol_table_nh(&second.record), &second.record);
    }
    // Forgotten with its record: the current record's name hash takes its place.
    const char* const name = ut_symtab_add("symbol of the current record");
    EXPECT_EQ(ut_namehash_lookup(utGetNamehashContext(), "symbol of the current record"), name);
    Names third(contexts);
    EXPECT_EQ(ut_set_symbol_table_nh(&third.record), utGetNamehashContext());
}

}  // namespace
