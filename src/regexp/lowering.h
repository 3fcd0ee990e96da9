// lowering.h - what lies between the graph and the program: steps, which are instructions still
// without an order.
//
// lower.cpp runs the stages over one Lowering: lower_nodes.cpp makes steps of nodes and marks,
// lower_backwards.cpp turns
// the bodies of look-behinds round, lower_loops.cpp puts simpler steps in the place of several,
// lower_layout.cpp finds the loops that need to notice an empty iteration and brings the steps into
// pattern order, lower_lengths.cpp finds how far look-behinds have to look, lower_choices.cpp looks
// at what characters the ways on begin with. Each walks with a list of its own and never calls
// itself.
#ifndef QXUT_SRC_REGEXP_LOWERING_H
#define QXUT_SRC_REGEXP_LOWERING_H

#include <map>

#include "regexp/arena.h"
#include "regexp/character_set.h"
#include "regexp/program.h"

namespace qxut::regexp {

template <class Key, class T>
using WorkingMap = std::map<Key, T, std::less<>, ArenaAllocator<std::pair<const Key, T>>>;

struct Step {
    enum class Kind : uint8_t {
        plain,    // its op says it all
        nothing,  // goes on to next
        loop,     // a split that repeats
    } kind = Kind::plain;
    Op op = Op::match;
    bool is_lazy = false;  // a loop's alt is its body
    uint32_t next = kNoWay;
    uint32_t alt = kNoWay;
    uint32_t arg = 0;
    uint32_t body = kNoWay;   // of a look-around
    uint32_t scope = kNoWay;  // what encloses it
    uint32_t own = kNoWay;    // the scope of a loop's or counter's iterations
    Loop repeat;              // of a single-character loop
    uint32_t ways = 0;        // of a choice: a run of Lowering::ways
    uint32_t way_count = 0;
};

struct LoweredScope : Scope {
    bool is_dropped = false;        // there is nothing of it to remember
    uint32_t number = kNoWay;       // in the program
    const RE_Link* exit = nullptr;  // of an atomic group: what follows its body
};

// What one set was made of, to know an equal one and to unite two.
using SetItems = Working<uint64_t>;

struct Lowering {
    // `into` is empty.
    Lowering(const Pattern& p, Program& into) : pattern(p), program(into) {}

    const Pattern& pattern;
    Program& program;
    Arena arena;  // of all that is not the program
    Working<Step> steps{arena};
    Working<LoweredScope> scopes{arena};
    Working<uint32_t> ways{arena};
    uint32_t first = kNoWay;

    WorkingMap<SetItems, uint32_t> sets{arena};
    Working<const SetItems*> items_of{arena};  // of each set; the map's keys

    // A step without anything but a scope; a copy of `step`.
    uint32_t add_step(uint32_t scope);
    uint32_t add_step(const Step& step);
    uint32_t add_scope(Scope::Kind kind, uint32_t parent, uint32_t arg);

    // Where a step leads in the end.
    uint32_t behind_nothing(uint32_t step) const {
        while (step != kNoWay && steps[step].kind == Step::Kind::nothing) step = steps[step].next;
        return step;
    }
    uint32_t loop_body(const Step& loop) const { return loop.is_lazy ? loop.alt : loop.next; }
    uint32_t loop_exit(const Step& loop) const { return loop.is_lazy ? loop.next : loop.alt; }

    // Of a set's items; the set is made where there is none yet.
    uint32_t set_of(const SetItems& items);
};

// Items of sets, as SetItems holds them; a first item kNegatedItems makes the set a negated one.
inline constexpr uint64_t kNegatedItems = uint64_t{3} << 62;
uint64_t range_item(char32_t first, char32_t last, bool ignores_case);
uint64_t class_item(char letter);

void lower_nodes(Lowering& lowering);
// `regions`: of the look-behinds that are to be turned round.
void lower_backwards(Lowering& lowering, const Vector<bool>& regions);
void lower_loops(Lowering& lowering);
void lower_layout(Lowering& lowering);
void lower_lengths(Program& program);
void lower_choices(Program& program, Arena& arena);
// `is_outermost`: nothing follows the program's end.
void lower_scans(Program& program, bool is_outermost);

// Steps in pattern order.
Working<uint32_t> order_steps(Lowering& lowering);

// One of the instructions that consume a single character forwards.
constexpr bool is_single(Op op) { return op <= Op::set; }
constexpr bool reads_back(Op op) { return op >= Op::back_character && op <= Op::back_set; }
constexpr bool is_loop(Op op) {
    return op == Op::loop_greedy || op == Op::loop_lazy || op == Op::loop_possessive;
}

}  // namespace qxut::regexp

#endif
