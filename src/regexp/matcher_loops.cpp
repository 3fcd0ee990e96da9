// matcher_loops.cpp - the loops over one character: a run of text is gone over at once, and one
// entry on the stack stands for all the places where the loop may end.
//
// Where it is known what may follow, only places are tried where that stands.
//
// A loop without an upper limit is in the same state wherever in its run it stands, once it has
// its least characters. So failures are recorded for each place of the run, and a loop that meets a
// recorded one need not go on: neither more characters nor its end can succeed there. A loop with a
// limit is recorded under the place behind its least characters.
//
// Entry: the start_ and resume_ functions, of the main loop.
#include <algorithm>

#include "regexp/matcher_run.h"
#include "regexp/wide_search.h"

namespace qxut::regexp {

namespace {

// The first place in [p, end) with a unit that is not taken. The usual run is short.
template <class Takes>
const char16_t* behind_units(const char16_t* p, const char16_t* end, Takes takes) {
    while (p != end && takes(*p)) ++p;
    return p;
}

// The usual run is shorter; the wide search is for the others.
constexpr ptrdiff_t kShortRun = 16;
// Where each unit is a step.
constexpr ptrdiff_t kUnitsBetweenCharges = 512;
constexpr UnitSet kNewline = [] {
    UnitSet set;
    set.by_ranges = true;
    set.range_count = 1;
    set.first[0] = set.last[0] = u'\n';
    return set;
}();

}  // namespace

// Goes over what the loop takes in [p, end), `room` characters at most, and takes them off.
const char16_t* Backtracker::scan_some(const Loop& loop, const char16_t* p, const char16_t* end,
                                       uint32_t& room) const {
    // Where every character is one unit, the room bounds the units.
    const auto units = [&](auto takes_unit) {
        const char16_t* const from = p;
        if (room == kNoLimit) return behind_units(p, end, takes_unit);
        p = behind_units(p, static_cast<size_t>(end - p) <= room ? end : p + room, takes_unit);
        room -= static_cast<uint32_t>(p - from);
        return p;
    };
    // A long run without a limit; `p` is in it.
    const auto long_run = [&](const UnitSet& set) {
        return text_ + find_outside_set(text_, offset(p), offset(end), set);
    };
    const auto units_of_set = [&](auto takes_unit) {
        if (room != kNoLimit || end - p <= kShortRun) return units(takes_unit);
        const char16_t* const near = p + kShortRun;
        p = behind_units(p, near, takes_unit);
        return p != near ? p : long_run(program_->unit_sets[loop.taken]);
    };
    const auto characters = [&](auto takes_character) {
        uint32_t left = room;
        while (p != end && left != 0) {
            const char16_t* after = p;
            if (!takes_character(next_character(after, end))) break;
            p = after;
            --left;
        }
        if (room != kNoLimit) room = left;
        return p;
    };
    const auto is_low = [&loop](char16_t unit) {
        return (loop.low[unit / 64] >> unit % 64 & 1) != 0;
    };
    switch (loop.units) {
        case LoopUnits::one:
            return units([unit = loop.first[0]](char16_t c) { return c == unit; });
        case LoopUnits::two:
            return units([&](char16_t c) { return c == loop.first[0] || c == loop.first[1]; });
        case LoopUnits::low:
            return units_of_set([&](char16_t c) { return c < 256 && is_low(c); });
        case LoopUnits::ranges:
            return units_of_set([&](char16_t c) {
                if (c < 256) return is_low(c);
                return (c >= loop.first[0] && c <= loop.last[0]) ||
                       (c >= loop.first[1] && c <= loop.last[1]);
            });
        case LoopUnits::all:
            if (room == kNoLimit) return end;
            return characters([](char32_t) { return true; });
        case LoopUnits::but_newline:
            if (room == kNoLimit) {
                const char16_t* const near = end - p > kShortRun ? p + kShortRun : end;
                p = behind_units(p, near, [](char16_t unit) { return unit != u'\n'; });
                return p != near || p == end
                           ? p
                           : text_ + find_in_set(text_, offset(p), offset(end), kNewline);
            }
            return characters([](char32_t c) { return c != U'\n'; });
        case LoopUnits::low_or_high:
            if (room == kNoLimit)
                return units_of_set([&](char16_t c) { return c >= 256 || is_low(c); });
            return characters(
                [&](char32_t c) { return c >= 256 || is_low(static_cast<char16_t>(c)); });
        case LoopUnits::characters:
            break;
    }
    switch (loop.what) {
        case Op::character:
            return characters([&](char32_t c) { return c == loop.arg; });
        case Op::either:
            return characters([&](char32_t c) { return c == loop.arg || c == loop.other; });
        default: {
            // Most of any text is told by the bits.
            const CharacterSet& set = program_->sets[loop.arg];
            uint32_t left = room;
            while (p != end && left != 0) {
                if (*p < 256) {
                    if (!is_low(*p)) break;
                    ++p;
                } else {
                    const char16_t* after = p;
                    if (!set.contains(next_character(after, end))) break;
                    p = after;
                }
                if (room != kNoLimit) --left;
            }
            if (room != kNoLimit) room = left;
            return p;
        }
    }
}

// To where the loop can take no more, `max` characters at most.
const char16_t* Backtracker::scan(const Loop& loop, const char16_t* p, uint32_t max) {
    uint32_t room = max;
    for (;;) {
        const char16_t* end = end_;
        if (end - p > kUnitsAtOnce) {
            end = p + kUnitsAtOnce;
            if (is_low_surrogate(*end) && is_high_surrogate(end[-1])) ++end;
        }
        const char16_t* const stopped = scan_some(loop, p, end, room);
        charge(static_cast<size_t>(stopped - p), stopped);
        p = stopped;
        if (p == end_) {
            reached_end_ = true;
            return p;
        }
        if (p != end || room == 0) return p;
    }
}

inline bool Backtracker::takes(const Loop& loop, const char16_t*& p) {
    if (p == end_) {
        reached_end_ = true;
        return false;
    }
    uint32_t room = 1;
    const char16_t* const after = scan_some(loop, p, end_, room);
    const bool has_taken = after != p;
    p = after;
    return has_taken;
}

// So many characters behind `p`, up to `end`; null when there are not so many.
inline const char16_t* Backtracker::behind(const char16_t* p, const char16_t* end,
                                           uint32_t count) const {
    if (static_cast<size_t>(end - p) < count) return nullptr;
    for (; count != 0; --count) {
        if (p == end) return nullptr;
        p = behind_character(p, end);
    }
    return p;
}

// Behind the characters that the loop must take; null when they are not there.
const char16_t* Backtracker::behind_least(const Loop& loop, const char16_t* p) {
    if (loop.min == 0) return p;
    if (loop.min == 1) return takes(loop, p) ? p : nullptr;
    const char16_t* from = p;
    uint32_t room = loop.min;
    while (room != 0) {
        const uint32_t part = std::min<uint32_t>(room, kUnitsAtOnce);
        uint32_t left = part;
        p = scan_some(loop, from, end_, left);
        if (left != 0) {
            if (p == end_) reached_end_ = true;
            return nullptr;
        }
        charge(static_cast<size_t>(p - from), p);
        from = p;
        room -= part;
    }
    return p;
}

inline bool Backtracker::may_end_at(const Loop& loop, const char16_t* p) {
    const Filter& filter = program_->filters[loop.follower];
    if (p != end_) return filter.passes(*p);
    reached_end_ = true;
    return filter.holds_at_end;
}

// The last place from `from` back to `low` where the loop may end; null when there is none.
const char16_t* Backtracker::give_back(const Loop& loop, const char16_t* from,
                                       const char16_t* low) {
    if (loop.follower == kNoWay || is_plain_ || may_end_at(loop, from)) return from;
    const Filter& filter = program_->filters[loop.follower];
    while (from != low) {
        from = before_character(from, begin_);
        if (filter.passes(*from)) return from;
    }
    return nullptr;
}

// As scan, but not into a place where the loop is known to fail.
const char16_t* Backtracker::scan_recorded(const Loop& loop, uint32_t pc, const char16_t* low,
                                           bool& has_met_failure) {
    has_met_failure = false;
    const char16_t* p = low;
    Records::Point point{};
    if (!point_of(pc, offset(low) + 1, point)) return scan(loop, low, kNoLimit);
    const char16_t* charged = low;
    for (;;) {
        if (p - charged >= kUnitsBetweenCharges) {
            charge(static_cast<size_t>(p - charged) * kUnitsOfStep, p);
            charged = p;
        }
        const char16_t* after = p;
        if (!takes(loop, after)) break;
        if (records_->has(point, offset(after))) {
            has_met_failure = true;
            break;
        }
        p = after;
    }
    charge(static_cast<size_t>(p - charged) * kUnitsOfStep, p);
    return p;
}

bool Backtracker::start_greedy(State& state) {
    const Instruction& in = program_->code[state.pc];
    const Loop& loop = program_->loops[in.arg];
    if (!is_recording_) {
        const char16_t* const last = scan(loop, state.position, loop.max);
        const char16_t* const low = behind(state.position, last, loop.min);
        if (low == nullptr) return false;
        const char16_t* const end = give_back(loop, last, low);
        if (end == nullptr) return false;
        if (end != low)
            push(state.top, Entry::Kind::greedy_loop, state.pc, offset(end), offset(low), end);
        state.position = end;
        state.pc = in.next;
        return true;
    }
    const char16_t* const low = behind_least(loop, state.position);
    if (low == nullptr || has_failed(state.pc, low)) return false;
    const bool has_limit = loop.max != kNoLimit;
    bool has_met_failure = false;
    const char16_t* const last = has_limit ? scan(loop, low, loop.max - loop.min)
                                           : scan_recorded(loop, state.pc, low, has_met_failure);
    const char16_t* const end = give_back(loop, last, low);
    if (end == nullptr) {
        record(state.pc, offset(low), has_limit ? offset(low) : offset(last));
        return false;
    }
    if (end != last && !has_limit) record(state.pc, offset(end) + 1, offset(last));
    push(state.top, Entry::Kind::greedy_loop, state.pc, offset(end), offset(low), end);
    state.position = end;
    state.pc = in.next;
    return true;
}

bool Backtracker::resume_greedy(State& state) {
    Entry& entry = state.top[-1];
    const Instruction& in = program_->code[entry.pc];
    const Loop& loop = program_->loops[in.arg];
    const char16_t* const tried = text_ + entry.position;
    const char16_t* const low = text_ + entry.extra;
    const bool records_run = is_recording_ && loop.max == kNoLimit;
    const char16_t* const end =
        tried == low ? nullptr : give_back(loop, before_character(tried, begin_), low);
    if (records_run) {
        record(entry.pc, end == nullptr ? entry.extra : offset(end) + 1, entry.position);
    } else if (is_recording_ && end == nullptr) {
        record(entry.pc, entry.extra, entry.extra);
    }
    if (end == nullptr) {
        --state.top;
        return false;
    }
    charge(static_cast<size_t>(tried - end), end);
    entry.position = offset(end);
    if (end == low && !is_recording_) --state.top;
    state.position = end;
    state.pc = in.next;
    return true;
}

// Over units, no halves of pairs, that the loop takes and that nothing which may follow begins
// with; for loops that take nearly everything, and not far at once.
const char16_t* Backtracker::behind_no_end(const Loop& loop, const char16_t* p) const {
    const Filter& filter = program_->filters[loop.follower];
    const char16_t* const end = end_ - p > kUnitsAtOnce ? p + kUnitsAtOnce : end_;
    const auto over = [&](auto takes_low) {
        return behind_units(p, end, [&](char16_t unit) {
            if (filter.passes(unit)) return false;
            return unit < 256 ? takes_low(unit) : !is_surrogate(unit);
        });
    };
    switch (loop.units) {
        case LoopUnits::all:
            return over([](char16_t) { return true; });
        case LoopUnits::but_newline:
            return over([](char16_t unit) { return unit != u'\n'; });
        case LoopUnits::low_or_high:
            return over(
                [&loop](char16_t unit) { return (loop.low[unit / 64] >> unit % 64 & 1) != 0; });
        default:
            return p;
    }
}

// The next place where the literal stands that follows the loop; null when the loop does not reach
// one.
const char16_t* Backtracker::lazy_literal(const Loop& loop, const char16_t*& p) {
    const SoughtLiteral& sought = program_->literals[loop.literal];
    const Run run = program_->strings[sought.string];
    const LiteralSearch literal{
        nullptr, run.length, {sought.rare[0], sought.rare[1]}, program_->units.data() + run.first};
    // A line is mostly short, and what stands behind it is of no use.
    const size_t most = loop.what == Op::any ? size_t{kUnitsAtOnce} : kUnitsOfLine;
    for (;;) {
        const auto left = static_cast<size_t>(end_ - p);
        if (left < run.length) {
            reached_end_ = true;
            return nullptr;
        }
        const size_t piece = std::min(left - run.length + 1, most);
        size_t end = piece;
        bool ends = false;
        if (loop.what == Op::line) {
            const size_t newline = find_in_set(p, 0, piece, kNewline);
            ends = newline != piece;
            if (ends) end = newline + 1;
        }
        const size_t found = find_literal(p, 0, end, literal);
        charge(found, p);
        p += found;
        if (found != end) return p;
        if (ends) return nullptr;
    }
}

// The next place from `p` on where a lazy loop may end; null, and `p` the last place where it
// stood, when it cannot go so far.
const char16_t* Backtracker::lazy_end(const Loop& loop, uint32_t pc, const char16_t*& p,
                                      uint32_t& room) {
    const char16_t* const from = p;
    const bool goes_freely = room == kNoLimit && !is_recording_ && !is_plain_;
    if (goes_freely && loop.literal != kNoWay) return lazy_literal(loop, p);
    if (goes_freely && loop.follower != kNoWay) p = behind_no_end(loop, p);
    while (loop.follower != kNoWay && !is_plain_ && !may_end_at(loop, p)) {
        const char16_t* after = p;
        if (room == 0 || !takes(loop, after)) return nullptr;
        if (is_recording_ && loop.max == kNoLimit && has_failed(pc, after)) return nullptr;
        p = after;
        if (room != kNoLimit) --room;
    }
    charge(static_cast<size_t>(p - from), p);
    return p;
}

bool Backtracker::start_lazy(State& state) {
    const Instruction& in = program_->code[state.pc];
    const Loop& loop = program_->loops[in.arg];
    const char16_t* p = behind_least(loop, state.position);
    if (p == nullptr) return false;
    if (is_recording_ && has_failed(state.pc, p)) return false;
    const bool has_limit = loop.max != kNoLimit;
    const size_t low = offset(p);
    uint32_t room = has_limit ? loop.max - loop.min : kNoLimit;
    const char16_t* const end = lazy_end(loop, state.pc, p, room);
    if (end == nullptr) {
        if (is_recording_) record(state.pc, low, has_limit ? low : offset(p));
        return false;
    }
    if (is_recording_ && has_limit) push(state.top, Entry::Kind::failed, state.pc, low, 0, end);
    if (room != 0)
        push(state.top, Entry::Kind::lazy_loop, state.pc, offset(end), has_limit ? room : low, end);
    state.position = end;
    state.pc = in.next;
    return true;
}

bool Backtracker::resume_lazy(State& state) {
    Entry& entry = state.top[-1];
    const Instruction& in = program_->code[entry.pc];
    const Loop& loop = program_->loops[in.arg];
    const bool has_limit = loop.max != kNoLimit;
    uint32_t room = has_limit ? static_cast<uint32_t>(entry.extra) : kNoLimit;
    const char16_t* last = text_ + entry.position;
    const char16_t* p = last;
    const char16_t* end = nullptr;
    if (takes(loop, p) && !(is_recording_ && !has_limit && has_failed(entry.pc, p))) {
        last = p;
        if (has_limit) --room;
        end = lazy_end(loop, entry.pc, last, room);
    }
    if (end == nullptr) {
        if (is_recording_ && !has_limit) record(entry.pc, entry.extra, offset(last));
        --state.top;
        return false;
    }
    entry.position = offset(end);
    if (has_limit) entry.extra = room;
    if (room == 0) --state.top;
    state.position = end;
    state.pc = in.next;
    return true;
}

bool Backtracker::start_possessive(State& state) {
    const Instruction& in = program_->code[state.pc];
    const Loop& loop = program_->loops[in.arg];
    if (is_plain_ && loop.written != Op::loop_possessive)
        return loop.written == Op::loop_greedy ? start_greedy(state) : start_lazy(state);
    if (!is_recording_) {
        const char16_t* const last = scan(loop, state.position, loop.max);
        if (behind(state.position, last, loop.min) == nullptr) return false;
        state.position = last;
        state.pc = in.next;
        return true;
    }
    const char16_t* const low = behind_least(loop, state.position);
    if (low == nullptr || has_failed(state.pc, low)) return false;
    const char16_t* end = nullptr;
    if (loop.max != kNoLimit) {
        end = scan(loop, low, loop.max - loop.min);
        push(state.top, Entry::Kind::failed, state.pc, offset(low), 0, end);
    } else {
        bool has_met_failure = false;
        end = scan_recorded(loop, state.pc, low, has_met_failure);
        if (has_met_failure) {  // it goes through that place, and not through
            record(state.pc, offset(low), offset(end));
            return false;
        }
        push(state.top, Entry::Kind::failed_run, state.pc, offset(low), offset(end), end);
    }
    state.position = end;
    state.pc = in.next;
    return true;
}

}  // namespace qxut::regexp
