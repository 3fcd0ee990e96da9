// start_cursor.h - the search for starts in one text, with what was learnt of it on the way.
//
// What a cursor remembers are facts of its text: how far ahead a required literal stands, before
// which landmark it is. So it may be asked for any position in any order, and never changes an
// answer; asked in ascending order it reads the text once.
#ifndef QXUT_SRC_REGEXP_START_CURSOR_H
#define QXUT_SRC_REGEXP_START_CURSOR_H

#include <qxut/regexp/search.hpp>

#include <cstddef>
#include <cstdint>

#include "regexp/analysis.h"
#include "regexp/matcher.h"

namespace qxut::regexp {

// Called at least once for every 64 KiB of text that a search passes; may throw.
struct SeekPoll {
    void (*call)(void* argument) = nullptr;  // null: nobody asks
    void* argument = nullptr;
};

class StartCursor {
  public:
    // All of them outlive the cursor.
    StartCursor(const StartSearch& starts, const char16_t* text, size_t length) noexcept
        : starts_(&starts), text_(text), length_(length) {}

    bool is_for(const StartSearch& starts, const char16_t* text, size_t length) const noexcept {
        return identity_ == starts.identity && text_ == text && length_ == length;
    }

    // The first position from `from` on, which is at most the length and not inside a surrogate
    // pair, where a match may start; kUnset when there is none. No match starts in between.
    size_t first(size_t from, const SeekPoll& poll);
    // The same behind p, from which no match was found: with no condition on its extent, such as
    // that it be not empty.
    size_t after_failure(size_t p, const SeekPoll& poll);

    // Where the search for starts knows what all of a match is (starts.whole): the first match that
    // starts at `from` or behind it. False: there is none.
    struct Match {
        size_t start;
        size_t end;
    };
    bool first_match(size_t from, const SeekPoll& poll, Match& match);

  private:
    // The starts that one landmark allows; there are no others from `from` to `end`, and none
    // behind `end` for landmarks up to this one.
    struct Window {
        size_t from = kUnset;  // kUnset: none is known
        size_t begin = 0;
        size_t end = 0;  // inclusive
        size_t landmark = 0;
    };

    char32_t character_at(size_t p) const noexcept;
    size_t after(size_t p) const noexcept;
    size_t before(size_t p) const noexcept;
    bool is_inside_pair(size_t p) const noexcept;
    bool is_line_start(size_t p) const noexcept { return p == 0 || text_[p - 1] == u'\n'; }
    bool may_begin(size_t p) const noexcept;

    template <class Search>
    size_t in_pieces(size_t from, size_t end, const SeekPoll& poll, Search search);
    size_t find(const Landmark& landmark, size_t from, const SeekPoll& poll);
    bool is_required_ahead(size_t from, const SeekPoll& poll);
    size_t first_line_start(size_t from, const SeekPoll& poll);
    size_t first_member(size_t from, const SeekPoll& poll);
    size_t first_word(size_t from, const SeekPoll& poll);
    size_t first_doubled(size_t from, const SeekPoll& poll);
    size_t first_at_landmark(size_t from, const SeekPoll& poll);
    size_t first_before_landmark(size_t from, const SeekPoll& poll);
    size_t first_in(const Window& window, size_t from) const noexcept;
    bool find_window(size_t from, size_t at, Window& window, const SeekPoll& poll);
    void passed(size_t units, const SeekPoll& poll);
    size_t run_end(size_t p, const SeekPoll& poll);
    bool first_run_of_units(size_t from, const SeekPoll& poll, Match& match);
    uint64_t members_around(size_t p);

    const StartSearch* starts_;
    uint64_t identity_ = starts_->identity;
    const char16_t* text_;
    size_t length_;
    size_t since_poll_ = 0;  // units
    // The required landmark's first place from `required_from_` on; kUnset: there is none.
    size_t required_from_ = kUnset;
    size_t required_at_ = 0;
    Window window_;
    // A run of what every match begins with, as far as it goes on.
    size_t run_begin_ = 0;
    size_t run_end_ = 0;
    // Which units of the block that begins there are of the run; kUnset: no block was looked at.
    size_t block_ = kUnset;
    uint64_t members_ = 0;
};

// The table's cursor, made anew when it was for another search or text. Throws std::bad_alloc.
StartCursor& cursor_in(RE_Seek_Table& table, const StartSearch& starts, const char16_t* text,
                       size_t length);

}  // namespace qxut::regexp

#endif
