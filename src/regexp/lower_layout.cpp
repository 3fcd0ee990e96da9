// lower_layout.cpp - steps in pattern order, with the checks for empty iterations put in.
//
// Pattern order is the reverse postorder of a depth-first walk that takes a loop's exit before its
// body, a choice's second way before its first, and a look-around's body last: so every forward
// edge leads on, every body and branch stands together behind what it belongs to, and an edge that
// does not lead on is one back to its loop.
//
// A loop whose body can match nothing gets a step before its body and one behind it. Whether it
// can is found by a walk that steps over inner loops, innermost loops first, so that every step is
// looked at for one loop only.
//
// Entry: lower_layout. Tested by tests/regexp/program_test.cpp.
#include <algorithm>

#include "regexp/characters.h"
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

// The links of a step in the order in which the walk takes them.
uint32_t link_count(const Step& step) {
    return step.op == Op::choice && step.kind == Step::Kind::plain ? step.way_count : 3;
}
uint32_t link_of(const Lowering& lowering, const Step& step, uint32_t index) {
    if (step.kind == Step::Kind::loop) {
        if (index == 2) return kNoWay;
        return index == 0 ? lowering.loop_exit(step) : lowering.loop_body(step);
    }
    if (step.kind == Step::Kind::plain && step.op == Op::choice)
        return lowering.ways[step.ways + step.way_count - 1 - index];
    if (index == 0) return has_alt(step.op) ? step.alt : kNoWay;
    return index == 1 ? step.next : step.body;
}

class Layout {
  public:
    explicit Layout(Lowering& lowering)
        : lowering_(lowering), steps_(lowering.steps), program_(lowering.program) {}

    void run() {
        for (Step& step : steps_) {
            step.next = lowering_.behind_nothing(step.next);
            step.alt = lowering_.behind_nothing(step.alt);
            step.body = lowering_.behind_nothing(step.body);
        }
        for (uint32_t& way : lowering_.ways) way = lowering_.behind_nothing(way);
        lowering_.first = lowering_.behind_nothing(lowering_.first);
        order_ = order_steps(lowering_);
        find_empty_iterations();
        const size_t before = steps_.size();
        watch_iterations();
        if (steps_.size() != before) order_ = order_steps(lowering_);
        number_scopes();
        emit();
    }

  private:
    static bool is_repetition(const Step& step) {
        return step.kind == Step::Kind::loop ||
               (step.kind == Step::Kind::plain && step.op == Op::counter);
    }
    uint32_t body_of(const Step& step) const {
        return step.kind == Step::Kind::loop ? lowering_.loop_body(step) : step.next;
    }
    uint32_t exit_of(const Step& step) const {
        return step.kind == Step::Kind::loop ? lowering_.loop_exit(step) : step.alt;
    }
    void find_empty_iterations();
    bool can_be_empty(uint32_t repetition);
    void watch_iterations();
    void number_scopes();
    void emit();

    Lowering& lowering_;
    Working<Step>& steps_;
    Program& program_;
    Working<uint32_t> order_{lowering_.arena};
    // Of repetitions: an iteration may match nothing.
    Working<bool> is_nullable_{lowering_.arena};
    // The repetition for which a step was last looked at.
    Working<uint32_t> visited_for_{lowering_.arena};
    Working<uint32_t> walk_{lowering_.arena};
};

// Whether the repetition is reached from its body without a character; inner ones are known.
bool Layout::can_be_empty(uint32_t repetition) {
    walk_.clear();
    walk_.push_back(body_of(steps_[repetition]));
    while (!walk_.empty()) {
        const uint32_t number = walk_.back();
        walk_.pop_back();
        if (number == kNoWay) continue;
        if (number == repetition) return true;
        if (visited_for_[number] == repetition) continue;
        visited_for_[number] = repetition;
        const Step& step = steps_[number];
        if (is_repetition(step)) {
            const bool must_repeat = step.kind == Step::Kind::plain &&
                                     program_.counters[step.arg].kind == Counter::Kind::fixed;
            if (!must_repeat || is_nullable_[number]) walk_.push_back(exit_of(step));
            continue;
        }
        const bool consumes = is_single(step.op) || reads_back(step.op) || step.op == Op::string ||
                              step.op == Op::folded_string ||
                              (is_loop(step.op) && step.repeat.min != 0);
        if (consumes) continue;
        if (step.op == Op::choice) {
            for (uint32_t i = 0; i < step.way_count; ++i)
                walk_.push_back(lowering_.ways[step.ways + i]);
            continue;
        }
        walk_.push_back(step.next);
        if (has_alt(step.op)) walk_.push_back(step.alt);
    }
    return false;
}

