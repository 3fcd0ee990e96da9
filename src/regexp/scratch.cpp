// scratch.cpp - the scratches that each thread keeps, in a stack.
//
// A thread's slot is thread-local data without a destructor; its stack holds the scratches that are
// not in use, the one given back last on top. A search takes the top off and puts it back, so that
// the searches of a callback find the next one. The slots with a stack are linked. A thread that
// ends frees its own through a platform key; unloading frees those of all threads.
//
// Unloading cannot tell whether the library goes or the process ends, and in the latter case other
// threads may be searching. A thread marks its slot as busy while it is at its stack, and then
// looks whether the stacks are being freed; closing sets its mark first, has the memory operations
// of all threads put in order, and then frees the stacks of slots that are not busy. So one of the
// two sees the other, and a search pays no fence and no locked operation for it. Afterwards, and
// after a thread's stack was freed at its end, each search has a scratch of its own.
//
// The child of a fork knows the slots of threads that it does not have; they are told by the
// process and dropped. Tested by tests/regexp/threads_test.cpp.
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
    std::atomic<bool> is_busy;  // its thread is at the stack
    Scratch* kept;
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
constinit std::atomic<bool> is_closing = false;
constinit platform::ThreadKey key = 0;

// The thread's stack for the length of a scope, in which nothing may be called.
class StackUse {
  public:
    StackUse() {
        slot.is_busy.store(true, std::memory_order_relaxed);
        // The processor's order is closing's business.
        std::atomic_signal_fence(std::memory_order_seq_cst);
        may_be_used_ = !is_closing.load(std::memory_order_relaxed);
    }
    ~StackUse() { slot.is_busy.store(false, std::memory_order_release); }
    StackUse(const StackUse&) = delete;
    StackUse& operator=(const StackUse&) = delete;
    bool may_be_used() const { return may_be_used_; }

  private:
    bool may_be_used_;
};

void free_stack(Scratch* top) {
    while (top != nullptr) {
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
    free_stack(thread.kept);
    thread.kept = nullptr;
}

// False when the thread can keep nothing: memory or keys are short, or the library is closing.
bool link_slot() {
    const std::lock_guard<std::mutex> hold(slots_lock);
    if (is_closing.load(std::memory_order_relaxed) || slot.has_ended) return false;
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

}  // namespace

Scratch::~Scratch() { utFree(entries); }

void Scratch::trim() noexcept {
    if (!records.is_empty()) records.clear();
    const size_t bytes = capacity * sizeof(Entry) + registers.capacity() * sizeof(size_t) +
                         tokens.capacity() * sizeof(TokenState) +
                         frames.capacity() * sizeof(Frame) + records.bytes() +
                         extents.capacity() * sizeof(size_t);
    if (bytes <= kMostKept) return;
    utFree(entries);
    entries = nullptr;
    capacity = 0;
    registers = {};
    tokens = {};
    frames = {};
    extents = {};
    records.release();
}

Scratch* acquire_scratch() {
    Scratch* top = nullptr;
    {
        const StackUse stack;
        if (stack.may_be_used() && slot.kept != nullptr) {
            top = slot.kept;
            slot.kept = top->next;
        }
    }
    return top != nullptr ? top : require(new Scratch);
}

void release_scratch(Scratch* scratch) noexcept {
    if (slot.is_linked || link_slot()) {
        const StackUse stack;
        if (stack.may_be_used()) {
            scratch->next = slot.kept;
            slot.kept = scratch;
            return;
        }
    }
    delete scratch;
}

void close_thread_scratches() {
    is_closing.store(true, std::memory_order_seq_cst);
    // Where the lock is taken, other threads are still at work: the process ends.
    if (!slots_lock.try_lock()) return;
    drop_slots_of_another_process();
    const bool has_others = slots != nullptr && (slots != &slot || slot.next != nullptr);
    const bool is_ordered = !has_others || platform::order_memory_of_all_threads();
    for (ThreadSlot* thread = slots; thread != nullptr; thread = thread->next) {
        if (thread != &slot && !is_ordered) continue;
        if (thread->is_busy.load(std::memory_order_acquire)) continue;
        free_stack(thread->kept);
        thread->kept = nullptr;
    }
    slots = nullptr;
    if (has_key) platform::delete_thread_key(key);
    has_key = false;
    slots_lock.unlock();
}

}  // namespace qxut::regexp
