// matcher.cpp - one search: the starts, the budget, the answer.
//
// Entry: search, of the trees and results. Tested by tests/regexp/matcher_test.cpp and the
// comparisons with the reference matcher.
#include "regexp/matcher.h"

#include <algorithm>

#include <qxut/util/heap.h>
#include <qxut/util/interrupt.h>

#include "regexp/failure.h"
#include "regexp/limits.h"
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

Backtracker::Backtracker(SearchRequest& request, Scratch& scratch)
    : request_(request),
      scratch_(scratch),
      limits_(resolve_limits(request.limits, request.length, request.program->code.size())),
      text_(request.text),
      end_(request.text + request.length),
      program_(request.program),
      records_(request.iteration != nullptr ? &request.iteration->records : &scratch.records),
      is_plain_(request.plain),
      allows_records_(request.program->records_failures && !request.plain),
      furthest_(request.start) {
    if (request.iteration != nullptr) used_ = used_before_ = request.iteration->steps;
    if (scratch.entries == nullptr) {
        scratch.entries = static_cast<Entry*>(utMalloc(kFirstEntries * sizeof(Entry)));
        if (scratch.entries == nullptr) fail_memory();
        scratch.capacity = kFirstEntries;
    }
    scratch.entries[0] = {Entry::Kind::bottom, 0, 0, 0};
    stack_limit_ = scratch.entries + scratch.capacity;
    scratch.tokens.assign(size_t{program_->token_count} + 1, kUnsetToken);
    scratch.registers.resize(program_->register_count);
    scratch.frames.clear();
    scratch.frames.push_back({program_, 0, kNoWay, 0, 0});
    use_frame(0);
    is_recording_ = allows_records_ && request.records_at_once;
}

Backtracker::~Backtracker() {
    request_.steps_used = used_ + static_cast<uint64_t>(int64_t{quantum_} - countdown_);
    request_.reached_end = reached_end_;
    Iteration* const iteration = request_.iteration;
    if (iteration == nullptr) return;
    iteration->steps = request_.steps_used;
    if (!is_recording_) return;
    // What a recorded failure has spared may have been a look at the end.
    iteration->has_reached_end = iteration->has_reached_end || reached_end_;
    request_.reached_end = iteration->has_reached_end;
}

void Backtracker::use_frame(uint32_t frame) {
    frame_ = frame;
    program_ = scratch_.frames[frame].program;
    registers_ = scratch_.registers.data() + scratch_.frames[frame].registers;
}

int32_t Backtracker::poll(const char16_t* position, int32_t countdown) {
    used_ += static_cast<uint64_t>(int64_t{quantum_} - countdown);
    quantum_ = 0;
    countdown_ = 0;
    const size_t place = offset(position);
    if (used_ > limits_.steps) fail_step_limit(limits_.steps, place);
    if (request_.cancel != nullptr && request_.cancel->load(std::memory_order_relaxed))
        fail_interrupt();
    if (utTakeInterrupt()) fail_interrupt();
    furthest_ = std::max(furthest_, place);
    const uint64_t allowed = kStepsBeforeRecording + kStepsOfUnit * (furthest_ - request_.start);
    if (allows_records_ && used_ - used_before_ > allowed) is_recording_ = true;
    const uint64_t left = limits_.steps - used_;
    quantum_ = left < kStepsBetweenPolls ? static_cast<int32_t>(left) + 1 : kStepsBetweenPolls;
    countdown_ = quantum_;
    return quantum_;
}

void Backtracker::poll_seeking() const {
    if (request_.cancel != nullptr && request_.cancel->load(std::memory_order_relaxed))
        fail_interrupt();
    if (utTakeInterrupt()) fail_interrupt();
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

bool Backtracker::attempt(size_t start) {
    if (has_set_tokens_) {
        std::fill(scratch_.tokens.begin(), scratch_.tokens.end(), kUnsetToken);
        has_set_tokens_ = false;
    }
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

Iteration* new_iteration(uint64_t steps_used) {
    auto* const iteration = require(new Iteration);
    iteration->steps = steps_used;
    return iteration;
}

void delete_iteration(Iteration* iteration) noexcept { delete iteration; }

bool search(SearchRequest& request, size_t* extents) {
    const ScratchUse scratch;
    Backtracker backtracker(request, scratch.get());
    const auto found = [&](size_t start) {
        if (!backtracker.attempt(start)) return false;
        backtracker.take_extents(extents);
        return true;
    };
    if (request.start > request.length) return false;
    if (request.anchored) return found(request.start);
    if (request.starts == nullptr || request.plain) {
        const char16_t* const end = request.text + request.length;
        for (size_t start = request.start;;) {
            if (found(start)) return true;
            if (start == request.length) return false;
            start = static_cast<size_t>(behind_character(request.text + start, end) - request.text);
        }
    }
    StartCursor own(*request.starts, request.text, request.length);
    StartCursor& cursor = request.table == nullptr ? own
                                                   : cursor_in(*request.table, *request.starts,
                                                               request.text, request.length);
    const SeekPoll poll{[](void* seeking) { static_cast<Backtracker*>(seeking)->poll_seeking(); },
                        &backtracker};
    for (size_t start = cursor.first(request.start, poll); start != kUnset;
         start = cursor.after_failure(start, poll)) {
        if (found(start)) return true;
    }
    backtracker.note_end();
    return false;
}

}  // namespace qxut::regexp
