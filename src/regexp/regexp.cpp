// regexp.cpp - one search from C; failures are raised by code on the current error context.
//
// The exception ends here, and the error is raised from outside of its handler: no frame of the
// caller's sees a C++ exception of the library. Entry points: utRegexp and kin. Tested by
// tests/regexp/regexp_c_test.cpp.
#include <qxut/regexp/regexp.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <qxut/util/contexts.h>
#include <qxut/util/error.h>
#include <qxut/util/memory.h>
#include <qxut/regexp/exception.hpp>

#include "regexp/narrow_text.h"
#include "regexp/tree_parts.h"

namespace qxut::regexp {
namespace {

// An error to raise; code 0: none.
struct Failure {
    ut_message_code code = 0;
    unsigned long long limit = 0;
    unsigned long long position = 0;
};

[[noreturn]] void raise(const Failure& failure) {
    ut_error(utGetErrorContext(), failure.code, failure.limit, failure.position);
}

// Runs what throws; its result, or the failure.
template <class Body>
size_t run_raising(Body body) {
    Failure failure;
    try {
        return body();
    } catch (const RE_Exception& problem) {
        failure = {problem.code(), problem.limit(), problem.position()};
    } catch (const Quorvanix::System::InterruptException&) {
        failure.code = UT_ERR_SIGNAL_INTERRUPT;
    } catch (const std::bad_alloc&) {
        failure.code = UT_OUT_OF_MEMORY;
    }
    raise(failure);
}

RE_Flags flags_for(bool ignores_case) { return ignores_case ? RE_IGNORE_CASE : RE_NO_FLAGS; }

// `place(unit)` is where a unit of the searched text is in the caller's.
template <class Place>
size_t search_once(const char16_t* text, size_t length, const char16_t* pattern,
                   size_t pattern_length, bool ignores_case, utRegexpExtent* extents, size_t room,
                   Place place) {
    const RE_Tree tree(pattern, pattern_length, flags_for(ignores_case), nullptr);
    const RE_Tree::Parts& parts = tree.parts();
    Extents found(parts.extent_count());
    SearchRequest request = parts.request(text, length, 0, nullptr);
    if (!run_search(request, found.data(), nullptr)) return 0;
    const size_t count = parts.pattern.token_count + 1;
    for (size_t i = 0; i < std::min(count, room); ++i) {
        const size_t start = found.data()[2 * i];
        const size_t end = found.data()[2 * i + 1];
        extents[i] = end == kUnset ? utRegexpExtent{SIZE_MAX, SIZE_MAX}
                                   : utRegexpExtent{place(start), place(end)};
    }
    return count;
}

size_t search_narrow(const char* text, size_t length, const char* pattern, bool ignores_case,
                     utRegexpExtent* extents, size_t room) {
    return run_raising([=] {
        const NarrowText wide(text, length);
        const NarrowText wide_pattern(pattern, pattern != nullptr ? std::strlen(pattern) : 0);
        return search_once(wide.units(), wide.length(), wide_pattern.units(), wide_pattern.length(),
                           ignores_case, extents, room,
                           [&wide](size_t unit) { return wide.byte_offset(unit); });
    });
}

size_t search_wide(const char16_t* text, size_t length, const char16_t* pattern,
                   size_t pattern_length, bool ignores_case, utRegexpExtent* extents, size_t room) {
    return run_raising([=] {
        return search_once(text, length, pattern, pattern_length, ignores_case, extents, room,
                           [](size_t unit) { return unit; });
    });
}

}  // namespace
}  // namespace qxut::regexp

size_t utRegexp(const char* text, size_t length, const char* pattern, utRegexpExtent* extents,
                size_t room) {
    return qxut::regexp::search_narrow(text, length, pattern, false, extents, room);
}

size_t utRegexpi(const char* text, size_t length, const char* pattern, utRegexpExtent* extents,
                 size_t room) {
    return qxut::regexp::search_narrow(text, length, pattern, true, extents, room);
}

size_t utRegexp_u16(const char16_t* text, size_t length, const char16_t* pattern,
                    size_t pattern_length, utRegexpExtent* extents, size_t room) {
    return qxut::regexp::search_wide(text, length, pattern, pattern_length, false, extents, room);
}

size_t utRegexpi_u16(const char16_t* text, size_t length, const char16_t* pattern,
                     size_t pattern_length, utRegexpExtent* extents, size_t room) {
    return qxut::regexp::search_wide(text, length, pattern, pattern_length, true, extents, room);
}
