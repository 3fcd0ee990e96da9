// lower_choices.cpp - what the ways on can begin with.
//
// For each instruction, the units that may stand where a match through it goes on; worked out from
// behind, as often as links back change the answer. It is an upper bound: a unit outside it makes
// the way fail. From it come the rows of choices, and for each single-character loop what may
// follow: where nothing that the loop takes can follow it, giving characters back is of no use and
// the loop is made possessive.
//
// Entry: lower_choices. Tested by tests/regexp/program_test.cpp, and by the comparison with plain
// searches, which look at none of this.
#include <algorithm>
#include <bit>

#include "regexp/frequency.h"
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

// Programs beyond this go without.
constexpr size_t kMostAnalysed = 1U << 16;
constexpr size_t kMostChoices = 4096;
constexpr size_t kMostPasses = 6;

constexpr size_t kMostConsumers = 6;

constexpr uint32_t kRows = Choice::kEnd + 1;
constexpr uint32_t kMostMasked = 64;

struct First {
    Filter filter;
    // The instructions that the other units come from; more than kMostConsumers: they are not told.
    uint32_t consumers[kMostConsumers] = {};
    uint8_t count = 0;
    bool operator==(const First& other) const {
        if (count != other.count || filter.has_other != other.filter.has_other ||
            filter.holds_at_end != other.filter.holds_at_end)
            return false;
        for (int i = 0; i < 4; ++i) {
            if (filter.low[i] != other.filter.low[i]) return false;
        }
        return true;
    }
};

void add_consumer(First& first, uint32_t pc) {
    for (uint8_t i = 0; i < first.count && i < kMostConsumers; ++i) {
        if (first.consumers[i] == pc) return;
    }
    if (first.count < kMostConsumers) first.consumers[first.count] = pc;
    if (first.count <= kMostConsumers) ++first.count;
}

void add_unit(First& first, char32_t c, uint32_t pc) {
    if (c < 256) {
        first.filter.low[c / 64] |= uint64_t{1} << c % 64;
    } else {
        first.filter.has_other = true;
        add_consumer(first, pc);
    }
}

void unite(First& first, const First& other) {
    for (int i = 0; i < 4; ++i) first.filter.low[i] |= other.filter.low[i];
    first.filter.has_other = first.filter.has_other || other.filter.has_other;
    first.filter.holds_at_end = first.filter.holds_at_end || other.filter.holds_at_end;
    if (other.count > kMostConsumers) {
        first.count = kMostConsumers + 1;
    } else {
        for (uint8_t i = 0; i < other.count; ++i) add_consumer(first, other.consumers[i]);
    }
}

First anything() {
    First first;
    for (uint64_t& bits : first.filter.low) bits = ~uint64_t{0};
    first.filter.has_other = true;
    first.filter.holds_at_end = true;
    first.count = kMostConsumers + 1;
    return first;
}

constexpr uint64_t kNewline = uint64_t{1} << U'\n';

class ChoiceLowering {
  public:
    ChoiceLowering(Program& program, Arena& arena)
        : program_(program), arena_(arena), first_(program.code.size(), arena) {}

    void run() {
        find_firsts();
        for (uint32_t pc = 0; pc < program_.code.size(); ++pc) {
            Instruction& in = program_.code[pc];
            if (is_loop(in.op)) follow_loop(in);
            if (in.op == Op::choice) fill(program_.choices[in.arg]);
            if (in.op == Op::split && program_.choices.size() < kMostChoices) choose(in);
        }
    }

  private:
    bool leads_back(size_t pc) const;
    bool has_links_back() const;
    void find_firsts();
    First first_of(uint32_t pc) const;
    void add_single(First& first, Op what, uint32_t arg, uint32_t other, uint32_t pc) const;
    First at(uint32_t pc) const { return pc == kNoWay ? First() : first_[pc]; }

    void follow_loop(Instruction& in);
    void seek_literal(const Instruction& in);
    bool may_follow(const Loop& loop, const First& first) const;
    bool may_take(const Loop& loop, uint32_t consumer) const;
    void choose(Instruction& in);
    void fill(Choice& choice);
    bool fill_masked(Choice& choice);
    bool fill_long(Choice& choice);
    bool add_row(const Choice& choice, const Working<uint32_t>& row, uint16_t& offset);
    bool passes(uint32_t way, uint32_t row) const;

    Program& program_;
    Arena& arena_;
    Working<First> first_;
    CharacterSet word_ = CharacterSet::of_class('w');
};

