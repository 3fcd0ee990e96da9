// heap_test.cpp - the C runtime's heap under the library's names.
#include <qxut/util/heap.h>

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>

// The sanitizers' heaps end the process on a request that is too large, unless told otherwise.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

namespace {

volatile size_t too_large = static_cast<size_t>(-1) / 2 + 1000;
int listener_calls = 0;

class Heap : public testing::Test {
  protected:
    Heap() { listener_calls = 0; }
    ~Heap() override { utSetOutOfMemoryListener(nullptr); }
};

TEST_F(Heap, ZeroSizes) {
    void* const blocks[] = {utMalloc(0),
                            utCalloc(0, 8),
                            utCalloc(8, 0),
                            utRealloc(utMalloc(8), 0),  // a leak check tells that it was freed
                            utMallocWithCheck(0),
                            utCallocWithCheck(0, 8),
                            utReallocWithCheck(utMalloc(8), 0),
                            utNew_deprecated(0),
                            utNewArray_deprecated(0),
                            utNewZero_deprecated(0),
                            utNewArrayZero_deprecated(0)};
    for (const void* block : blocks) EXPECT_EQ(block, nullptr);
    utFree(nullptr);
}

TEST_F(Heap, BlocksAreZeroedAndKeepTheirContent) {
    const char zeros[64] = {};
    char* block = static_cast<char*>(utCalloc(8, 8));
    EXPECT_EQ(std::memcmp(block, zeros, 64), 0);
    std::memset(block, 'x', 64);
    block = static_cast<char*>(utReallocWithCheck(block, 6400));
    EXPECT_EQ(block[63], 'x');
    utFree(block);
    void* single = utNewZero_deprecated(64);
    EXPECT_EQ(std::memcmp(single, zeros, 64), 0);
    ::operator delete(single);
    void* array = utNewArrayZero_deprecated(64);
    EXPECT_EQ(std::memcmp(array, zeros, 64), 0);
    ::operator delete[](array);
}

TEST_F(Heap, FailureReturnsNullUnchecked) {
    EXPECT_EQ(utMalloc(too_large), nullptr);
    EXPECT_EQ(utCalloc(too_large, 16), nullptr);  // the product does not fit
    void* block = utMalloc(8);
    EXPECT_EQ(utRealloc(block, too_large), nullptr);
    utFree(block);
}

TEST_F(Heap, FailureCallsTheListenerOnceThenThrows) {
    void* const block = utMalloc(8);
    const std::function<void*()> forms[] = {
        [] { return utMallocWithCheck(too_large); },
        [] { return utCallocWithCheck(2, too_large); },
        [&] { return utReallocWithCheck(block, too_large); },
        [] { return utNew_deprecated(too_large); },
        [] { return utNewArray_deprecated(too_large); },
        [] { return utNewZero_deprecated(too_large); },
        [] { return utNewArrayZero_deprecated(too_large); },
    };
    int calls = 0;
    for (const bool listening : {true, false}) {
        utSetOutOfMemoryListener(listening ? +[] { ++listener_calls; } : nullptr);
        for (size_t i = 0; i < std::size(forms); ++i) {
            try {
                forms[i]();
                ADD_FAILURE() << "nothing thrown by form " << i;
            } catch (const std::bad_alloc& failure) {
                EXPECT_STREQ(failure.what(), "bad allocation");
            }
            calls += listening ? 1 : 0;
            EXPECT_EQ(listener_calls, calls) << "form " << i;
        }
    }
    utFree(block);
}

}  // namespace
