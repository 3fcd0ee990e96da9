// matcher_run.cpp - backtracking over a program, from one start.
//
// The loop runs one instruction after the other. What is left to try goes on the backtrack stack,
// together with what has to be put back on the way there; a failure takes the topmost entry. The
// stack begins with an entry that says that nothing is left, and grows on the heap: no function
// calls itself, whatever pattern and text.
//
// While failures are recorded, an entry whose last way is taken stays as a mark; when the mark is
// met again, every way from there has failed. What a region's end cuts off leaves no mark.
//
// Entry: Backtracker::attempt, of matcher.cpp. Tested by tests/regexp/matcher_test.cpp and the
// comparisons with the reference matcher.
#include "regexp/matcher_run.h"

#include <algorithm>
#include <cstring>

#include "regexp/failure.h"

namespace qxut::regexp {

Entry* Backtracker::cut(Entry* top, size_t height, bool keeps_undone) {
    Entry* kept = scratch_.entries + height;
    if (!keeps_undone) return kept;
    for (const Entry* entry = kept; entry != top; ++entry) {
        if (entry->kind == Entry::Kind::open_token || entry->kind == Entry::Kind::token)
            *kept++ = *entry;
        if (entry->kind == Entry::Kind::frame_end && entry->extra < scratch_.frames.size()) {
            // The frames of dynamic patterns that were entered inside are behind us.
            scratch_.registers.resize(scratch_.frames[entry->extra].registers);
            scratch_.frames.resize(entry->extra);
        }
    }
    return kept;
}

inline bool Backtracker::is_word_start(const char16_t* p) {
    if (p == end_) {
        reached_end_ = true;
        return false;
    }
    const char16_t* after = p;
    if (!is_word_character(next_character(after, end_))) return false;
    return p == begin_ || !is_word_character(previous_character(p, begin_));
}

inline bool Backtracker::is_word_end(const char16_t* p) {
    if (p == begin_) return false;
    const char16_t* before = p;
    if (!is_word_character(previous_character(before, begin_))) return false;
    if (p == end_) {
        reached_end_ = true;
        return true;
    }
    return !is_word_character(next_character(p, end_));
}

inline bool Backtracker::match_string(const Instruction& in, const char16_t*& p) {
    const Run run = program_->strings[in.arg];
    const char16_t* const units = program_->units.data() + run.first;
    const auto left = static_cast<size_t>(end_ - p);
    if (left < run.length) [[unlikely]] {
        if (std::memcmp(p, units, left * sizeof(char16_t)) == 0) reached_end_ = true;
        return false;
    }
    if (*p != *units || std::memcmp(p, units, run.length * sizeof(char16_t)) != 0) return false;
    p += run.length;
    return true;
}

inline bool Backtracker::match_folded_string(const Instruction& in, const char16_t*& p) {
    const Run run = program_->folded_strings[in.arg];
    const FoldedUnit* const units = program_->folded_units.data() + run.first;
    const auto left = static_cast<size_t>(end_ - p);
    const size_t length = std::min<size_t>(left, run.length);
    for (size_t i = 0; i < length; ++i) {
        const char16_t unit = p[i];
        const char16_t* const members = units[i].units;
        if (unit != members[0] && unit != members[1] && unit != members[2] && unit != members[3])
            return false;
    }
    if (left < run.length) {
        reached_end_ = true;
        return false;
    }
    p += run.length;
    return true;
}

// A single character other than a unit that stands alone: a pair, or a lone surrogate.
static bool match_wide(char32_t wanted, const char16_t*& p, const char16_t* end) {
    const char16_t* after = p;
    if (next_character(after, end) != wanted) return false;
    p = after;
    return true;
}

// The instructions that read from right to left.
inline bool Backtracker::match_before(const Instruction& in, const char16_t*& p) const {
    if (p == begin_) return false;
    const char32_t c = previous_character(p, begin_);
    switch (in.op) {
        case Op::back_character:
            return c == in.arg;
        case Op::back_either:
            return c == in.arg || c == in.alt;
        case Op::back_line:
            return c != U'\n';
        case Op::back_set:
            return program_->sets[in.arg].contains(c);
        default:
            return true;
    }
}

bool Backtracker::step_back(const char16_t*& p, uint32_t count) const {
    for (; count != 0; --count) {
        if (p == begin_) return false;
        p = before_character(p, begin_);
    }
    return true;
}

bool Backtracker::run(const char16_t* const start) {
    const char16_t* const text = text_;
    const char16_t* const first = begin_;
    const char16_t* const end = end_;
    const char16_t* p = start;
    const Instruction* code = program_->code.data();
    uint32_t pc = program_->first;
    Entry* top = scratch_.entries + 1;
    int32_t countdown = countdown_;

    // For calls out of the loop.
    State state{};
    const auto out = [&] {
        state = {p, pc, top};
        countdown_ = countdown;
    };
    const auto back = [&] {
        p = state.position;
        pc = state.pc;
        top = state.top;
        countdown = countdown_;
    };
    const auto position = [&] { return static_cast<size_t>(p - text); };
    const auto save_register = [&](uint32_t reg) {
        push(top, Entry::Kind::reg, reg, registers_[reg], 0, p);
    };

    if (pc == kNoWay) return false;
    for (;;) {
        if (--countdown <= 0) [[unlikely]]
            countdown = poll(p, countdown);
        const Instruction& in = code[pc];
        switch (in.op) {
            case Op::character:
                if (p == end) goto fail_at_end;
                if (*p == in.arg && !is_surrogate(in.arg)) {
                    ++p;
                } else if (in.arg <= 0xFFFF && !is_surrogate(in.arg)) {
                    goto fail;
                } else if (!match_wide(in.arg, p, end)) {
                    if (p + 1 == end) reached_end_ = true;
                    goto fail;
                }
                pc = in.next;
                continue;
            case Op::either: {
                if (p == end) goto fail_at_end;
                const char16_t* after = p;
                const char32_t c = next_character(after, end);
                if (c != in.arg && c != in.alt) goto fail;
                p = after;
                pc = in.next;
                continue;
            }
            case Op::line:
                if (p != end && *p == u'\n') goto fail;
                [[fallthrough]];
            case Op::any:
                if (p == end) goto fail_at_end;
                p = behind_character(p, end);
                pc = in.next;
                continue;
            case Op::set: {
                if (p == end) goto fail_at_end;
                const char16_t* after = p;
                if (!program_->sets[in.arg].contains(next_character(after, end))) goto fail;
                p = after;
                pc = in.next;
                continue;
            }
            case Op::string:
                if (!match_string(in, p)) goto fail;
                pc = in.next;
                continue;
            case Op::folded_string:
                if (!match_folded_string(in, p)) goto fail;
                pc = in.next;
                continue;
            case Op::loop_greedy: {
                out();
                const bool goes_on = start_greedy(state);
                back();
                if (!goes_on) goto fail;
                continue;
            }
            case Op::loop_lazy: {
                out();
                const bool goes_on = start_lazy(state);
                back();
                if (!goes_on) goto fail;
                continue;
            }
            case Op::loop_possessive: {
                out();
                const bool goes_on = start_possessive(state);
                back();
                if (!goes_on) goto fail;
                continue;
            }
            case Op::back_character:
            case Op::back_either:
            case Op::back_any:
            case Op::back_line:
            case Op::back_set:
                if (!match_before(in, p)) goto fail;
                pc = in.next;
                continue;

            case Op::start_text:
                if (p != first) goto fail;
                pc = in.next;
                continue;
            case Op::end_text:
                if (p != end) goto fail;
                reached_end_ = true;
                pc = in.next;
                continue;
            case Op::start_line:
                if (p != first && p[-1] != u'\n') goto fail;
                pc = in.next;
                continue;
            case Op::end_line:
                if (p == end) {
                    reached_end_ = true;
                } else if (*p != u'\n') {
                    goto fail;
                }
                pc = in.next;
                continue;
            case Op::start_word:
                if (!is_word_start(p)) goto fail;
                pc = in.next;
                continue;
            case Op::end_word:
                if (!is_word_end(p)) goto fail;
                pc = in.next;
                continue;

            case Op::token_start: {
                TokenState& token = scratch_.tokens[in.arg];
                if (top[-1].kind != Entry::Kind::bottom)
                    push(top, Entry::Kind::open_token, in.arg, token.opened, 0, p);
                token.opened = position();
                pc = in.next;
                continue;
            }
            case Op::token_end: {
                TokenState& token = scratch_.tokens[in.arg];
                if (top[-1].kind != Entry::Kind::bottom)
                    push(top, Entry::Kind::token, in.arg, token.start, token.end, p);
                token.start = token.opened;
                token.end = position();
                has_set_tokens_ = true;
                pc = in.next;
                continue;
            }
            case Op::reference:
                if (!match_reference(in, p)) goto fail;
                pc = in.next;
                continue;
            case Op::reference_folded:
                if (!match_reference_folded(in, p)) goto fail;
                pc = in.next;
                continue;

            case Op::split:
                if (is_recording_ && has_failed(pc, p)) goto fail;
                push(top, Entry::Kind::way, pc, position(), in.alt, p);
                pc = in.next;
                if (pc == kNoWay) goto fail;
                continue;
            case Op::choice: {
                const Choice& choice = program_->choices[in.arg];
                const uint32_t* ways = program_->targets.data();
                if (is_plain_) [[unlikely]] {
                    ways += choice.ways;
                } else if (p == end) [[unlikely]] {
                    reached_end_ = true;
                    ways += choice.first + choice.rows[Choice::kEnd];
                } else {
                    ways += choice.first + choice.rows[*p < 256 ? uint32_t{*p} : Choice::kOther];
                }
                if (ways[0] == kNoWay) goto fail;
                if (is_recording_ && has_failed(pc, p)) goto fail;
                if (ways[1] != kNoWay) {
                    push(top, Entry::Kind::row, pc, position(),
                         static_cast<size_t>(ways + 1 - program_->targets.data()), p);
                } else if (is_recording_) {
                    push(top, Entry::Kind::failed, pc, position(), 0, p);
                }
                pc = ways[0];
                continue;
            }
            case Op::if_token:
                pc = referenced(program_->references[in.arg]) != nullptr ? in.next : in.alt;
                if (pc == kNoWay) goto fail;
                continue;

            case Op::counter_start: {
                const uint32_t reg = program_->counters[code[in.next].arg].reg;
                save_register(reg);
                registers_[reg] = 0;
                pc = in.next;
                continue;
            }
            case Op::counter: {
                const Counter& counter = program_->counters[in.arg];
                size_t& count = registers_[counter.reg];
                const bool is_done = count == counter.count;
                if (is_recording_) {
                    if (has_failed(pc, p)) goto fail;
                    if (is_done || counter.kind == Counter::Kind::fixed)
                        push(top, Entry::Kind::failed, pc, position(), 0, p);
                }
                if (is_done) {
                    pc = in.alt;
                } else if (counter.kind == Counter::Kind::lazy) {
                    push(top, Entry::Kind::lazy_counter, pc, position(), 0, p);
                    pc = in.alt;
                } else {
                    if (counter.kind == Counter::Kind::greedy)
                        push(top, Entry::Kind::way, pc, position(), in.alt, p);
                    save_register(counter.reg);
                    ++count;
                    pc = in.next;
                }
                if (pc == kNoWay) goto fail;
                continue;
            }
            case Op::iteration_start:
                save_register(in.arg);
                registers_[in.arg] = position();
                pc = in.next;
                continue;
            case Op::iteration_end:
                pc = registers_[in.arg] == position() ? in.alt : in.next;
                if (pc == kNoWay) goto fail;
                continue;

            case Op::atomic:
            case Op::look_ahead: {
                if (is_recording_ && has_failed(pc, p)) goto fail;
                const Region& region = program_->regions[in.arg];
                registers_[region.reg] = static_cast<size_t>(top - scratch_.entries);
                push(top, Entry::Kind::body, pc, position(), 0, p);
                pc = in.op == Op::atomic ? in.next : pc + 1;
                continue;
            }
            case Op::look_behind: {
                if (is_recording_ && has_failed(pc, p)) goto fail;
                const Region& region = program_->regions[in.arg];
                const char16_t* from = p;
                if (!region.is_read_backwards && !step_back(from, region.min)) {
                    // The text has not so many characters before.
                    pc = in.alt;
                    if (pc == kNoWay) goto fail;
                    continue;
                }
                registers_[region.reg] = static_cast<size_t>(top - scratch_.entries);
                registers_[region.reg + 1] = region.is_read_backwards ? 0 : region.max - region.min;
                push(top, Entry::Kind::body, pc, position(), static_cast<size_t>(from - text), p);
                p = from;
                ++pc;
                continue;
            }
            case Op::region_end: {
                const Region& region = program_->regions[in.arg];
                const size_t height = registers_[region.reg];
                Entry& body = scratch_.entries[height];
                const Instruction& begin = code[body.pc];
                const size_t from = body.position;
                if (begin.op == Op::look_behind && !region.is_read_backwards && position() != from)
                    goto fail;
                if (is_recording_) body.kind = Entry::Kind::failed;
                top = cut(top, height + (is_recording_ ? 1 : 0),
                          region.sets_tokens || program_->has_dynamic_parts);
                if (begin.op == Op::atomic) {
                    pc = in.next;
                } else {
                    p = text + from;
                    pc = begin.next;
                }
                if (pc == kNoWay) goto fail;
                continue;
            }

            case Op::evaluate:
            case Op::evaluate_condition: {
                out();
                const bool goes_on = evaluate(state);
                back();
                if (!goes_on) goto fail;
                continue;
            }
            case Op::evaluate_dynamic:
            case Op::parse_dynamic: {
                out();
                const bool goes_on = enter_dynamic(state);
                back();
                if (!goes_on) goto fail;
                code = program_->code.data();
                continue;
            }
            case Op::fail:
                goto fail;
            case Op::match:
                if (frame_ != 0) {
                    out();
                    leave_dynamic(state);
                    back();
                    code = program_->code.data();
                    continue;
                }
                if (p == start && (request_->not_empty || request_->not_empty_at == position()))
                    goto fail;
                countdown_ = countdown;
                match_start_ = static_cast<size_t>(start - text);
                match_end_ = position();
                return true;
        }

    fail_at_end:
        reached_end_ = true;
    fail:
        for (;;) {
            --countdown;
            Entry& entry = top[-1];
            switch (entry.kind) {
                case Entry::Kind::bottom:
                    countdown_ = countdown;
                    return false;
                case Entry::Kind::way:
                    p = text + entry.position;
                    pc = static_cast<uint32_t>(entry.extra);
                    if (is_recording_) {
                        entry.kind = Entry::Kind::failed;
                    } else {
                        --top;
                    }
                    if (pc == kNoWay) continue;
                    break;
                case Entry::Kind::row: {
                    const uint32_t* const ways = program_->targets.data() + entry.extra;
                    p = text + entry.position;
                    pc = ways[0];
                    if (ways[1] != kNoWay) {
                        ++entry.extra;
                    } else if (is_recording_) {
                        entry.kind = Entry::Kind::failed;
                    } else {
                        --top;
                    }
                    break;
                }
                case Entry::Kind::lazy_counter: {
                    p = text + entry.position;
                    const uint32_t counter_pc = entry.pc;
                    if (is_recording_) {
                        entry.kind = Entry::Kind::failed;
                    } else {
                        --top;
                    }
                    const uint32_t reg = program_->counters[code[counter_pc].arg].reg;
                    save_register(reg);
                    ++registers_[reg];
                    pc = code[counter_pc].next;
                    if (pc == kNoWay) continue;
                    break;
                }
                case Entry::Kind::greedy_loop: {
                    out();
                    const bool goes_on = resume_greedy(state);
                    back();
                    if (!goes_on) continue;
                    break;
                }
                case Entry::Kind::lazy_loop: {
                    out();
                    const bool goes_on = resume_lazy(state);
                    back();
                    if (!goes_on) continue;
                    break;
                }
                case Entry::Kind::body: {
                    const uint32_t body_pc = entry.pc;
                    const Instruction& begin = code[body_pc];
                    if (begin.op == Op::atomic) {
                        if (is_recording_) record(body_pc, entry.position, entry.position);
                        --top;
                        continue;
                    }
                    if (begin.op == Op::look_behind) {
                        size_t& left = registers_[program_->regions[begin.arg].reg + 1];
                        const char16_t* const tried = text + entry.extra;
                        if (left != 0 && tried != first) {
                            if (left != kNoLimit) --left;
                            p = before_character(tried, first);
                            entry.extra = position();
                            pc = body_pc + 1;
                            break;
                        }
                    }
                    p = text + entry.position;
                    if (is_recording_) {
                        entry.kind = Entry::Kind::failed;
                    } else {
                        --top;
                    }
                    pc = begin.alt;
                    if (pc == kNoWay) continue;
                    break;
                }
                case Entry::Kind::failed:
                    if (is_recording_) record(entry.pc, entry.position, entry.position);
                    --top;
                    continue;
                case Entry::Kind::failed_run:
                    if (is_recording_) record(entry.pc, entry.position, entry.extra);
                    --top;
                    continue;
                case Entry::Kind::open_token:
                    scratch_.tokens[entry.pc].opened = entry.position;
                    --top;
                    continue;
                case Entry::Kind::token:
                    scratch_.tokens[entry.pc].start = entry.position;
                    scratch_.tokens[entry.pc].end = entry.extra;
                    --top;
                    continue;
                case Entry::Kind::reg:
                    registers_[entry.pc] = entry.position;
                    --top;
                    continue;
                case Entry::Kind::frame_end:
                    if (entry.extra < scratch_.frames.size()) {
                        scratch_.registers.resize(scratch_.frames[entry.extra].registers);
                        scratch_.frames.resize(entry.extra);
                    }
                    [[fallthrough]];
                case Entry::Kind::frame:
                    use_frame(entry.pc);
                    code = program_->code.data();
                    --top;
                    continue;
            }
            break;
        }
    }
}

}  // namespace qxut::regexp
