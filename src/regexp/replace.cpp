// replace.cpp - replaces the matches in a text.
//
// One pass: the matches are those of the original text, the result is built beside it, and only
// when it is whole does it take the place of the caller's text. Invariant: until then nothing of
// the caller's has changed, so that an error needs no undoing. Entry point: RE_Replace. Tested by
// tests/regexp/replace_test.cpp.
#include <qxut/regexp/replace.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include <qxut/util/heap.h>
#include <qxut/regexp/tree.hpp>

#include "regexp/buffer.h"
#include "regexp/narrow_result.h"
#include "regexp/narrow_text.h"
#include "regexp/replace_plan.h"

using namespace qxut::regexp;

RE_Replace_Text::~RE_Replace_Text() { utFree(text_); }

void RE_Replace_Text::grow(size_t more) {
    constexpr size_t kMost = SIZE_MAX / sizeof(char16_t);
    constexpr size_t kLeast = 64;
    if (more > kMost - length_) fail_memory();
    const size_t doubled = capacity_ > kMost / 2 ? kMost : capacity_ * 2;
    const size_t capacity = std::max({length_ + more, doubled, kLeast});
    text_ = resized(text_, capacity);
    capacity_ = capacity;
}

char16_t* RE_Replace_Text::release(size_t capacity) {
    if (capacity != capacity_) text_ = resized(text_, capacity);
    char16_t* const text = text_;
    text_ = nullptr;
    length_ = capacity_ = 0;
    return text;
}

RE_Replace_Writer::~RE_Replace_Writer() = default;
void RE_Replace_Writer::replaced(const RE_Replacement& /*replacement*/) {}

RE_Replace::Parts::~Parts() {
    while (first != nullptr) {
        const std::unique_ptr<RE_Replace_Node> node(first);
        first = node->next;
    }
}

namespace {

RE_Replace::Parts* parsed(const char16_t* text, size_t length, RE_Flags flags,
                          RE_Context* context) {
    std::unique_ptr<RE_Replace::Parts> parts(require(new RE_Replace::Parts));
    parse_template(text, length, flags, context, *parts);
    return parts.release();
}

RE_Replace::Parts* parsed(const char* text) {
    const NarrowText units(text, text != nullptr ? std::strlen(text) : 0);
    return parsed(units.units(), units.length(), RE_NO_FLAGS, nullptr);
}

struct DeleteIteration {
    void operator()(Iteration* iteration) const noexcept { delete_iteration(iteration); }
};

// Hands each match to take(end of the match before, extents), as many as `limit` allows (0: all),
// and returns how many there were. They are those of RE_Tree::match and RE_Results::next.
template <class Take>
size_t for_each_match(const RE_Tree& tree, const char16_t* text, size_t length, size_t limit,
                      RE_Search_Info* info, Take take) {
    const RE_Tree::Parts& parts = tree.parts();
    SearchRequest request = parts.request(text, length, 0, info);
    Extents storage(parts.extent_count());
    size_t* const extents = storage.data();
    if (!run_search(request, extents, info)) return 0;
    std::unique_ptr<Iteration, DeleteIteration> iteration;
    size_t end = 0;
    for (size_t count = 1;; ++count) {
        take(end, extents);
        if (count == limit) return count;
        if (iteration == nullptr) {
            iteration.reset(new_iteration(request.steps_used));
            request.iteration = iteration.get();
        }
        end = extents[1];
        request.start = end;
        request.not_empty_at = extents[0] == end ? end : kUnset;
        if (!search(request, extents)) return count;
    }
}

size_t limit_of(bool first_only, const size_t* count) {
    if (first_only) return 1;
    return count != nullptr ? *count : 0;
}

// The result of replacing in `text`, and how many matches were replaced; without one it is empty.
struct Replaced {
    RE_Replace_Text text;
    size_t count = 0;
    size_t capacity = 0;  // of a buffer that had it before and grew at each match

    void replace(const RE_Replace::Parts& replacement, const char16_t* original, size_t length,
                 const RE_Tree& tree, size_t limit, RE_Search_Info* info) {
        ReplacePlan plan(replacement, tree.parts());
        size_t rest = 0;
        size_t grown = length;  // the length that a text replaced in place has by now
        count = for_each_match(tree, original, length, limit, info,
                               [&](size_t from, const size_t* extents) {
                                   const size_t start = extents[0];
                                   rest = extents[1];
                                   if (text.text() == nullptr) text.reserve(length);
                                   text.append_part(original + from, start - from, length - from);
                                   const size_t before = text.length();
                                   plan.build(original, length, extents, text);
                                   grown = grown - (rest - start) + (text.length() - before);
                                   capacity = grown_capacity(capacity, grown);
                               });
        if (count != 0) text.append(original + rest, length - rest);
    }
};

struct FreeBlock {
    void operator()(char* block) const { utFree(block); }
};

}  // namespace

RE_Replace::RE_Replace(const char16_t* text, size_t length, RE_Flags flags, RE_Context* context)
    : parts_(parsed(text, length, flags, context)) {}
