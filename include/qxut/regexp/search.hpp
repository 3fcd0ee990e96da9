// search.hpp - what a search is told beyond its text, and what it tells beyond its match.
#ifndef QXUT_REGEXP_SEARCH_HPP
#define QXUT_REGEXP_SEARCH_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <qxut/regexp/regexp.h>
#include <qxut/regexp/memory.hpp>

class RE_Context;

// Bounds on the work of one call, whatever the pattern and the text; reaching one is an error,
// never "no match". 0 in a field stands for the process-wide default
// (utSetRegexpLimits).
struct RE_Limits {
    uint64_t steps = 0;        // default: 10^7 + 256 * length * program size
    size_t memory = 0;         // bytes of the matcher's working memory; default 64 MiB
    size_t dynamic_depth = 0;  // nesting of dynamic patterns; default 100
};

enum RE_Search_Flags : unsigned {
    RE_SEARCH_DEFAULT = 0,
    RE_SEARCH_ANCHORED = 1,   // the match begins at the start position or there is none
    RE_SEARCH_NOT_EMPTY = 2,  // a match of no characters is none, wherever it stands
    // Each line of the text, what stands between newlines, is searched as a text of its own:
    // nothing of a match, its anchors or what it looks at lies outside its line. Extents are of the
    // text.
    RE_SEARCH_LINES = 4,
};

struct RE_Search_Info {
    // What the caller asks.
    size_t length = 0;  // of the text, in UTF-16 units
    unsigned flags = RE_SEARCH_DEFAULT;
    RE_Limits limits;
    const std::atomic<bool>* cancel = nullptr;  // polled; true ends the call as an interrupt does
    // Evaluates in place of the tree's context, which need not be safe for threads then; what that
    // one has prepared is not handed over. A tree without a context evaluates nothing.
    RE_Context* context = nullptr;
    // What the call answers, an error or not.
    size_t end = 0;  // the end of the match; unchanged without one
    // With RE_SEARCH_LINES, the line of the match, without its newline; unchanged without one.
    size_t line_start = 0;
    size_t line_end = 0;
    uint64_t steps_used = 0;
    bool reached_end = false;  // whether the answer depended on where the text ends
};

// What a search remembers about one text to find the starts in it faster. It belongs to one tree,
// text address and length; given to another search it is made anew. It never changes an answer. One
// thread uses it at a time.
class QXUT_API RE_Seek_Table : public RE_Memory {
  public:
    RE_Seek_Table() noexcept = default;
    ~RE_Seek_Table();
    RE_Seek_Table(const RE_Seek_Table&) = delete;
    RE_Seek_Table& operator=(const RE_Seek_Table&) = delete;

    struct Contents;  // of the search for starts
    Contents* contents() const noexcept { return contents_; }
    void set_contents(Contents* contents) noexcept;

  private:
    Contents* contents_ = nullptr;
};

#endif
