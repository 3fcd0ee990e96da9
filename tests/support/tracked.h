// tracked.h - elements whose every copy and deletion is accounted for, for tests of containers.
//
// A copy carries a ticket that is live until its deletion: a deletion without a live ticket is a
// failure, and what is live at the end was leaked. The callbacks can be made to raise at the k-th
// call. The containers' callback types differ; the static functions here do the work for all.
#ifndef QXUT_TESTS_SUPPORT_TRACKED_H
#define QXUT_TESTS_SUPPORT_TRACKED_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>

#include <qxut/util/error.h>

namespace qxut_test {

inline constexpr ut_message_code kCallbackRaised = UT_ERR_FATAL;

struct Tracked {
    int64_t value;
    uint64_t ticket;  // 0: not a copy
};

class Tracker {
  public:
    static constexpr size_t kNever = static_cast<size_t>(-1);

    explicit Tracker(_error_context* errors) : errors_(errors) {}

    // The k-th callback from now, counted from 0, raises: a copy before it has made anything, a
    // deletion when its element is gone.
    void raise_at(size_t k) { countdown_ = k; }

    void copy(void* destination, const void* source) {
        tick();
        Tracked element{};
        std::memcpy(&element, source, sizeof element);
        element.ticket = ++last_ticket_;
        live_.insert(element.ticket);
        std::memcpy(destination, &element, sizeof element);
    }
    void remove(const void* stored) {
        Tracked element{};
        std::memcpy(&element, stored, sizeof element);
        // A zeroed element, as growing without a copy makes it, owns nothing.
        if (element.ticket != 0) {
            EXPECT_EQ(live_.erase(element.ticket), 1u) << "deleted twice: " << element.value;
        }
        tick();
    }
    int32_t compare(const void* a, const void* b) {
        tick();
        Tracked left{};
        Tracked right{};
        std::memcpy(&left, a, sizeof left);
        std::memcpy(&right, b, sizeof right);
        return static_cast<int32_t>(left.value > right.value) -
               static_cast<int32_t>(left.value < right.value);
    }

    size_t live() const { return live_.size(); }
    bool is_live(uint64_t ticket) const { return live_.count(ticket) != 0; }

  private:
    void tick() {
        if (countdown_ == kNever) return;
        if (countdown_-- == 0) {
            countdown_ = kNever;
            ut_error(errors_, kCallbackRaised);
        }
    }

    _error_context* errors_;
    std::set<uint64_t> live_;
    uint64_t last_ticket_ = 0;
    size_t countdown_ = kNever;
};

}  // namespace qxut_test

#endif
