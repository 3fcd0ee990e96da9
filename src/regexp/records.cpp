// records.cpp - the hash table of records.h: open addressing, linear probing, three quarters full
// at most. Tested by tests/regexp/records_test.cpp.
#include "regexp/records.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <qxut/util/heap.h>

namespace qxut::regexp {
namespace {

constexpr size_t kFirstCapacity = 256;

}  // namespace

Records::~Records() { utFree(slots_); }

uint64_t Records::hash(uint64_t instruction_and_word, uint64_t state) noexcept {
    uint64_t mixed = instruction_and_word * 0x9E3779B97F4A7C15u ^ state * 0xC2B2AE3D27D4EB4Fu;
    mixed ^= mixed >> 32;
    mixed *= 0xD6E8FEB86659FD93u;
    return mixed ^ mixed >> 29;
}

void Records::clear() noexcept {
    if (count_ != 0) std::memset(slots_, 0, capacity_ * sizeof(Slot));
    count_ = 0;
}

void Records::release() noexcept {
    utFree(slots_);
    slots_ = nullptr;
    capacity_ = 0;
    count_ = 0;
}

// Moves what can still be reached into a table of that capacity; false, the table unchanged,
// without memory.
bool Records::rebuild(size_t capacity, size_t reachable) noexcept {
    auto* const slots = static_cast<Slot*>(utCalloc(capacity, sizeof(Slot)));
    if (slots == nullptr) return false;
    constexpr uint64_t kWord = (uint64_t{1} << 40) - 1;
    size_t count = 0;
    for (size_t i = 0; i < capacity_; ++i) {
        const Slot& slot = slots_[i];
        const uint64_t moved = slot.instruction_and_word;
        if (moved == 0 || (moved & kWord) < reachable / 64) continue;
        size_t place = hash(moved, slot.state) & (capacity - 1);
        while (slots[place].instruction_and_word != 0) place = (place + 1) & (capacity - 1);
        slots[place] = slot;
        ++count;
    }
    utFree(slots_);
    slots_ = slots;
    capacity_ = capacity;
    count_ = count;
    return true;
}

bool Records::make_room(size_t reachable, size_t room) noexcept {
    const size_t larger = capacity_ == 0 ? kFirstCapacity : capacity_ * 2;
    // Old and new stand side by side while they are copied.
    const bool fits = larger <= room / sizeof(Slot) && capacity_ <= room / sizeof(Slot) - larger;
    if (fits && rebuild(larger, capacity_ < kFirstCapacity ? 0 : reachable)) return true;
    if (capacity_ == 0) return false;
    // Without more memory: in place, all that cannot be reached, else everything.
    constexpr uint64_t kWord = (uint64_t{1} << 40) - 1;
    size_t reached = 0;
    for (size_t i = 0; i < capacity_; ++i) {
        const uint64_t held = slots_[i].instruction_and_word;
        if (held != 0 && (held & kWord) >= reachable / 64) ++reached;
    }
    if (reached > capacity_ / 2 || 2 * capacity_ > room / sizeof(Slot) ||
        !rebuild(capacity_, reachable)) {
        clear();
    }
    return true;
}

void Records::add_word(const Point& point, size_t word, uint64_t positions, size_t reachable,
                       size_t room) noexcept {
    if (count_ >= capacity_ - capacity_ / 4 && !make_room(reachable, room)) return;
    const uint64_t wanted = key(point, word);
    size_t place = hash(wanted, point.state) & (capacity_ - 1);
    for (;; place = (place + 1) & (capacity_ - 1)) {
        Slot& slot = slots_[place];
        if (slot.instruction_and_word == wanted && slot.state == point.state) {
            slot.positions |= positions;
            return;
        }
        if (slot.instruction_and_word == 0) {
            slot = {wanted, point.state, positions};
            ++count_;
            return;
        }
    }
}

void Records::add(const Point& point, size_t first, size_t last, size_t reachable,
                  size_t room) noexcept {
    for (size_t word = first / 64; word <= last / 64; ++word) {
        uint64_t positions = ~uint64_t{0};
        if (word == first / 64) positions &= ~uint64_t{0} << first % 64;
        if (word == last / 64) positions &= ~uint64_t{0} >> (63 - last % 64);
        add_word(point, word, positions, reachable, room);
    }
}

}  // namespace qxut::regexp
