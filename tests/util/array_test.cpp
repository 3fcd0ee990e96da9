// array_test.cpp - dynamic arrays: the growth rule, each operation's documented edges, failures.
#include <qxut/util/array.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;
using testing::ElementsAre;
using testing::IsEmpty;

int32_t sign_of_difference(int64_t a, int64_t b) {
    return static_cast<int32_t>(a > b) - static_cast<int32_t>(a < b);
}
int32_t compare_values(ut_array* /*array*/, const void* a, const void* b) {
    return sign_of_difference(*static_cast<const int64_t*>(a), *static_cast<const int64_t*>(b));
}

// What the recording callbacks saw, in order.
std::vector<int64_t> seen;
void record_deletion(ut_array* /*array*/, void* element) {
    seen.push_back(*static_cast<int64_t*>(element));
}
void negate(ut_array* /*array*/, void* destination, const void* source) {
    EXPECT_EQ(*static_cast<int64_t*>(destination), 0) << "the slot is zeroed";
    *static_cast<int64_t*>(destination) = -*static_cast<const int64_t*>(source);
}

class Array : private qxut_test::NotCopied {
  public:
    explicit Array(Contexts& contexts, const std::vector<int64_t>& values = {},
                   ut_array_delete_fcn delete_fn = nullptr) {
        seen.clear();
        EXPECT_EQ(ut_array_initialize(&record, &contexts.memory, sizeof(int64_t), nullptr, nullptr,
                                      delete_fn, compare_values),
                  0);
        for (const int64_t value : values) ut_array_append(&record, &value);
    }
    ~Array() { ut_array_clear(&record); }

    std::vector<int64_t> values() const {
        std::vector<int64_t> result(record.length);
        if (!result.empty()) std::memcpy(result.data(), record.data, record.length * 8);
        return result;
    }
    int64_t at(uint64_t i) const { return *static_cast<int64_t*>(ut_array_get(&record, i)); }

    ut_array record{};
};

TEST(Array, CapacityFollowsTheGrowthRule) {
    const struct {
        uint64_t length;  // with a capacity of the same
        uint64_t added;
        uint64_t capacity;
    } kRows[] = {
        {0, 1, 6},   {6, 1, 12},   {10, 3, 18},   {48, 1, 54},      {49, 1, 100},
        {0, 49, 54}, {0, 50, 100}, {100, 1, 202}, {100, 900, 2000}, {7, 0, 7},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.length << " + " << row.added);
        Contexts contexts;
        Array array(contexts);
        ut_array_set_size(&array.record, row.length, UT_ARRAY_NOT_FOUND);
        EXPECT_EQ(array.record.capacity, row.length);
        ut_array_expand(&array.record, row.added);
        EXPECT_EQ(array.record.length, row.length + row.added);
        EXPECT_EQ(array.record.capacity, row.capacity);
        EXPECT_EQ(array.values(), std::vector<int64_t>(row.length + row.added, 0));
    }
}

TEST(Array, SetSizeDeletesZeroesAndTakesTheCapacityAsGiven) {
    Contexts contexts;
    Array array(contexts, {1, 2, 3, 4, 5, 6, 7, 8}, record_deletion);
    void* const block = array.record.data;
    ut_array_set_size(&array.record, 5, 2);
    EXPECT_EQ(array.record.data, block);
    EXPECT_EQ(array.record.capacity, 2u) << "below the length and the block";
    EXPECT_THAT(seen, ElementsAre(6, 7, 8));
    EXPECT_THAT(array.values(), ElementsAre(1, 2, 3, 4, 5));

    // The elements are kept through sizes that the capacity alone would make too small.
    ut_array_set_size(&array.record, 5, 3);
    ut_array_set_size(&array.record, 12, 3);
    EXPECT_EQ(array.record.capacity, 3u);
    EXPECT_THAT(array.values(), ElementsAre(1, 2, 3, 4, 5, 0, 0, 0, 0, 0, 0, 0));
    const int64_t value = 13;
    ut_array_append(&array.record, &value);
    EXPECT_EQ(array.record.capacity, 18u);
    EXPECT_EQ(array.at(12), 13);
    ut_array_set_size(&array.record, 0, UT_ARRAY_NOT_FOUND);
    EXPECT_EQ(array.record.capacity, 0u);
}

