#include "support/failing_malloc.h"

#include <cerrno>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QXUT_TEST_SANITIZER_HEAP
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QXUT_TEST_SANITIZER_HEAP
#endif

namespace qxut_test {
namespace {

// Plain data: malloc is called before any constructor has run.
bool armed = false;
bool failed = false;
size_t failing_request = 0;
bool all_later_fail = false;
size_t requests = 0;
ptrdiff_t live = 0;

#if !defined(QXUT_TEST_SANITIZER_HEAP)

bool grant() {
    if (!armed) return true;
    const size_t request = requests++;
    const bool fails = all_later_fail ? request >= failing_request : request == failing_request;
    if (!fails) return true;
    failed = true;
    errno = ENOMEM;
    return false;
}

void* given(void* block) {
    if (armed && block != nullptr) ++live;
    return block;
}

#endif

}  // namespace

FailingMalloc::FailingMalloc(size_t request, bool from_then_on) {
    failing_request = request;
    all_later_fail = from_then_on;
    requests = 0;
    live = 0;
    failed = false;
    armed = true;
}

FailingMalloc::~FailingMalloc() { armed = false; }

bool FailingMalloc::has_failed() { return failed; }
ptrdiff_t FailingMalloc::live_blocks() { return live; }

}  // namespace qxut_test

#if defined(QXUT_TEST_SANITIZER_HEAP)

const bool qxut_test::kCanFailMalloc = false;

#else

const bool qxut_test::kCanFailMalloc = true;

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) {
    return qxut_test::grant() ? qxut_test::given(__libc_malloc(size)) : nullptr;
}

void* calloc(size_t count, size_t size) {
    return qxut_test::grant() ? qxut_test::given(__libc_calloc(count, size)) : nullptr;
}

void* realloc(void* block, size_t size) {
    if (!qxut_test::grant()) return nullptr;
    void* const moved = __libc_realloc(block, size);
    return block == nullptr ? qxut_test::given(moved) : moved;
}

void free(void* block) {
    if (qxut_test::armed && block != nullptr) --qxut_test::live;
    __libc_free(block);
}

}  // extern "C"

#endif
