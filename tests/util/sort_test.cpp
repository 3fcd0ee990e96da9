#include <qxut/util/sort.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <qxut/util/contexts.h>
#include <qxut/util/interrupt.h>

#include "support/countdown_heap.h"

namespace {

using qxut_test::CountdownHeap;

// --- the definition, written out -------------------------------------------------------------

// An element: a key that is compared and a tag that tells equal elements apart.
struct Item {
    uint16_t key;
    uint16_t tag;
    bool operator==(const Item&) const = default;
};

struct Definition {
    std::vector<Item>& items;

    int order(int a, int b) const {
        return items[static_cast<size_t>(a)].key - items[static_cast<size_t>(b)].key;
    }
    void exchange(int a, int b) {
        std::swap(items[static_cast<size_t>(a)], items[static_cast<size_t>(b)]);
    }

    int choose_pivot(int lo, int hi) const {
        const int mid = (lo + hi) / 2;
        const int c = order(lo, mid);
        if (c == 0) return lo;
        if (c > 0) {
            if (order(mid, hi) < 0) return order(lo, hi) <= 0 ? lo : hi;
            return mid;
        }
        if (order(lo, hi) >= 0) return lo;
        return order(mid, hi) <= 0 ? mid : hi;
    }

    int partition(int lo, int hi) {
        const int k = choose_pivot(lo, hi);
        int i = lo;
        int j = hi;
        for (;;) {
            if (order(i, k) <= 0) do {
                    if (i == hi) break;
                    ++i;
                } while (i < hi && order(i, k) <= 0);
            if (order(j, k) >= 0) do {
                    if (j == lo) break;
                    --j;
                } while (j > lo && order(j, k) >= 0);
            if (i >= j) break;
            exchange(i, j);
        }
        if (j > k) {
            exchange(k, j);
            return j;
        }
        if (i < k) {
            exchange(k, i);
            return i;
        }
        return k;
    }

