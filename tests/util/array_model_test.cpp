// array_model_test.cpp - long random sequences of array operations against a std::vector, with
// callbacks that raise and allocations that fail on the way.
#include <qxut/util/array.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/contexts.h"
#include "support/tracked.h"

namespace {

using qxut_test::Contexts;
using qxut_test::kCallbackRaised;
using qxut_test::Tracked;
using qxut_test::Tracker;

using Values = std::vector<int64_t>;

Tracker& tracker_of(const ut_array* array) { return *static_cast<Tracker*>(array->user_data); }
void copy_tracked(ut_array* array, void* destination, const void* source) {
    tracker_of(array).copy(destination, source);
}
void delete_tracked(ut_array* array, void* element) { tracker_of(array).remove(element); }
int32_t compare_tracked(ut_array* array, const void* a, const void* b) {
    return tracker_of(array).compare(a, b);
}

Values values_of(const ut_array& array, const Tracker& tracker) {
    Values values;
    for (uint64_t i = 0; i < array.length; ++i) {
        const auto& element = *static_cast<Tracked*>(ut_array_get(&array, i));
        if (element.ticket != 0) {
            EXPECT_TRUE(tracker.is_live(element.ticket)) << "a deleted element";
        }
        values.push_back(element.value);
    }
    return values;
}

// Whether `part` is `whole` with some values left out.
bool is_subsequence(const Values& part, const Values& whole) {
    size_t matched = 0;
    for (const int64_t value : whole) {
        if (matched < part.size() && part[matched] == value) ++matched;
    }
    return matched == part.size();
}

// Operations on both; the array and the model of what it is to be afterwards.
struct Operation {
    const char* name;
    void (*perform)(ut_array* array, Values& model, std::mt19937& random);
};

int64_t pick(std::mt19937& random, size_t below) {
    return std::uniform_int_distribution<int64_t>(0, static_cast<int64_t>(below) - 1)(random);
}
Tracked element_of(std::mt19937& random) { return {pick(random, 20), 0}; }

const Operation kListOperations[] = {
    {"append",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         model.push_back(element.value);
         ut_array_append(array, &element);
     }},
    {"insert an element of its own",
     [](ut_array* array, Values& model, std::mt19937& random) {
         if (model.empty()) return;
         const auto i = static_cast<size_t>(pick(random, model.size()));
         const int64_t place = pick(random, model.size() + 1);
         const int64_t value = model[i];
         model.insert(model.begin() + place, value);
         ut_array_insert(array, static_cast<uint64_t>(place), ut_array_get(array, i), 0);
     }},
    {"push",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         model.insert(model.begin(), element.value);
         ut_array_push(array, &element);
     }},
    {"insert",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         const int64_t place = pick(random, model.size() + 1);
         model.insert(model.begin() + place, element.value);
         ut_array_insert(array, static_cast<uint64_t>(place), &element, 0);
     }},
    {"append_new",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         if (std::find(model.begin(), model.end(), element.value) == model.end()) {
             model.push_back(element.value);
         }
         ut_array_append_new(array, &element);
     }},
    {"remove_element",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         const auto found = std::find(model.begin(), model.end(), element.value);
         if (found != model.end()) model.erase(found);
         ut_array_remove_element(array, &element);
     }},
    {"remove",
     [](ut_array* array, Values& model, std::mt19937& random) {
         if (model.empty()) return;
         const int64_t i = pick(random, model.size());
         model.erase(model.begin() + i);
         ut_array_remove(array, static_cast<uint64_t>(i));
     }},
    {"pop",
     [](ut_array* array, Values& model, std::mt19937&) {
         if (!model.empty()) model.erase(model.begin());
         ut_array_pop(array);
     }},
    {"pop_end",
     [](ut_array* array, Values& model, std::mt19937&) {
         if (!model.empty()) model.pop_back();
         ut_array_pop_end(array);
     }},
    {"set_size",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const auto length = static_cast<size_t>(pick(random, model.size() + 5));
         model.resize(length, 0);
         ut_array_set_size(array, length, static_cast<uint64_t>(pick(random, 2 * length + 1)));
     }},
    {"expand",
     [](ut_array* array, Values& model, std::mt19937&) {
         model.resize(model.size() + 2);
         ut_array_expand(array, 2);
     }},
    {"reverse",
     [](ut_array* array, Values& model, std::mt19937&) {
         std::reverse(model.begin(), model.end());
         ut_array_reverse(array);
     }},
    {"append_array",
     [](ut_array* array, Values& model, std::mt19937&) {
         if (model.size() > 40) return;
         model.insert(model.end(), model.begin(), model.end());
         ut_array_append_array(array, array);
     }},
    {"copy",
     [](ut_array* array, Values& model, std::mt19937&) {
         ut_array* const copy = ut_array_copy(array);
         EXPECT_EQ(values_of(*copy, tracker_of(array)), model);
         // A deletion that raises leaves the rest to the next one.
         tracker_of(array).raise_at(Tracker::kNever);
         ut_array_delete(copy);
     }},
    {"clear",
     [](ut_array* array, Values& model, std::mt19937& random) {
         if (pick(random, 10) != 0) return;
         model.clear();
         ut_array_clear(array);
     }},
    {"set",
     [](ut_array* array, Values& model, std::mt19937& random) {
         if (model.empty()) return;
         const Tracked element = element_of(random);
         const auto i = static_cast<size_t>(pick(random, model.size()));
         model[i] = element.value;
         ut_array_set(array, i, &element);
     }},
};

