// contexts.h - the contexts that a family's tests need, over a CountdownHeap, and the sweep that
// lets every allocation fail in turn.
#ifndef QXUT_TESTS_SUPPORT_CONTEXTS_H
#define QXUT_TESTS_SUPPORT_CONTEXTS_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include <qxut/util/error.h>
#include <qxut/util/memory.h>
#include <qxut/util/message.h>

#include "support/countdown_heap.h"
#include "support/not_copied.h"

namespace qxut_test {

// What a caught error said.
struct Raised {
    ut_message_code code = 0;
    std::string text;  // the formatted message
};

// Message, error and memory context on one counting heap. An uncaught error throws
// std::runtime_error with identifier and text. At the end of its scope nothing but the contexts'
// own blocks may be live, and no cleanup item or frame may be linked.
class Contexts : private NotCopied {
  public:
    Contexts();
    ~Contexts();

    CountdownHeap heap;
    ut_message_context messages{};
    _error_context errors{};
    _memory_context memory{};
    std::string printed;  // what went to the error print channel

    // Runs body in a try frame that accepts everything. Code 0: nothing was raised.
    Raised run(const std::function<void()>& body);

    // Blocks that are live beyond those of the contexts themselves.
    size_t blocks() const;

  private:
    size_t own_blocks_ = 0;
};

// Runs body(contexts) with the k-th allocation after the contexts' own failing, for k = 0, 1, 2,
// ... until a run needs no k-th one; once with that request failing alone, once with every later
// one too. Only OUT_OF_MEMORY may be raised and nothing may leak.
void sweep_out_of_memory(const std::function<void(Contexts&)>& body);

}  // namespace qxut_test

#endif
