// The record's life, and the rule by which big integers get their storage. number_pool.cpp is
// compiled into this program, since its functions do not leave the library.
#include <algorithm>
#include <vector>

#include "util/builtin_tables.h"
#include "util/fpc_support.h"
#include "util/number_pool.h"

namespace {

using namespace qxut_test;
using namespace qxut::number;

bool is_zeroed(const ut_fpc_context& context) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&context);
    return std::all_of(bytes, bytes + sizeof context, [](unsigned char b) { return b == 0; });
}

TEST(FpcContext, Life) {
    sweep_out_of_memory([](Contexts& contexts) {
        ut_fpc_context* const context = ut_new_fpc_context(&contexts.memory);
        EXPECT_EQ(context->memory_context, &contexts.memory);
        EXPECT_EQ(context->pool_cursor, context->private_pool);
        EXPECT_EQ(context->free_lists[7], nullptr);
        EXPECT_STREQ(ut_get_message_mnemonic(&contexts.messages, UT_FPC_BUFFER_TOO_SMALL),
                     "FPC_BUFFER_TOO_SMALL");
        ut_delete_fpc_context(context);
        ut_fpc_context record;
        ut_initialize_fpc_context(&record, &contexts.memory);
        ut_clear_fpc_context(&record);
        EXPECT_TRUE(is_zeroed(record));
        ut_clear_fpc_context(&record);
    });
}

TEST(FpcContext, ConversionsAllocateNothing) {
    FpcContext context;
    context.contexts.heap.fail_at(0, CountdownHeap::Failure::from_then_on);
    const Raised raised = context.contexts.run([&] {
        Doubles doubles;
        for (int i = 0; i < 3000; ++i) {
            const double value = doubles.next();
            dtoa(context, value, 2, 770);
            dtoa(context, value, 3, 1100);
            const std::string digits(static_cast<size_t>(i), '7');
            const auto exponent = static_cast<int>(doubles.below(600)) - 300 - i;
            ut_strtod(context, ("1" + digits + "e" + std::to_string(exponent)).c_str(), nullptr);
            ut_strtod(context,
                      ("9007199254740993" + std::string(static_cast<size_t>(i), '0') + "e-" +
                       std::to_string(i))
                          .c_str(),
                      nullptr);
        }
    });
    EXPECT_EQ(raised.code, 0u);
    EXPECT_FALSE(context.contexts.heap.has_failed());
}

TEST(FpcContext, BlocksComeFromListThenPoolThenMemory) {
    Contexts contexts;
    ut_fpc_context context;
    ut_initialize_fpc_context(&context, &contexts.memory);
    const double* const pool_end = context.private_pool + UT_FPC_POOL_SIZE;

    // Class 7 is 66 doubles long: four blocks fit, 24 doubles are left.
    std::vector<BigInteger*> blocks;
    blocks.reserve(16);
    for (int i = 0; i < 4; ++i) blocks.push_back(take_block(context, 7));
    EXPECT_EQ(contexts.blocks(), 0u);
    EXPECT_EQ(pool_end - context.pool_cursor, 24);
    blocks.push_back(take_block(context, 7));
    EXPECT_EQ(contexts.blocks(), 1u);
    // Smaller ones use the rest to its last double: 10 and 10 and 4 make 24.
    blocks.push_back(take_block(context, 4));
    blocks.push_back(take_block(context, 4));
    blocks.push_back(take_block(context, 2));
    EXPECT_EQ(context.pool_cursor, pool_end);
    blocks.push_back(take_block(context, 0));
    EXPECT_EQ(contexts.blocks(), 2u);

    // A released block is the next one of its class.
    BigInteger* const from_memory = blocks[4];
    release_block(context, from_memory);
    EXPECT_EQ(context.free_lists[7], from_memory);
    EXPECT_EQ(take_block(context, 7), from_memory);
    EXPECT_EQ(context.free_lists[7], nullptr);

    // Larger classes are the memory context's alone.
    BigInteger* const large = take_block(context, 8);
    EXPECT_EQ(large->capacity(), 256u);
    EXPECT_EQ(contexts.blocks(), 3u);
    release_block(context, large);
    EXPECT_EQ(contexts.blocks(), 2u);

    for (BigInteger* const block : blocks) release_block(context, block);
    EXPECT_EQ(contexts.blocks(), 2u);
    ut_clear_fpc_context(&context);
    EXPECT_EQ(contexts.blocks(), 0u);
    EXPECT_TRUE(is_zeroed(context));
}

TEST(FpcContext, RaiseGivesIntegersBack) {
    Contexts contexts;
    ut_fpc_context context;
    ut_initialize_fpc_context(&context, &contexts.memory);
    context.pool_cursor = context.private_pool + UT_FPC_POOL_SIZE;
    contexts.heap.fail_at(1);
    const Raised raised = contexts.run([&] {
        const PooledInteger first(context, 100);
        const PooledInteger second(context, 100);
    });
    EXPECT_EQ(raised.code, UT_OUT_OF_MEMORY);
    EXPECT_NE(context.free_lists[7], nullptr);
    EXPECT_EQ(contexts.blocks(), 1u);
    ut_clear_fpc_context(&context);
}

}  // namespace
