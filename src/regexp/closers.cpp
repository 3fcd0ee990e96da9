// closers.cpp - the passes from right to left.
//
// Invariant: entries are final once written, and an entry reads only entries of higher positions.
// Each table has one entry more than the pattern has units, the end; a step beyond the end counts
// as the end. Tested by tests/regexp/closers_test.cpp, against a scan written out.
#include "regexp/closers.h"

#include <algorithm>
#include <string_view>

namespace qxut::regexp {

// A pattern without bars is asked for none, and most have no set: their tables are not made.
Closers::Closers(const Source& source, Arena& arena) noexcept
    : source_(source), levels_{Working<Ahead>(arena), Working<Ahead>(arena)}, brackets_(arena) {
    const std::u16string_view text(source.text, source.length);
    has_bars_ = text.find(u'|') != text.npos;
    has_brackets_ = text.find(u'[') != text.npos;
}

bool Closers::is_comment(size_t opener) const noexcept {
    return opener + 2 < source_.length && source_.text[opener + 1] == u'?' &&
           source_.text[opener + 2] == u'#';
}

void Closers::read_brackets() {
    const size_t length = source_.length;
    brackets_.resize(length + 1);
    const auto none = static_cast<uint32_t>(length);
    // The closers of sets whose next item begins at the position in hand, one and two behind it.
    uint32_t one = none;
    uint32_t two = none;
    brackets_[length] = none;
    for (size_t i = length; i-- > 0;) {
        const char16_t c = source_.text[i];
        brackets_[i] = one;
        const uint32_t here = c == u']' ? static_cast<uint32_t>(i) : c == u'\\' ? two : one;
        two = one;
        one = here;
    }
}

const Working<Closers::Ahead>& Closers::read_level(bool free_spacing) {
    Working<Ahead>& ahead = levels_[free_spacing ? 1 : 0];
    if (!ahead.empty()) return ahead;
    if (has_brackets_ && brackets_.empty()) read_brackets();
    const Working<Ahead>* plain = free_spacing ? &read_level(false) : nullptr;
    const size_t length = source_.length;
    const auto end = static_cast<uint32_t>(length);
    ahead.resize(length + 1);
    ahead[length] = {end, end};
    uint32_t newline = end;
    for (size_t i = length; i-- > 0;) {
        const auto here = static_cast<uint32_t>(i);
        size_t from = i + 1;  // where the next item begins
        switch (source_.text[i]) {
            case u')':
                ahead[i] = {here, here};
                continue;
            case u'|':
                ahead[i] = {ahead[from].level_end, here};
                continue;
            case u'(': {
                const bool as_plain = free_spacing && is_comment(i);
                const uint32_t closer = (as_plain ? *plain : ahead)[from].level_end;
                if (closer < end) from = closer + size_t{1};
                break;
            }
            case u'[':
                if (brackets_[i] < end) from = brackets_[i] + size_t{1};
                break;
            case u'\\':
                from = std::min(i + 2, length);
                break;
            case u'#':
                if (free_spacing) from = newline;
                break;
            case u'\n':
                newline = here;
                break;
            default:
                break;
        }
        ahead[i] = ahead[from];
    }
    return ahead;
}

size_t Closers::parenthesis(size_t opener, bool free_spacing) {
    return read_level(free_spacing && !is_comment(opener))[opener + 1].level_end;
}

size_t Closers::bracket(size_t opener) {
    if (brackets_.empty()) read_brackets();
    return brackets_[opener];
}

size_t Closers::bar(size_t position, size_t end, bool free_spacing) {
    if (!has_bars_) return end;
    const Working<Ahead>& ahead = read_level(free_spacing);
    while (position < end) {
        position = ahead[position].stop;
        if (position >= end) break;
        if (source_.text[position] == u'|') return position;
        ++position;  // a stray ')'
    }
    return end;
}

}  // namespace qxut::regexp
