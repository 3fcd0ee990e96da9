// interval_set_test.cpp - interval sets beside a plain model: one bit for each integer of a window
// that lies at the smallest integers, around 0, or at the largest ones.
#include <qxut/util/interval_set.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include <qxut/util/error.h>
#include <qxut/util/interrupt.h>

#include "support/contexts.h"

namespace {

using qxut_test::Contexts;
using qxut_test::CountdownHeap;

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

using Interval = std::pair<int64_t, int64_t>;
using Intervals = std::vector<Interval>;

class Set : private qxut_test::NotCopied {
  public:
    explicit Set(Contexts& contexts) { ut_initialize_fsi(&set, &contexts.memory); }
    ~Set() { ut_clear_fsi(&set); }

    Intervals intervals() const {
        Intervals all;
        ut_fsi_cursor cursor;
        ut_fsi_interval interval;
        ut_fsi_cursor_init(&set, &cursor);
        while (ut_fsi_iterate(&cursor, &interval)) all.emplace_back(interval.first, interval.last);
        return all;
    }

    ut_fsi set{};
};

constexpr int kWindow = 4096;
constexpr int64_t kBases[] = {kLowest, -kWindow / 2, kHighest - kWindow + 1};

struct Model {
    explicit Model(int64_t window_base) : base(window_base), bits(kWindow) {}

    int64_t value(int index) const { return base + index; }
    bool has(int index) const { return bits[static_cast<size_t>(index)] != 0; }

    Intervals intervals() const {
        Intervals all;
        for (int i = 0; i < kWindow; ++i) {
            if (!has(i)) continue;
            if (i == 0 || !has(i - 1)) all.emplace_back(value(i), value(i));
            all.back().second = value(i);
        }
        return all;
    }

