// landmarks.cpp - the walk over a program behind the analysis; see landmarks.h.
//
// The program stands in pattern order. An instruction lies on every way to a match exactly when no
// forward edge of one before it leads behind it, so one pass finds them all; and one pass carries
// the distances from the beginning, the longest without a limit from the head of a loop on.
//
// A literal goes on over tokens and tests, which take no text, and ends where anything else may be
// consumed.
//
// Tested by tests/regexp/analysis_test.cpp.
#include "regexp/landmarks.h"

#include <algorithm>

#include "regexp/characters.h"
#include "regexp/frequency.h"
#include "regexp/lengths.h"

namespace qxut::regexp {
namespace {

// A rarer literal than this is not known to anybody.
constexpr size_t kLongestLiteral = 32;
// A set that holds more of a text's units is no landmark.
constexpr float kFrequentSet = 0.2F;

template <class Visitor>
void for_each_edge(const Program& program, const Instruction& in, Visitor visit) {
    if (in.op == Op::choice) {
        const Choice& choice = program.choices[in.arg];
        for (uint32_t i = 0; i < choice.way_count; ++i) {
            const uint32_t target = program.targets[choice.ways + i];
            if (target != kNoWay) visit(target);
        }
        return;
    }
    if (in.next != kNoWay) visit(in.next);
    if (has_alt(in.op) && in.alt != kNoWay) visit(in.alt);
}

uint32_t sum(uint32_t a, uint32_t b) { return b > kNoLimit - 1 - a ? kNoLimit : a + b; }

bool is_loop(Op op) {
    return op == Op::loop_greedy || op == Op::loop_lazy || op == Op::loop_possessive;
}

// The single character that a loop repeats, as an instruction.
Instruction repeated(const Loop& loop) {
    Instruction in;
    in.op = loop.what;
    in.arg = loop.arg;
    in.alt = loop.other;
    return in;
}

void append_unit(Working<UnitVariants>& units, char16_t unit) {
    units.push_back({{unit, unit, unit, unit}});
}

void append_character(Working<UnitVariants>& units, char32_t c) {
    constexpr char32_t kSupplementary = 0x10000;
    if (c < kSupplementary) {
        append_unit(units, static_cast<char16_t>(c));
    } else {
        append_unit(units, static_cast<char16_t>(0xD7C0 + (c >> 10)));
        append_unit(units, static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
    }
}

// A few characters of one unit each.
bool append_members(Working<UnitVariants>& units, const char32_t* members, size_t count) {
    if (count == 0 || count > 4 || members[count - 1] > 0xFFFF) return false;
    UnitVariants variants{};
    for (size_t i = 0; i < 4; ++i)
        variants.units[i] = static_cast<char16_t>(members[std::min(i, count - 1)]);
    units.push_back(variants);
    return true;
}

bool append_single(const Program& program, const Instruction& in, Working<UnitVariants>& units) {
    switch (in.op) {
        case Op::character:
        case Op::back_character:
            append_character(units, in.arg);
            return true;
        case Op::either:
        case Op::back_either: {
            const char32_t members[] = {std::min(in.arg, in.alt), std::max(in.arg, in.alt)};
            return append_members(units, members, 2);
        }
        case Op::set:
        case Op::back_set: {
            char32_t members[5];
            return append_members(units, members, program.sets[in.arg].members(members, 4));
        }
        default:
            return false;
    }
}

// The literal that the body of a look-behind is; false when it is anything else.
bool look_behind_literal(const Program& program, uint32_t at, Working<UnitVariants>& units) {
    const bool is_read_backwards = program.regions[program.code[at].arg].is_read_backwards;
    for (uint32_t pc = at + 1; pc < program.code.size(); ++pc) {
        const Instruction& in = program.code[pc];
        if (in.op == Op::region_end) return !units.empty() && in.arg == program.code[at].arg;
        bool ends = false;
        const size_t before = units.size();
        const bool is_literal = is_read_backwards
                                    ? append_single(program, in, units)
                                    : append_literal(program, in, kLongestLiteral, units, ends);
        if (!is_literal || ends || in.next != pc + 1 || units.size() > kLongestLiteral)
            return false;
        if (is_read_backwards)
            std::rotate(units.begin(), units.begin() + static_cast<ptrdiff_t>(before), units.end());
    }
    return false;
}

class LandmarkWalk {
  public:
    LandmarkWalk(const Program& program, const Working<Distance>& distances, Arena& arena)
        : program_(program), distances_(distances), found_(arena), literal_(arena) {}

    Working<FoundLandmark> run() {
        constexpr size_t kUsual = 4;
        found_.reserve(kUsual);
        literal_.reserve(kLongestLiteral);
        uint32_t furthest = 0;
        for (uint32_t pc = 0; pc < program_.code.size(); ++pc) {
            if (distances_[pc].min == Distance::kUnreached) continue;
            if (found_.size() == kMostLandmarks) break;
            visit(pc, pc >= furthest);
            for_each_edge(program_, program_.code[pc],
                          [&](uint32_t target) { furthest = std::max(furthest, target); });
        }
        if (found_.size() < kMostLandmarks) finish_literal();
        return std::move(found_);
    }

  private:
    void visit(uint32_t pc, bool is_on_every_way) {
        const Instruction& in = program_.code[pc];
        if (own_length(program_, in).max == 0) {
            if (is_on_every_way && in.next != kNoWay && in.alt == kNoWay) visit_look_around(pc);
            return;
        }
        if (!is_on_every_way) {
            finish_literal();
            return;
        }
        const size_t before = literal_.size();
        bool ends = false;
        if (append_literal(program_, in, kLongestLiteral - before, literal_, ends)) {
            if (before == 0) literal_at_ = pc;
            if (ends || literal_.size() >= kLongestLiteral) finish_literal();
            return;
        }
        finish_literal();
        visit_set(pc, in, pc);
    }

    void visit_set(uint32_t pc, const Instruction& in, uint32_t counted_at) {
        const Instruction single = is_loop(in.op) ? repeated(program_.loops[in.arg]) : in;
        if (is_loop(in.op) && program_.loops[in.arg].min == 0) return;
        if (single.op != Op::set || frequency(program_.sets[single.arg]) > kFrequentSet) return;
        FoundLandmark& made = add(counted_at);
        made.landmark.is_set = true;
        made.landmark.set = program_.sets[single.arg];
        made.at = pc;
    }

    // What a look-around that must hold begins with, or is.
    void visit_look_around(uint32_t pc) {
        const Instruction& in = program_.code[pc];
        if (found_.size() + 1 >= kMostLandmarks) return;
        Working<UnitVariants> units(found_.get_allocator());
        if (in.op == Op::look_behind) {
            if (!look_behind_literal(program_, pc, units)) return;
            FoundLandmark& made = add(pc);
            made.landmark.behind = static_cast<uint32_t>(units.size());
            made.landmark.units.assign(units.begin(), units.end());
        } else if (in.op == Op::look_ahead && pc + 1 < program_.code.size()) {
            bool ends = false;
            const Instruction& body = program_.code[pc + 1];
            if (append_literal(program_, body, kLongestLiteral, units, ends)) {
                add(pc).landmark.units.assign(units.begin(), units.end());
            } else {
                visit_set(pc, body, pc);
            }
        }
    }

    void finish_literal() {
        if (literal_.empty()) return;
        add(literal_at_).landmark.units.assign(literal_.begin(), literal_.end());
        literal_.clear();
    }

    FoundLandmark& add(uint32_t pc) {
        found_.emplace_back();
        FoundLandmark& made = found_.back();
        made.at = pc;
        made.landmark.exists = true;
        made.landmark.min_before = distances_[pc].min;
        made.landmark.max_before = distances_[pc].max;
        return made;
    }

    const Program& program_;
    const Working<Distance>& distances_;
    Working<FoundLandmark> found_;
    Working<UnitVariants> literal_;
    uint32_t literal_at_ = 0;
};

}  // namespace

bool append_literal(const Program& program, const Instruction& in, size_t limit,
                    Working<UnitVariants>& units, bool& ends) {
    ends = false;
    if (in.op == Op::string || in.op == Op::folded_string) {
        const bool is_folded = in.op == Op::folded_string;
        const Run run = (is_folded ? program.folded_strings : program.strings)[in.arg];
        const uint32_t count = static_cast<uint32_t>(std::min<size_t>(run.length, limit));
        units.reserve(units.size() + count);
        for (uint32_t i = run.first; i < run.first + count; ++i) {
            if (is_folded) {
                UnitVariants variants{};
                std::copy_n(program.folded_units[i].units, 4, variants.units);
                units.push_back(variants);
            } else {
                append_unit(units, program.units[i]);
            }
        }
        ends = count < run.length;
        return count != 0;
    }
    if (!is_loop(in.op)) return append_single(program, in, units);
    const Loop& loop = program.loops[in.arg];
    const size_t before = units.size();
    uint32_t count = 0;
    while (count < loop.min && units.size() - before < limit &&
           append_single(program, repeated(loop), units))
        ++count;
    ends = count < loop.max;
    return count != 0;
}

namespace {

// The characters of a literal, the first `count` of them.
void add_literal(const Program& program, const Instruction& in, size_t count,
                 CharacterSetBuilder& set) {
    const bool is_folded = in.op == Op::folded_string;
    const Run run = (is_folded ? program.folded_strings : program.strings)[in.arg];
    const auto unit = [&](uint32_t i) {
        return is_folded ? program.folded_units[i].units[0] : program.units[i];
    };
    const uint32_t end = run.first + run.length;
    for (uint32_t i = run.first; i < end && count != 0; ++i, --count) {
        const char32_t lead = unit(i);
        if (is_high_surrogate(lead) && i + 1 < end && is_low_surrogate(unit(i + 1))) {
            set.add(pair_character(lead, unit(++i)), false);
        } else if (is_folded) {
            for (const char16_t variant : program.folded_units[i].units) set.add(variant, false);
        } else {
            set.add(lead, false);
        }
    }
}

void add_single(const Program& program, const Instruction& in, CharacterSetBuilder& set) {
    switch (in.op) {
        case Op::character:
            set.add(in.arg, false);
            break;
        case Op::either:
            set.add(in.arg, false);
            set.add(in.alt, false);
            break;
        case Op::any:
            set.add_set(CharacterSet::of_everything());
            break;
        case Op::line:
            set.add_set(CharacterSet::of_line());
            break;
        case Op::set:
            set.add_set(program.sets[in.arg]);
            break;
        default:
            break;
    }
}

// Adds what an instruction consumes, of a literal the first characters; false: anything.
bool add_consumed(const Program& program, const Instruction& in, size_t literal_characters,
                  CharacterSetBuilder& set) {
    if (own_length(program, in).max == 0) return true;
    if (in.op == Op::string || in.op == Op::folded_string) {
        add_literal(program, in, literal_characters, set);
    } else if (is_loop(in.op)) {
        add_single(program, repeated(program.loops[in.arg]), set);
    } else if (in.op <= Op::set) {
        add_single(program, in, set);
    } else {
        return false;
    }
    return true;
}

}  // namespace

Working<Distance> distances(const Program& program, Arena& arena) {
    const Vector<Instruction>& code = program.code;
    Working<bool> is_head(arena);  // empty without loops
    for (uint32_t pc = 0; pc < code.size(); ++pc) {
        for_each_edge(program, code[pc], [&](uint32_t target) {
            if (target > pc) return;
            if (is_head.empty()) is_head.assign(code.size(), false);
            is_head[target] = true;
        });
    }
    const auto fixed_counter = [](const Program& p, const Instruction& in) {
        const Counter* const counter = in.op == Op::counter ? &p.counters[in.arg] : nullptr;
        return counter != nullptr && counter->kind == Counter::Kind::fixed ? counter : nullptr;
    };
    Working<Distance> result(code.size(), arena);
    if (program.first != kNoWay) result[program.first] = {0, 0};
    for (uint32_t pc = 0; pc < code.size(); ++pc) {
        Distance& here = result[pc];
        if (here.min == Distance::kUnreached) continue;
        if (!is_head.empty() && is_head[pc]) here.max = kNoLimit;
        const Lengths own = own_length(program, code[pc]);
        // A lower bound stays one when the sum does not fit.
        const uint32_t min = std::min(sum(here.min, own.min), kNoLimit - 1);
        const uint32_t max = here.max == kNoLimit ? kNoLimit : sum(here.max, own.max);
        const auto reach = [&](uint32_t target, uint32_t shortest, uint32_t longest) {
            if (target == kNoWay) return;
            Distance& there = result[target];
            there.min = std::min(there.min, shortest);
            there.max = std::max(there.max, longest);
        };
        if (const Counter* const counter = fixed_counter(program, code[pc])) {
            // The exit is reached from the body's end.
            if (counter->count != 0)
                reach(code[pc].next, min, max);
            else
                reach(code[pc].alt, min, max);
            continue;
        }
        for_each_edge(program, code[pc], [&](uint32_t target) {
            uint32_t shortest = min;
            uint32_t longest = max;
            // Back to a counter: its exit, which may be the way back to an outer one.
            while (target != kNoWay && target <= pc) {
                const Counter* const counter = fixed_counter(program, code[target]);
                if (counter == nullptr) return;
                const uint32_t before = result[target].min;
                const uint64_t all = before + uint64_t{shortest - before} * counter->count;
                shortest = static_cast<uint32_t>(std::min<uint64_t>(all, kNoLimit - 1));
                longest = kNoLimit;
                target = code[target].alt;
            }
            reach(target, shortest, longest);
        });
    }
    return result;
}

Working<FoundLandmark> find_landmarks(const Program& program, const Working<Distance>& distances,
                                      Arena& arena) {
    return LandmarkWalk(program, distances, arena).run();
}

bool consumed_before(const Program& program, const Working<Distance>& distances, uint32_t end,
                     CharacterSet& set) {
    CharacterSetBuilder builder;
    for (uint32_t pc = 0; pc < end; ++pc) {
        if (distances[pc].min != Distance::kUnreached &&
            !add_consumed(program, program.code[pc], SIZE_MAX, builder))
            return false;
    }
    set = builder.finish(false);
    return true;
}

bool first_set(const Program& program, CharacterSet& set, Arena& arena) {
    if (program.first == kNoWay) return false;
    CharacterSetBuilder builder;
    // Up to where the ways part nothing needs to be kept.
    uint32_t begin = program.first;
    while (program.code[begin].op == Op::token_start && program.code[begin].next != kNoWay)
        begin = program.code[begin].next;
    const Instruction& first = program.code[begin];
    if (own_length(program, first).min != 0 && add_consumed(program, first, 1, builder)) {
        set = builder.finish(false);
        return true;
    }
    Working<bool> is_seen(program.code.size(), false, arena);
    Working<uint32_t> ahead(arena);
    ahead.reserve(16);
    const auto reach = [&](uint32_t pc) {
        if (is_seen[pc]) return;
        is_seen[pc] = true;
        ahead.push_back(pc);
    };
    reach(begin);
    while (!ahead.empty()) {
        const Instruction& in = program.code[ahead.back()];
        ahead.pop_back();
        if (in.op == Op::match || !add_consumed(program, in, 1, builder)) return false;
        if (own_length(program, in).min == 0) for_each_edge(program, in, reach);
    }
    set = builder.finish(false);
    return true;
}

}  // namespace qxut::regexp
