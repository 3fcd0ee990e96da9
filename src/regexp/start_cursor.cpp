// start_cursor.cpp - runs the way to find starts that the analysis chose; see start_cursor.h.
//
// Landmarks. Let q be the first place of the landmark where a match that starts at `from` or later
// can have it, and let the window of q be the positions from which only characters lead to q that
// may stand before the landmark, and no more of them than may be. A match that starts before the
// window, but not before `from`, has its landmark at some later place; then the character in front
// of the window, or q's distance, stands between it and that place as well, which cannot be. So the
// window holds the first starts there are; when they are done with, the next place is looked for.
// Windows do not reach below `from`, so going back costs no more than going ahead did.
//
// Runs. See Chooser::read_run for why a failure may step over the rest of a run.
//
// Tested by tests/regexp/start_cursor_test.cpp, against trying every position.
#include "regexp/start_cursor.h"

#include <algorithm>
#include <bit>

namespace qxut::regexp {
namespace {

constexpr size_t kPieceUnits = size_t{32} * 1024;  // 64 KiB
// Looked at one by one before a wide search is begun.
constexpr size_t kNearUnits = 8;

constexpr bool is_lead(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool is_trail(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

}  // namespace

bool StartCursor::is_inside_pair(size_t p) const noexcept {
    return p < length_ && is_trail(text_[p]) && p > 0 && is_lead(text_[p - 1]);
}

// p is below the length.
char32_t StartCursor::character_at(size_t p) const noexcept {
    const char32_t unit = text_[p];
    if (is_lead(text_[p]) && p + 1 < length_ && is_trail(text_[p + 1]))
        return ((unit - 0xD800) << 10) + (char32_t{text_[p + 1]} - 0xDC00) + 0x10000;
    return unit;
}

size_t StartCursor::after(size_t p) const noexcept {
    return p + (is_lead(text_[p]) && p + 1 < length_ && is_trail(text_[p + 1]) ? 2 : 1);
}

// p is above 0.
size_t StartCursor::before(size_t p) const noexcept {
    return is_inside_pair(p - 1) ? p - 2 : p - 1;
}

bool StartCursor::may_begin(size_t p) const noexcept {
    return !starts_->has_first || (p < length_ && starts_->first.contains(character_at(p)));
}

void StartCursor::passed(size_t units, const SeekPoll& poll) {
    since_poll_ += units;
    if (since_poll_ < kPieceUnits) return;
    since_poll_ = 0;
    if (poll.call != nullptr) poll.call(poll.argument);
}

// Searches [from, end) piece by piece; kUnset when nothing is found. search(begin, end) gives a
// place or `end`.
template <class Search>
size_t StartCursor::in_pieces(size_t from, size_t end, const SeekPoll& poll, Search search) {
    while (from < end) {
        const size_t stop = std::min(end, from + (kPieceUnits - since_poll_));
        const size_t found = search(from, stop);
        passed(found - from, poll);
        if (found < stop) return found;
        from = stop;
    }
    return kUnset;
}

size_t StartCursor::find(const Landmark& landmark, size_t from, const SeekPoll& poll) {
    if (length_ < landmark.length()) return kUnset;
    const size_t end = length_ - landmark.length() + 1;
    if (!landmark.is_set) {
        const LiteralSearch& literal = landmark.literal;
        return in_pieces(from, end, poll, [&](size_t begin, size_t stop) {
            return find_literal(text_, begin, stop, literal);
        });
    }
    for (;;) {
        const size_t found = in_pieces(from, end, poll, [&](size_t begin, size_t stop) {
            return find_in_set(text_, begin, stop, landmark.unit_set);
        });
        if (found == kUnset) return kUnset;
        if (!is_inside_pair(found) && landmark.set.contains(character_at(found))) return found;
        from = found + 1;
    }
}

bool StartCursor::is_required_ahead(size_t from, const SeekPoll& poll) {
    const Landmark& required = starts_->required;
    const size_t least = from + required.min_before;
    const bool is_known = required_from_ != kUnset && least >= required_from_ &&
                          (required_at_ == kUnset || least <= required_at_);
    if (!is_known) {
        const size_t found = least < length_ ? find(required, least, poll) : kUnset;
        required_from_ = least;
        required_at_ = found;
    }
    return required_at_ != kUnset;
}

size_t StartCursor::first_line_start(size_t from, const SeekPoll& poll) {
    static constexpr char16_t kNewline = u'\n';
    static constexpr UnitVariants kNewlineVariants{{kNewline, kNewline, kNewline, kNewline}};
    static constexpr LiteralSearch kNewlineSearch{&kNewlineVariants, 1, {0, 0}, &kNewline};
    if (is_line_start(from) && may_begin(from)) return from;
    for (;;) {
        const size_t newline = in_pieces(from, length_, poll, [&](size_t begin, size_t stop) {
            return find_literal(text_, begin, stop, kNewlineSearch);
        });
        if (newline == kUnset) return kUnset;
        from = newline + 1;
        if (may_begin(from)) return from;
    }
}

size_t StartCursor::first_member(size_t from, const SeekPoll& poll) {
    // Where matches stand close together the next start is near.
    const size_t asked = from;
    const size_t near = std::min(length_, from + kNearUnits);
    while (from < near && !starts_->first.contains(character_at(from))) from = after(from);
    passed(from - asked, poll);
    if (from < near) return from;
    for (;; ++from) {
        if (from >= length_) return kUnset;
        from = in_pieces(from, length_, poll, [&](size_t begin, size_t stop) {
            return find_in_set(text_, begin, stop, starts_->first_units);
        });
        if (from == kUnset) return kUnset;
        if (!is_inside_pair(from) && starts_->first.contains(character_at(from))) return from;
    }
}

size_t StartCursor::first_word(size_t from, const SeekPoll& poll) {
    const WordSearch& words = starts_->words;
    if (length_ < words.shortest) return kUnset;
    const size_t end = length_ - words.shortest + 1;
    for (;;) {
        const size_t found = in_pieces(from, end, poll, [&](size_t begin, size_t stop) {
            return find_word(text_, begin, stop, length_, words);
        });
        if (found == kUnset || !is_inside_pair(found)) return found;
        from = found + 1;
    }
}

size_t StartCursor::first_doubled(size_t from, const SeekPoll& poll) {
    for (;; ++from) {
        from = in_pieces(from, length_ - 1, poll, [&](size_t begin, size_t stop) {
            return find_doubled(text_, begin, stop);
        });
        if (from == kUnset || (!is_inside_pair(from) && may_begin(from))) return from;
    }
}

// A start in the window, not below `from`; kUnset: none.
size_t StartCursor::first_in(const Window& window, size_t from) const noexcept {
    size_t p = std::max(from, window.begin);
    while (p <= window.end) {
        if ((!starts_->begins_line || is_line_start(p)) && may_begin(p)) return p;
        if (p == length_) return kUnset;
        p = after(p);
    }
    return kUnset;
}

// The starts, not below `from`, that the landmark at `at` allows; false: none.
bool StartCursor::find_window(size_t from, size_t at, Window& window, const SeekPoll& poll) {
    const Landmark& landmark = starts_->landmark;
    size_t begin = at + landmark.behind;
    if (is_inside_pair(at) || is_inside_pair(begin)) return false;
    size_t end = landmark.min_before == 0 ? begin : kUnset;
    uint32_t count = 0;
    while (begin > from && count < landmark.max_before) {
        const size_t previous = before(begin);
        if (previous < from || !landmark.before.contains(character_at(previous))) break;
        begin = previous;
        if (++count == landmark.min_before) end = begin;
        if (count % kPieceUnits == 0) passed(kPieceUnits, poll);
    }
    if (end == kUnset) return false;
    window = {from, begin, end, at};
    return true;
}

// Where matches begin with the landmark, or right behind it.
size_t StartCursor::first_at_landmark(size_t from, const SeekPoll& poll) {
    const Landmark& landmark = starts_->landmark;
    // A start of the text has no newline before it.
    if (landmark.has_newline && from == 0 && may_begin(0)) return 0;
    for (size_t at = from > landmark.behind ? from - landmark.behind : 0;; ++at) {
        at = find(landmark, at, poll);
        if (at == kUnset) return kUnset;
        const size_t start = at + landmark.behind;
        if (!is_inside_pair(at) && !is_inside_pair(start) &&
            (!starts_->begins_line || is_line_start(start)))
            return start;
    }
}

size_t StartCursor::first_before_landmark(size_t from, const SeekPoll& poll) {
    const Landmark& landmark = starts_->landmark;
    Window window = window_;
    size_t next = 0;  // no landmark before it is of use
    if (window.from != kUnset && from >= window.from) {
        if (from <= window.end) {
            const size_t found = first_in(window, from);
            if (found != kUnset) return found;
            if (window.end == length_) return kUnset;
            from = after(window.end);
        }
        next = window.landmark + 1;
    }
    window_.from = kUnset;
    for (;; ++next) {
        const size_t ahead = from + landmark.min_before;
        const size_t least = ahead > landmark.behind ? ahead - landmark.behind : 0;
        next = find(landmark, std::max(least, next), poll);
        if (next == kUnset) return kUnset;
        if (!find_window(from, next, window, poll)) continue;
        const size_t found = first_in(window, from);
        if (found != kUnset) {
            window_ = window;
            return found;
        }
        if (window.end == length_) return kUnset;
        from = after(window.end);
    }
}

size_t StartCursor::first(size_t from, const SeekPoll& poll) {
    using Way = StartSearch::Way;
    if (from > length_ || length_ - from < starts_->min_length) return kUnset;
    if (starts_->required.exists && !is_required_ahead(from, poll)) return kUnset;
    switch (starts_->way) {
        case Way::everywhere:
            return from;
        case Way::nowhere:
            return kUnset;
        case Way::text_start:
            return from == 0 ? 0 : kUnset;
        case Way::line_start:
            return first_line_start(from, poll);
        case Way::landmark:
            return starts_->landmark.is_at_start() ? first_at_landmark(from, poll)
                                                   : first_before_landmark(from, poll);
        case Way::words:
            return first_word(from, poll);
        case Way::first_set:
            return first_member(from, poll);
        case Way::doubled:
            return first_doubled(from, poll);
    }
    return from;
}

// Where the run that p is in ends.
size_t StartCursor::run_end(size_t p, const SeekPoll& poll) {
    if (p >= run_begin_ && p < run_end_) return run_end_;
    const CharacterSet& run = starts_->run;
    size_t end = p;
    for (size_t stop = p; end == stop && end < length_;) {
        const size_t since = end;
        stop = std::min(length_, end + kPieceUnits);
        while (end < stop) {
            const char16_t unit = text_[end];
            const bool is_whole = (unit & 0xF800) != 0xD800;
            if (!run.contains(is_whole ? unit : character_at(end))) break;
            end = is_whole ? end + 1 : after(end);
        }
        passed(end - since, poll);
    }
    run_begin_ = p;
    run_end_ = end;
    return end;
}

size_t StartCursor::after_failure(size_t p, const SeekPoll& poll) {
    if (p >= length_) return kUnset;
    if (!starts_->begins_with_run) return first(after(p), poll);
    const size_t end = run_end(p, poll);
    if (starts_->max_run != kNoLimit && end - p > starts_->max_run) return first(after(p), poll);
    return end < length_ ? first(after(end), poll) : kUnset;
}

// Which units are of the run, in the block that p is in; none behind the text.
uint64_t StartCursor::members_around(size_t p) {
    const size_t block = p - p % kMemberBits;
    if (block != block_) {
        const size_t end = std::min(length_, block + kMemberBits);
        members_ = members_in(text_, block, end, starts_->first_units);
        block_ = block;
    }
    return members_;
}

// Where runs are short, their ends are met as often as one unit in three: bits tell both without a
// branch for each unit.
bool StartCursor::first_run_of_units(size_t from, const SeekPoll& poll, Match& match) {
    const auto behind_block = [](size_t p) { return p - p % kMemberBits + kMemberBits; };
    for (size_t p = from; p < length_;) {
        size_t counted = p;
        const uint64_t members = members_around(p) >> p % kMemberBits;
        if (members == 0) {
            passed(behind_block(p) - p, poll);
            p = in_pieces(behind_block(p), length_, poll, [&](size_t begin, size_t stop) {
                return find_in_set(text_, begin, stop, starts_->first_units);
            });
            if (p == kUnset) return false;
            continue;
        }
        p += static_cast<size_t>(std::countr_zero(members));
        match.start = p;
        uint64_t others = ~members_around(p) >> p % kMemberBits;
        while (others == 0 && behind_block(p) < length_) {
            p = behind_block(p);
            passed(p - counted, poll);
            counted = p;
            others = ~members_around(p);
        }
        // Nothing ends the run in the text's last block when that is full.
        match.end = others != 0 ? p + static_cast<size_t>(std::countr_zero(others)) : length_;
        passed(match.end - counted, poll);
        p = match.end;
        if (match.end - match.start >= starts_->min_run) return true;
    }
    return false;
}

bool StartCursor::first_match(size_t from, const SeekPoll& poll, Match& match) {
    if (starts_->whole == StartSearch::Whole::run && starts_->is_run_of_units)
        return first_run_of_units(from, poll, match);
    for (;;) {
        match.start = first(from, poll);
        if (match.start == kUnset) return false;
        if (starts_->whole == StartSearch::Whole::landmark) {
            match.end = match.start + starts_->landmark.length();
            passed(match.end - match.start, poll);
            return true;
        }
        match.end = run_end(match.start, poll);
        uint32_t count = 0;
        for (size_t p = match.start; p < match.end && count < starts_->min_run; p = after(p))
            ++count;
        if (count == starts_->min_run) return true;
        // What may begin a run is not always sought, and this place does not.
        if (match.end == length_) return false;
        from = after(match.end);
        passed(from - match.end, poll);
    }
}

}  // namespace qxut::regexp
