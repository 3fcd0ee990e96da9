// lower_scans.cpp - loops made ready for going through long runs.
//
// Most sets can be told by units, so that a loop need not put characters together; its units are
// written down for the wide search. A loop of a fixed
// number, and one that ends the match, leave nothing to backtracking.
//
// Entry: lower_scans. Tested by the comparison with plain searches and with the reference matcher.
#include "regexp/characters.h"
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

bool is_unit(char32_t c) { return c <= 0xFFFF && !is_surrogate(c); }

// How the loop can be gone through by units.
void set_units(Loop& loop, const Program& program) {
    if (loop.what == Op::any) loop.units = LoopUnits::all;
    if (loop.what == Op::line) loop.units = LoopUnits::but_newline;
    if (loop.what == Op::character && is_unit(loop.arg)) {
        loop.units = LoopUnits::one;
        loop.first[0] = static_cast<char16_t>(loop.arg);
    }
    if (loop.what == Op::either && is_unit(loop.arg) && is_unit(loop.other)) {
        loop.units = LoopUnits::two;
        loop.first[0] = static_cast<char16_t>(loop.arg);
        loop.first[1] = static_cast<char16_t>(loop.other);
    }
    if (loop.what != Op::set) return;
    const CharacterSet& set = program.sets[loop.arg];
    for (size_t i = 0; i < 4; ++i) loop.low[i] = set.low()[i];
    if (!set.has_high()) {
        loop.units = LoopUnits::low;
        return;
    }
    if (set.classes() != 0) return;
    if (set.is_negated()) {
        if (set.ranges().empty()) loop.units = LoopUnits::low_or_high;
        return;
    }
    size_t count = 0;
    for (const CharacterSet::Range& range : set.ranges()) {
        constexpr char32_t kFirstSurrogate = 0xD800;
        constexpr char32_t kLastSurrogate = 0xDFFF;
        const bool has_surrogates = range.first <= kLastSurrogate && range.last >= kFirstSurrogate;
        if (count == 2 || range.last > 0xFFFF || has_surrogates) return;
        loop.first[count] = static_cast<char16_t>(range.first);
        loop.last[count] = static_cast<char16_t>(range.last);
        ++count;
    }
    if (count == 1) {
        loop.first[1] = loop.first[0];
        loop.last[1] = loop.last[0];
    }
    loop.units = LoopUnits::ranges;
}

// Eight units to a byte: those of even and of odd number stand in halves of their own.
void add_low(UnitSet& set, const uint64_t (&low)[4]) {
    for (unsigned i = 0; i < 16; ++i) {
        const uint64_t units = low[i / 4] >> i % 4 * 16;
        set.even[i] = static_cast<uint8_t>(set.even[i] | (units & 0xFF));
        set.odd[i] = static_cast<uint8_t>(set.odd[i] | (units >> 8 & 0xFF));
    }
}

// What the loop takes, where bits and ranges say it.
void set_taken(Loop& loop, Program& program) {
    const bool has_ranges = loop.units == LoopUnits::ranges;
    if (loop.units != LoopUnits::low && loop.units != LoopUnits::low_or_high && !has_ranges) return;
    UnitSet set;
    add_low(set, loop.low);
    set.all_others = loop.units == LoopUnits::low_or_high;
    if (has_ranges) {
        set.range_count = loop.first[1] == loop.first[0] ? 1 : 2;
        for (int i = 0; i < set.range_count; ++i) {
            set.first[i] = loop.first[i];
            set.last[i] = loop.last[i];
        }
    }
    loop.taken = static_cast<uint32_t>(program.unit_sets.size());
    program.unit_sets.push_back(set);
}

bool ends_match(const Program& program, uint32_t pc) {
    while (program.code[pc].op == Op::token_end) pc = program.code[pc].next;
    return program.code[pc].op == Op::match;
}

}  // namespace

void lower_scans(Program& program, bool is_outermost) {
    for (Instruction& in : program.code) {
        if (!is_loop(in.op)) continue;
        Loop& loop = program.loops[in.arg];
        set_units(loop, program);
        set_taken(loop, program);
        const bool is_last =
            is_outermost && in.op == Op::loop_greedy && ends_match(program, in.next);
        if (loop.min == loop.max || is_last) in.op = Op::loop_possessive;
    }
}

}  // namespace qxut::regexp
