// program.h - what the matcher runs: a graph lowered to one vector of instructions.
//
// An instruction names its successors itself: `next`, and `alt` where it has a second way on;
// kNoWay is none, the path fails there (only instructions
// from Op::split on have that). Instructions stand in pattern order: forward edges go to
// higher indexes, only loops lead back, and the inside of a choice's branch, of a loop and of a
// body is one run of instructions. So an instruction is on every way to a match exactly when no
// forward edge of an instruction before it leads behind it.
//
// Registers hold what a run keeps besides position and tokens: the counts of counters, where the
// current iteration of a loop began, and how high the backtrack stack was where a region began.
// None is in use twice at a time: a program calls nothing (a dynamic part is a run of its own).
//
// A region is what is decided as a whole: an atomic group, a possessive repetition, a look-around's
// body. Reaching its end drops the ways that are left inside.
//
// Lowered by lower.cpp from the nodes, printed by program_text.cpp. The matcher is matcher_run.cpp.
#ifndef QXUT_SRC_REGEXP_PROGRAM_H
#define QXUT_SRC_REGEXP_PROGRAM_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "regexp/character_set.h"
#include "regexp/pattern.h"
#include "regexp/wide_search.h"

namespace qxut::regexp {

inline constexpr uint32_t kNoWay = UINT32_MAX;
inline constexpr uint32_t kNoLimit = UINT32_MAX;
inline constexpr uint32_t kMostInstructions = 1U << 22;

enum class Op : uint8_t {
    // One character, then next.
    character,  // arg: its code point; a lone surrogate is no half of a pair
    either,     // arg, alt: two code points that fold alike
    any,        // any character
    line,       // any but the newline
    set,        // arg: of Program::sets
    // A run of characters, then next.
    string,         // arg: of Program::strings; without lone surrogates
    folded_string,  // arg: of Program::folded_strings
    // One character again and again; arg: of Program::loops. The kinds differ in what they leave to
    // backtracking: fewer characters, more, nothing.
    loop_greedy,
    loop_lazy,
    loop_possessive,
    // The same read from right to left, in the body of a look-behind that is read so.
    back_character,
    back_either,
    back_any,
    back_line,
    back_set,
    // Tests of the position; next where they hold.
    start_text,
    end_text,
    start_line,
    end_line,
    start_word,
    end_word,
    // Tokens. The extent is set at the end; until then the token keeps the one before.
    token_start,  // arg: the token
    token_end,
    // The text of a token again; arg: of Program::references.
    reference,
    reference_folded,
    // Ways on. A split tries next, then alt. A choice has one row of targets for each kind of
    // character that may stand at the position; arg: of Program::choices. It has no next.
    split,
    choice,
    if_token,  // next where one of the tokens is set, alt where not; arg: of Program::references
    // Counted repetition; arg: of Program::counters. The start clears the count, and next is the
    // counter. The counter goes on to next, the body, which leads back to it, or to alt, the exit.
    counter_start,
    counter,
    // An iteration whose body may match nothing; arg: its register. The start keeps the position.
    // The end, on the way back, goes to next where the position has moved, else to alt, the exit.
    iteration_start,
    iteration_end,
    // Regions; arg of all: of Program::regions. An atomic region goes on to next, its body.
    // A look-around's body stands behind it; it goes on to next where the body matches, to alt
    // where it does not. The end of a look-around has no next.
    atomic,
    look_ahead,
    look_behind,
    region_end,
    // Host and dynamic patterns; arg: of Program::texts.
    evaluate,            // for its effect
    evaluate_condition,  // next where true, alt where not
    evaluate_dynamic,    // the answer is parsed and matched
    parse_dynamic,       // the text is parsed and matched
    fail,                // no way on
    match,               // the end
};

// Whether alt is a way on; an either's is a code point.
constexpr bool has_alt(Op op) {
    return op == Op::split || op == Op::if_token || op == Op::counter || op == Op::iteration_end ||
           op == Op::look_ahead || op == Op::look_behind || op == Op::evaluate_condition;
}

struct Instruction {
    Op op = Op::match;
    uint32_t next = kNoWay;
    uint32_t alt = kNoWay;
    uint32_t arg = 0;
};

// How a loop tells what it takes by one unit.
enum class LoopUnits : uint8_t {
    one,          // first[0]
    two,          // first[0] or first[1]
    all,          // every unit
    but_newline,  // every other unit
    low,          // the bits in `low`; no unit from U+0100 on
    ranges,       // those bits, and first[i] to last[i]; no surrogates
    low_or_high,  // those bits, and every unit from U+0100 on
    characters,   // by whole characters only
};

// What a single-character loop repeats: an instruction of the first group.
struct Loop {
    Op what = Op::any;   // character, either, any, line, set
    uint32_t arg = 0;    // as that instruction's
    uint32_t other = 0;  // an either's second code point
    uint32_t min = 0;
    uint32_t max = kNoLimit;
    uint32_t follower = kNoWay;    // of Program::filters: what may follow; kNoWay: anything
    uint32_t literal = kNoWay;     // of Program::literals: what follows a lazy one
    Op written = Op::loop_greedy;  // the instruction before what follows was looked at
    LoopUnits units = LoopUnits::characters;
    char16_t first[2] = {};
    char16_t last[2] = {};
    uint64_t low[4] = {};
    uint32_t taken = kNoWay;  // of Program::unit_sets: the same units, for long runs
};

// A literal that a lazy loop over any characters looks for, with the places of two units of it that
// are rare in texts.
struct SoughtLiteral {
    uint32_t string = 0;  // of Program::strings
    uint32_t rare[2] = {};
};

// What units a way on can begin with.
struct Filter {
    uint64_t low[4] = {};       // below U+0100
    bool has_other = false;     // any other unit
    bool holds_at_end = false;  // at the end of the text
    bool passes(char16_t unit) const {
        return unit < 256 ? (low[unit / 64] >> unit % 64 & 1) != 0 : has_other;
    }
};

struct Counter {
    enum class Kind : uint8_t { fixed, greedy, lazy } kind = Kind::fixed;
    uint32_t count = 0;  // fixed: exactly so many iterations; else at most
    uint32_t reg = 0;    // its register
};

struct Region {
    // Holds the stack's height at the region's beginning; a look-behind's second one, how many
    // further places are left to try.
    uint32_t reg = 0;
    bool sets_tokens = false;
    bool looks_behind = false;
    // A look-behind's: how many characters its body can match.
    uint32_t min = 0;
    uint32_t max = kNoLimit;
    bool is_read_backwards = false;
};

// The tokens that a reference or a condition means: a run of Program::tokens, ascending. It means
// the first one that is set; an empty run is a token that does not exist.
struct Reference {
    uint32_t first = 0;
    uint32_t count = 0;
};

// A run of Program::units.
struct Run {
    uint32_t first = 0;
    uint32_t length = 0;
};
// The members of one character's folding class, all of one unit; the last one is repeated to fill.
struct FoldedUnit {
    char16_t units[4];
};

// The ways on from a choice by the unit at the position: rows[unit] below U+0100, then the row for
// any other unit, then that for the end of the text. A row is a run of Program::targets, tried in
// order; the run ends in kNoWay.
struct Choice {
    static constexpr uint32_t kOther = 256;
    static constexpr uint32_t kEnd = 257;
    uint16_t rows[258] = {};  // offset from `first`
    uint32_t first = 0;       // in Program::targets
    uint32_t ways = 0;        // there too: all ways, in order, then kNoWay
    uint32_t way_count = 0;
};

// What encloses an instruction: what a recorded failure at it depends on besides the position.
struct Scope {
    enum class Kind : uint8_t { counter, iteration, region } kind = Kind::region;
    uint32_t parent = kNoWay;
    uint32_t arg = 0;  // of Program::counters, the register, of Program::regions
};

struct Program : RE_Memory {
    Vector<Instruction> code;
    uint32_t first = 0;  // where a match begins
    Vector<CharacterSet> sets;
    Vector<Run> strings;
    Vector<Run> folded_strings;  // of `folded_units`
    Vector<char16_t> units;
    Vector<FoldedUnit> folded_units;
    Vector<Loop> loops;
    Vector<Filter> filters;
    Vector<SoughtLiteral> literals;
    Vector<UnitSet> unit_sets;
    Vector<Counter> counters;
    Vector<Region> regions;
    Vector<Reference> references;
    Vector<uint32_t> tokens;
    Vector<Choice> choices;
    Vector<uint32_t> targets;
    Vector<Scope> scopes;
    Vector<uint32_t> scope_of;       // one an instruction; kNoWay: nothing encloses it
    Vector<RE_Text> texts;           // units of the pattern that the program was lowered from
    Vector<uint32_t> tested_tokens;  // those that conditions test
    uint32_t register_count = 0;
    uint32_t token_count = 0;
    Vector<const char16_t*> names;  // of the tokens, from number 1; null: none
    bool records_failures = true;   // false with back-references and dynamic parts
    bool has_dynamic_parts = false;
};

// Lowers a parsed pattern, which must outlive the program. A dynamic pattern refers to the tokens
// of `outer`, the program around it. Throws UserException (REGEXP_PROGRAM_TOO_LARGE),
// std::bad_alloc.
Program lower(const Pattern& pattern, const Program* outer = nullptr);

// The program as text, one line an instruction.
std::string program_text(const Program& program);

}  // namespace qxut::regexp

#endif
