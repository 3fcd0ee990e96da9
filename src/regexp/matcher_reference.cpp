// matcher_reference.cpp - the text of a token again.
//
// Ignoring case, characters are compared by their folded forms, so that the two texts may differ in
// units. Entry: the main loop. Tested by the tables of matches.
#include <cstring>

#include "regexp/folding.h"
#include "regexp/matcher_run.h"

namespace qxut::regexp {

// The first of the tokens that is set; null when none is.
const TokenState* Backtracker::referenced(const Reference& reference) const {
    for (uint32_t i = 0; i < reference.count; ++i) {
        const uint32_t number = program_->tokens[reference.first + i];
        if (number >= scratch_.tokens.size()) continue;
        const TokenState& token = scratch_.tokens[number];
        if (token.end != kUnset) return &token;
    }
    return nullptr;
}

bool Backtracker::match_reference(const Instruction& in, const char16_t*& p) {
    const TokenState* const token = referenced(program_->references[in.arg]);
    if (token == nullptr) return false;
    const size_t length = token->end - token->start;
    const auto left = static_cast<size_t>(end_ - p);
    const char16_t* const wanted = text_ + token->start;
    charge(length, p);
    if (left < length) {
        if (std::memcmp(p, wanted, left * sizeof(char16_t)) == 0) reached_end_ = true;
        return false;
    }
    if (std::memcmp(p, wanted, length * sizeof(char16_t)) != 0) return false;
    // A pair in the text is not met by its first half.
    const char16_t* const after = p + length;
    if (length != 0 && is_high_surrogate(after[-1])) {
        if (after == end_) {
            reached_end_ = true;
        } else if (is_low_surrogate(*after)) {
            return false;
        }
    }
    p = after;
    return true;
}

bool Backtracker::match_reference_folded(const Instruction& in, const char16_t*& p) {
    const TokenState* const token = referenced(program_->references[in.arg]);
    if (token == nullptr) return false;
    charge(token->end - token->start, p);
    const char16_t* at = p;
    const char16_t* wanted = text_ + token->start;
    const char16_t* const wanted_end = text_ + token->end;
    while (wanted != wanted_end) {
        if (at == end_) {
            reached_end_ = true;
            return false;
        }
        const char32_t c = next_character(wanted, wanted_end);
        const char32_t d = next_character(at, end_);
        if (c != d && fold(c) != fold(d)) return false;
    }
    p = at;
    return true;
}

}  // namespace qxut::regexp
