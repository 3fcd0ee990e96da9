// records.h - failures that a search has met: places from which a point of the program cannot be
// got through.
//
// A failure belongs to a point, which is an instruction with all that its outcome depends on
// besides the position, packed into two words. The positions are kept as bits, a word for 64 of
// them, in a hash table over point and word: failures come in runs. Only what cannot be reached any
// more is forgotten, and when that is not enough everything: a record saves work, nothing else.
//
// Tested by tests/regexp/records_test.cpp.
#ifndef QXUT_SRC_REGEXP_RECORDS_H
#define QXUT_SRC_REGEXP_RECORDS_H

#include <cstddef>
#include <cstdint>

#include <qxut/regexp/memory.hpp>

namespace qxut::regexp {

class Records : public RE_Memory {
  public:
    struct Point {
        uint32_t instruction;
        uint64_t state;
    };

    Records() noexcept = default;
    ~Records();
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

    bool has(const Point& point, size_t position) const noexcept {
        const Slot* const slot = find(point, position / 64);
        return slot != nullptr && (slot->positions >> position % 64 & 1) != 0;
    }
    // Records a failure at `first` to `last`, inclusive. `reachable` is where the search stands:
    // nothing before it is asked for again. Without memory, or beyond `room` bytes, the table
    // forgets, and what does not fit then is not recorded.
    void add(const Point& point, size_t first, size_t last, size_t reachable, size_t room) noexcept;

    size_t bytes() const noexcept { return capacity_ * sizeof(Slot); }
    bool is_empty() const noexcept { return count_ == 0; }
    // Forgets everything and keeps the memory.
    void clear() noexcept;
    // Forgets everything and gives the memory back.
    void release() noexcept;

  private:
    struct Slot {
        uint64_t instruction_and_word;  // 0: empty; the instruction counts from 1
        uint64_t state;
        uint64_t positions;
    };
    static uint64_t hash(uint64_t instruction_and_word, uint64_t state) noexcept;
    static uint64_t key(const Point& point, size_t word) noexcept {
        return (uint64_t{point.instruction} + 1) << 40 | word;
    }
    const Slot* find(const Point& point, size_t word) const noexcept {
        if (count_ == 0) return nullptr;
        const uint64_t wanted = key(point, word);
        for (size_t i = hash(wanted, point.state) & (capacity_ - 1);;
             i = (i + 1) & (capacity_ - 1)) {
            const Slot& slot = slots_[i];
            if (slot.instruction_and_word == wanted && slot.state == point.state) return &slot;
            if (slot.instruction_and_word == 0) return nullptr;
        }
    }
    void add_word(const Point& point, size_t word, uint64_t positions, size_t reachable,
                  size_t room) noexcept;
    bool make_room(size_t reachable, size_t room) noexcept;
    bool rebuild(size_t capacity, size_t reachable) noexcept;

    Slot* slots_ = nullptr;
    size_t capacity_ = 0;  // 0 or a power of two
    size_t count_ = 0;
};

}  // namespace qxut::regexp

#endif
