// ihash_model_test.cpp - long random sequences of operations on indexed hash tables against a
// vector of entries, with callbacks that raise and allocations that fail on the way.
#include <qxut/util/ihash.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/contexts.h"
#include "support/tracked.h"

namespace {

using qxut_test::Contexts;
using qxut_test::CountdownHeap;
using qxut_test::kCallbackRaised;
using qxut_test::Tracked;
using qxut_test::Tracker;

struct Trackers {
    explicit Trackers(_error_context* errors) : keys(errors), data(errors) {}
    Tracker keys, data;
};

Trackers& trackers_of(uintptr_t user_data) { return *reinterpret_cast<Trackers*>(user_data); }
void copy_key(uintptr_t user_data, void* destination, const void* key) {
    trackers_of(user_data).keys.copy(destination, key);
}
void delete_key(uintptr_t user_data, void* key) { trackers_of(user_data).keys.remove(key); }
void copy_data(uintptr_t user_data, void* destination, const void* data) {
    trackers_of(user_data).data.copy(destination, data);
}
void delete_data(uintptr_t user_data, void* data) { trackers_of(user_data).data.remove(data); }
int32_t compare_keys(uintptr_t user_data, const void* key, const void* stored) {
    return trackers_of(user_data).keys.compare(key, stored);
}
// Few hashes, so that chains have several nodes.
uint32_t hash_key(uintptr_t /*user_data*/, const void* key) {
    return static_cast<uint32_t>(static_cast<const Tracked*>(key)->value % 7);
}

struct Item {
    int64_t key;
    int64_t data;
    bool operator==(const Item& other) const { return key == other.key && data == other.data; }
};
using Model = std::vector<Item>;

class Machine : private qxut_test::NotCopied {
  public:
    explicit Machine(unsigned seed) : random_(seed), trackers_(&contexts.errors) {
        ut_initialize_ihash_table(
            &table_, &contexts.memory, hash_key, compare_keys, copy_key, delete_key, copy_data,
            delete_data, sizeof(Tracked), sizeof(Tracked), sizeof(Tracked) + 8,
            reinterpret_cast<uintptr_t>(&trackers_), 0, 0.5F, 2.0F, sizeof(Tracked));
    }
    ~Machine() {
        ut_clear_ihash_table(&table_);
        EXPECT_EQ(trackers_.keys.live() + trackers_.data.live(), 0u);
    }

    int pick(int below) { return std::uniform_int_distribution<int>(0, below - 1)(random_); }

    // A random operation on both.
    void step() {
        const Tracked key{pick(30), 0};
        const Tracked data{pick(1000), 0};
        Tracked out{-1, 0};
        const auto found = std::find_if(model.begin(), model.end(),
                                        [&](const Item& item) { return item.key == key.value; });
        const bool present = found != model.end();
        const auto i = static_cast<size_t>(found - model.begin());
        const auto insert = [&](int64_t value) {
            if (!present) model.push_back({key.value, value});
        };
        const auto erase = [&] {
            if (!present) return;
            model[i] = model.back();
            model.pop_back();
        };
        switch (pick(9)) {
            case 0:
                insert(data.value);
                EXPECT_EQ(ut_ihash_insert(&table_, &key, &data), present);
                break;
            case 1:
                insert(data.value);
                EXPECT_EQ(ut_ihash_query_insert(&table_, &key, &data, &out), present);
                EXPECT_EQ(out.value, model[i].data);
                break;
            case 2:
                insert(data.value);
                model[i].data = data.value;
                EXPECT_EQ(ut_ihash_replace(&table_, &key, &data), present);
                break;
            case 3: {
                const int64_t told = present ? model[i].data : data.value;
                insert(data.value);
                model[i].data = data.value;
                EXPECT_EQ(ut_ihash_query_replace(&table_, &key, &data, &out), present);
                EXPECT_EQ(out.value, told);
                // The old data are ours now.
                if (present) release(out);
                break;
            }
            case 4:
                insert(0);
                EXPECT_EQ(ut_ihash_insert_key(&table_, &key, nullptr, nullptr), present);
                break;
            case 5:
            case 6:
                contexts.heap.fail_at(0, CountdownHeap::Failure::from_then_on);  // needs none
                erase();
                EXPECT_EQ(ut_ihash_remove_element(&table_, &key), present);
                break;
            case 7: {
                const int64_t told = present ? model[i].data : -1;
                EXPECT_EQ(ut_ihash_query(&table_, &key, &out), present);
                EXPECT_EQ(out.value, told);
                erase();
                EXPECT_EQ(ut_ihash_query_remove(&table_, &key, &handed_out_), present);
                EXPECT_EQ(handed_out_.value, told);
                break;
            }
            default:
                if (pick(10) != 0) break;
                model.clear();
                ut_ihash_empty(&table_, pick(40));
        }
    }

