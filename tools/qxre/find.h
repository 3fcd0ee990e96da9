// find.h - `qxre find`.
#ifndef QXRE_FIND_H
#define QXRE_FIND_H

#include <cstddef>
#include <string>
#include <vector>

#include <qxut/regexp/flags.hpp>

#include "output.h"

namespace qxre {

// Exit statuses, those of grep.
enum Status { kFound = 0, kNotFound = 1, kTrouble = 2 };

struct FindOptions {
    std::string pattern;
    RE_Flags flags = RE_NO_FLAGS;
    std::vector<std::string> files;
    std::string encoding;  // empty: recognised
    bool whole = false;    // a file is one text, not one a line
    bool invert = false;   // the lines without a match
    bool only = false;
    bool count = false;
    bool list = false;   // the names of files with a match
    bool quiet = false;  // nothing, the status says it
    bool json = false;
    bool as_text = false;  // print what looks binary
    bool numbers = false;
    When names = When::automatic;  // automatic: with several files
    When colours = When::automatic;
    size_t before = 0;
    size_t after = 0;
};

Status find(const FindOptions& options);

}  // namespace qxre

#endif
