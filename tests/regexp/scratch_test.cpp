// scratch_test.cpp - what a search takes from its thread: no stack to speak of, and no memory that
// it does not leave for the next.
#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <thread>

#include "regexp/matched.h"
#include "regexp/scratch.h"
#include "support/failing_malloc.h"

namespace {

using qxut_test::FailingMalloc;
using qxut_test::Matched;

TEST(Scratch, IsTheThreadsAgain) {
    using qxut::regexp::acquire_scratch;
    using qxut::regexp::release_scratch;
    using qxut::regexp::Scratch;
    Scratch* const outer = acquire_scratch();
    Scratch* const inner = acquire_scratch();
    EXPECT_NE(outer, inner);
    release_scratch(inner);
    EXPECT_EQ(acquire_scratch(), inner);
    release_scratch(inner);
    release_scratch(outer);
    EXPECT_EQ(acquire_scratch(), outer);
    std::thread([&] {
        Scratch* const others = acquire_scratch();
        EXPECT_NE(others, outer);
        EXPECT_NE(others, inner);
        release_scratch(others);
    }).join();
    release_scratch(outer);
}

TEST(Scratch, IsWarmAfterOneSearch) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    Matched matched(u"(?:(a|ab)(c*)|x+?y){2,}(?<=b+|c)(?!q)");
    const std::u16string text(300, u'a');
    (void)matched.find(text + u"abcabccxy");
    size_t extents[8];
    const FailingMalloc none(0, true);
    for (int i = 0; i < 3; ++i) EXPECT_NO_THROW((void)search(matched.request(), extents));
    EXPECT_FALSE(FailingMalloc::has_failed());
}

TEST(Scratch, GivesBackWhatWasMuch) {
    Matched matched(u"(?:xy|x)*z");
    (void)matched.find(std::u16string(500'000, u'x'));
    qxut::regexp::Scratch* const scratch = qxut::regexp::acquire_scratch();
    EXPECT_LE(scratch->capacity * sizeof(qxut::regexp::Entry) + scratch->records.bytes(),
              size_t{1} << 20);
    qxut::regexp::release_scratch(scratch);
}

TEST(Scratch, SparesTheThreadsStack) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers need more stack";
#endif
    std::function<void()> work = [] {
        constexpr size_t kLength = 50'000'000;
        std::u16string text(kLength, u'x');
        text += u"yz";
        const char16_t* const patterns[] = {u"x*yz",       u"(?:x|q)*yz", u"^.*?yz",
                                            u"(?<=^x+y)z", u"[^z]*+z",    u"(?:xx|x{3})*yz"};
        for (const char16_t* pattern : patterns) {
            Matched matched(pattern);
            matched.request().limits.memory = size_t{1} << 31;
            const std::vector<size_t> found = matched.find(text);
            ASSERT_FALSE(found.empty()) << testing::PrintToString(pattern);
            EXPECT_EQ(found[1], kLength + 2) << testing::PrintToString(pattern);
        }
        std::u16string nested;
        for (int i = 0; i < 100'000; ++i) nested += u"(?>";
        nested += u"x";
        for (int i = 0; i < 100'000; ++i) nested += u"y?)*";
        EXPECT_EQ(Matched(nested).find(u"axa"), (std::vector<size_t>{0, 0}));
    };
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, size_t{64} * 1024), 0);
    pthread_t thread{};
    const auto run = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace
