// lower_lengths.cpp - how many characters the body of each look-behind can match.
//
// One pass in pattern order carries the shortest and the longest way to each instruction from the
// beginning of the body that it stands in. A loop's exit is reached again when its link back is
// met, with what its body can match added as often as it may be repeated.
//
// Entry: lower_lengths. Tested by the tables of matches, whose look-behinds have such bodies.
#include "regexp/lengths.h"
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

// Of the way to an instruction.
constexpr Lengths kNotReached{kNoLimit, 0};

uint32_t add(uint32_t a, uint32_t b) {
    return a == kNoLimit || b == kNoLimit || b > kNoLimit - 1 - a ? kNoLimit : a + b;
}
uint32_t times(uint32_t a, uint32_t count) {
    if (a == 0 || count == 0) return 0;
    return a == kNoLimit || count == kNoLimit || count > (kNoLimit - 1) / a ? kNoLimit : a * count;
}
// A lower bound stays one when it does not fit.
uint32_t bound(uint32_t min) { return min == kNoLimit ? kNoLimit - 1 : min; }

}  // namespace

void lower_lengths(Program& program) {
    if (program.regions.empty()) return;  // the lengths are theirs
    const Vector<Instruction>& code = program.code;
    Vector<Lengths> to(code.size(), kNotReached);
    const auto reach = [&](uint32_t at, uint32_t min, uint32_t max) {
        if (at == kNoWay) return;
        Lengths& lengths = to[at];
        lengths.min = std::min(lengths.min, bound(min));
        lengths.max = std::max(lengths.max, max);
    };
    if (program.first != kNoWay) reach(program.first, 0, 0);
    for (uint32_t pc = 0; pc < code.size(); ++pc) {
        const Instruction& in = code[pc];
        const Lengths here = to[pc];
        if (here.min == kNoLimit) continue;
        if (in.op == Op::look_ahead || in.op == Op::look_behind) reach(pc + 1, 0, 0);
        if (in.op == Op::region_end && in.next == kNoWay) {
            program.regions[in.arg].min = here.min;
            program.regions[in.arg].max = here.max;
        }
        const Lengths own = own_length(program, in);
        const uint32_t min = add(here.min, own.min);
        const uint32_t max = add(here.max, own.max);
        const auto follow = [&](uint32_t target) {
            uint32_t shortest = min;
            uint32_t longest = max;
            // Back to a repetition: its exit, after as many iterations as it takes. That may be the
            // way back of an outer one.
            while (target != kNoWay && target <= pc) {
                const Instruction& head = code[target];
                const Lengths before = to[target];
                const uint32_t body_min = shortest - before.min;
                const uint32_t body_max = longest == kNoLimit ? kNoLimit : longest - before.max;
                if (head.op == Op::counter) {
                    const Counter& counter = program.counters[head.arg];
                    const bool is_fixed = counter.kind == Counter::Kind::fixed;
                    shortest =
                        is_fixed ? add(before.min, times(body_min, counter.count)) : before.min;
                    longest = add(before.max, times(body_max, counter.count));
                    target = head.alt;
                } else {
                    shortest = before.min;
                    longest = body_max == 0 ? before.max : kNoLimit;
                    target = head.next == target + 1 ? head.alt : head.next;
                }
            }
            reach(target, shortest, longest);
        };
        const bool is_fixed_counter =
            in.op == Op::counter && program.counters[in.arg].kind == Counter::Kind::fixed;
        if (in.op == Op::choice) {
            const Choice& choice = program.choices[in.arg];
            for (uint32_t i = 0; i < choice.way_count; ++i)
                follow(program.targets[choice.ways + i]);
            continue;
        }
        follow(in.next);
        if (has_alt(in.op) && !is_fixed_counter) follow(in.alt);
    }
}

}  // namespace qxut::regexp
