#include "support/contexts.h"

#include <stdexcept>

namespace qxut_test {
namespace {

int print_to_string(void* destination, const char* text, int32_t length) {
    static_cast<std::string*>(destination)->append(text, static_cast<size_t>(length));
    return length;
}

// Ends an uncaught error as a host's handler may: by an exception of its own.
[[noreturn]] void throw_uncaught(void* data, const char* identifier, ut_message_code /*code*/) {
    throw std::runtime_error(std::string(identifier) + ": " + *static_cast<std::string*>(data));
}

struct Run {
    Contexts* contexts;
    const std::function<void()>* body;
    Raised raised;
};

void run_body(_error_context* /*errors*/, void* data) { (*static_cast<Run*>(data)->body)(); }

int accept_all(_error_context* errors, void* data, ut_message_code code, va_list arguments) {
    auto& raised = static_cast<Run*>(data)->raised;
    raised.code = code;
    ut_vprintm(errors->messages, print_to_string, &raised.text, code, arguments);
    return 1;
}

}  // namespace

Contexts::Contexts() {
    int32_t status = 0;
    ut_initialize_message_context(&status, &messages, CountdownHeap::allocate,
                                  CountdownHeap::reallocate);
    EXPECT_EQ(status, 0);
    ut_initialize_error_context(&status, &errors, &messages, print_to_string, &printed,
                                CountdownHeap::reallocate);
    EXPECT_EQ(status, 0);
    ut_register_error_handler(&errors, throw_uncaught, &printed);
    ut_initialize_memory_context(&memory, &errors, CountdownHeap::allocate,
                                 CountdownHeap::reallocate, CountdownHeap::release);
    own_blocks_ = heap.live_blocks();
}

Contexts::~Contexts() {
    EXPECT_EQ(errors.cleanup, 0u) << "a cleanup item is still linked";
    EXPECT_EQ(errors.frame, nullptr);
    EXPECT_EQ(errors.unwind_target, nullptr);
    ut_clear_message_context(&messages, CountdownHeap::release);
    EXPECT_EQ(heap.live_blocks(), 0u) << "blocks leaked";
}

Raised Contexts::run(const std::function<void()>& body) {
    Run run{this, &body, {}};
    EXPECT_EQ(ut_try_catch(&errors, &run, run_body, accept_all), run.raised.code);
    return run.raised;
}

size_t Contexts::blocks() const { return heap.live_blocks() - own_blocks_; }

void sweep_out_of_memory(const std::function<void(Contexts&)>& body) {
    for (const auto failure :
         {CountdownHeap::Failure::once, CountdownHeap::Failure::from_then_on}) {
        for (size_t k = 0;; ++k) {
            SCOPED_TRACE("allocation " + std::to_string(k) + " fails");
            Contexts contexts;
            contexts.heap.fail_at(k, failure);
            const Raised raised = contexts.run([&] { body(contexts); });
            EXPECT_TRUE(raised.code == 0 || raised.code == UT_OUT_OF_MEMORY) << raised.code;
            if (!contexts.heap.has_failed()) {
                EXPECT_EQ(raised.code, 0u);
                break;
            }
        }
    }
}

}  // namespace qxut_test
