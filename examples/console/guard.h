// guard.h - the console's own scope guard over a cleanup item of the public interface.
//
// A raise first runs the cleanup items registered since the accepting try frame and then leaves
// the C++ scopes in between, whose destructors run too. A guard makes that one cleanup:
//   - an unwinding runs the item, which clears the object; the destructor, run later, then
//     touches neither list nor object, since both may be gone;
//   - a scope that ends otherwise unlinks the item and clears the object itself.
// Guards are local variables: they nest, so unlinking one restores the head before it.
#ifndef CONSOLE_GUARD_H
#define CONSOLE_GUARD_H

#include <qxut/util/contexts.h>

namespace console {

// Calls object.clear() once, at the end of the scope or by a raise that passes it. The object
// outlives the guard; the current error context must not change in between.
template <class Object>
class Guard {
  public:
    explicit Guard(Object& object) : errors_(utGetErrorContext()), object_(object) {
        ut_link_cleanup(errors_, &item_, &self_, run_by_raise);
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() {
        if (!linked_) return;
        ut_unlink_cleanup(errors_, item_.next);
        object_.clear();
    }

  private:
    static void run_by_raise(void* self) {
        auto* guard = static_cast<Guard*>(self);
        guard->linked_ = false;
        guard->object_.clear();
    }

    ut_cleanup_item item_{};
    _error_context* errors_;
    Object& object_;
    void* self_ = this;  // what the item reads when it runs
    bool linked_ = true;
};

}  // namespace console

#endif