void ChoiceLowering::add_single(First& first, Op what, uint32_t arg, uint32_t other,
                                uint32_t pc) const {
    switch (what) {
        case Op::either:
            add_unit(first, other, pc);
            [[fallthrough]];
        case Op::character:
            add_unit(first, arg, pc);
            return;
        case Op::set: {
            const CharacterSet& set = program_.sets[arg];
            for (size_t i = 0; i < 4; ++i) first.filter.low[i] |= set.low()[i];
            if (!set.has_high()) return;
            break;
        }
        default:
            for (uint64_t& bits : first.filter.low) bits = ~uint64_t{0};
            if (what == Op::line) first.filter.low[0] &= ~kNewline;
            break;
    }
    first.filter.has_other = true;
    add_consumer(first, pc);
}

First ChoiceLowering::first_of(uint32_t pc) const {
    const Instruction& in = program_.code[pc];
    First first;
    switch (in.op) {
        case Op::character:
        case Op::either:
        case Op::any:
        case Op::line:
        case Op::set:
            add_single(first, in.op, in.arg, in.alt, pc);
            return first;
        case Op::string:
            add_unit(first, program_.units[program_.strings[in.arg].first], pc);
            return first;
        case Op::folded_string: {
            const FoldedUnit& unit = program_.folded_units[program_.folded_strings[in.arg].first];
            for (const char16_t member : unit.units) add_unit(first, member, pc);
            return first;
        }
        case Op::loop_greedy:
        case Op::loop_lazy:
        case Op::loop_possessive: {
            const Loop& loop = program_.loops[in.arg];
            add_single(first, loop.what, loop.arg, loop.other, pc);
            if (loop.min == 0) unite(first, at(in.next));
            return first;
        }
        case Op::end_text:
            first.filter.holds_at_end = at(in.next).filter.holds_at_end;
            return first;
        case Op::end_line:
            first = at(in.next);
            for (uint64_t& bits : first.filter.low)
                bits &= &bits == first.filter.low ? kNewline : 0;
            first.filter.has_other = false;
            first.count = 0;
            return first;
        case Op::start_word:
        case Op::end_word: {
            const bool wants_word = in.op == Op::start_word;
            first = at(in.next);
            for (size_t i = 0; i < 4; ++i)
                first.filter.low[i] &= wants_word ? word_.low()[i] : ~word_.low()[i];
            if (wants_word) first.filter.holds_at_end = false;
            return first;
        }
        case Op::choice: {
            const Choice& choice = program_.choices[in.arg];
            for (uint32_t i = 0; i < choice.way_count; ++i)
                unite(first, at(program_.targets[choice.ways + i]));
            return first;
        }
        case Op::region_end:
            // It decides for the region whatever follows: what is inside must get here.
            return anything();
        case Op::start_text:
        case Op::start_line:
        case Op::token_start:
        case Op::token_end:
        case Op::counter_start:
        case Op::iteration_start:
        case Op::atomic:
        case Op::evaluate:
            return at(in.next);
        case Op::split:
        case Op::if_token:
        case Op::counter:
        case Op::iteration_end:
        case Op::look_ahead:
        case Op::look_behind:
        case Op::evaluate_condition:
            first = at(in.next);
            unite(first, at(in.alt));
            return first;
        default:
            return anything();
    }
}

bool ChoiceLowering::leads_back(size_t pc) const {
    const Instruction& in = program_.code[pc];
    if (in.next <= pc || (has_alt(in.op) && in.alt <= pc)) return true;
    if (in.op != Op::choice) return false;
    const Choice& choice = program_.choices[in.arg];
    const uint32_t* const ways = program_.targets.data() + choice.ways;
    return std::any_of(ways, ways + choice.way_count, [&](uint32_t way) { return way <= pc; });
}

bool ChoiceLowering::has_links_back() const {
    for (size_t pc = 0; pc < program_.code.size(); ++pc) {
        if (leads_back(pc)) return true;
    }
    return false;
}

void ChoiceLowering::find_firsts() {
    // Without links back one pass says it all.
    const size_t passes = has_links_back() ? kMostPasses : 1;
    for (size_t pass = 0; pass < passes; ++pass) {
        bool has_changed = false;
        for (size_t pc = program_.code.size(); pc-- != 0;) {
            const First first = first_of(static_cast<uint32_t>(pc));
            if (first == first_[pc]) continue;
            first_[pc] = first;
            has_changed = true;
        }
        if (!has_changed) return;
    }
    if (passes == 1) return;
    // Not settled: what links back lead to counts as anything.
    for (size_t pc = program_.code.size(); pc-- != 0;) {
        const Instruction& in = program_.code[pc];
        const bool is_back = leads_back(pc);
        const bool consumes = is_single(in.op) || in.op == Op::string || in.op == Op::folded_string;
        first_[pc] = is_back && !consumes ? anything() : first_of(static_cast<uint32_t>(pc));
    }
}