TEST(Array, ShrinkKeepsTheCapacityExceptTheOneThatMeansTheLength) {
    Contexts contexts;
    Array array(contexts, {1, 2, 3, 4}, record_deletion);
    ut_array_shrink(&array.record, 2);
    EXPECT_THAT(seen, ElementsAre(3, 4));
    EXPECT_EQ(array.record.capacity, 6u);
    array.record.capacity = UT_ARRAY_NOT_FOUND;
    ut_array_shrink(&array.record, 1);
    EXPECT_EQ(array.record.capacity, 1u);
    EXPECT_EQ(contexts.run([&] { ut_array_shrink(&array.record, 2); }).code, UT_OUT_OF_MEMORY);
    EXPECT_THAT(array.values(), ElementsAre(1));
}

TEST(Array, ElementSizeOfZeroIsRefused) {
    Contexts contexts;
    ut_array record;
    for (const bool allocated : {false, true}) {
        const auto raised = contexts.run([&] {
            if (allocated)
                ut_array_new(&contexts.memory, 0, nullptr, nullptr, nullptr, nullptr);
            else
                ut_array_initialize(&record, &contexts.memory, 0, nullptr, nullptr, nullptr,
                                    nullptr);
        });
        EXPECT_EQ(raised.code, UT_ARRAY_INVALID_DATASIZE);
        EXPECT_EQ(raised.text, "Internal Error: Size of array data elements must be non-zero.");
        EXPECT_EQ(contexts.blocks(), 0u);
    }
}

TEST(Array, AnswersForIndicesOutOfRange) {
    Contexts contexts;
    Array array(contexts);
    int64_t value = 1;
    EXPECT_EQ(ut_array_head(&array.record), nullptr);
    EXPECT_EQ(ut_array_tail(&array.record), nullptr);
    EXPECT_TRUE(ut_array_is_empty(&array.record));
    ut_array_pop(&array.record);
    ut_array_pop_end(&array.record);
    ut_array_append(&array.record, &value);
    for (const uint64_t i : {uint64_t{1}, UT_ARRAY_NOT_FOUND, UINT64_MAX}) {
        EXPECT_EQ(ut_array_get(&array.record, i), nullptr);
        EXPECT_EQ(ut_array_insert(&array.record, i, &value, 1), nullptr) << i;
        EXPECT_FALSE(ut_array_reclaim(&array.record, i, &value));
        ut_array_remove(&array.record, i);
    }
    EXPECT_EQ(ut_array_insert(&array.record, 2, &value, 0), nullptr);
    EXPECT_THAT(array.values(), ElementsAre(1));
    EXPECT_EQ(ut_array_head(&array.record), ut_array_tail(&array.record));
}

TEST(Array, InsertsAfterForExactlyOne) {
    const struct {
        uint64_t index;
        int32_t after;
        std::vector<int64_t> expected;
    } kRows[] = {
        {0, 0, {9, 1, 2}}, {0, 1, {1, 9, 2}}, {0, 2, {9, 1, 2}},   {1, -1, {1, 9, 2}},
        {1, 1, {1, 2, 9}}, {2, 0, {1, 2, 9}}, {1, 257, {1, 9, 2}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.index << ", after " << row.after);
        Contexts contexts;
        Array array(contexts, {1, 2});
        const int64_t value = 9;
        EXPECT_EQ(
            *static_cast<int64_t*>(ut_array_insert(&array.record, row.index, &value, row.after)),
            9);
        EXPECT_EQ(array.values(), row.expected);
    }
}

