// search.h - which lines of a block match, and where.
#ifndef QXRE_SEARCH_H
#define QXRE_SEARCH_H

#include <cstddef>
#include <string_view>
#include <vector>

#include <qxut/regexp/tree.hpp>

#include "lines.h"
#include "text_input.h"

namespace qxre {

struct Span {
    size_t start;
    size_t end;
    bool is_set;
};

// A match and its tokens; tokens[0] is the whole of it. Units of the text that was searched.
struct Match {
    std::vector<Span> tokens;
    size_t start() const { return tokens[0].start; }
    size_t end() const { return tokens[0].end; }
};

// The lines of a block that have a match, one after the other.
class LineSearch {
  public:
    LineSearch(const RE_Tree& tree, const Block& block);

    // The first such line at or behind `from`, the beginning of a line. Throws what RE_Tree::match
    // throws, with `from` at the line that could not be searched.
    bool find(size_t& from, Line& line);

  private:
    bool find_at_once(size_t from, Line& line);

    const RE_Tree& tree_;
    std::u16string_view text_;
    bool at_once_;  // lines are not cut out one by one
    RE_Search_Info at_once_info_;
};

// All matches in a text, each next one as the library iterates them.
std::vector<Match> all_matches(const RE_Tree& tree, std::u16string_view text);

}  // namespace qxre

#endif