const Operation kSortedOperations[] = {
    {"insert_sorted",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         model.insert(std::lower_bound(model.begin(), model.end(), element.value), element.value);
         ut_array_insert_sorted(array, &element);
     }},
    {"remove_sorted_element",
     [](ut_array* array, Values& model, std::mt19937& random) {
         const Tracked element = element_of(random);
         const auto found = std::lower_bound(model.begin(), model.end(), element.value);
         if (found != model.end() && *found == element.value) model.erase(found);
         ut_array_remove_sorted_element(array, &element);
     }},
};

enum class Trouble { none, callbacks, memory };

template <size_t Count>
void run_sequence(const Operation (&operations)[Count], Trouble trouble, unsigned seed) {
    SCOPED_TRACE(seed);
    Contexts contexts;
    Tracker tracker(&contexts.errors);
    std::mt19937 random(seed);
    ut_array array;
    ut_array_initialize(&array, &contexts.memory, sizeof(Tracked), &tracker, copy_tracked,
                        delete_tracked, compare_tracked);
    Values model;
    for (int step = 0; step < 400; ++step) {
        const Operation& operation = operations[pick(random, Count)];
        SCOPED_TRACE(testing::Message() << "step " << step << ": " << operation.name);
        const Values before = model;
        const auto k = static_cast<size_t>(pick(random, 12));
        if (trouble == Trouble::callbacks) tracker.raise_at(k);
        if (trouble == Trouble::memory) contexts.heap.fail_at(k % 3);
        const auto raised = contexts.run([&] { operation.perform(&array, model, random); });
        tracker.raise_at(Tracker::kNever);
        contexts.heap.fail_at(qxut_test::CountdownHeap::kNever);

        const Values now = values_of(array, tracker);
        if (raised.code == 0) {
            ASSERT_EQ(now, model);
        } else if (raised.code == UT_OUT_OF_MEMORY) {
            ASSERT_EQ(trouble, Trouble::memory);
            ASSERT_EQ(now, before);
        } else {
            // Only elements whose deletion had begun are gone.
            ASSERT_EQ(raised.code, kCallbackRaised);
            ASSERT_EQ(trouble, Trouble::callbacks);
            ASSERT_TRUE(is_subsequence(now, before)) << testing::PrintToString(now);
        }
        model = now;
        size_t owners = 0;
        for (uint64_t i = 0; i < array.length; ++i) {
            owners += static_cast<Tracked*>(ut_array_get(&array, i))->ticket != 0 ? 1 : 0;
        }
        ASSERT_EQ(tracker.live(), owners) << "leaked elements";
    }
    ut_array_clear(&array);
    EXPECT_EQ(tracker.live(), 0u);
}

TEST(ArrayModel, AgreesWithAVector) {
    for (const Trouble trouble : {Trouble::none, Trouble::callbacks, Trouble::memory}) {
        for (unsigned seed = 0; seed < 30; ++seed) {
            run_sequence(kListOperations, trouble, seed);
            run_sequence(kSortedOperations, trouble, seed);
            if (testing::Test::HasFailure()) return;
        }
    }
}

TEST(ArrayModel, EveryAllocationMayFail) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        Tracker tracker(&contexts.errors);
        ut_array* array = nullptr;
        const auto raised = contexts.run([&] {
            array = ut_array_new(&contexts.memory, sizeof(Tracked), &tracker, copy_tracked,
                                 delete_tracked, compare_tracked);
            for (int64_t value = 0; value < 8; ++value) {
                const Tracked element{value, 0};
                ut_array_append(array, &element);
                ut_array_push(array, &element);
                ut_array_insert_sorted(array, &element);
            }
            ut_array_append_array(array, array);
            ut_array_swap(array, 0, 1);
            ut_array_reverse(array);
            ut_array_expand(array, 100);
            ut_array_set_size(array, 3, 1000);
            ut_array_delete(ut_array_copy(array));
        });
        ut_array_delete(array);
        EXPECT_EQ(tracker.live(), 0u);
        if (raised.code != 0) ut_error(&contexts.errors, raised.code);
    });
}

}  // namespace