    void sort(int lo, int hi) {
        while (lo < hi) {
            const int p = partition(lo, hi);
            sort(lo, p - 1);
            lo = p + 1;
        }
    }
};

void sort_by_definition(std::vector<Item>& items) {
    Definition{items}.sort(0, static_cast<int>(items.size()) - 1);
}

// --- inputs ------------------------------------------------------------------------------------

struct Pattern {
    const char* name;
    std::function<uint16_t(size_t i, size_t n, std::mt19937& random)> key;
};

uint16_t narrow(size_t value) { return static_cast<uint16_t>(value); }

const Pattern kPatterns[] = {
    {"n values", [](size_t, size_t n, auto& random) { return narrow(random() % n); }},
    {"two values", [](size_t, size_t, auto& random) { return narrow(random() % 2); }},
    {"ten values", [](size_t, size_t, auto& random) { return narrow(random() % 10); }},
    {"few ones", [](size_t, size_t, auto& random) { return narrow(random() % 50 == 0); }},
    {"equal", [](size_t, size_t, auto&) { return narrow(5); }},
    {"ascending", [](size_t i, size_t, auto&) { return narrow(i); }},
    {"ascending with ties", [](size_t i, size_t, auto&) { return narrow(i / 3); }},
    {"descending", [](size_t i, size_t n, auto&) { return narrow(n - i); }},
    {"descending with ties", [](size_t i, size_t n, auto&) { return narrow((n - i) / 3); }},
    {"organ pipe", [](size_t i, size_t n, auto&) { return narrow(std::min(i, n - i)); }},
    {"saw", [](size_t i, size_t, auto&) { return narrow(i % 37); }},
    {"blocks", [](size_t i, size_t n, auto&) { return narrow(i * 7 / (n + 1) % 3); }},
    {"nearly ascending",
     [](size_t i, size_t, auto& random) { return narrow(random() % 40 == 0 ? random() % 99 : i); }},
    {"tail with ties", [](size_t i, size_t n,
                          auto& random) { return narrow((i + n / 9 < n ? i : random() % n) / 5); }},
};

std::vector<Item> make_items(const Pattern& pattern, size_t n, std::mt19937& random) {
    std::vector<Item> items(n);
    for (size_t i = 0; i < n; ++i) items[i] = {pattern.key(i, n, random), narrow(i)};
    return items;
}

// --- ut_qsort over items in elements of any size -------------------------------------------------

int32_t compare_items(void* calls, const void* a, const void* b) {
    if (calls != nullptr) ++*static_cast<uint64_t*>(calls);
    uint16_t key_a = 0;
    uint16_t key_b = 0;
    std::memcpy(&key_a, a, sizeof key_a);
    std::memcpy(&key_b, b, sizeof key_b);
    return key_a - key_b;
}

// The item stands at the front of its element, which is filled up with bytes that follow from it.
unsigned char filler(Item item, size_t at) {
    return static_cast<unsigned char>(item.tag * 31 + item.key + at);
}

std::vector<Item> sort_in_elements(const std::vector<Item>& items, size_t size) {
    // One byte off: the array need not be aligned.
    std::vector<unsigned char> bytes(items.size() * size + 1);
    for (size_t i = 0; i < items.size(); ++i) {
        unsigned char* const element = bytes.data() + 1 + i * size;
        std::memcpy(element, &items[i], sizeof(Item));
        for (size_t at = sizeof(Item); at < size; ++at) element[at] = filler(items[i], at);
    }
    ut_qsort(bytes.data() + 1, static_cast<uint32_t>(items.size()), size, nullptr, compare_items);
    std::vector<Item> result(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        const unsigned char* const element = bytes.data() + 1 + i * size;
        std::memcpy(&result[i], element, sizeof(Item));
        for (size_t at = sizeof(Item); at < size; ++at)
            EXPECT_EQ(element[at], filler(result[i], at)) << "element " << i << " was torn";
    }
    return result;
}

TEST(Sort, EveryWayGivesTheDefinedOrder) {
    constexpr size_t kElementSizes[] = {4, 8, 16, 24, 48, 5, 14};
    std::mt19937 random(11);
    constexpr size_t kSizes[] = {0,  1,   2,   3,   5,   8,   15,  16,  17,  18,   31,  33,
                                 64, 100, 255, 256, 257, 300, 400, 511, 512, 1000, 2500};
    for (const size_t n : kSizes) {
        for (const Pattern& pattern : kPatterns) {
            const auto items = make_items(pattern, n, random);
            auto expected = items;
            sort_by_definition(expected);
            for (const size_t size : kElementSizes) {
                SCOPED_TRACE(std::string(pattern.name) + ", " + std::to_string(n) +
                             " elements of " + std::to_string(size) + " bytes");
                ASSERT_EQ(sort_in_elements(items, size), expected);
                if (n > 500) break;
            }
        }
    }
}

// All arrangements of up to six elements, and so of all their ties.
TEST(Sort, SmallArraysGiveTheDefinedOrder) {
    for (size_t n = 1; n <= 6; ++n) {
        std::vector<Item> items(n);
        for (size_t i = 0; i < n; ++i) items[i].tag = narrow(i);
        for (;;) {
            auto expected = items;
            sort_by_definition(expected);
            auto sorted = items;
            ut_qsort(sorted.data(), static_cast<uint32_t>(n), sizeof(Item), nullptr, compare_items);
            ASSERT_EQ(sorted, expected);
            size_t digit = 0;
            while (digit < n && ++items[digit].key == n) items[digit++].key = 0;
            if (digit == n) break;
        }
    }
}

// --- bounded work

// Many small elements behind ascending ones: each pivot is among the least, and the partition moves
// the next few to the end, where they spoil the next pivot.
TEST(Sort, QuadraticInputIsFinishedByHeap) {
    constexpr size_t n = 60'000;
    std::vector<Item> items(n);
    for (size_t i = 0; i < n; ++i) items[i] = {narrow(i < n - 2000 ? i : i % 7), narrow(i)};
    auto expected = items;
    std::ranges::sort(expected, {}, [](Item item) { return std::pair(item.key, item.tag); });
    uint64_t calls = 0;
    ut_qsort(items.data(), n, sizeof(Item), &calls, compare_items);
    EXPECT_TRUE(std::ranges::is_sorted(items, {}, &Item::key));
    std::ranges::sort(items, {}, [](Item item) { return std::pair(item.key, item.tag); });
    EXPECT_EQ(items, expected);
    constexpr uint64_t kPatience = 4 * n * 16 + 4'000'000;
    EXPECT_GT(calls, kPatience) << "the quicksort did it alone";
    EXPECT_LT(calls, kPatience + 2 * n * 16 + 5 * n);
}

TEST(Sort, TellingInputsTakeLinearTime) {
    constexpr size_t n = 60'000;
    std::mt19937 random(5);
    for (const char* name : {"equal", "ascending", "descending", "two values", "few ones"}) {
        const auto pattern = std::ranges::find(kPatterns, std::string(name),
                                               [](const Pattern& p) { return p.name; });
        auto items = make_items(*pattern, n, random);
        uint64_t calls = 0;
        ut_qsort(items.data(), n, sizeof(Item), &calls, compare_items);
        EXPECT_LT(calls, 10 * n) << name;
        EXPECT_TRUE(std::ranges::is_sorted(items, {}, &Item::key)) << name;
    }
}

// --- comparisons that misbehave

struct Nonsense {
    const int* first;
    const int* last;
    std::mt19937 random;
    int answers;
    static int32_t compare(void* self, const void* a, const void* b) {
        auto& nonsense = *static_cast<Nonsense*>(self);
        for (const void* element : {a, b}) {
            EXPECT_GE(element, nonsense.first);
            EXPECT_LE(element, nonsense.last);
        }
        return static_cast<int32_t>(nonsense.random() % 3) - nonsense.answers;
    }
};

TEST(Sort, ContradictoryComparisonStaysInTheArray) {
    for (const uint32_t n : {2u, 16u, 17u, 100u, 300u, 3000u}) {
        for (const int answers : {0, 1, 2}) {  // 0..2, -1..1, -2..0
            std::vector<int> values(n);
            std::iota(values.begin(), values.end(), 0);
            Nonsense nonsense{values.data(), values.data() + n - 1, std::mt19937(3), answers};
            ut_qsort(values.data(), n, sizeof(int), &nonsense, Nonsense::compare);
            std::ranges::sort(values);
            for (uint32_t i = 0; i < n; ++i) ASSERT_EQ(values[i], static_cast<int>(i));
        }
    }
}

// --- memory, errors and interrupts

// A record of contexts on a counting heap, current while it lives.
class Installed : private qxut_test::NotCopied {
  public:
    Installed() {
        EXPECT_EQ(
            utInitializeBasicContexts_full(&record_, fail, nullptr, CountdownHeap::allocate,
                                           CountdownHeap::reallocate, CountdownHeap::release,
                                           ut_bputsn, &record_.error_text_stream, nullptr, nullptr),
            0);
        before_ = utInstallBasicContexts(&record_);
        blocks_ = heap.live_blocks();
    }
    ~Installed() {
        EXPECT_EQ(heap.live_blocks(), blocks_) << "the swap buffer leaked";
        EXPECT_EQ(record_.error_context.cleanup, 0u);
        utInstallBasicContexts(before_);
        utClearBasicContexts(&record_);
    }