TEST(Array, SearchesPassTheirArgumentsInOppositeOrders) {
    Contexts contexts;
    static int64_t key = -1;
    static bool key_first = false;
    ut_array array;
    ut_array_initialize(&array, &contexts.memory, 8, nullptr, nullptr, nullptr,
                        [](ut_array* self, const void* a, const void* b) {
                            EXPECT_EQ(key_first ? a : b, &key);
                            return compare_values(self, a, b);
                        });
    for (int64_t value = 0; value < 10; value += 2) ut_array_append(&array, &value);
    for (key = -1; key < 10; ++key) {
        const bool present = key >= 0 && key % 2 == 0;
        key_first = false;
        const uint64_t linear = ut_array_index_of(&array, &key);
        EXPECT_EQ(ut_array_is_member(&array, &key), present);
        void* const found = ut_array_find(&array, &key);
        key_first = true;
        EXPECT_EQ(ut_array_sorted_index_of(&array, &key), linear);
        EXPECT_EQ(ut_array_is_member_sorted(&array, &key), present);
        EXPECT_EQ(ut_array_find_sorted(&array, &key), found);
        EXPECT_EQ(ut_array_find_sorted_index_of(&array, &key), static_cast<uint64_t>(key + 1) / 2);
        EXPECT_EQ(linear, present ? static_cast<uint64_t>(key / 2) : 4294967295u);
        EXPECT_EQ(found, present ? ut_array_get(&array, linear) : nullptr);
    }
    ut_array_clear(&array);
    EXPECT_EQ(ut_array_find_sorted_index_of(&array, &key), 0u);
    EXPECT_EQ(ut_array_sorted_index_of(&array, &key), UT_ARRAY_NOT_FOUND);
}

// The halving as it is defined, one step after the other.
uint64_t halve(const std::vector<int64_t>& values, int64_t key) {
    uint64_t low = 0;
    uint64_t high = values.size() - 1;
    uint64_t middle = high / 2;
    while (values[middle] != key && low < high) {
        if (key > values[middle]) {
            low = middle + 1;
        } else if (middle == 0) {
            low = low + 1;
            high = 0;
        } else {
            high = middle - 1;
        }
        middle = (low + high) / 2;
    }
    return key > values[middle] ? middle + 1 : middle;
}

TEST(Array, SortedSearchIsThePlainHalving) {
    std::mt19937 random(1);
    for (size_t n = 1; n < 200; n += 1 + n / 20) {
        std::vector<int64_t> values(n);
        for (auto& value : values) value = 2 * static_cast<int64_t>(random() % (n / 2 + 1));
        std::sort(values.begin(), values.end());
        // Large elements make a list that is searched as a long one is.
        for (const uint64_t size : {8u, 8192u}) {
            Contexts contexts;
            ut_array array;
            ut_array_initialize(&array, &contexts.memory, size, nullptr, nullptr, nullptr,
                                compare_values);
            ut_array_expand(&array, n);
            for (size_t i = 0; i < n; ++i) {
                *static_cast<int64_t*>(ut_array_get(&array, i)) = values[i];
            }
            for (int64_t key = -1; key < static_cast<int64_t>(n) + 4; ++key) {
                ASSERT_EQ(ut_array_find_sorted_index_of(&array, &key), halve(values, key))
                    << key << " in " << testing::PrintToString(values);
            }
            ut_array_clear(&array);
        }
    }
}

// An array in address space that nothing backs: its comparison goes by the elements' addresses.
TEST(Array, SortedSearchAndAccessReachBeyond32Bits) {
    Contexts contexts;
    constexpr uint64_t kLength = (uint64_t{1} << 33) + 7;
    static constexpr uintptr_t kBase = uintptr_t{1} << 40;
    ut_array array;
    ut_array_initialize(&array, &contexts.memory, 2, nullptr, nullptr, nullptr,
                        [](ut_array* /*self*/, const void* key, const void* stored) {
                            const uint64_t index =
                                (reinterpret_cast<uintptr_t>(stored) - kBase) / 2;
                            return sign_of_difference(*static_cast<const int64_t*>(key),
                                                      static_cast<int64_t>(index));
                        });
    array.data = reinterpret_cast<void*>(kBase);
    array.length = array.capacity = kLength;
    for (const uint64_t index : {uint64_t{0}, UT_ARRAY_NOT_FOUND - 1, UT_ARRAY_NOT_FOUND,
                                 UT_ARRAY_NOT_FOUND + 1, kLength - 1}) {
        const auto key = static_cast<int64_t>(index);
        EXPECT_EQ(ut_array_sorted_index_of(&array, &key), index);
        // The address tells the element at the not-found index from none.
        EXPECT_EQ(ut_array_find_sorted(&array, &key), reinterpret_cast<void*>(kBase + 2 * index));
        EXPECT_EQ(ut_array_get(&array, index), reinterpret_cast<void*>(kBase + 2 * index));
    }
    const int64_t beyond = int64_t{1} << 60;
    EXPECT_EQ(ut_array_find_sorted_index_of(&array, &beyond), kLength);
    EXPECT_EQ(ut_array_tail(&array), reinterpret_cast<void*>(kBase + 2 * (kLength - 1)));
}

