// closers.h - where each '(' and '[' is closed and where alternatives end, found before parsing.
//
// A scan steps over escapes, sets and groups and, under free spacing, over comments. It runs with
// the flags in force where it starts, of which only free spacing matters to it; so there are two
// ways to read a pattern, and what a scan finds from a position depends on nothing but the
// position and the way. Both questions below are answered for every position by one pass from right
// to left: the answer at a position follows from answers behind it. No stack, no recursion, linear.
//
// A scan looks at the pattern to its end. What it finds behind the end of the piece in hand counts
// as not found; that can only happen where free spacing was switched within the piece.
#ifndef QXUT_SRC_REGEXP_CLOSERS_H
#define QXUT_SRC_REGEXP_CLOSERS_H

#include <cstddef>
#include <cstdint>

#include "regexp/arena.h"
#include "regexp/source.h"

namespace qxut::regexp {

class Closers {
  public:
    // The longest pattern whose positions it holds.
    static constexpr size_t kMostUnits = UINT32_MAX - 8;

    // Both must outlive it; `source` has at most kMostUnits.
    Closers(const Source& source, Arena& arena) noexcept;

    // The ')' that closes the '(' at `opener`, the ']' that closes the '['; the source's length or
    // more where there is none. A (?#...) is read without free spacing. Throws std::bad_alloc.
    size_t parenthesis(size_t opener, bool free_spacing);
    size_t bracket(size_t opener);

    // The first '|' of a level of parentheses from `position` on, before `end`; `end` without one.
    size_t bar(size_t position, size_t end, bool free_spacing);

  private:
    // Of a position, taken as one where an item begins.
    struct Ahead {
        uint32_t level_end;  // the ')' that ends its level of parentheses, or the length
        uint32_t stop;       // the first '|' of the level or its end
    };
    bool is_comment(size_t opener) const noexcept;
    void read_brackets();
    const Working<Ahead>& read_level(bool free_spacing);

    const Source& source_;
    bool has_bars_;
    bool has_brackets_;
    Working<Ahead> levels_[2];  // without and with free spacing; empty until it is asked for
    Working<uint32_t> brackets_;
};

}  // namespace qxut::regexp

#endif
