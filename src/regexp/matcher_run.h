// matcher_run.h - the state of one search while it tries its starts.
#ifndef QXUT_SRC_REGEXP_MATCHER_RUN_H
#define QXUT_SRC_REGEXP_MATCHER_RUN_H

#include <memory>
#include <optional>

#include "regexp/characters.h"
#include "regexp/dynamic.h"
#include "regexp/matcher.h"
#include "regexp/program.h"
#include "regexp/records.h"
#include "regexp/scratch.h"
#include "regexp/start_cursor.h"

namespace qxut::regexp {

class Backtracker {
  public:
    // `request` says what is searched with what; that stays for all searches. Without `records` the
    // scratch's are used.
    Backtracker(const SearchRequest& request, Scratch& scratch, Records* records);
    Backtracker(const Backtracker&) = delete;
    Backtracker& operator=(const Backtracker&) = delete;

    // Before a search, which an error may have ended before: from where, and under what conditions.
    void begin(SearchRequest& request);
    // After it, an error or not.
    void end() noexcept;

    // What the next attempts take for the text, in units of the request's: anchors and what looks
    // back or ahead see no more. A place is in one such part only, so that the failures recorded in
    // it hold.
    void narrow(size_t begin, size_t end) {
        begin_ = text_ + begin;
        end_ = text_ + end;
    }
    // Whether there is a match from `start`. Everything is as before when there is none.
    bool attempt(size_t start);
    // Writes the extents of the match that was found.
    void take_extents(size_t* extents) const;

    // The answer depended on where the text ends.
    void note_end() { reached_end_ = true; }
    bool is_running() const noexcept { return is_running_; }
    // Takes steps into account that were made elsewhere.
    void add_steps(uint64_t steps) { used_ += steps; }

    // Counts what is no step of the program, units that are gone over, and polls.
    void charge(size_t units, const char16_t* position) {
        countdown_ -= static_cast<int32_t>(units / kUnitsOfStep);
        if (countdown_ <= 0) countdown_ = poll(position, countdown_);
    }

  private:
    // What the main loop keeps in registers; calls out of it get a copy.
    struct State {
        const char16_t* position;
        uint32_t pc;
        Entry* top;
    };

    bool run(const char16_t* start);
    void unset_tokens();

    // Budgets.
    int32_t poll(const char16_t* position, int32_t countdown);
    static constexpr size_t kUnitsOfStep = 32;
    static constexpr ptrdiff_t kUnitsAtOnce = 1 << 14;
    static constexpr size_t kUnitsOfLine = 512;

    // The stack.
    Entry* grow(Entry* top, const char16_t* position);
    void push(Entry*& top, Entry::Kind kind, uint32_t pc, size_t position, size_t extra,
              const char16_t* where) {
        if (top == stack_limit_) [[unlikely]]
            top = grow(top, where);
        *top++ = {kind, pc, position, extra};
    }
    Entry* cut(Entry* top, size_t height, bool keeps_undone);

    // Tests.
    bool is_word_start(const char16_t* p);
    bool is_word_end(const char16_t* p);
    bool match_string(const Instruction& in, const char16_t*& p);
    bool match_folded_string(const Instruction& in, const char16_t*& p);
    bool match_before(const Instruction& in, const char16_t*& p) const;
    const TokenState* referenced(const Reference& reference) const;
    bool match_reference(const Instruction& in, const char16_t*& p);
    bool match_reference_folded(const Instruction& in, const char16_t*& p);

    // Single-character loops; matcher_loops.cpp. Those that start or resume one say whether the
    // match goes on, with the state changed for it.
    const char16_t* scan(const Loop& loop, const char16_t* p, uint32_t max);
    const char16_t* scan_some(const Loop& loop, const char16_t* p, const char16_t* end,
                              uint32_t& room) const;
    bool takes(const Loop& loop, const char16_t*& p);
    const char16_t* behind(const char16_t* p, const char16_t* end, uint32_t count) const;
    const char16_t* behind_least(const Loop& loop, const char16_t* p);
    bool may_end_at(const Loop& loop, const char16_t* p);
    const char16_t* give_back(const Loop& loop, const char16_t* from, const char16_t* low);
    const char16_t* scan_recorded(const Loop& loop, uint32_t pc, const char16_t* low,
                                  bool& has_met_failure);
    bool start_greedy(State& state);
    bool resume_greedy(State& state);
    bool start_lazy(State& state);
    bool resume_lazy(State& state);
    bool start_possessive(State& state);
    const char16_t* behind_no_end(const Loop& loop, const char16_t* p) const;
    const char16_t* lazy_literal(const Loop& loop, const char16_t*& p);
    const char16_t* lazy_end(const Loop& loop, uint32_t pc, const char16_t*& p, uint32_t& room);

    // Look-behind.
    // So many characters back; false when the text has not so many before.
    bool step_back(const char16_t*& p, uint32_t count) const;

    // Recorded failures; matcher_records.cpp.
    bool point_of(uint32_t pc, size_t position, Records::Point& point) const;
    bool has_failed(uint32_t pc, const char16_t* p);
    void record(uint32_t pc, size_t first, size_t last);

    // Dynamic parts; matcher_dynamic.cpp.
    bool evaluate(State& state);
    bool enter_dynamic(State& state);
    void leave_dynamic(State& state);
    Vector<RE_Evaluation_Input> inputs() const;
    void* function_of(const RE_Text& text) const;
    void use_frame(uint32_t frame);

    size_t offset(const char16_t* p) const { return static_cast<size_t>(p - text_); }

    SearchRequest* request_ = nullptr;
    Scratch& scratch_;
    const RE_Limits limits_;
    const char16_t* const text_;  // from which places are counted
    const char16_t* begin_;       // of what is searched
    const char16_t* end_;
    const Program* program_;  // of the current frame
    size_t* registers_ = nullptr;
    uint32_t frame_ = 0;
    Entry* stack_limit_ = nullptr;

    Records* records_;
    bool is_recording_ = false;
    const bool is_plain_;
    bool reached_end_ = false;
    bool records_reached_end_ = false;  // what was recorded may have spared a look at the end
    bool has_set_tokens_ = true;
    bool is_running_ = false;
    const bool allows_records_;
    size_t attempt_ = 0;  // its start

    uint64_t used_ = 0;         // steps of all searches up to the last poll
    uint64_t used_before_ = 0;  // by the earlier ones
    int32_t quantum_ = 0;       // steps between that poll and the next
    int32_t countdown_ = 0;     // of them, those left
    size_t furthest_ = 0;       // place that a poll has seen

    size_t match_start_ = 0;
    size_t match_end_ = 0;

    std::unique_ptr<DynamicPrograms> dynamic_programs_;  // null before there is one
};

class Iteration : public RE_Memory {
  public:
    explicit Iteration(uint64_t steps) : steps_before(steps) {}
    ~Iteration() {
        if (scratch != nullptr) release_scratch(scratch);
    }
    Iteration(const Iteration&) = delete;
    Iteration& operator=(const Iteration&) = delete;

    uint64_t steps_before;
    Records records;
    Scratch* scratch = nullptr;  // null before the first search
    std::optional<Backtracker> backtracker;
    std::optional<StartCursor> cursor;
};

}  // namespace qxut::regexp

#endif