    // Runs body in a try frame and returns the code of what it raised.
    ut_message_code run(std::function<void()> body) {
        return ut_try_catch(
            &record_.error_context, &body,
            [](_error_context*, void* data) { (*static_cast<std::function<void()>*>(data))(); },
            [](_error_context*, void*, ut_message_code, va_list) { return 1; });
    }

    CountdownHeap heap;

  private:
    static void fail(void* /*data*/, const char* identifier, int32_t /*code*/,
                     const char* /*text*/) {
        throw std::runtime_error(identifier);
    }
    utBasicContexts record_{};
    utBasicContexts* before_ = nullptr;
    size_t blocks_ = 0;
};

TEST(Sort, TakesAndReturnsTheBufferOfOneElement) {
    Installed installed;
    for (const uint32_t n : {0u, 1u, 2u, 100u}) {
        std::vector<int> values(n, 3);
        const size_t requests = installed.heap.requests();
        ut_qsort(values.data(), n, sizeof(int), nullptr, compare_items);
        EXPECT_EQ(installed.heap.requests(), requests + 1) << n;
    }
    int value = 3;
    installed.heap.fail_at(0);
    EXPECT_EQ(installed.run([&] { ut_qsort(&value, 1, sizeof(int), nullptr, compare_items); }),
              UT_OUT_OF_MEMORY);
}

struct Raising {
    uint64_t calls_left;
    static int32_t compare(void* self, const void* a, const void* b) {
        auto& raising = *static_cast<Raising*>(self);
        if (raising.calls_left-- == 0) ut_error(utGetErrorContext(), UT_ERR_RETHROW, "enough");
        return compare_items(nullptr, a, b);
    }
};

TEST(Sort, RaisingComparisonLeavesAPermutation) {
    std::mt19937 random(17);
    for (const Pattern& pattern : kPatterns) {
        const auto items = make_items(pattern, 400, random);
        for (uint64_t calls = 0;; calls += 1 + calls / 3) {
            Installed installed;
            auto copy = items;
            Raising raising{calls};
            const ut_message_code code = installed.run(
                [&] { ut_qsort(copy.data(), 400, sizeof(Item), &raising, Raising::compare); });
            std::ranges::sort(copy, {}, &Item::tag);
            ASSERT_EQ(copy, items) << pattern.name << ", raised at call " << calls;
            if (code == 0) break;
            ASSERT_EQ(code, UT_ERR_RETHROW);
        }
    }
}

TEST(Sort, LongSortTakesAnInterrupt) {
    Installed installed;
    std::vector<int> values(200'000);
    std::mt19937 random(23);
    for (int& value : values) value = static_cast<int>(random() % 1000);
    utSetInterruptPending(true);
    EXPECT_EQ(installed.run(
                  [&] { ut_qsort(values.data(), 200'000, sizeof(int), nullptr, compare_items); }),
              UT_ERR_SIGNAL_INTERRUPT);
    EXPECT_FALSE(utIsInterruptPending());
}

}  // namespace