    int64_t base;
    std::vector<char> bits;
};

// Everything that can be asked about a set.
void expect_agreement(const Set& tested, const Model& model) {
    const ut_fsi* set = &tested.set;
    ASSERT_STREQ(ut_fsi_check(set), nullptr);
    const auto expected = model.intervals();
    ASSERT_EQ(tested.intervals(), expected);
    ASSERT_EQ(ut_fsi_num_intervals(set), expected.size());
    ASSERT_EQ(ut_fsi_is_empty(set), expected.empty());
    const auto members = std::count(model.bits.begin(), model.bits.end(), 1);
    ASSERT_EQ(ut_fsi_count(set), static_cast<uint64_t>(members));

    Intervals reversed;
    ut_fsi_cursor cursor;
    ut_fsi_interval interval;
    ut_fsi_cursor_init_end(set, &cursor);
    while (ut_fsi_iterate_backward(&cursor, &interval)) {
        reversed.emplace_back(interval.first, interval.last);
    }
    std::reverse(reversed.begin(), reversed.end());
    ASSERT_EQ(reversed, expected);

    int64_t told = 0;
    ASSERT_EQ(ut_fsi_min(set, &told), !expected.empty());
    ASSERT_EQ(told, expected.empty() ? 0 : expected.front().first);
    ASSERT_EQ(ut_fsi_max(set, &told), !expected.empty());
    ASSERT_EQ(told, expected.empty() ? 0 : expected.back().second);

    std::optional<int64_t> below;  // the last member below the value
    size_t at = 0;                 // the first interval that ends at or above it
    for (int i = 0; i < kWindow; ++i) {
        const int64_t value = model.value(i);
        SCOPED_TRACE(value);
        const bool is_member = model.has(i);
        ASSERT_EQ(ut_fsi_is_member(set, value), is_member);
        told = 0;
        ASSERT_EQ(ut_fsi_previous(set, value, &told), below.has_value());
        ASSERT_EQ(told, below.value_or(0));
        if (is_member) below = value;

        while (at < expected.size() && expected[at].second < value) ++at;
        const bool is_found = at < expected.size();
        const Interval found = is_found ? expected[at] : Interval{0, 0};
        interval = {0, 0};
        ut_fsi_cursor_init_at(set, &cursor, value);
        ASSERT_EQ(ut_fsi_iterate(&cursor, &interval), is_found);
        ASSERT_EQ(Interval(interval.first, interval.last), found);
        ASSERT_EQ(ut_fsi_query_interval(set, value, &interval), is_member);
        ASSERT_EQ(Interval(interval.first, interval.last), found);
        if (value > kLowest) {
            told = 0;
            ASSERT_EQ(ut_fsi_next(set, value - 1, &told), is_found);
            ASSERT_EQ(told, is_found ? std::max(value, found.first) : 0);
        }
    }
}

// Mostly short intervals, now and then one that spans leaves.
std::pair<int, int> random_range(std::mt19937& random) {
    const int first = static_cast<int>(random() % kWindow);
    const auto kind = random() % 64;
    const auto length = kind < 40 ? 1 : kind < 63 ? 1 + random() % 6 : 1 + random() % 700;
    return {first, std::min(first + static_cast<int>(length), kWindow) - 1};
}

// Lets the first or the second allocation of a step fail, then takes the step again.
void random_steps(int64_t base, uint32_t seed) {
    Contexts contexts;
    Set tested(contexts);
    Model model(base);
    std::mt19937 random(seed);
    size_t failures = 0;
    for (int i = 0; i < 8'000; ++i) {
        const auto range = random_range(random);
        const int first = range.first;
        const int last = range.second;
        SCOPED_TRACE(testing::Message() << "step " << i << ": " << first << " to " << last);
        const auto from = model.bits.begin() + first;
        const auto to = model.bits.begin() + last + 1;
        const bool has_all = std::find(from, to, 0) == to;
        const bool has_any = std::find(from, to, 1) != to;
        ASSERT_EQ(ut_fsi_contains_interval(&tested.set, model.value(first), model.value(last)),
                  has_all);
        ASSERT_EQ(ut_fsi_meets_interval(&tested.set, model.value(first), model.value(last)),
                  has_any);
        // The share of insertions rises and falls, so that the tree does too.
        const bool inserts = random() % 2'000 < (i % 4'000 < 2'000 ? 1'300 : 700);
        bool answer = false;
        const auto change = inserts ? ut_fsi_insert_interval : ut_fsi_remove_interval;
        const auto act = [&] {
            answer = change(&tested.set, model.value(first), model.value(last));
        };
        contexts.heap.fail_at(random() % 2);
        if (contexts.run(act).code != 0) {
            ++failures;
            ASSERT_STREQ(ut_fsi_check(&tested.set), nullptr);
            ASSERT_EQ(tested.intervals(), model.intervals());
            contexts.heap.fail_at(CountdownHeap::kNever);
            ASSERT_EQ(contexts.run(act).code, 0u);
        }
        contexts.heap.fail_at(CountdownHeap::kNever);
        ASSERT_EQ(answer, inserts ? has_all : has_any);
        std::fill(from, to, static_cast<char>(inserts));
        if (i % 8 == 0) {
            ASSERT_STREQ(ut_fsi_check(&tested.set), nullptr);
            ASSERT_EQ(tested.intervals(), model.intervals());
        }
        if (i % 1'000 == 999) expect_agreement(tested, model);
        if (testing::Test::HasFatalFailure()) return;
    }
    EXPECT_GT(failures, 20u);
}

TEST(IntervalSet, AgreesWithBitsInRandomSteps) {
    uint32_t seed = 1;
    for (const int64_t base : kBases) {
        SCOPED_TRACE(base);
        random_steps(base, seed++);
    }
}

TEST(IntervalSet, StaysBalancedThroughGrowthAndDecay) {
    constexpr int kCount = 30'000;
    enum class Order { ascending, descending, shuffled };
    const auto in_order = [](Order order) {
        std::vector<int64_t> values(kCount);
        int64_t next = 0;
        for (int64_t& value : values) value = 3 * next++;
        if (order == Order::descending) std::reverse(values.begin(), values.end());
        if (order == Order::shuffled) std::shuffle(values.begin(), values.end(), std::mt19937(5));
        return values;
    };
    for (const Order growth : {Order::ascending, Order::descending, Order::shuffled}) {
        for (const Order decay : {Order::ascending, Order::descending, Order::shuffled}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(growth) << static_cast<int>(decay));
            Contexts contexts;
            Set tested(contexts);
            int step = 0;
            for (const int64_t value : in_order(growth)) {
                ASSERT_FALSE(ut_fsi_insert(&tested.set, value));
                if (++step % 3'000 == 0) {
                    ASSERT_STREQ(ut_fsi_check(&tested.set), nullptr);
                }
            }
            ASSERT_EQ(ut_fsi_count(&tested.set), static_cast<uint64_t>(kCount));
            // Half full at the worst, full where every value came last.
            const size_t fill = growth == Order::ascending ? 32 : 15;
            EXPECT_LE(contexts.blocks(), 1.1 * kCount / static_cast<double>(fill));
            for (const int64_t value : in_order(decay)) {
                ASSERT_TRUE(ut_fsi_remove(&tested.set, value));
                if (++step % 3'000 == 0) {
                    ASSERT_STREQ(ut_fsi_check(&tested.set), nullptr);
                }
            }
            EXPECT_TRUE(ut_fsi_is_empty(&tested.set));
            EXPECT_EQ(contexts.blocks(), 0u);
        }
    }
}

