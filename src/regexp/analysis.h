// analysis.h - what a program tells about where its matches may start.
//
// The analysis reads the program once. What it finds holds for every match: how long it is at
// least, what it begins with, and which landmarks (literals, rare characters) lie on every way to a
// match, how far behind its start and what stands between. Of several ways to find starts it takes
// the one that should meet the fewest places; start_cursor.h runs it.
#ifndef QXUT_SRC_REGEXP_ANALYSIS_H
#define QXUT_SRC_REGEXP_ANALYSIS_H

#include <string>

#include "regexp/program.h"
#include "regexp/unit_set.h"

namespace qxut::regexp {

// What stands on every way to a match: a literal, or a character of a set.
struct Landmark {
    bool exists = false;
    bool is_set = false;
    // A literal; empty for a set. `plain` is the same in single variants where it can be.
    Vector<UnitVariants> units;
    Vector<char16_t> plain;
    LiteralSearch literal;  // of them
    CharacterSet set;
    UnitSet unit_set;  // holds every first unit of the set's characters
    // How many characters the match has before it; kNoLimit as `max_before`: any number.
    uint32_t min_before = 0;
    uint32_t max_before = 0;
    // All of these are in the set; not known for a landmark that is only required.
    CharacterSet before;
    // It stands so many units before what follows it in a look-behind, which looks from the place
    // of max_before; then min_before and max_before are the same.
    uint32_t behind = 0;
    // Its first unit is the newline in front of the line that the match begins; one that begins the
    // text has none.
    bool has_newline = false;
    float frequency = 1;  // estimated

    bool is_at_start() const { return max_before == 0; }
    size_t length() const { return is_set ? 1 : units.size(); }
};

struct StartSearch : RE_Memory {
    enum class Way : uint8_t {
        everywhere,  // every position
        nowhere,     // nothing matches
        text_start,  // only where the text starts
        line_start,  // where lines start
        landmark,    // before a landmark, as far back as what stands before it allows
        words,       // at one of several literals
        first_set,   // at a character that a match may begin with
        doubled,     // at two equal units, or a pair
    };
    // What all of a match is, where the search for starts knows it.
    enum class Whole : uint8_t { unknown, landmark, run };
    uint64_t identity = 0;  // no other search of the process has it
    Way way = Way::everywhere;
    uint32_t min_length = 0;   // characters of any match
    bool begins_text = false;  // anchors before anything else
    bool begins_line = false;
    bool has_first = false;  // `first` holds what a match begins with
    CharacterSet first;
    UnitSet first_units;  // every first unit of the characters of `first`
    Landmark landmark;
    Landmark required;  // none of it ahead: no match ahead
    // Several literals.
    Vector<UnitVariants> word_units;
    Vector<WordSearch::Word> word_list;
    WordSearch words;
    // A match begins with a run of these: when none starts in a run's first character, none does in
    // the others, provided the run is not longer than max_run.
    bool begins_with_run = false;
    CharacterSet run;
    uint32_t min_run = 0;
    uint32_t max_run = kNoLimit;
    bool is_run_of_units = false;  // the run's characters are those of `first_units`, one unit each
    Whole whole = Whole::unknown;

    StartSearch() = default;
    StartSearch(const StartSearch&) = delete;  // the searches point into the vectors
    StartSearch& operator=(const StartSearch&) = delete;
};

// Reads a program, which need not stay. The caller deletes the answer. Throws std::bad_alloc.
StartSearch* analyze(const Program& program);

// The analysis for people, UTF-8, a line for each thing that was found out.
std::string describe(const StartSearch& starts);

}  // namespace qxut::regexp

#endif
