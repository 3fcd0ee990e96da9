// memory_test.cpp - allocation through a memory context, and the memory counters.
#include <qxut/util/memory.h>

#include <gtest/gtest.h>

#include <cstring>

#include <qxut/util/heap.h>
#include <qxut/util/memory_counters.h>
#include <qxut/util/output.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;
using qxut_test::CountdownHeap;
using qxut_test::Raised;

TEST(Memory, SizeZeroAsksNobody) {
    Contexts contexts;
    const size_t requests = contexts.heap.requests();
    EXPECT_EQ(ut_mem_alloc(&contexts.memory, 0), nullptr);
    EXPECT_EQ(ut_mem_calloc(&contexts.memory, 0), nullptr);
    EXPECT_EQ(contexts.heap.requests(), requests);
    void* block = ut_mem_alloc(&contexts.memory, 5);
    EXPECT_EQ(ut_mem_realloc(&contexts.memory, block, 0), nullptr);
    EXPECT_EQ(contexts.blocks(), 0u);
}

TEST(Memory, BlocksHoldWhatTheyShould) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        _memory_context* memory = &contexts.memory;
        char* block = nullptr;
        char* copy = nullptr;
        char* empty = nullptr;
        const Raised raised = contexts.run([&] {
            block = static_cast<char*>(ut_mem_calloc(memory, 8));
            EXPECT_EQ(std::memcmp(block, "\0\0\0\0\0\0\0", 8), 0);
            std::memcpy(block, "content", 8);
            block = static_cast<char*>(ut_mem_realloc(memory, block, 800));
            copy = ut_mem_strdup(memory, block);
            EXPECT_STREQ(copy, "content");
            empty = ut_mem_strdup(memory, "");
            EXPECT_STREQ(empty, "");
            empty = static_cast<char*>(ut_mem_realloc(memory, empty, 1));
        });
        EXPECT_EQ(raised.text, raised.code != 0 ? "Error: Out of memory." : "");
        ut_mem_free(memory, block);
        ut_mem_free(memory, copy);
        ut_mem_free(memory, empty);
    });
}

TEST(Memory, NewContext) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        _memory_context* memory =
            ut_new_memory_context(&contexts.errors, CountdownHeap::allocate,
                                  CountdownHeap::reallocate, CountdownHeap::release);
        EXPECT_EQ(memory->error_context, &contexts.errors);
        EXPECT_EQ(memory->error_context_2, &contexts.errors);
        EXPECT_EQ(memory->release, CountdownHeap::release);
        ut_delete_memory_context(memory);
    });
}

// Not those of another one with the same messages.
TEST(Memory, NewContextKnowsItsMessages) {
    CountdownHeap heap;
    int32_t status = -1;
    ut_message_context messages{};
    ut_initialize_message_context(&status, &messages, CountdownHeap::allocate,
                                  CountdownHeap::reallocate);
    _error_context errors{};
    const auto discard = [](void*, const char*, int32_t length) { return length; };
    ut_initialize_error_context(&status, &errors, &messages, discard, nullptr,
                                CountdownHeap::reallocate);
    ASSERT_EQ(status, 0);
    _memory_context* const memory = ut_new_memory_context(
        &errors, CountdownHeap::allocate, CountdownHeap::reallocate, CountdownHeap::release);
    EXPECT_STREQ(ut_get_message_mnemonic(&messages, UT_OUT_OF_MEMORY), "OUT_OF_MEMORY");
    ut_delete_memory_context(memory);
    ut_clear_message_context(&messages, CountdownHeap::release);
    EXPECT_EQ(heap.live_blocks(), 0u);
}

TEST(Memory, RegistrationStatusesAreRaised) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        const ut_message_code codes[] = {500 * 65536 + 1, UT_MESSAGE_CODES_END};
        const char* mnemonics[] = {"M"};
        const char* good[] = {"text %s"};
        const char* bad[] = {"%s and a lone %"};
        const ut_message_table table{1, 500, codes, mnemonics, good, "test"};
        const ut_message_table bad_table{1, 500, codes, mnemonics, bad, "test"};
        const char* without_argument[] = {"Text"};
        const ut_translated_table translated{500, 1, without_argument};
        const ut_language_tables language{1, &translated};

        const auto add = [&](const ut_message_table& added) {
            return contexts.run([&] { ut_mem_add_primary_message_table(&contexts.memory, &added); })
                .code;
        };
        const auto remove = [&] {
            return contexts
                .run([&] { ut_mem_remove_primary_message_table(&contexts.memory, &table); })
                .code;
        };
        const ut_message_code code_of_bad = add(bad_table);
        EXPECT_TRUE(code_of_bad == UT_STRANDED_PER_CENT || code_of_bad == UT_OUT_OF_MEMORY);
        if (add(table) != 0) return;
        EXPECT_STREQ(ut_get_message_mnemonic(&contexts.messages, codes[0]), "M");
        const Raised raised =
            contexts.run([&] { ut_mem_add_language(&contexts.memory, "de", &language); });
        EXPECT_TRUE(raised.code == UT_OMITTED_HOLE || raised.code == UT_OUT_OF_MEMORY);
        EXPECT_EQ(remove(), 0u);
        EXPECT_EQ(remove(), UT_BAD_MSG_CODE);
    });
}

// --- counters ------------------------------------------------------------------------------------

TEST(MemoryCounters, ComeFromTheOperatingSystem) {
    uint64_t before = 0;
    utGetVelumaProcessMem(nullptr, nullptr, &before);
    constexpr size_t kSize = 64u << 20;
    void* block = utMalloc(kSize);
    uint64_t committed = 0;
    utGetVelumaProcessMem(nullptr, nullptr, &committed);
    EXPECT_GE(committed, before + kSize) << "untouched memory counts";
    std::memset(block, 1, kSize);
    uint64_t resident = 0;
    uint64_t peak = 0;
    utGetVelumaProcessMem(&resident, &peak, nullptr);
    EXPECT_GE(resident, kSize);
    EXPECT_GE(peak, resident);
    utFree(block);
    uint64_t later_peak = 0;
    utGetVelumaProcessMem(nullptr, &later_peak, nullptr);
    EXPECT_GE(later_peak, kSize);
}

TEST(MemoryCounters, RetiredOnesOnlyWarn) {
    std::string printed;
    utSetVprintfCallbacks(
        [](const char* text, void* data) {
            *static_cast<std::string*>(data) += text;
            return 0;
        },
        &printed, nullptr, nullptr);
    utGetMemoryPerfCounters();
    utToggleMemoryPerfCounters();
    utClearMemoryPerfCounters();
    EXPECT_FALSE(utAreMemoryPerfCountersEnabled());
    EXPECT_EQ(utGetMemoryCounter(), 0u);
    utSetVprintfCallbacks(nullptr, nullptr, nullptr, nullptr);
    const std::string warning = "Warning: Memory performance counters are no longer supported.\n";
    EXPECT_EQ(printed, warning + warning + warning + warning +
                           "Warning: Memory activity counters are no longer supported.\n");
}

}  // namespace
