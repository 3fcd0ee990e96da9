// cleanup_guard.h - guards a temporary while something may raise.
//
// A guard is a cleanup item in a C++ scope. Exactly one of three things happens to it:
//   - an unwinding runs the item, which does the work; the destructor, run later while the
//     exception passes, then touches neither list nor object;
//   - the scope ends otherwise (return, or an exception that is not a raise of this context):
//     the destructor unlinks the item and does the work itself;
//   - release() unlinks the item: the object has found its owner, no work is done.
// Guards of one scope nest, so unlinking restores the head that was there before.
#ifndef QXUT_SRC_UTIL_CLEANUP_GUARD_H
#define QXUT_SRC_UTIL_CLEANUP_GUARD_H

#include <cstring>

#include <qxut/util/error.h>
#include <qxut/util/memory.h>

namespace qxut {

// The object of an item: what its variable, a pointer to whatever type, holds now.
inline void* cleanup_object(const void* variable) {
    void* object = nullptr;
    std::memcpy(&object, variable, sizeof object);
    return object;
}

class CleanupGuard {
  public:
    using Action = void (*)(void* argument, void* object);

    // Runs action(argument, *variable) unless released; `variable` is a pointer variable that
    // outlives the guard. The action must not raise. A null error context guards against C++ exits
    // only.
    template <class T>
    CleanupGuard(_error_context* errors, T** variable, void* argument, Action action)
        : errors_(errors), argument_(argument), action_(action) {
        item_.variable = variable;
        if (errors_ != nullptr) ut_link_cleanup_2(errors_, &item_, variable, this, &run_by_raise);
    }
    CleanupGuard(const CleanupGuard&) = delete;
    CleanupGuard& operator=(const CleanupGuard&) = delete;
    ~CleanupGuard() {
        if (!armed_) return;
        unlink();
        action_(argument_, cleanup_object(item_.variable));
    }

    void release() {
        if (armed_) unlink();
    }

  private:
    static void run_by_raise(void* self, void* object) {
        auto* guard = static_cast<CleanupGuard*>(self);
        guard->armed_ = false;
        guard->action_(guard->argument_, object);
    }
    void unlink() {
        armed_ = false;
        if (errors_ != nullptr) ut_unlink_cleanup(errors_, item_.next);
    }
    ut_cleanup_item_2 item_{};
    _error_context* errors_;
    void* argument_;
    Action action_;
    bool armed_ = true;
};

// The commonest action: gives a block back to the memory context that is the argument.
inline void free_through(void* memory_context, void* block) {
    if (block != nullptr) ut_mem_free(static_cast<_memory_context*>(memory_context), block);
}

}  // namespace qxut

#endif
