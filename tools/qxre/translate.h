// translate.h - `qxre escape` and `qxre wildcard`: texts as patterns.
#ifndef QXRE_TRANSLATE_H
#define QXRE_TRANSLATE_H

#include <string>
#include <vector>

namespace qxre {

// Print each text, or each line of standard input where there is none, as a pattern that matches
// it, or what it matches as a wildcard. 0, or 2 when it did not work out.
int escape(const std::vector<std::string>& texts);
int wildcard(const std::vector<std::string>& texts);

}  // namespace qxre

#endif
