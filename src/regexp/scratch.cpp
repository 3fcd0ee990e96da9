// scratch.cpp - the scratches that each thread keeps, in a stack.
//
// A thread's slot is thread-local data without a destructor; its stack holds the scratches that are
// not in use, the one given back last on top. A search takes the top off and puts it back, so that
// the searches of a callback find the next one. The slots with a stack are linked. A thread that
// ends frees its own through a platform key; unloading frees those of all threads.
//
// Unloading cannot tell whether the library goes or the process ends, and in the latter case other
// threads may be searching. The stack is one atomic pointer that is taken whole, so what one side
// holds the other never sees; a closed slot holds a mark, and what is given back to it is freed.
//
// The child of a fork knows the slots of threads that it does not have; they are told by the
// process and dropped. Tested by tests/regexp/scratch_test.cpp.
#include "regexp/scratch.h"

#include <qxut/util/heap.h>

#include <atomic>
#include <mutex>

#include "platform/platform.h"
#include "platform/thread_key.h"
#include "regexp/failure.h"
#include "regexp/unloading.h"

namespace qxut::regexp {
namespace {

constexpr size_t kMostKept = size_t{1} << 20;  // bytes of one scratch

struct ThreadSlot {
    std::atomic<Scratch*> kept;
    bool is_linked;
    bool has_ended;
    ThreadSlot* previous;
    ThreadSlot* next;
    int64_t process;  // where the slot was linked
};

constinit thread_local ThreadSlot slot QXUT_THREAD_LOCAL_FAST{};

// The linked slots. The lock is held for linking, unlinking and closing only.
constinit std::mutex slots_lock;
constinit ThreadSlot* slots = nullptr;
constinit int64_t slots_process = 0;
constinit bool has_key = false;
constinit bool is_closed = false;
constinit platform::ThreadKey key = 0;

// What a slot holds that keeps nothing any more.
alignas(Scratch) constinit char closed_mark[1] = {};
Scratch* closed() { return reinterpret_cast<Scratch*>(closed_mark); }

void free_stack(Scratch* top) {
    while (top != nullptr && top != closed()) {
        Scratch* const next = top->next;
        delete top;
        top = next;
    }
}

// With the lock held.
void drop_slots_of_another_process() {
    const int64_t process = platform::process_id();
    if (slots_process != process) slots = nullptr;
    slots_process = process;
}

void end_thread(void* value) {
    auto& thread = *static_cast<ThreadSlot*>(value);
    {
        const std::lock_guard<std::mutex> hold(slots_lock);
        thread.has_ended = true;
        drop_slots_of_another_process();
        if (thread.is_linked && thread.process == slots_process) {
            (thread.previous == nullptr ? slots : thread.previous->next) = thread.next;
            if (thread.next != nullptr) thread.next->previous = thread.previous;
        }
        thread.is_linked = false;
    }
    free_stack(thread.kept.exchange(closed(), std::memory_order_acq_rel));
}

// False when the thread can keep nothing: memory or keys are short, or the library is closing.
bool link_slot() {
    const std::lock_guard<std::mutex> hold(slots_lock);
    if (is_closed || slot.has_ended) return false;
    has_key = has_key || platform::create_thread_key(key, end_thread);
    if (!has_key || !platform::set_thread_value(key, &slot)) return false;
    drop_slots_of_another_process();
    slot.process = slots_process;
    slot.previous = nullptr;
    slot.next = slots;
    if (slots != nullptr) slots->previous = &slot;
    slots = &slot;
    slot.is_linked = true;
    return true;
}

// Puts a stack of scratches under what the slot holds by now.
void put_back(Scratch* top) {
    if (!slot.is_linked && !link_slot()) {
        free_stack(top);
        return;
    }
    Scratch* held = nullptr;
    while (!slot.kept.compare_exchange_strong(held, top, std::memory_order_acq_rel)) {
        if (held == closed()) {
            free_stack(top);
            return;
        }
        // Something was given back meanwhile: it goes on top of this.
        held = slot.kept.exchange(nullptr, std::memory_order_acq_rel);
        if (held == closed()) {
            slot.kept.store(closed(), std::memory_order_release);
            free_stack(top);
            return;
        }
        Scratch* last = top;
        while (last->next != nullptr) last = last->next;
        last->next = held;
        held = nullptr;
    }
}

}  // namespace

Scratch::~Scratch() { utFree(entries); }

void Scratch::trim() noexcept {
    if (!records.is_empty()) records.clear();
    const size_t bytes = capacity * sizeof(Entry) + registers.capacity() * sizeof(size_t) +
                         tokens.capacity() * sizeof(TokenState) +
                         frames.capacity() * sizeof(Frame) + records.bytes();
    if (bytes <= kMostKept) return;
    utFree(entries);
    entries = nullptr;
    capacity = 0;
    registers = {};
    tokens = {};
    frames = {};
    records.release();
}

Scratch* acquire_scratch() {
    Scratch* const top = slot.kept.exchange(nullptr, std::memory_order_acq_rel);
    if (top == nullptr) return require(new Scratch);
    if (top == closed()) {
        slot.kept.store(closed(), std::memory_order_release);
        return require(new Scratch);
    }
    Scratch* const rest = top->next;
    top->next = nullptr;
    if (rest != nullptr) put_back(rest);
    return top;
}

void release_scratch(Scratch* scratch) noexcept { put_back(scratch); }

void close_thread_scratches() {
    // Where the lock is taken, other threads are still at work: the process ends.
    if (!slots_lock.try_lock()) return;
    is_closed = true;
    drop_slots_of_another_process();
    for (ThreadSlot* thread = slots; thread != nullptr; thread = thread->next)
        free_stack(thread->kept.exchange(closed(), std::memory_order_acq_rel));
    slots = nullptr;
    if (has_key) platform::delete_thread_key(key);
    has_key = false;
    slots_lock.unlock();
}

}  // namespace qxut::regexp