TEST(Array, SizesBeyondTheAddressSpaceAreOutOfMemory) {
    const struct {
        const char* name;
        uint64_t elem_size;
        std::function<void(ut_array*)> operation;
    } kRows[] = {
        {"sum wraps", 1, [](ut_array* a) { ut_array_expand(a, UINT64_MAX); }},
        {"doubling wraps", 1, [](ut_array* a) { ut_array_expand(a, INT64_MAX); }},
        {"bytes wrap to few", uint64_t{1} << 32,
         [](ut_array* a) { ut_array_set_size(a, uint64_t{1} << 32, UT_ARRAY_NOT_FOUND); }},
        {"bytes wrap when grown", uint64_t{1} << 61, [](ut_array* a) { ut_array_expand(a, 3); }},
        {"capacity", 8, [](ut_array* a) { ut_array_set_size(a, 0, UINT64_MAX / 4); }},
        {"half of the address space", 1,
         [](ut_array* a) { ut_array_set_size(a, uint64_t{1} << 63, UT_ARRAY_NOT_FOUND); }},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        Contexts contexts;
        ut_array array;
        ut_array_initialize(&array, &contexts.memory, row.elem_size, nullptr, nullptr, nullptr,
                            nullptr);
        EXPECT_EQ(contexts.run([&] { row.operation(&array); }).code, UT_OUT_OF_MEMORY);
        EXPECT_EQ(array.length + array.capacity, 0u);
        EXPECT_EQ(array.data, nullptr);
    }
}

TEST(Array, CopyCallbackFindsAZeroedSlotAndTheElement) {
    Contexts contexts;
    ut_array array;
    ut_array_initialize(&array, &contexts.memory, 8, nullptr, negate, nullptr, compare_values);
    for (int64_t value = 1; value < 8; ++value) ut_array_push(&array, &value);
    ut_array_pop_end(&array);
    ut_array_append(&array, ut_array_head(&array));
    EXPECT_EQ(*static_cast<int64_t*>(ut_array_tail(&array)), 7);
    ut_array* const copy = ut_array_copy(&array);
    EXPECT_EQ(*static_cast<int64_t*>(ut_array_head(copy)), 7);
    EXPECT_EQ(ut_array_append_array(copy, copy), copy);
    EXPECT_EQ(copy->length, 14u);
    EXPECT_EQ(*static_cast<int64_t*>(ut_array_get(copy, 7)), -7);
    ut_array_delete(copy);
    ut_array_clear(&array);
}

TEST(Array, ReclaimedElementIsTheCallers) {
    Contexts contexts;
    Array array(contexts, {1, 2, 3}, record_deletion);
    int64_t out = 0;
    EXPECT_TRUE(ut_array_reclaim(&array.record, 1, &out));
    EXPECT_EQ(out, 2);
    EXPECT_THAT(array.values(), ElementsAre(1, 3));
    EXPECT_THAT(seen, IsEmpty());
    const int64_t value = 5;
    ut_array_set(&array.record, 0, &value);
    EXPECT_THAT(seen, ElementsAre(1));
    EXPECT_THAT(array.values(), ElementsAre(5, 3));
}

TEST(Array, SwapsAndReversesThroughOneTemporary) {
    Contexts contexts;
    Array array(contexts, {1, 2, 3, 4, 5});
    const size_t requests = contexts.heap.requests();
    ut_array_swap(&array.record, 2, 2);
    EXPECT_EQ(contexts.heap.requests(), requests);
    ut_array_swap(&array.record, 0, 3);
    ut_array_reverse(&array.record);
    EXPECT_THAT(array.values(), ElementsAre(5, 1, 3, 2, 4));
    EXPECT_EQ(contexts.heap.requests(), requests + 2);
}

