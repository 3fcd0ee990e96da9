// narrow_result.cpp - UTF-16 to the local code page.
//
// One conversion into room that holds most results, another where it did not. Entry point:
// narrowed. Tested by tests/regexp/translate_test.cpp.
#include "regexp/narrow_result.h"

#include <cstdint>
#include <cstring>

#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>

#include "regexp/failure.h"

namespace qxut::regexp {

namespace {

constexpr size_t kMost = INT32_MAX;  // that the conversions count

}  // namespace

char* narrowed(const char16_t* text, size_t units, size_t* length) {
    if (units > kMost) fail_memory();
    const auto count = static_cast<uint32_t>(units);
    char small[1024];
    uint32_t size = sizeof(small);
    utf16_to_lcp_n(small, &size, text, count);
    // 0 is a converter that cannot be opened, or a text that means nothing.
    if (size == 0 && count != 0) utFree(require(utf16_to_lcp(text, count)));
    if (size > kMost) fail_memory();
    auto* const made = static_cast<char*>(utMallocWithCheck(size_t{size} + 1));
    if (size <= sizeof(small)) {
        std::memcpy(made, small, size);
    } else {
        uint32_t capacity = size;
        utf16_to_lcp_n(made, &capacity, text, count);
    }
    made[size] = 0;
    *length = size;
    return made;
}

}  // namespace qxut::regexp
