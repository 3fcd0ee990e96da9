#include <qxut/util/memory.h>

#include <gtest/gtest.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;

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

TEST(Memory, FailureIsRaised) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        void* block = nullptr;
        const auto raised = contexts.run([&] {
            block = ut_mem_alloc(&contexts.memory, 8);
            block = ut_mem_realloc(&contexts.memory, block, 800);
        });
        ut_mem_free(&contexts.memory, block);
        if (raised.code != 0) {
            EXPECT_EQ(raised.text, "Error: Out of memory.");
        }
    });
}

}  // namespace
