// landmarks.h - the walk over a program behind the analysis.
#ifndef QXUT_SRC_REGEXP_LANDMARKS_H
#define QXUT_SRC_REGEXP_LANDMARKS_H

#include "regexp/analysis.h"
#include "regexp/arena.h"

namespace qxut::regexp {

// How many characters lie before an instruction, on the shortest way and on the longest.
struct Distance {
    static constexpr uint32_t kUnreached = UINT32_MAX;
    uint32_t min = kUnreached;
    uint32_t max = 0;  // kNoLimit: any number
};

// Of each instruction from the beginning of a match; those in the bodies of look-arounds are not
// reached.
Working<Distance> distances(const Program& program, Arena& arena);

// A landmark with the instruction that it begins at.
struct FoundLandmark {
    Landmark landmark;
    uint32_t at = 0;
};
// Those on every way to a match, in the order of the program, at most kMostLandmarks.
inline constexpr size_t kMostLandmarks = 16;
Working<FoundLandmark> find_landmarks(const Program& program, const Working<Distance>& distances,
                                      Arena& arena);

// What a match may begin with; false when it may be empty or begin with anything.
bool first_set(const Program& program, CharacterSet& set, Arena& arena);

// What the ways to an instruction may consume; false: anything.
bool consumed_before(const Program& program, const Working<Distance>& distances, uint32_t end,
                     CharacterSet& set);

// Appends the units that an instruction matches one after the other, when it is a literal; `limit`
// is how many are wanted. False when it is none. `ends` when nothing that follows adjoins.
bool append_literal(const Program& program, const Instruction& instruction, size_t limit,
                    Working<UnitVariants>& units, bool& ends);

}  // namespace qxut::regexp

#endif