// Whether a character that the loop takes may be what a consumer's other units come from.
bool ChoiceLowering::may_take(const Loop& loop, uint32_t consumer) const {
    const auto takes = [&](char32_t c) {
        switch (loop.what) {
            case Op::character:
                return loop.arg == c;
            case Op::either:
                return loop.arg == c || loop.other == c;
            case Op::set:
                return program_.sets[loop.arg].contains(c);
            default:
                return true;
        }
    };
    const Instruction& in = program_.code[consumer];
    Op what = in.op;
    uint32_t arg = in.arg;
    uint32_t other = in.alt;
    if (is_loop(what)) {
        const Loop& following = program_.loops[in.arg];
        what = following.what;
        arg = following.arg;
        other = following.other;
    }
    switch (what) {
        case Op::character:
            return takes(arg);
        case Op::either:
            return takes(arg) || takes(other);
        case Op::string: {
            const Run run = program_.strings[arg];
            const char32_t unit = program_.units[run.first];
            if ((unit & 0xFC00) != 0xD800) return takes(unit);
            return takes(0x10000 + ((unit - 0xD800) << 10) +
                         (program_.units[run.first + 1] - char32_t{0xDC00}));
        }
        case Op::folded_string: {
            const FoldedUnit& units = program_.folded_units[program_.folded_strings[arg].first];
            for (const char16_t unit : units.units) {
                if ((unit & 0xF800) == 0xD800 || takes(unit)) return true;
            }
            return false;
        }
        case Op::set:
            if (loop.what == Op::set)
                return program_.sets[loop.arg].may_intersect(program_.sets[arg]);
            if (loop.what == Op::character) return program_.sets[arg].contains(loop.arg);
            if (loop.what == Op::either) {
                return program_.sets[arg].contains(loop.arg) ||
                       program_.sets[arg].contains(loop.other);
            }
            return true;
        default:
            return true;
    }
}

bool ChoiceLowering::may_follow(const Loop& loop, const First& first) const {
    First own;
    add_single(own, loop.what, loop.arg, loop.other, 0);
    for (int i = 0; i < 4; ++i) {
        if ((own.filter.low[i] & first.filter.low[i]) != 0) return true;
    }
    if (!own.filter.has_other || !first.filter.has_other) return false;
    if (first.count > kMostConsumers) return true;
    for (uint8_t i = 0; i < first.count; ++i) {
        if (may_take(loop, first.consumers[i])) return true;
    }
    return false;
}

void ChoiceLowering::seek_literal(const Instruction& in) {
    Loop& loop = program_.loops[in.arg];
    const bool takes_any = loop.what == Op::any || loop.what == Op::line;
    if (in.op != Op::loop_lazy || !takes_any || in.next == kNoWay) return;
    const Instruction& following = program_.code[in.next];
    if (following.op != Op::string) return;
    const Run run = program_.strings[following.arg];
    const auto [rarest, second] = rare_places(program_.units.data() + run.first, run.length);
    loop.literal = static_cast<uint32_t>(program_.literals.size());
    program_.literals.push_back(
        {following.arg, {static_cast<uint32_t>(rarest), static_cast<uint32_t>(second)}});
}

void ChoiceLowering::follow_loop(Instruction& in) {
    Loop& loop = program_.loops[in.arg];
    const First first = at(in.next);
    if (!may_follow(loop, first)) {
        in.op = Op::loop_possessive;
        return;
    }
    if (in.op == Op::loop_possessive) return;
    seek_literal(in);
    bool is_anything = first.filter.has_other && first.filter.holds_at_end;
    for (const uint64_t bits : first.filter.low) is_anything = is_anything && ~bits == 0;
    if (is_anything) return;
    loop.follower = static_cast<uint32_t>(program_.filters.size());
    program_.filters.push_back(first.filter);
}

bool ChoiceLowering::passes(uint32_t way, uint32_t row) const {
    if (way == kNoWay) return false;
    const Filter& filter = first_[way].filter;
    if (row == Choice::kEnd) return filter.holds_at_end;
    if (row == Choice::kOther) return filter.has_other;
    return filter.passes(static_cast<char16_t>(row));
}

// The rows; equal ones are one. A choice whose rows are too long keeps the one with all ways. Up to
// kMostMasked ways a row is told by one word, beyond by what is in it.
void ChoiceLowering::fill(Choice& choice) {
    choice.first = static_cast<uint32_t>(program_.targets.size());
    const bool fits = choice.way_count <= kMostMasked ? fill_masked(choice) : fill_long(choice);
    if (fits) return;
    program_.targets.resize(choice.first);
    choice.first = choice.ways;
    for (uint16_t& offset : choice.rows) offset = 0;
}