RE_Replace::RE_Replace(const char16_t* text, size_t length)
    : RE_Replace(text, length, RE_NO_FLAGS, nullptr) {}
RE_Replace::RE_Replace(const char* text) : parts_(parsed(text)) {}
RE_Replace::~RE_Replace() { delete parts_; }

void RE_Replace::build_replace(const RE_Replace_Match& match, RE_Replace_Text& result) const {
    for (const RE_Replace_Node* node = parts_->first; node != nullptr; node = node->next) {
        node->build_replace(match, result);
    }
}

char16_t* RE_Replace::replace(char16_t* buffer, size_t* length, size_t* capacity,
                              const RE_Tree& tree, bool first_only, size_t* count,
                              RE_Search_Info* info) const {
    Replaced replaced;
    replaced.capacity = *capacity;
    replaced.replace(*parts_, buffer, *length, tree, limit_of(first_only, count), info);
    if (replaced.count != 0) {
        const size_t new_length = replaced.text.length();
        if (replaced.capacity == *capacity) {
            if (new_length != 0) {
                std::memcpy(buffer, replaced.text.text(), new_length * sizeof(char16_t));
            }
        } else {
            char16_t* const grown = replaced.text.release(replaced.capacity);
            utFree(buffer);
            buffer = grown;
            *capacity = replaced.capacity;
        }
        *length = new_length;
    }
    if (count != nullptr) *count = replaced.count;
    return buffer;
}

char* RE_Replace::replace(char* buffer, size_t* length, size_t* capacity, const RE_Tree& tree,
                          bool first_only, size_t* count, RE_Search_Info* info) const {
    const NarrowText units(buffer, *length);
    Replaced replaced;
    replaced.replace(*parts_, units.units(), units.length(), tree, limit_of(first_only, count),
                     info);
    if (replaced.count != 0) {
        size_t new_length = 0;
        const std::unique_ptr<char, FreeBlock> bytes(
            narrowed(replaced.text.text(), replaced.text.length(), &new_length));
        if (new_length > *capacity) {
            if (new_length > SIZE_MAX - *capacity) fail_memory();
            buffer = static_cast<char*>(utReallocWithCheck(buffer, *capacity + new_length));
            *capacity += new_length;
        }
        if (new_length != 0) std::memcpy(buffer, bytes.get(), new_length);
        *length = new_length;
    }
    if (count != nullptr) *count = replaced.count;
    return buffer;
}

char* RE_Replace::replace(const char* buffer, size_t* length, const char* pattern,
                          const char* replacement, bool ignore_case, bool first_only) {
    const RE_Tree tree(pattern, ignore_case);
    const RE_Replace parsed_replacement(replacement);
    size_t bytes = 0;
    if (buffer != nullptr) bytes = length != nullptr ? *length : std::strlen(buffer);
    const NarrowText units(buffer, bytes);
    Replaced replaced;
    replaced.replace(*parsed_replacement.parts_, units.units(), units.length(), tree,
                     first_only ? 1 : 0, nullptr);
    char* result = nullptr;
    if (replaced.count != 0) {
        result = narrowed(replaced.text.text(), replaced.text.length(), &bytes);
    } else {
        if (bytes == SIZE_MAX) fail_memory();
        result = static_cast<char*>(utMallocWithCheck(bytes + 1));
        if (bytes != 0) std::memcpy(result, buffer, bytes);
        result[bytes] = 0;
    }
    if (length != nullptr) *length = bytes;
    return result;
}

void RE_Replace::stream(const char16_t* text, size_t length, const RE_Tree& tree, bool first_only,
                        size_t* count, RE_Replace_Writer& writer, RE_Search_Info* info) const {
    RE_Replace_Text built;
    size_t rest = 0;
    size_t written = 0;
    const auto write = [&](const char16_t* piece, size_t units) {
        if (units != 0) writer.write(piece, units);
        written += units;
    };
    ReplacePlan plan(*parts_, tree.parts());
    const size_t made = for_each_match(tree, text, length, limit_of(first_only, count), info,
                                       [&](size_t from, const size_t* extents) {
                                           const size_t start = extents[0];
                                           rest = extents[1];
                                           built.clear();
                                           plan.build(text, length, extents, built);
                                           write(text + from, start - from);
                                           const size_t result_start = written;
                                           write(built.text(), built.length());
                                           writer.replaced({start, rest, result_start, written});
                                       });
    write(text + rest, length - rest);
    if (count != nullptr) *count = made;
}

const size_t* RE_Replace::tokens_used(size_t* count) const noexcept {
    if (count != nullptr) *count = parts_->tokens.size();
    return parts_->tokens.data();
}

const char16_t* const* RE_Replace::names_used(size_t* count) const noexcept {
    if (count != nullptr) *count = parts_->names.size();
    return parts_->names.data();
}

size_t RE_Replace::evaluable_count() const noexcept { return parts_->evaluable_count; }
bool RE_Replace::uses(RE_Replace_Special_Kind kind) const noexcept { return parts_->uses[kind]; }
