// matcher.h - one search of a program over a text.
#ifndef QXUT_SRC_REGEXP_MATCHER_H
#define QXUT_SRC_REGEXP_MATCHER_H

#include <cstddef>
#include <cstdint>

#include <qxut/regexp/context.hpp>
#include <qxut/regexp/search.hpp>

namespace qxut::regexp {

struct Program;      // program.h
struct StartSearch;  // analysis.h

inline constexpr size_t kUnset = SIZE_MAX;

// What outlives one search while the matches of one text are iterated: the steps used so far, and
// the recorded failures, which hold for every start in the same text.
class Iteration;
Iteration* new_iteration(uint64_t steps_used);  // by what came before; std::bad_alloc
void delete_iteration(Iteration* iteration) noexcept;

// A bit of RE_Search_Info::flags, for tests: the search takes no short cuts.
inline constexpr unsigned kPlainSearch = 1U << 31;
// Another: it records failures from its first step on.
inline constexpr unsigned kRecordingSearch = 1U << 30;

struct SearchRequest {
    const Program* program = nullptr;
    const StartSearch* starts = nullptr;  // null: every position is tried
    const char16_t* text = nullptr;
    size_t length = 0;
    size_t start = 0;
    bool anchored = false;
    bool not_empty = false;        // an empty match is none
    bool lines = false;            // each line is a text of its own
    bool plain = false;            // no recording, no fast paths, no search for starts
    bool records_at_once = false;  // failures are recorded from the first step on; for tests
    size_t not_empty_at = kUnset;  // an empty match at this position is none
    RE_Limits limits;              // as the caller gave them; resolve_limits puts the defaults in
    const std::atomic<bool>* cancel = nullptr;
    RE_Context* context = nullptr;
    void* const* functions = nullptr;  // the prepared expressions, by RE_Text::id; null: none
    RE_Seek_Table* table = nullptr;
    Iteration* iteration = nullptr;  // null: a search of its own
    // With `lines`, that of the match.
    size_t line_start = 0;
    size_t line_end = 0;
    // Answers, an error or not.
    uint64_t steps_used = 0;  // of the whole iteration
    bool reached_end = false;
};

// The leftmost match from `start`. extents[2k], extents[2k+1] get the extent of token k, 0 being
// the match, kUnset where unset; unchanged without a match. Throws as RE_Tree::match does.
bool search(SearchRequest& request, size_t* extents);

}  // namespace qxut::regexp

#endif
