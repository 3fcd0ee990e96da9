// message_scratch.cpp - the formatter's stack of bytes; see message_scratch.h.
// Tested through tests/util/message_format_test.cpp.
#include "util/message_scratch.h"

#include <algorithm>

namespace qxut {
namespace {

constexpr size_t kSmallestBlock = 1024;
constexpr size_t kAlignment = alignof(std::max_align_t);
constexpr size_t kLargestRequest = static_cast<size_t>(-1) / 4;

// Last block in use; null: none is.
ut_message_scratch* top_block(const ut_message_context& context) {
    ut_message_scratch* top = nullptr;
    for (auto* block = context.scratch; block != nullptr && block->used != 0; block = block->next)
        top = block;
    return top;
}

// Makes the unused block behind `link` hold `size` bytes. Nothing points into an unused block,
// so it may move.
bool grow_block(ut_message_scratch*& link, size_t size, ut_realloc_fcn reallocate) {
    ut_message_scratch* const old = link;
    if (old != nullptr && old->capacity >= size) return true;
    const size_t capacity = std::max(size, kSmallestBlock);
    auto* block =
        static_cast<ut_message_scratch*>(reallocate(old, sizeof(ut_message_scratch) + capacity));
    if (block == nullptr) return false;
    if (old == nullptr) block->next = nullptr;
    block->capacity = capacity;
    block->used = 0;
    link = block;
    return true;
}

}  // namespace

bool reserve_scratch(ut_message_context& context, size_t size, ut_realloc_fcn reallocate) {
    if (top_block(context) != nullptr) return true;  // a run is open: the next one will take
    return grow_block(context.scratch, size, reallocate);
}

void release_scratch(ut_message_context& context, ut_free_fcn release) {
    for (ut_message_scratch* block = context.scratch; block != nullptr;) {
        ut_message_scratch* const next = block->next;
        release(block);
        block = next;
    }
    context.scratch = nullptr;
}

void* ScratchScope::take(size_t size) {
    if (size > kLargestRequest || context_.reallocate == nullptr) return nullptr;
    size = (std::max<size_t>(size, 1) + kAlignment - 1) / kAlignment * kAlignment;
    ut_message_scratch* block = top_block(context_);
    if (!open_) {
        open_ = true;
        top_ = block;
        used_ = block != nullptr ? block->used : 0;
    }
    if (block == nullptr || block->capacity - block->used < size) {
        ut_message_scratch*& link = block == nullptr ? context_.scratch : block->next;
        if (!grow_block(link, size, context_.reallocate)) return nullptr;
        block = link;
    }
    void* taken = reinterpret_cast<char*>(block + 1) + block->used;
    block->used += size;
    return taken;
}

void ScratchScope::give_back() {
    ut_message_scratch* block = context_.scratch;
    if (top_ != nullptr) {
        top_->used = used_;
        block = top_->next;
    }
    for (; block != nullptr && block->used != 0; block = block->next) block->used = 0;
}

}  // namespace qxut