// Puts a row behind the others; false where there is no place any more.
bool ChoiceLowering::add_row(const Choice& choice, const Working<uint32_t>& row, uint16_t& offset) {
    const size_t length = program_.targets.size() - choice.first;
    if (length > UINT16_MAX) return false;
    offset = static_cast<uint16_t>(length);
    program_.targets.insert(program_.targets.end(), row.begin(), row.end());
    program_.targets.push_back(kNoWay);
    return true;
}

bool ChoiceLowering::fill_masked(Choice& choice) {
    uint64_t masks[kRows] = {};
    Filter any;
    for (uint32_t k = 0; k < choice.way_count; ++k) {
        const uint32_t way = program_.targets[choice.ways + k];
        if (way == kNoWay) continue;
        const uint64_t bit = uint64_t{1} << k;
        const Filter& filter = first_[way].filter;
        for (uint32_t word = 0; word < 4; ++word) {
            any.low[word] |= filter.low[word];
            for (uint64_t bits = filter.low[word]; bits != 0; bits &= bits - 1)
                masks[word * 64 + static_cast<uint32_t>(std::countr_zero(bits))] |= bit;
        }
        if (filter.has_other) masks[Choice::kOther] |= bit;
        if (filter.holds_at_end) masks[Choice::kEnd] |= bit;
    }
    struct Known {
        uint64_t mask;
        uint16_t offset;
    };
    Working<Known> known(arena_);
    Working<uint32_t> row(arena_);
    // Most units begin no way: theirs is the empty row, which comes first.
    uint16_t offset = 0;
    if (!add_row(choice, row, offset)) return false;
    for (uint16_t& of_row : choice.rows) of_row = offset;
    known.push_back({0, offset});
    const auto set = [&](uint32_t i) {
        if (i > 0 && masks[i] == masks[i - 1]) {
            choice.rows[i] = choice.rows[i - 1];
            return true;
        }
        const auto found = std::find_if(known.begin(), known.end(),
                                        [&](const Known& k) { return k.mask == masks[i]; });
        if (found != known.end()) {
            choice.rows[i] = found->offset;
            return true;
        }
        row.clear();
        for (uint64_t bits = masks[i]; bits != 0; bits &= bits - 1) {
            row.push_back(
                program_.targets[choice.ways + static_cast<uint32_t>(std::countr_zero(bits))]);
        }
        if (!add_row(choice, row, choice.rows[i])) return false;
        known.push_back({masks[i], choice.rows[i]});
        return true;
    };
    for (uint32_t word = 0; word < 4; ++word) {
        for (uint64_t bits = any.low[word]; bits != 0; bits &= bits - 1) {
            if (!set(word * 64 + static_cast<uint32_t>(std::countr_zero(bits)))) return false;
        }
    }
    return set(Choice::kOther) && set(Choice::kEnd);
}

bool ChoiceLowering::fill_long(Choice& choice) {
    WorkingMap<Working<uint32_t>, uint16_t> known(arena_);
    Working<uint32_t> row(arena_);
    for (uint32_t i = 0; i < kRows; ++i) {
        row.clear();
        for (uint32_t k = 0; k < choice.way_count; ++k) {
            const uint32_t way = program_.targets[choice.ways + k];
            if (passes(way, i)) row.push_back(way);
        }
        const auto found = known.find(row);
        if (found != known.end()) {
            choice.rows[i] = found->second;
        } else if (add_row(choice, row, choice.rows[i])) {
            known.emplace(row, choice.rows[i]);
        } else {
            return false;
        }
    }
    return true;
}

// A split of which some unit leaves one way at most is a choice of two.
void ChoiceLowering::choose(Instruction& in) {
    if (in.next == kNoWay || in.alt == kNoWay) return;
    const Filter& next = first_[in.next].filter;
    const Filter& alt = first_[in.alt].filter;
    bool is_useful = !next.has_other || !alt.has_other || !next.holds_at_end || !alt.holds_at_end;
    for (int i = 0; i < 4; ++i) is_useful = is_useful || ~(next.low[i] & alt.low[i]) != 0;
    if (!is_useful) return;
    Choice choice;
    choice.ways = static_cast<uint32_t>(program_.targets.size());
    choice.way_count = 2;
    for (const uint32_t way : {in.next, in.alt, kNoWay}) program_.targets.push_back(way);
    fill(choice);
    in.op = Op::choice;
    in.next = kNoWay;
    in.alt = kNoWay;
    in.arg = static_cast<uint32_t>(program_.choices.size());
    program_.choices.push_back(choice);
}

}  // namespace

void lower_choices(Program& program, Arena& arena) {
    if (program.code.size() <= kMostAnalysed) ChoiceLowering(program, arena).run();
}

}  // namespace qxut::regexp
