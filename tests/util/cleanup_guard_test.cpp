// cleanup_guard_test.cpp - a guarded block is freed exactly once, however its scope ends.
#include "util/cleanup_guard.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "support/contexts.h"

namespace {

using qxut::CleanupGuard;
using qxut::free_through;
using qxut_test::Contexts;

// Guards two blocks, one of which moves while it is guarded, runs `inside` and frees or keeps.
struct Guarded {
    Contexts& contexts;
    std::function<void()> inside;
    bool keep = false;
    void* kept = nullptr;

    void operator()() {
        _memory_context* memory = &contexts.memory;
        void* first = ut_mem_alloc(memory, 8);
        CleanupGuard first_guard(&contexts.errors, &first, memory, free_through);
        void* second = nullptr;
        CleanupGuard second_guard(&contexts.errors, &second, memory, free_through);
        second = ut_mem_alloc(memory, 16);
        second = ut_mem_realloc(memory, second, 32);
        inside();
        if (!keep) return;
        second_guard.release();
        second_guard.release();  // harmless
        kept = second;
    }
};

TEST(CleanupGuard, FreesOnceHoweverTheScopeEnds) {
    Contexts other;
    struct Case {
        const char* ends_by;
        std::function<void(Contexts&)> inside;
    };
    const Case cases[] = {
        {"return", [](Contexts&) {}},
        {"raise", [](Contexts& c) { ut_error(&c.errors, UT_ERR_FATAL); }},
        {"foreign exception", [](Contexts&) { throw std::logic_error("foreign"); }},
        {"error of another context", [&](Contexts&) { ut_error(&other.errors, UT_ERR_FATAL); }},
        {"return after an error caught inside",
         [](Contexts& c) {
             c.run([&] { Guarded{c, [&] { ut_error(&c.errors, UT_ERR_FATAL); }}(); });
         }},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.ends_by);
        Contexts contexts;
        Guarded guarded{contexts, [&] { row.inside(contexts); }};
        const auto in_frame = [&] { contexts.run([&] { guarded(); }); };
        try {
            // Heaps nest: that of the other contexts is not used meanwhile.
            const bool caught_by_other = other.run(in_frame).code != 0;
            EXPECT_EQ(caught_by_other, row.ends_by == std::string("error of another context"));
        } catch (const std::logic_error&) {
            EXPECT_STREQ(row.ends_by, "foreign exception");
        }
        EXPECT_EQ(contexts.blocks(), 0u);
        EXPECT_EQ(contexts.errors.cleanup, 0u);
    }
}

TEST(CleanupGuard, UncaughtErrorThatTheHostTurnsIntoAnExceptionFreesOnce) {
    Contexts contexts;
    EXPECT_THROW((Guarded{contexts, [&] { ut_error(&contexts.errors, UT_ERR_FATAL); }}()),
                 std::runtime_error);
    EXPECT_EQ(contexts.blocks(), 0u);
}

TEST(CleanupGuard, ReleaseKeepsTheBlockAndTheOlderGuard) {
    Contexts contexts;
    Guarded guarded{contexts, [] {}, true};
    guarded();
    EXPECT_EQ(contexts.blocks(), 1u);
    ut_mem_free(&contexts.memory, guarded.kept);
}

TEST(CleanupGuard, WithoutAnErrorContextGuardsTheScope) {
    Contexts contexts;
    void* block = ut_mem_alloc(&contexts.memory, 8);
    {
        const CleanupGuard guard(nullptr, &block, &contexts.memory, free_through);
        EXPECT_EQ(contexts.errors.cleanup, 0u);
    }
    EXPECT_EQ(contexts.blocks(), 0u);
}

TEST(CleanupGuard, SurvivesEveryFailedAllocation) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) { Guarded{contexts, [] {}}(); });
}

}  // namespace