// Sets that grew in ascending order have full nodes, so that it is known where the nodes' borders
// are: 32 intervals to a leaf, 1024 to a node above.
void grow_ascending(Set& set, int64_t count) {
    for (int64_t i = 0; i < count; ++i) ut_fsi_insert(&set.set, 4 * i);
}

TEST(IntervalSet, WholeNodesGoAndComeBack) {
    constexpr int64_t kCount = 3'100;
    Contexts contexts;
    for (const int64_t start : {0, 1, 32, 992, 1'024, 1'056, 2'048, 3'072}) {
        for (const int64_t length : {1, 31, 32, 33, 64, 1'023, 1'024, 1'056}) {
            SCOPED_TRACE(testing::Message() << length << " from " << start);
            Set set(contexts);
            grow_ascending(set, kCount);
            EXPECT_TRUE(ut_fsi_remove_interval(&set.set, 4 * start, 4 * (start + length) - 1));
            ASSERT_STREQ(ut_fsi_check(&set.set), nullptr);
            const int64_t removed = std::min(length, kCount - start);
            EXPECT_EQ(ut_fsi_count(&set.set), static_cast<uint64_t>(kCount - removed));
            for (int64_t i = start + removed - 1; i >= start; --i) ut_fsi_insert(&set.set, 4 * i);
            ASSERT_STREQ(ut_fsi_check(&set.set), nullptr);
            EXPECT_EQ(ut_fsi_count(&set.set), static_cast<uint64_t>(kCount));
        }
    }
}

TEST(IntervalSet, TheRightEdgeMayBeThin) {
    Contexts contexts;
    for (const int64_t full : {32, 1'024, 2'048, 32'768}) {
        for (const int64_t thin : {1, 2, 9, 33}) {
            SCOPED_TRACE(testing::Message() << full << " and " << thin);
            Set set(contexts);
            grow_ascending(set, full + thin);
            for (int64_t left = full + thin - 1; left >= full - 40 && left >= 0; --left) {
                EXPECT_TRUE(ut_fsi_remove(&set.set, 4 * left));
                ASSERT_EQ(ut_fsi_count(&set.set), static_cast<uint64_t>(left));
                ASSERT_STREQ(ut_fsi_check(&set.set), nullptr);
            }
        }
    }
}

TEST(IntervalSet, FullRange) {
    Contexts contexts;
    Set tested(contexts);
    ut_fsi* const set = &tested.set;
    EXPECT_EQ(ut_fsi_count(set), 0u);
    EXPECT_FALSE(ut_fsi_insert_interval(set, kLowest, kHighest));
    int64_t told = 0;
    EXPECT_FALSE(ut_fsi_next(set, kHighest, &told));
    EXPECT_FALSE(ut_fsi_previous(set, kLowest, &told));
    EXPECT_TRUE(ut_fsi_insert(set, kHighest));

    EXPECT_TRUE(ut_fsi_remove(set, 0));
    EXPECT_EQ(ut_fsi_count(set), std::numeric_limits<uint64_t>::max());
    EXPECT_TRUE(ut_fsi_next(set, -1, &told));
    EXPECT_EQ(told, 1);
    EXPECT_TRUE(ut_fsi_remove(set, kLowest));
    EXPECT_TRUE(ut_fsi_remove(set, kHighest));
    EXPECT_EQ(ut_fsi_count(set), std::numeric_limits<uint64_t>::max() - 2);
    EXPECT_EQ(tested.intervals(), (Intervals{{kLowest + 1, -1}, {1, kHighest - 1}}));

    // The ends come back, neighbours of members that are one step away.
    EXPECT_FALSE(ut_fsi_insert(set, kHighest));
    EXPECT_FALSE(ut_fsi_insert(set, kLowest));
    EXPECT_FALSE(ut_fsi_insert(set, 0));
    EXPECT_EQ(tested.intervals(), (Intervals{{kLowest, kHighest}}));
    ut_fsi_complement(set, set, kLowest, kHighest);
    EXPECT_TRUE(ut_fsi_is_empty(set));

    // The two ends are no neighbours of each other.
    ut_fsi_insert(set, kLowest);
    ut_fsi_insert(set, kHighest);
    EXPECT_EQ(tested.intervals(), (Intervals{{kLowest, kLowest}, {kHighest, kHighest}}));
    EXPECT_STREQ(ut_fsi_check(set), nullptr);
}

TEST(IntervalSet, EmptyIntervalsChangeNothing) {
    Contexts contexts;
    Set tested(contexts);
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(ut_fsi_insert_interval(&tested.set, 5, 4));
        EXPECT_FALSE(ut_fsi_remove_interval(&tested.set, kHighest, kLowest));
        EXPECT_TRUE(ut_fsi_contains_interval(&tested.set, 5, 4));
        EXPECT_FALSE(ut_fsi_meets_interval(&tested.set, 5, 4));
        EXPECT_EQ(ut_fsi_count(&tested.set), round == 0 ? 0u : 11u);
        ut_fsi_insert_interval(&tested.set, 0, 10);
    }
    ut_fsi_complement(&tested.set, &tested.set, 5, 4);
    EXPECT_TRUE(ut_fsi_is_empty(&tested.set));
}

TEST(IntervalSet, LifeOfARecord) {
    Contexts contexts;
    ut_fsi* const set = ut_new_fsi(&contexts.memory);
    for (int64_t i = 0; i < 5'000; i += 2) ut_fsi_insert(set, i);
    ut_fsi_empty(set);
    EXPECT_EQ(contexts.blocks(), 1u);
    EXPECT_FALSE(ut_fsi_insert(set, 1));
    ut_clear_fsi(set);
    ut_clear_fsi(set);
    EXPECT_EQ(set->mem_ctx, nullptr);
    ut_initialize_fsi(set, &contexts.memory);
    ut_fsi_insert(set, 1);
    ut_delete_fsi(set);
    ut_delete_fsi(nullptr);
}

// --- sets from sets ---------------------------------------------------------------------------

struct Operation {
    const char* name;
    void (*run)(ut_fsi*, const ut_fsi*, const ut_fsi*);
    bool (*rule)(bool, bool);
};
constexpr Operation kOperations[] = {
    {"union", ut_fsi_union, [](bool a, bool b) { return a || b; }},
    {"intersection", ut_fsi_intersection, [](bool a, bool b) { return a && b; }},
    {"difference", ut_fsi_difference, [](bool a, bool b) { return a && !b; }},
    {"symmetric difference", ut_fsi_symmetric_difference, [](bool a, bool b) { return a != b; }},
    {"copy", [](ut_fsi* result, const ut_fsi* a, const ut_fsi*) { ut_fsi_copy(result, a); },
     [](bool a, bool) { return a; }},
};

// Runs of both kinds with the given mean length.
void fill_randomly(Set& set, Model& model, std::mt19937& random, size_t run_length) {
    for (int i = 0; i < kWindow;) {
        const int end = std::min(kWindow, i + 1 + static_cast<int>(random() % (2 * run_length)));
        if (random() % 2 == 0) {
            ut_fsi_insert_interval(&set.set, model.value(i), model.value(end - 1));
            std::fill(model.bits.begin() + i, model.bits.begin() + end, char{1});
        }
        i = end;
    }
}

void expect_operations(int64_t base, size_t run_a, size_t run_b, std::mt19937& random) {
    Contexts contexts;
    Set a(contexts);
    Set b(contexts);
    Model bits_a(base);
    Model bits_b(base);
    fill_randomly(a, bits_a, random, run_a);
    fill_randomly(b, bits_b, random, run_b);
    bool subset = true;
    for (int i = 0; i < kWindow; ++i) subset = subset && (!bits_a.has(i) || bits_b.has(i));
    EXPECT_EQ(ut_fsi_is_subset(&a.set, &b.set), subset);

    // Within bounds that are often the window's, and now and then the wrong way round.
    for (int round = 0; round < 12; ++round) {
        const int first = round < 4 ? 0 : static_cast<int>(random() % kWindow);
        const int last = round % 2 == 0 ? kWindow - 1 : static_cast<int>(random() % kWindow);
        Model expected(base);
        for (int i = first; i <= last; ++i) {
            expected.bits[static_cast<size_t>(i)] = bits_a.has(i) ? 0 : 1;
        }
        Set result(contexts);
        ut_fsi_complement(&result.set, &a.set, base + first, base + last);
        ASSERT_STREQ(ut_fsi_check(&result.set), nullptr);
        ASSERT_EQ(result.intervals(), expected.intervals()) << first << " to " << last;
    }
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        Model expected(base);
        for (int i = 0; i < kWindow; ++i) {
            const bool wanted = operation.rule(bits_a.has(i), bits_b.has(i));
            expected.bits[static_cast<size_t>(i)] = wanted ? 1 : 0;
        }
        Set result(contexts);
        ut_fsi_insert(&result.set, 17);  // goes
        operation.run(&result.set, &a.set, &b.set);
        ASSERT_STREQ(ut_fsi_check(&result.set), nullptr);
        ASSERT_EQ(result.intervals(), expected.intervals());

        // The result may be one of the operands, or both.
        Set onto_a(contexts);
        ut_fsi_copy(&onto_a.set, &a.set);
        operation.run(&onto_a.set, &onto_a.set, &b.set);
        EXPECT_TRUE(ut_fsi_equal(&onto_a.set, &result.set));
        Set onto_b(contexts);
        ut_fsi_copy(&onto_b.set, &b.set);
        operation.run(&onto_b.set, &a.set, &onto_b.set);
        EXPECT_TRUE(ut_fsi_equal(&onto_b.set, &result.set));
        operation.run(&onto_a.set, &onto_a.set, &onto_a.set);
        EXPECT_EQ(ut_fsi_is_empty(&onto_a.set),
                  ut_fsi_is_empty(&result.set) || !operation.rule(true, true));
        // What was built can be changed.
        for (int64_t i = 0; i < kWindow; i += 5) ut_fsi_remove(&onto_b.set, base + i);
        ASSERT_STREQ(ut_fsi_check(&onto_b.set), nullptr);
    }
}

TEST(IntervalSetAlgebra, AgreesWithBits) {
    std::mt19937 random(11);
    for (const int64_t base : kBases) {
        for (const size_t run_a : {1u, 6u, 4'000u}) {
            for (const size_t run_b : {1u, 40u, 9'000u}) {
                SCOPED_TRACE(testing::Message() << base << " " << run_a << " " << run_b);
                expect_operations(base, run_a, run_b, random);
            }
        }
    }
}

TEST(IntervalSetAlgebra, EqualityLooksAtEveryInterval) {
    Contexts contexts;
    Set a(contexts);
    Set b(contexts);
    EXPECT_TRUE(ut_fsi_equal(&a.set, &b.set));
    // Equal counts of members and intervals, but for one place in the middle.
    for (int64_t i = 0; i < 3'000; i += 3) {
        ut_fsi_insert(&a.set, i);
        ut_fsi_insert(&b.set, i == 1'500 ? 1'501 : i);
    }
    EXPECT_FALSE(ut_fsi_equal(&a.set, &b.set));
    EXPECT_FALSE(ut_fsi_is_subset(&a.set, &b.set));
    ut_fsi_insert(&b.set, 1'500);
    EXPECT_FALSE(ut_fsi_equal(&a.set, &b.set));
    EXPECT_TRUE(ut_fsi_is_subset(&a.set, &b.set));
    EXPECT_FALSE(ut_fsi_is_subset(&b.set, &a.set));
    ut_fsi_remove(&b.set, 1'501);
    EXPECT_TRUE(ut_fsi_equal(&a.set, &b.set));
}

TEST(IntervalSetAlgebra, AnErrorLeavesTheResultAsItWas) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        // Held by the context's heap, so that what an error leaves is the guard's to free.
        struct Sets {
            ut_fsi a, b;
        } sets;
        ut_initialize_fsi(&sets.a, &contexts.memory);
        ut_initialize_fsi(&sets.b, &contexts.memory);
        const auto clear = [](Sets* held) {
            ut_clear_fsi(&held->a);
            ut_clear_fsi(&held->b);
        };
        const std::unique_ptr<Sets, decltype(clear)> holder(&sets, clear);
        for (int64_t i = 0; i < 1'200; i += 4) {
            ut_fsi_insert(&sets.a, i);
            ut_fsi_insert(&sets.b, i + 2);
        }
        for (const Operation& operation : kOperations) {
            Set before(contexts);
            ut_fsi_copy(&before.set, &sets.a);
            const auto raised = contexts.run([&] { operation.run(&sets.a, &sets.a, &sets.b); });
            EXPECT_STREQ(ut_fsi_check(&sets.a), nullptr);
            if (raised.code != 0) {
                EXPECT_EQ(raised.code, static_cast<ut_message_code>(UT_OUT_OF_MEMORY));
                EXPECT_TRUE(ut_fsi_equal(&before.set, &sets.a));
            }
        }
    });
}

TEST(IntervalSetAlgebra, AnInterruptLeavesTheResultAsItWas) {
    Contexts contexts;
    Set a(contexts);
    for (int64_t i = 0; i < 1'000; i += 2) ut_fsi_insert(&a.set, i);
    Set result(contexts);
    ut_fsi_insert(&result.set, 1);
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.name);
        utSetInterruptPending(true);
        EXPECT_EQ(contexts.run([&] { operation.run(&result.set, &a.set, &a.set); }).code,
                  static_cast<ut_message_code>(UT_ERR_SIGNAL_INTERRUPT));
        EXPECT_FALSE(utIsInterruptPending());
        EXPECT_EQ(result.intervals(), (Intervals{{1, 1}}));
    }
}

TEST(IntervalSet, ApplyStopsEarly) {
    Contexts contexts;
    Set set(contexts);
    for (int64_t i = 0; i < 300; i += 3) ut_fsi_insert(&set.set, i);
    struct Seen {
        std::vector<int64_t> firsts;
        size_t wanted;
    } seen{{}, 50};
    const ut_fsi_apply_fcn note = [](const ut_fsi*, void* data, int64_t first, int64_t last) {
        EXPECT_EQ(first, last);
        auto& to = *static_cast<Seen*>(data);
        to.firsts.push_back(first);
        return to.firsts.size() == to.wanted ? 0 : 1;
    };
    EXPECT_EQ(ut_fsi_apply(&set.set, &seen, note), 0);
    EXPECT_EQ(seen.firsts.size(), 50u);
    EXPECT_EQ(seen.firsts.back(), 147);
    seen = {{}, 1'000};
    EXPECT_EQ(ut_fsi_apply(&set.set, &seen, note), 1);
    EXPECT_EQ(seen.firsts.size(), 100u);
}

}  // namespace
