// tokens.cpp - the extents of a match's tokens.
//
// One block holds the tokens and behind them where each was opened last: the start of a token that
// is open again is not its start before its end is reached. Tested by
// tests/regexp/results_test.cpp.
#include <qxut/regexp/tokens.hpp>

#include <cstdint>
#include <memory>
#include <string_view>

#include "regexp/allocator.h"
#include "regexp/failure.h"

RE_Token_Stack::RE_Token_Stack(size_t count) : count_(count) {
    if (count == SIZE_MAX) qxut::regexp::fail_memory();
    void* const block =
        qxut::regexp::allocate_objects(count + 1, sizeof(RE_TokenInfo) + sizeof(size_t));
    tokens_ = static_cast<RE_TokenInfo*>(block);
    std::uninitialized_value_construct_n(tokens_, count + 1);
    opened_ = reinterpret_cast<size_t*>(tokens_ + count + 1);
    std::uninitialized_value_construct_n(opened_, count + 1);
}

RE_Token_Stack::~RE_Token_Stack() { qxut::regexp::free_objects(tokens_); }

size_t RE_Token_Stack::count() const noexcept { return count_; }

void RE_Token_Stack::reset() noexcept {
    for (size_t token = 0; token <= count_; ++token) {
        RE_TokenInfo& info = tokens_[token];
        info.start = info.end = 0;
        info.is_set = false;
    }
}

void RE_Token_Stack::set_start(size_t token, const char16_t* name, size_t position) noexcept {
    if (token > count_) return;
    tokens_[token].name = name;
    opened_[token] = position;
}

void RE_Token_Stack::set_end(size_t token, size_t position) noexcept {
    if (token > count_) return;
    RE_TokenInfo& info = tokens_[token];
    info.start = opened_[token];
    info.end = position;
    info.is_set = true;
}

const RE_TokenInfo* RE_Token_Stack::get(size_t token) const noexcept {
    return token <= count_ ? tokens_ + token : nullptr;
}

const RE_TokenInfo* RE_Token_Stack::get(const char16_t* name) const noexcept {
    if (name == nullptr) return nullptr;
    const std::u16string_view wanted = name;
    const RE_TokenInfo* unset = nullptr;
    for (size_t token = 1; token <= count_; ++token) {
        const RE_TokenInfo& info = tokens_[token];
        if (info.name == nullptr || wanted != info.name) continue;
        if (info.is_set) return &info;
        if (unset == nullptr) unset = &info;
    }
    return unset;
}
