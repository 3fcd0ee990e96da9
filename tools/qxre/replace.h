// replace.h - `qxre replace`.
#ifndef QXRE_REPLACE_H
#define QXRE_REPLACE_H

#include <string>
#include <vector>

#include <qxut/regexp/flags.hpp>

#include "find.h"

namespace qxre {

struct ReplaceOptions {
    std::string pattern;
    std::string replacement;
    RE_Flags flags = RE_NO_FLAGS;
    std::vector<std::string> files;
    std::string encoding;   // empty: recognised
    bool whole = false;     // a file is one text, not one a line
    bool first = false;     // of a line, or of a whole file, the first match only
    bool in_place = false;  // write the files instead of standard output
    bool dry_run = false;   // show what would change
    When colours = When::automatic;
};

// kFound: something was replaced.
Status replace(const ReplaceOptions& options);

}  // namespace qxre

#endif
