// matcher.cpp - one search: the starts, the budget, the answer.
//
// Entry: search, of the trees and results. Tested by tests/regexp/matcher_test.cpp and the
// comparisons with the reference matcher.
#include "regexp/matcher.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <qxut/util/heap.h>
#include <qxut/util/interrupt.h>

#include "regexp/failure.h"
#include "regexp/limits.h"
#include "regexp/line_search.h"
#include "regexp/matcher_run.h"
#include "regexp/start_cursor.h"

namespace qxut::regexp {
namespace {

constexpr size_t kFirstEntries = 128;
constexpr int32_t kStepsBetweenPolls = 1024;
// Failures are recorded once a search has taken so many steps, and so many more for each unit that
// it has got on.
constexpr uint64_t kStepsBeforeRecording = 512;
constexpr uint64_t kStepsOfUnit = 16;
constexpr TokenState kUnsetToken{kUnset, kUnset, kUnset};

}  // namespace

Backtracker::Backtracker(const SearchRequest& request, Scratch& scratch, Records* records)
    : scratch_(scratch),
      limits_(resolve_limits(request.limits, request.length, request.program->code.size())),
      text_(request.text),
      begin_(request.text),
      end_(request.text + request.length),
      program_(request.program),
      records_(records != nullptr ? records : &scratch.records),
      is_plain_(request.plain),
      allows_records_(request.program->records_failures && !request.plain) {}

void Backtracker::begin(SearchRequest& request) {
    request_ = &request;
    if (scratch_.entries == nullptr) {
        scratch_.entries = static_cast<Entry*>(utMalloc(kFirstEntries * sizeof(Entry)));
        if (scratch_.entries == nullptr) fail_memory();
        scratch_.capacity = kFirstEntries;
    }
    scratch_.entries[0] = {Entry::Kind::bottom, 0, 0, 0};
    stack_limit_ = scratch_.entries + scratch_.capacity;
    const Program& program = *request.program;
    const size_t tokens = size_t{program.token_count} + 1;
    if (scratch_.tokens.size() != tokens) scratch_.tokens.resize(tokens);
    if (has_set_tokens_) unset_tokens();
    if (scratch_.registers.size() != program.register_count)
        scratch_.registers.resize(program.register_count);
    if (scratch_.frames.size() != 1) scratch_.frames.resize(1);
    scratch_.frames.front() = {&program, 0, kNoWay, 0, 0};
    use_frame(0);
    used_before_ = used_ + static_cast<uint64_t>(int64_t{quantum_} - countdown_);
    furthest_ = request.start;
    reached_end_ = false;
    is_recording_ = allows_records_ && request.records_at_once;
    is_running_ = true;
}

void Backtracker::end() noexcept {
    is_running_ = false;
    if (is_recording_) {
        records_reached_end_ = records_reached_end_ || reached_end_;
        reached_end_ = records_reached_end_;
    }
    request_->steps_used = used_ + static_cast<uint64_t>(int64_t{quantum_} - countdown_);
    request_->reached_end = reached_end_;
    scratch_.trim();
}

void Backtracker::use_frame(uint32_t frame) {
    frame_ = frame;
    program_ = scratch_.frames[frame].program;
    registers_ = scratch_.registers.data() + scratch_.frames[frame].registers;
}

namespace {

// Throws when the search is to end.
void poll_interrupts(const SearchRequest& request) {
    if (request.cancel != nullptr && request.cancel->load(std::memory_order_relaxed))
        fail_interrupt();
    if (utTakeInterrupt()) fail_interrupt();
}

}  // namespace

int32_t Backtracker::poll(const char16_t* position, int32_t countdown) {
    used_ += static_cast<uint64_t>(int64_t{quantum_} - countdown);
    quantum_ = 0;
    countdown_ = 0;
    const size_t place = offset(position);
    if (used_ > limits_.steps) fail_step_limit(limits_.steps, place);
    poll_interrupts(*request_);
    furthest_ = std::max(furthest_, place);
    const uint64_t allowed = kStepsBeforeRecording + kStepsOfUnit * (furthest_ - request_->start);
    if (allows_records_ && used_ - used_before_ > allowed) is_recording_ = true;
    const uint64_t left = limits_.steps - used_;
    quantum_ = left < kStepsBetweenPolls ? static_cast<int32_t>(left) + 1 : kStepsBetweenPolls;
    countdown_ = quantum_;
    return quantum_;
}

Entry* Backtracker::grow(Entry* top, const char16_t* position) {
    const auto height = static_cast<size_t>(top - scratch_.entries);
    const auto most = [&] {
        const size_t records = records_->bytes();
        return limits_.memory > records ? (limits_.memory - records) / sizeof(Entry) : 0;
    };
    size_t capacity = std::min(scratch_.capacity * 2, most());
    if (capacity <= scratch_.capacity && records_->bytes() != 0) {
        records_->release();
        capacity = std::min(scratch_.capacity * 2, most());
    }
    if (capacity <= scratch_.capacity) fail_memory_limit(limits_.memory, offset(position));
    void* const entries = utRealloc(scratch_.entries, capacity * sizeof(Entry));
    if (entries == nullptr) fail_memory();
    scratch_.entries = static_cast<Entry*>(entries);
    scratch_.capacity = capacity;
    stack_limit_ = scratch_.entries + capacity;
    return scratch_.entries + height;
}

void Backtracker::unset_tokens() {
    for (TokenState& token : scratch_.tokens) token = kUnsetToken;
    has_set_tokens_ = false;
}

bool Backtracker::attempt(size_t start) {
    if (has_set_tokens_) unset_tokens();
    attempt_ = start;
    return run(text_ + start);
}

void Backtracker::take_extents(size_t* extents) const {
    extents[0] = match_start_;
    extents[1] = match_end_;
    for (size_t i = 1; i < scratch_.tokens.size(); ++i) {
        const TokenState& token = scratch_.tokens[i];
        extents[2 * i] = token.end == kUnset ? kUnset : token.start;
        extents[2 * i + 1] = token.end;
    }
}

Iteration* new_iteration(uint64_t steps_used) { return require(new Iteration(steps_used)); }

void delete_iteration(Iteration* iteration) noexcept { delete iteration; }

namespace {

SeekPoll poll_of(SearchRequest& request) {
    return {[](void* asked) { poll_interrupts(*static_cast<SearchRequest*>(asked)); }, &request};
}

// The caller's, the iteration's, or else `own`, which is made.
StartCursor& cursor_of(const SearchRequest& request, Iteration* iteration,
                       std::optional<StartCursor>& own) {
    if (request.table != nullptr)
        return cursor_in(*request.table, *request.starts, request.text, request.length);
    std::optional<StartCursor>& cursor = iteration != nullptr ? iteration->cursor : own;
    if (!cursor) cursor.emplace(*request.starts, request.text, request.length);
    return *cursor;
}

// Tries the starts.
bool find_match(Backtracker& backtracker, SearchRequest& request, Iteration* iteration,
                size_t* extents) {
    const auto found = [&](size_t start) {
        if (!backtracker.attempt(start)) return false;
        backtracker.take_extents(extents);
        return true;
    };
    const SeekPoll poll = poll_of(request);
    if (request.lines) {
        if (!search_lines(request, backtracker, poll)) return false;
        backtracker.take_extents(extents);
        return true;
    }
    if (request.anchored) return found(request.start);
    if (request.starts == nullptr || request.plain) {
        const char16_t* const end = request.text + request.length;
        for (size_t start = request.start;;) {
            if (found(start)) return true;
            if (start == request.length) return false;
            start = static_cast<size_t>(behind_character(request.text + start, end) - request.text);
        }
    }
    std::optional<StartCursor> own;
    StartCursor& cursor = cursor_of(request, iteration, own);
    for (size_t start = cursor.first(request.start, poll); start != kUnset;
         start = cursor.after_failure(start, poll)) {
        if (found(start)) return true;
    }
    backtracker.note_end();
    return false;
}

bool search_with(Backtracker& backtracker, SearchRequest& request, Iteration* iteration,
                 size_t* extents) {
    backtracker.begin(request);
    const struct Ended {
        Backtracker& backtracker;
        ~Ended() { backtracker.end(); }
    } ended{backtracker};
    return find_match(backtracker, request, iteration, extents);
}

// Whether the search for starts finds whole matches, so that nothing need be tried: none of them is
// empty or has tokens.
bool finds_whole_matches(const SearchRequest& request) {
    return request.starts != nullptr && request.starts->whole != StartSearch::Whole::unknown &&
           !request.anchored && !request.lines && !request.plain;
}

bool find_whole_match(SearchRequest& request, Iteration* iteration, size_t* extents) {
    request.steps_used = iteration != nullptr ? iteration->steps_before : 0;
    request.reached_end = false;
    std::optional<StartCursor> own;
    StartCursor& cursor = cursor_of(request, iteration, own);
    StartCursor::Match match{};
    const bool is_found = cursor.first_match(request.start, poll_of(request), match);
    const bool goes_on = request.starts->whole == StartSearch::Whole::run;
    request.reached_end = !is_found || (goes_on && match.end == request.length);
    if (!is_found) return false;
    extents[0] = match.start;
    extents[1] = match.end;
    return true;
}

}  // namespace

bool search(SearchRequest& request, size_t* extents) {
    if (request.start > request.length) return false;
    Iteration* const iteration = request.iteration;
    if (finds_whole_matches(request)) return find_whole_match(request, iteration, extents);
    if (iteration == nullptr || (iteration->backtracker && iteration->backtracker->is_running())) {
        const ScratchUse scratch;
        Backtracker backtracker(request, scratch.get(), nullptr);
        return search_with(backtracker, request, nullptr, extents);
    }
    if (!iteration->backtracker) {
        if (iteration->scratch == nullptr) iteration->scratch = acquire_scratch();
        iteration->backtracker.emplace(request, *iteration->scratch, &iteration->records);
        iteration->backtracker->add_steps(iteration->steps_before);
    }
    return search_with(*iteration->backtracker, request, iteration, extents);
}

}  // namespace qxut::regexp
