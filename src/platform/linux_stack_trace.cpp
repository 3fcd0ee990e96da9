// linux_stack_trace.cpp - the calling thread's stack, now or kept for later, as text through
// libbacktrace.
//
// That library reads the debug information of the program and its shared objects itself, keeps
// what it read in memory of its own, and serves any number of threads. Its state is made at the
// first trace and kept.
#include <backtrace.h>
#include <cxxabi.h>

#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"

namespace qxut::platform {
namespace {

constexpr int kMaxFrames = 64;
constexpr uintptr_t kEndOfStack = ~uintptr_t{0};

std::atomic<backtrace_state*> shared_state{nullptr};

// A module without debug information is no failure: its frames have fewer names.
void ignore_error(void* /*data*/, const char* /*message*/, int /*number*/) {}

backtrace_state* state() noexcept {
    backtrace_state* known = shared_state.load(std::memory_order_acquire);
    if (known != nullptr) return known;
    // Two threads may both come here; the state that is not kept stays allocated, a few bytes.
    backtrace_state* made = backtrace_create_state(nullptr, 1, ignore_error, nullptr);
    if (!shared_state.compare_exchange_strong(known, made)) return known;
    return made;
}

struct Text {
    char* next;
    size_t room;  // including the NUL
    int frames;
};

// Appends one line, or nothing when it does not fit; false then.
bool append(Text& text, uintptr_t pc, const char* function, const char* file, int line) noexcept {
    int length = 0;
    if (file != nullptr) {
        const char* slash = std::strrchr(file, '/');
        length =
            std::snprintf(text.next, text.room, "%3d  0x%012" PRIxPTR " %s (%s:%d)\n", text.frames,
                          pc, function, slash != nullptr ? slash + 1 : file, line);
    } else {
        length = std::snprintf(text.next, text.room, "%3d  0x%012" PRIxPTR " %s\n", text.frames, pc,
                               function);
    }
    if (length < 0 || static_cast<size_t>(length) >= text.room) {
        *text.next = '\0';
        return false;
    }
    text.next += length;
    text.room -= static_cast<size_t>(length);
    return ++text.frames < kMaxFrames;
}

void keep_symbol(void* name, uintptr_t /*pc*/, const char* symbol, uintptr_t /*value*/,
                 uintptr_t /*size*/) {
    *static_cast<const char**>(name) = symbol;
}

struct Addresses {
    uintptr_t* next;
    uintptr_t* end;
};

// Not zero once there is no room.
int keep_address(void* data, uintptr_t pc) {
    auto& addresses = *static_cast<Addresses*>(data);
    if (addresses.next == addresses.end) return 1;
    if (pc != kEndOfStack) *addresses.next++ = pc;
    return 0;
}

int add_frame(void* data, uintptr_t pc, const char* file, int line, const char* function) {
    if (pc == kEndOfStack) return 0;
    if (function == nullptr) backtrace_syminfo(state(), pc, keep_symbol, ignore_error, &function);
    if (function == nullptr) function = "?";
    int status = 0;
    char* readable = abi::__cxa_demangle(function, nullptr, nullptr, &status);
    const bool more = append(*static_cast<Text*>(data), pc,
                             readable != nullptr ? readable : function, file, line);
    std::free(readable);
    return more ? 0 : 1;
}

}  // namespace

void write_stack_trace(char* buffer, size_t size, int skipped) noexcept {
    if (size == 0) return;
    *buffer = '\0';
    backtrace_state* const known = state();
    if (known == nullptr) return;
    Text text{buffer, size, 0};
    backtrace_full(known, skipped + 1, add_frame, ignore_error, &text);
}

size_t capture_stack(uintptr_t* addresses, size_t capacity, int skipped) noexcept {
    backtrace_state* const known = state();
    if (known == nullptr) return 0;
    Addresses stored{addresses, addresses + capacity};
    backtrace_simple(known, skipped + 1, keep_address, ignore_error, &stored);
    return static_cast<size_t>(stored.next - addresses);
}

void write_captured_trace(char* buffer, size_t size, const uintptr_t* addresses,
                          size_t count) noexcept {
    if (size == 0) return;
    *buffer = '\0';
    backtrace_state* const known = state();
    if (known == nullptr) return;
    Text text{buffer, size, 0};
    for (size_t i = 0; i < count; ++i) {
        if (backtrace_pcinfo(known, addresses[i], add_frame, ignore_error, &text) != 0) return;
    }
}

}  // namespace qxut::platform
