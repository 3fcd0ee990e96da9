// matcher_records.cpp - which failures are the same.
//
// What follows a failure at an instruction depends on the position and on what the rest of the
// match still asks of the past: the counts of the counters that are open, whether the open
// iterations that may be empty have advanced, which of the tokens that conditions test are set.
// Within a region only the region's end is at stake, so that only what is open inside counts, and
// for a look-behind the place where it has to end. A point packs these into one number, each in as
// many values as it can have; a state that does not fit is not recorded.
#include "regexp/matcher_run.h"

namespace qxut::regexp {
namespace {

// Deeper inside nested repetitions nothing is recorded: a step must not cost what the pattern
// likes.
constexpr uint32_t kMostScopes = 64;

}  // namespace

bool Backtracker::point_of(uint32_t pc, size_t position, Records::Point& point) const {
    const Program& program = *program_;
    point = {pc, 0};
    const auto add = [&point](uint64_t value, uint64_t count) {
        if (point.state > (UINT64_MAX - value) / count) return false;
        point.state = point.state * count + value;
        return true;
    };
    for (const uint32_t token : program.tested_tokens) {
        const bool is_set = token < scratch_.tokens.size() && scratch_.tokens[token].end != kUnset;
        if (!add(is_set ? 1 : 0, 2)) return false;
    }
    uint32_t depth = 0;
    for (uint32_t at = program.scope_of[pc]; at != kNoWay; at = program.scopes[at].parent) {
        if (++depth > kMostScopes) return false;
        const Scope& scope = program.scopes[at];
        if (scope.kind == Scope::Kind::counter) {
            const Counter& counter = program.counters[scope.arg];
            if (!add(registers_[counter.reg], uint64_t{counter.count} + 1)) return false;
        } else if (scope.kind == Scope::Kind::iteration) {
            if (!add(position != registers_[scope.arg] ? 1 : 0, 2)) return false;
        } else {
            const Region& region = program.regions[scope.arg];
            if (!region.looks_behind || region.is_read_backwards) return true;
            const size_t end = scratch_.entries[registers_[region.reg]].position;
            return add(end, uint64_t{request_->length} + 1);
        }
    }
    return true;
}

bool Backtracker::has_failed(uint32_t pc, const char16_t* p) {
    Records::Point point{};
    return point_of(pc, offset(p), point) && records_->has(point, offset(p));
}

// From `first` to `last`, inclusive. Only at the first place of a run can an iteration that the run
// stands in not have advanced.
void Backtracker::record(uint32_t pc, size_t first, size_t last) {
    const size_t stack = scratch_.capacity * sizeof(Entry);
    const size_t room = limits_.memory > stack ? limits_.memory - stack : 0;
    Records::Point point{};
    Records::Point rest{};
    if (!point_of(pc, first, point)) return;
    if (first == last) {
        records_->add(point, first, last, attempt_, room);
        return;
    }
    if (!point_of(pc, last, rest)) return;
    records_->add(point, first, rest.state == point.state ? last : first, attempt_, room);
    if (rest.state != point.state) records_->add(rest, first + 1, last, attempt_, room);
}

}  // namespace qxut::regexp