void Layout::find_empty_iterations() {
    is_nullable_.assign(steps_.size(), false);
    visited_for_.assign(steps_.size(), kNoWay);
    for (size_t i = order_.size(); i-- != 0;) {
        const uint32_t number = order_[i];
        if (!is_repetition(steps_[number])) continue;
        is_nullable_[number] = can_be_empty(number);
        if (!is_nullable_[number]) lowering_.scopes[steps_[number].own].is_dropped = true;
    }
}

void Layout::watch_iterations() {
    if (std::find(is_nullable_.begin(), is_nullable_.end(), true) == is_nullable_.end()) return;
    Working<uint32_t> place(steps_.size(), kNoWay, lowering_.arena);
    for (size_t i = 0; i < order_.size(); ++i) place[order_[i]] = static_cast<uint32_t>(i);
    Working<uint32_t> end_of(steps_.size(), kNoWay, lowering_.arena);
    for (const uint32_t number : order_) {
        if (!is_repetition(steps_[number]) || !is_nullable_[number]) continue;
        const uint32_t reg = program_.register_count++;
        lowering_.scopes[steps_[number].own].arg = reg;
        Step start;
        start.op = Op::iteration_start;
        start.arg = reg;
        start.scope = steps_[number].own;
        start.next = body_of(steps_[number]);
        Step end;
        end.op = Op::iteration_end;
        end.arg = reg;
        end.scope = steps_[number].own;
        end.next = number;
        const uint32_t before = lowering_.add_step(start);
        end_of[number] = lowering_.add_step(end);
        Step& repetition = steps_[number];
        const bool is_alt = repetition.kind == Step::Kind::loop && repetition.is_lazy;
        (is_alt ? repetition.alt : repetition.next) = before;
    }
    // The links back now go over the end of the iteration.
    const auto turn = [&](uint32_t from, uint32_t& link) {
        if (link == kNoWay || link >= end_of.size() || end_of[link] == kNoWay) return;
        if (place[link] <= from) link = end_of[link];
    };
    for (size_t i = 0; i < order_.size(); ++i) {
        const auto from = static_cast<uint32_t>(i);
        Step& step = steps_[order_[i]];
        turn(from, step.next);
        turn(from, step.alt);
        if (step.op != Op::choice) continue;
        for (uint32_t k = 0; k < step.way_count; ++k) turn(from, lowering_.ways[step.ways + k]);
    }
    // The exit of an inner repetition may be the way back of an outer one.
    for (const uint32_t number : order_) {
        if (end_of[number] != kNoWay) steps_[end_of[number]].alt = exit_of(steps_[number]);
    }
    // A body that is nothing but the way back.
    for (size_t i = end_of.size(); i < steps_.size(); ++i) {
        Step& step = steps_[i];
        if (step.op == Op::iteration_start && step.next < end_of.size() &&
            end_of[step.next] != kNoWay && steps_[i + 1].next == step.next) {
            step.next = end_of[step.next];
        }
    }
}

// Parents are made before what they enclose.
void Layout::number_scopes() {
    program_.scopes.reserve(lowering_.scopes.size());
    for (LoweredScope& scope : lowering_.scopes) {
        const uint32_t parent =
            scope.parent == kNoWay ? kNoWay : lowering_.scopes[scope.parent].number;
        if (scope.is_dropped) {
            scope.number = parent;
            continue;
        }
        scope.number = static_cast<uint32_t>(program_.scopes.size());
        Scope made = scope;
        made.parent = parent;
        program_.scopes.push_back(made);
    }
}

