// lengths.h - how many characters an instruction matches.
#ifndef QXUT_SRC_REGEXP_LENGTHS_H
#define QXUT_SRC_REGEXP_LENGTHS_H

#include <cstdint>

#include "regexp/program.h"

namespace qxut::regexp {

struct Lengths {
    uint32_t min;
    uint32_t max;  // kNoLimit: no upper bound is known
};

// What the instruction itself matches, in characters; nothing for one that only tests or leads on.
Lengths own_length(const Program& program, const Instruction& in);

}  // namespace qxut::regexp

#endif