    // Runs a step with the k-th callback raising, or the k-th allocation failing.
    void troubled_step(bool callbacks, size_t k) {
        const Model before = model;
        Tracker& troubled = pick(2) == 0 ? trackers_.keys : trackers_.data;
        if (callbacks)
            troubled.raise_at(k);
        else
            contexts.heap.fail_at(k);
        const auto raised = contexts.run([&] { step(); });
        trackers_.keys.raise_at(Tracker::kNever);
        trackers_.data.raise_at(Tracker::kNever);
        contexts.heap.fail_at(CountdownHeap::kNever);
        // A removed entry's data are ours, whether deleting its key raised or not.
        release(handed_out_);
        handed_out_ = {-1, 0};
        const Model now = entries();
        if (raised.code == 0) {
            EXPECT_EQ(now, model);
        } else if (raised.code == UT_OUT_OF_MEMORY) {
            EXPECT_FALSE(callbacks);
            EXPECT_EQ(now, before);
        } else {
            // Nothing is new or changed; what is gone shows in the trackers.
            EXPECT_TRUE(callbacks);
            EXPECT_EQ(raised.code, kCallbackRaised);
            for (const Item& item : now) {
                EXPECT_NE(std::find(before.begin(), before.end(), item), before.end()) << item.key;
            }
        }
        model = now;
        check();
    }

    Contexts contexts;
    Model model;

  private:
    // A callback may raise here no more: the operation is done.
    void release(const Tracked& data) {
        trackers_.data.raise_at(Tracker::kNever);
        if (data.value >= 0) trackers_.data.remove(&data);
    }

    Model entries() const {
        Model result;
        Tracked key{};
        Tracked data{};
        for (uint64_t i = 0; ut_ihash_index(&table_, i, &key, &data); ++i) {
            result.push_back({key.value, data.value});
        }
        return result;
    }

    // Key, index and data are in step, and nothing is live that is in no entry.
    void check() {
        EXPECT_EQ(static_cast<size_t>(table_.hash.count), model.size());
        size_t with_ticket = 0;
        for (size_t i = 0; i < model.size(); ++i) {
            const Tracked key{model[i].key, 0};
            EXPECT_EQ(ut_ihash_index_of(&table_, &key), static_cast<int64_t>(i));
            const auto* data = static_cast<Tracked*>(ut_ihash_query_data_by_index(&table_, i));
            if (data->ticket == 0) continue;
            ++with_ticket;
            EXPECT_TRUE(trackers_.data.is_live(data->ticket));
        }
        EXPECT_EQ(trackers_.keys.live(), model.size());
        EXPECT_EQ(trackers_.data.live(), with_ticket);
    }

    std::mt19937 random_;
    Trackers trackers_;
    _ihash_table table_{};
    Tracked handed_out_{-1, 0};
};

TEST(IhashModel, AgreesWithAVectorOfEntries) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        Machine machine(seed);
        for (int i = 0; i < 400; ++i) {
            SCOPED_TRACE(i);
            const auto k = static_cast<size_t>(machine.pick(6));
            switch (seed % 3) {
                case 0:
                    machine.troubled_step(true, Tracker::kNever);
                    break;
                case 1:
                    machine.troubled_step(true, k);
                    break;
                default:
                    machine.troubled_step(false, k);
                    break;
            }
            if (testing::Test::HasFailure()) return;
        }
    }
}

TEST(IhashModel, EveryAllocationMayFail) {
    qxut_test::sweep_out_of_memory([](Contexts& contexts) {
        _ihash_table* table = nullptr;
        const auto raised = contexts.run([&] {
            table = ut_new_ihash_table(&contexts.memory, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, 8, 8, 16, 0, 0, 0.5F, 2.0F, 4);
            for (int64_t key = 0; key < 60; ++key) {
                const auto data = static_cast<int32_t>(key);
                ut_ihash_insert(table, &key, &data);
            }
            for (int64_t key = 0; key < 50; ++key) {
                EXPECT_TRUE(ut_ihash_remove_element(table, &key));
            }
        });
        if (table != nullptr) {
            for (uint64_t i = 0; i < ut_ihash_num_entries(table); ++i) {
                int64_t key = -1;
                int32_t data = -1;
                EXPECT_TRUE(ut_ihash_index(table, i, &key, &data));
                EXPECT_EQ(key, data);
                EXPECT_EQ(ut_ihash_index_of(table, &key), static_cast<int64_t>(i));
            }
        }
        ut_delete_ihash_table(table);
        if (raised.code != 0) ut_error(&contexts.errors, raised.code);
    });
}

}  // namespace