void Layout::emit() {
    Working<uint32_t> place(steps_.size(), kNoWay, lowering_.arena);
    for (size_t i = 0; i < order_.size(); ++i) place[order_[i]] = static_cast<uint32_t>(i);
    const auto placed = [&](uint32_t step) { return step == kNoWay ? kNoWay : place[step]; };
    bool needs_failure = false;
    program_.code.reserve(order_.size() + 1);
    program_.scope_of.reserve(order_.size());
    // A choice's ways and the first of its rows.
    constexpr size_t kUsualRows = 3;
    if (!lowering_.ways.empty()) program_.targets.reserve((kUsualRows + 1) * lowering_.ways.size());
    for (const uint32_t number : order_) {
        const Step& step = steps_[number];
        Instruction made{step.op, placed(step.next), placed(step.alt), step.arg};
        switch (step.op) {
            case Op::either:
            case Op::back_either:
                made.alt = step.repeat.other;
                break;
            case Op::loop_greedy:
            case Op::loop_lazy:
            case Op::loop_possessive:
                made.arg = static_cast<uint32_t>(program_.loops.size());
                reserve_first(program_.loops, 2);
                program_.loops.push_back(step.repeat);
                program_.loops.back().written = step.op;
                break;
            case Op::choice: {
                Choice& choice = program_.choices.emplace_back();
                choice.ways = static_cast<uint32_t>(program_.targets.size());
                choice.first = choice.ways;
                for (uint32_t i = 0; i < step.way_count; ++i) {
                    const uint32_t way = placed(lowering_.ways[step.ways + i]);
                    if (way != kNoWay) program_.targets.push_back(way);
                }
                choice.way_count = static_cast<uint32_t>(program_.targets.size()) - choice.ways;
                program_.targets.push_back(kNoWay);
                made.arg = static_cast<uint32_t>(program_.choices.size() - 1);
                break;
            }
            case Op::counter:
                program_.counters[step.arg].reg = program_.register_count++;
                break;
            case Op::atomic:
            case Op::look_ahead:
            case Op::look_behind:
                program_.regions[step.arg].reg = program_.register_count;
                program_.regions[step.arg].looks_behind = step.op == Op::look_behind;
                program_.register_count += step.op == Op::look_behind ? 2 : 1;
                break;
            default:
                break;
        }
        const bool must_go_on = step.op != Op::choice && step.op != Op::region_end &&
                                step.op != Op::match && !has_alt(step.op);
        if (made.next == kNoWay && must_go_on) made.next = static_cast<uint32_t>(order_.size());
        needs_failure = needs_failure || made.next == order_.size();
        program_.code.push_back(made);
        program_.scope_of.push_back(step.scope == kNoWay ? kNoWay
                                                         : lowering_.scopes[step.scope].number);
    }
    if (needs_failure) {
        program_.code.push_back({Op::fail, kNoWay, kNoWay, 0});
        program_.scope_of.push_back(kNoWay);
    }
    program_.first = placed(lowering_.first);
}

}  // namespace

Working<uint32_t> order_steps(Lowering& lowering) {
    struct Frame {
        uint32_t step;
        uint32_t taken;
    };
    Working<uint32_t> order(lowering.arena);
    Working<bool> is_seen(lowering.steps.size(), false, lowering.arena);
    order.reserve(lowering.steps.size());
    Working<Frame> walk(lowering.arena);
    walk.reserve(16);
    const auto enter = [&](uint32_t step) {
        is_seen[step] = true;
        walk.push_back({step, 0});
    };
    if (lowering.first != kNoWay) enter(lowering.first);
    while (!walk.empty()) {
        Frame& top = walk.back();
        const Step& step = lowering.steps[top.step];
        if (top.taken == link_count(step)) {
            order.push_back(top.step);
            walk.pop_back();
            continue;
        }
        const uint32_t link = link_of(lowering, step, top.taken++);
        if (link != kNoWay && !is_seen[link]) enter(link);
    }
    for (size_t i = 0, j = order.size(); i + 1 < j; ++i) std::swap(order[i], order[--j]);
    return order;
}

void lower_layout(Lowering& lowering) { Layout(lowering).run(); }

}  // namespace qxut::regexp
