// lengths.cpp - see lengths.h. Tested by tests/regexp/analysis_test.cpp and, for the bodies of
// look-behinds, by the tables of matches.
#include "regexp/lengths.h"

#include "regexp/characters.h"

namespace qxut::regexp {
namespace {

template <class UnitAt>
uint32_t count_characters(const Run& run, UnitAt unit_at) {
    uint32_t count = 0;
    for (uint32_t i = run.first; i < run.first + run.length; ++i)
        count += is_low_surrogate(unit_at(i)) ? 0 : 1;  // there are no lone ones in a string
    return count;
}

}  // namespace

Lengths own_length(const Program& program, const Instruction& in) {
    switch (in.op) {
        case Op::character:
        case Op::either:
        case Op::any:
        case Op::line:
        case Op::set:
            return {1, 1};
        case Op::string: {
            const uint32_t count = count_characters(program.strings[in.arg],
                                                    [&](uint32_t i) { return program.units[i]; });
            return {count, count};
        }
        case Op::folded_string: {
            const uint32_t count =
                count_characters(program.folded_strings[in.arg],
                                 [&](uint32_t i) { return program.folded_units[i].units[0]; });
            return {count, count};
        }
        case Op::loop_greedy:
        case Op::loop_lazy:
        case Op::loop_possessive: {
            const Loop& loop = program.loops[in.arg];
            return {loop.min, loop.max};
        }
        case Op::reference:
        case Op::reference_folded:
        case Op::evaluate_dynamic:
        case Op::parse_dynamic:
            return {0, kNoLimit};
        default:
            return {0, 0};
    }
}

}  // namespace qxut::regexp
