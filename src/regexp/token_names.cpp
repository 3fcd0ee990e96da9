// token_names.cpp - the tokens sorted by name, then by number.
//
// A name may be given to many tokens and referred to many times; a run of the sorted numbers serves
// all of its references. Tested by tests/regexp/parser_test.cpp.
#include "regexp/token_names.h"

#include <algorithm>
#include <string_view>

namespace qxut::regexp {

TokenNames::TokenNames(const char16_t* const* names, size_t count) : names_(names) {
    for (size_t token = 0; token < count; ++token) {
        if (names[token] != nullptr) tokens_.push_back(static_cast<uint32_t>(token + 1));
    }
    std::sort(tokens_.begin(), tokens_.end(), [names](uint32_t a, uint32_t b) {
        const int order = std::u16string_view(names[a - 1]).compare(names[b - 1]);
        return order != 0 ? order < 0 : a < b;
    });
}

TokenNames::Run TokenNames::find(const char16_t* name) const noexcept {
    const std::u16string_view wanted(name);
    const auto begin = std::partition_point(
        tokens_.begin(), tokens_.end(), [&](uint32_t token) { return names_[token - 1] < wanted; });
    const auto end = std::partition_point(
        begin, tokens_.end(), [&](uint32_t token) { return names_[token - 1] == wanted; });
    return {static_cast<size_t>(begin - tokens_.begin()), static_cast<size_t>(end - begin)};
}

}  // namespace qxut::regexp
