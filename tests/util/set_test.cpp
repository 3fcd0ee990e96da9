// set_test.cpp - ordered sets, by hand and beside a vector with the index of the cursor.
#include <qxut/util/set.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <vector>

#include "support/failing_malloc.h"

namespace {

using qxut_test::FailingMalloc;
using Values = std::vector<uintptr_t>;

void note(uintptr_t value, uintptr_t values, uintptr_t /*unused*/) {
    reinterpret_cast<Values*>(values)->push_back(value);
}

class Set : private qxut_test::NotCopied {
  public:
    Set(std::initializer_list<uintptr_t> values = {}) {
        for (const uintptr_t value : values) EXPECT_TRUE(utAddElementToEndOfSet(value, set));
    }
    ~Set() { utDestroyNonEmptySet(set); }

    Values values() const {
        Values all;
        utToEachSetElement(set, note, reinterpret_cast<uintptr_t>(&all), 0);
        return all;
    }
    Values values_backward() const {
        Values all;
        utToEachSetElementBackward(set, note, reinterpret_cast<uintptr_t>(&all), 0);
        return all;
    }

    utSet* const set = utCreateSet();
};

TEST(OrderedSet, AStoredZeroEndsStepping) {
    const Set s{1, 0, 2};
    EXPECT_EQ(utGetNumElementsInSet(s.set), 3u);
    EXPECT_EQ(utGetNextSetElement(s.set, 1), 0u);
    EXPECT_EQ(utGetNextSetElement(s.set, 0), 1u);
    utRemoveElementFromSet(0, s.set);
    EXPECT_EQ(s.values(), (Values{1, 2}));
    EXPECT_FALSE(utIsElementInSet(0, s.set)) << "the header's 0 is not an element";
}

TEST(OrderedSet, ACallMayRemoveItsValue) {
    for (const auto to_each : {utToEachSetElement, utToEachSetElementBackward}) {
        const Set s{1, 2, 3, 4, 5};
        to_each(
            s.set,
            [](uintptr_t value, uintptr_t set, uintptr_t mask) {
                if ((value & mask) != 0)
                    utRemoveElementFromSet(value, reinterpret_cast<utSet*>(set));
            },
            reinterpret_cast<uintptr_t>(s.set), 1);
        EXPECT_EQ(s.values(), (Values{2, 4}));
    }
    const Set empty;
    EXPECT_EQ(utGetNextSetElement(empty.set, 0), 0u);
    utDestroyNonEmptySet(nullptr);
    utDestroySet(nullptr);
    utDestroySet(utCreateSet());
}

// What the header says, over a vector.
class Model {
  public:
    Values values;
    std::optional<size_t> cursor;

    size_t find(uintptr_t value) const {
        return static_cast<size_t>(std::find(values.begin(), values.end(), value) - values.begin());
    }
    void insert(size_t index, uintptr_t value) {
        values.insert(values.begin() + static_cast<ptrdiff_t>(index), value);
        if (cursor && *cursor >= index) ++*cursor;
    }
    void remove(uintptr_t value) {
        const size_t index = find(value);
        if (index == values.size()) return;
        values.erase(values.begin() + static_cast<ptrdiff_t>(index));
        if (cursor == index) cursor.reset();
        if (cursor && *cursor > index) --*cursor;
    }
    // Places are counted with the header as 0 and as size + 1.
    size_t place_from_front(uintptr_t value) const {
        if (cursor && values[*cursor] == value) return *cursor + 1;
        const size_t index = find(value);
        return index == values.size() ? 0 : index + 1;
    }
    size_t place_from_back(uintptr_t value) const {
        if (cursor && values[*cursor] == value) return *cursor + 1;
        for (size_t i = values.size(); i > 0; --i) {
            if (values[i - 1] == value) return i;
        }
        return values.size() + 1;
    }
    uintptr_t step_to(size_t place) {
        const bool on_header = place == 0 || place > values.size();
        cursor.reset();
        if (!on_header) cursor = place - 1;
        return on_header ? 0 : values[*cursor];
    }
};

TEST(OrderedSet, AgreesWithAVectorInRandomSteps) {
    std::mt19937 random(3);
    const Set s;
    Model model;
    for (int i = 0; i < 20'000; ++i) {
        SCOPED_TRACE(i);
        const uintptr_t value = 1 + random() % 20;  // few, so that many are there twice
        const uintptr_t existing = random() % 21;   // 0 too
        const bool has_memory = !qxut_test::kCanFailMalloc || random() % 8 != 0;
        // Adds with the next allocation failing now and then; the model follows a success only.
        const auto add = [&](auto&& call) {
            bool added = false;
            {
                const FailingMalloc failing(has_memory ? FailingMalloc::kNever : 0);
                added = call();
            }
            EXPECT_EQ(added, has_memory);
            return added;
        };
        switch (model.values.size() > 60 ? 5 : random() % 10) {
            case 0:
                if (add([&] { return utAddElementToSet(value, s.set); })) model.insert(0, value);
                break;
            case 1:
                if (add([&] { return utAddElementToEndOfSet(value, s.set); })) {
                    model.insert(model.values.size(), value);
                }
                break;
            case 2:
                if (add([&] { return utInsertSetElementAfter(s.set, existing, value); })) {
                    model.insert(model.place_from_front(existing), value);
                }
                break;
            case 3:
                if (add([&] { return utInsertSetElementBefore(s.set, existing, value); })) {
                    model.insert(model.place_from_back(existing) - 1, value);
                }
                break;
            case 4:
                EXPECT_TRUE(utPutElementAtFrontOfSet(value, s.set));
                model.remove(value);
                model.insert(0, value);
                break;
            case 5:
            case 6:
                utRemoveElementFromSet(value, s.set);
                model.remove(value);
                break;
            case 7:
                ASSERT_EQ(utGetNextSetElement(s.set, existing),
                          model.step_to(existing == 0 ? 1 : model.place_from_front(existing) + 1));
                break;
            case 8:
                ASSERT_EQ(utGetPrevSetElement(s.set, existing),
                          model.step_to(existing == 0 ? model.values.size()
                                                      : model.place_from_back(existing) - 1));
                break;
            default:
                // As a walk does it: on from the cursor.
                if (model.cursor) {
                    const uintptr_t reached = model.values[*model.cursor];
                    const uintptr_t expected = model.step_to(*model.cursor + 2);
                    ASSERT_EQ(utGetNextSetElement(s.set, reached), expected);
                }
        }
        ASSERT_EQ(s.values(), model.values);
        ASSERT_EQ(utIsElementInSet(value, s.set), model.find(value) != model.values.size());
    }
    Values backward = s.values_backward();
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(backward, model.values);
    EXPECT_EQ(utGetNumElementsInSet(s.set), model.values.size());
}

TEST(OrderedSet, NoMemoryForTheHeader) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the sanitizer's heap does not fail";
    const FailingMalloc failing(0);
    EXPECT_EQ(utCreateSet(), nullptr);
}

}  // namespace