TEST(Array, ArraysOfOtherAttributesAreNotAppended) {
    Contexts contexts;
    Array array(contexts, {1, 2, 3, 4, 5, 6});
    const std::function<void(ut_array&)> kChanges[] = {
        [](ut_array& a) { a.copy_fn = negate; },
        [](ut_array& a) { a.delete_fn = record_deletion; },
        [](ut_array& a) { a.compare_fn = [](ut_array*, const void*, const void*) { return 0; }; },
        [](ut_array& a) { a.elem_size = 4; },
        [](ut_array& a) { a.user_data = &a; },
    };
    for (const auto& change : kChanges) {
        Array other(contexts, {1});
        change(other.record);
        EXPECT_FALSE(ut_array_are_compatible(&array.record, &other.record));
        EXPECT_EQ(ut_array_append_array(&array.record, &other.record), nullptr);
        EXPECT_EQ(ut_array_compare(&array.record, &other.record), 1) << "not compared";
    }
    EXPECT_EQ(array.record.length, 6u);
    EXPECT_EQ(ut_array_append_array(&array.record, &array.record), &array.record);
    EXPECT_THAT(array.values(), ElementsAre(1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6));
}

TEST(Array, CompareLooksAtTheFirstArraysElementsOnly) {
    const struct {
        std::vector<int64_t> a, b;
        int32_t result;
    } kRows[] = {
        {{}, {1}, 1},           {{1, 2}, {1, 2}, 1}, {{1, 2}, {1, 2, 3}, 1},
        {{1, 2, 3}, {1, 2}, 0}, {{1, 2}, {1, 3}, 0}, {{1, 2, 0}, {1, 2}, 1},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.a) + testing::PrintToString(row.b));
        Contexts contexts;
        Array a(contexts, row.a);
        Array b(contexts);
        // Room for a's elements behind b's, zeroed.
        ut_array_expand(&b.record, 6);
        ut_array_shrink(&b.record, 6);
        for (const int64_t value : row.b) ut_array_append(&b.record, &value);
        EXPECT_EQ(ut_array_compare(&a.record, &b.record), row.result);
        EXPECT_EQ(ut_array_compare(&a.record, &a.record), 1);
    }
}

TEST(Array, AppliesTheUserDataInOrder) {
    Contexts contexts;
    Array array(contexts, {4, 5, 6});
    std::vector<int64_t> visited;
    array.record.user_data = &visited;
    ut_array_apply(&array.record, [](void* user_data, void* element) {
        static_cast<std::vector<int64_t>*>(user_data)->push_back(*static_cast<int64_t*>(element));
    });
    EXPECT_THAT(visited, ElementsAre(4, 5, 6));
}

// Sizes other than the one that copies go in line for, with elements that are not aligned.
TEST(Array, ElementsOfAnySize) {
    for (const uint64_t size : {1u, 3u, 8u, 12u, 100u}) {
        Contexts contexts;
        ut_array* const array =
            ut_array_new(&contexts.memory, size, nullptr, nullptr, nullptr, nullptr);
        std::string element(size, '\0');
        for (int i = 0; i < 60; ++i) {
            element.assign(size, static_cast<char>(i % 10 + 'a'));
            EXPECT_EQ(ut_array_append_new(array, element.data()), i < 10 ? 1 : 0);
        }
        ut_array_reverse(array);
        ut_array_swap(array, 1, 8);
        std::string text;
        for (uint64_t i = 0; i < array->length; ++i) {
            text += std::string(static_cast<char*>(ut_array_get(array, i)), size)[size - 1];
        }
        EXPECT_EQ(text, "jbhgfedcia");
        ut_array_remove_element(array, element.data());
        EXPECT_EQ(array->length, 9u);
        EXPECT_FALSE(ut_array_is_member(array, element.data()));
        ut_array_delete(array);
    }
}

}  // namespace
