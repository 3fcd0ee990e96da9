// output.cpp - the console callbacks, and formatting into bounded and growing buffers.
//
// Bounded formatting follows one rule on every platform: what did not fit with its NUL is reported
// as the buffer's size, never as the length it would have had. classic_vsnprintf gives the C
// library's answer in the terms of that rule; utVprintf grows its buffer by it.
//
// Entry points: utVSNprintf, utVprintf. Tested by tests/util/output_test.cpp.
#include <qxut/util/output.h>

#include <cstdarg>
#include <cstdio>
#include <utility>

#include <qxut/util/error.h>
#include <qxut/util/heap.h>
#include <qxut/util/memory.h>
#include <qxut/util/message.h>

#include "util/cleanup_guard.h"

namespace {

int put_to_stdout(const char* text, void* /*data*/) { return std::fputs(text, stdout); }

void do_nothing() {}

struct Callbacks {
    utPutsFcn puts;
    void* data;
    utIsHotFcn is_hot;
    _error_context* errors;
};

// Plain data without locks: set at start-up, or swapped by one controlling thread.
constinit Callbacks callbacks{put_to_stdout, nullptr, nullptr, nullptr};
constinit utPagerFcn pager_suspend = do_nothing;
constinit utPagerFcn pager_resume = do_nothing;

int put(const char* text) { return callbacks.puts(text, callbacks.data); }

constexpr int kCut = -1;
constexpr int kFailed = -2;

// -1 when the text was cut, else its length, `size` included; -2 when the C library failed for
// another reason, which it reports as -1 as well.
int classic_vsnprintf(char* buffer, size_t size, const char* format, va_list arguments)
    QXUT_PRINTF_LIKE(3, 0);
int classic_vsnprintf(char* buffer, size_t size, const char* format, va_list arguments) {
    const int length = std::vsnprintf(buffer, size, format, arguments);
    if (length < 0) return kFailed;
    return static_cast<size_t>(length) > size ? kCut : length;
}

// The heap buffer of utVprintf. A destructor is enough of a guard, whichever error context the
// puts function raises on: raises are C++ exceptions. Linking an item would touch the installed
// error context from whatever thread prints.
struct HeapBuffer {
    HeapBuffer() = default;
    HeapBuffer(const HeapBuffer&) = delete;
    HeapBuffer& operator=(const HeapBuffer&) = delete;
    ~HeapBuffer() { clear(); }
    void clear() { utFree(std::exchange(text, nullptr)); }
    bool resize(size_t size) {
        void* moved = utRealloc(text, size);
        if (moved == nullptr) return false;
        text = static_cast<char*>(moved);
        return true;
    }
    char* text = nullptr;
};

// Formats a list of its own, since the caller's is needed again when the buffer has grown.
int format_copy(char* buffer, size_t size, const char* format, va_list arguments)
    QXUT_PRINTF_LIKE(3, 0);
int format_copy(char* buffer, size_t size, const char* format, va_list arguments) {
    va_list own;
    va_copy(own, arguments);
    *buffer = '\0';
    const int count = utVSNprintf(buffer, size, format, own);
    va_end(own);
    return count;
}

}  // namespace

utPutsFcn utSetVprintfCallbacks(utPutsFcn puts_fcn, void* data, utIsHotFcn is_hot,
                                _error_context* error_context) {
    callbacks = {puts_fcn != nullptr ? puts_fcn : put_to_stdout, data, is_hot, error_context};
    return put_to_stdout;
}

void utGetVprintfCallbacks(utPutsFcn* puts_fcn, void** data, utIsHotFcn* is_hot,
                           _error_context** error_context) {
    *puts_fcn = callbacks.puts;
    *data = callbacks.data;
    *is_hot = callbacks.is_hot;
    *error_context = callbacks.errors;
}

void utSwapVprintfCallbacks(utPutsFcn* puts_fcn, void** data, utIsHotFcn* is_hot,
                            _error_context** error_context) {
    const Callbacks before = callbacks;
    utSetVprintfCallbacks(*puts_fcn, *data, *is_hot, *error_context);
    *puts_fcn = before.puts;
    *data = before.data;
    *is_hot = before.is_hot;
    *error_context = before.errors;
}

utPagerFcn utSetPagerSuspendResumeCallbacks(utPagerFcn suspend, utPagerFcn resume) {
    pager_suspend = suspend != nullptr ? suspend : do_nothing;
    pager_resume = resume != nullptr ? resume : do_nothing;
    return do_nothing;
}

void utPagerSuspend() { pager_suspend(); }

void utPagerResume() { pager_resume(); }

int utVSNprintf(char* buffer, size_t size, const char* format, va_list arguments) {
    const int length = classic_vsnprintf(buffer, size, format, arguments);
    if (length == kFailed) {
        if (size != 0) *buffer = '\0';
        return kFailed;
    }
    if (length != kCut && static_cast<size_t>(length) != size) return length;
    if (size == 0) return length;
    buffer[size - 1] = '\0';
    return static_cast<int>(size);
}

int utSNprintf(char* buffer, size_t size, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int count = utVSNprintf(buffer, size, format, arguments);
    va_end(arguments);
    return count;
}

int utVprintf(const char* format, va_list arguments) {
    constexpr size_t kStackSize = 1023;
    char stack_buffer[kStackSize];
    HeapBuffer heap_buffer;
    char* text = stack_buffer;
    size_t size = kStackSize;
    for (;;) {
        const int count = format_copy(text, size, format, arguments);
        if (count < 0) return 0;
        const auto needed = static_cast<size_t>(count);
        if (needed < size) return put(text) < 0 ? 0 : count;
        // A count is an int and the size stays below twice the largest one: no overflow.
        size = 2 * size > needed ? 2 * size : needed + 1;
        if (!heap_buffer.resize(size)) {
            heap_buffer.clear();
            if (callbacks.errors != nullptr) ut_error(callbacks.errors, UT_OUT_OF_MEMORY);
            return 0;
        }
        text = heap_buffer.text;
    }
}

int utPrintf(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int count = utVprintf(format, arguments);
    va_end(arguments);
    return count;
}

int utPuts(const char* text) { return put(text); }

int utPutsn(const char* text, int32_t length) {
    ut_puts_adapter adapter{callbacks.puts, callbacks.data};
    return ut_puts_to_putsn(&adapter, text, length);
}

bool utPrintfIsHot() { return callbacks.is_hot != nullptr && callbacks.is_hot(callbacks.data); }

int fprntf(FILE* stream, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int count =
        stream == nullptr ? utVprintf(format, arguments) : std::vfprintf(stream, format, arguments);
    va_end(arguments);
    return count;
}

int fpts(FILE* stream, const char* text) {
    return stream == nullptr ? put(text) : std::fputs(text, stream);
}
