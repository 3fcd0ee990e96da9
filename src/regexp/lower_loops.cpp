// lower_loops.cpp - one step in the place of several, where the answer is the same.
//
//     split, counter or option around one character    a single-character loop
//     the same character before such a loop            a higher minimum
//     two ways of one character each to one place      a set
//     an atomic region around a loop or a character    a possessive loop, the character
//     a chain of splits                                a choice
//
// Steps are looked at in the reverse of pattern order, so that what follows a step is final.
// Entry: lower_loops. Tested by tests/regexp/program_test.cpp, and by every comparison of matches.
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

class LoopLowering {
  public:
    explicit LoopLowering(Lowering& lowering) : lowering_(lowering), steps_(lowering.steps) {}

    void run() {
        const Working<uint32_t> order = order_steps(lowering_);
        for (size_t i = order.size(); i-- != 0;) visit(order[i]);
        gather_choices(order);
        lowering_.first = lowering_.behind_nothing(lowering_.first);
    }

  private:
    void visit(uint32_t number);
    bool is_single_at(uint32_t number) const {
        return number != kNoWay && steps_[number].kind == Step::Kind::plain &&
               is_single(steps_[number].op);
    }
    // The single character that is all of a repetition's body.
    const Step* body_of(uint32_t body, uint32_t repetition) const {
        if (!is_single_at(body)) return nullptr;
        const Step& step = steps_[body];
        return lowering_.behind_nothing(step.next) == repetition ? &step : nullptr;
    }
    void make_loop(Step& step, const Step& body, uint32_t min, uint32_t max, bool is_lazy,
                   uint32_t exit);
    void lower_loop(uint32_t number);
    void lower_counter(uint32_t number);
    void lower_choice(uint32_t number);
    void lower_atomic(Step& step);
    void join(Step& step);
    bool items(const Step& step, SetItems& list) const;
    void gather_choices(const Working<uint32_t>& order);

    Lowering& lowering_;
    Working<Step>& steps_;
};

void LoopLowering::make_loop(Step& step, const Step& body, uint32_t min, uint32_t max, bool is_lazy,
                             uint32_t exit) {
    Step made;
    made.op = is_lazy ? Op::loop_lazy : Op::loop_greedy;
    made.next = exit;
    made.scope = step.scope;
    made.repeat = {body.op, body.arg, body.repeat.other, min, max};
    step = made;
}

void LoopLowering::lower_loop(uint32_t number) {
    Step& step = steps_[number];
    const uint32_t exit = lowering_.loop_exit(step);
    if (const Step* const body = body_of(lowering_.loop_body(step), number)) {
        make_loop(step, *body, 0, kNoLimit, step.is_lazy, exit);
    } else if (lowering_.loop_body(step) == number) {
        step.kind = Step::Kind::nothing;
        step.next = exit;
    }
}

void LoopLowering::lower_counter(uint32_t number) {
    Step& step = steps_[number];
    const Counter counter = lowering_.program.counters[step.arg];
    const Step* const body = body_of(step.next, number);
    if (body == nullptr) return;
    const uint32_t min = counter.kind == Counter::Kind::fixed ? counter.count : 0;
    make_loop(step, *body, min, counter.count, counter.kind == Counter::Kind::lazy, step.alt);
    // The counter's own scope holds no more.
    step.scope = lowering_.scopes[step.scope].parent;
}

// The items of a set or character that ignores nothing that its set would not.
bool LoopLowering::items(const Step& step, SetItems& list) const {
    if (step.op == Op::character) {
        list.push_back(range_item(step.arg, step.arg, false));
        return true;
    }
    if (step.op == Op::either) {
        list.push_back(range_item(step.arg, step.arg, false));
        list.push_back(range_item(step.repeat.other, step.repeat.other, false));
        return true;
    }
    if (step.op != Op::set) return false;
    const SetItems& made_of = *lowering_.items_of[step.arg];
    if (!made_of.empty() && made_of.front() == kNegatedItems) return false;
    list.insert(list.end(), made_of.begin(), made_of.end());
    return true;
}

// A choice between two single characters, and an optional one.
void LoopLowering::lower_choice(uint32_t number) {
    Step& step = steps_[number];
    if (const Step* const body = body_of(step.next, step.alt);
        body != nullptr && step.alt != kNoWay) {
        make_loop(step, *body, 0, 1, false, step.alt);
        return;
    }
    if (const Step* const body = body_of(step.alt, step.next);
        body != nullptr && step.next != kNoWay) {
        make_loop(step, *body, 0, 1, true, step.next);
        return;
    }
    constexpr size_t kMostItems = 64;  // a long alternation must not take quadratic time
    if (!is_single_at(step.next) || !is_single_at(step.alt)) return;
    const uint32_t target = lowering_.behind_nothing(steps_[step.next].next);
    if (target != lowering_.behind_nothing(steps_[step.alt].next)) return;
    SetItems united(lowering_.arena);
    if (!items(steps_[step.next], united) || !items(steps_[step.alt], united)) return;
    if (united.size() > kMostItems) return;
    Step made;
    made.op = Op::set;
    made.next = target;
    made.scope = step.scope;
    made.arg = lowering_.set_of(united);
    step = made;
}

// An atomic region of one step that leaves nothing to backtracking, or can be made so.
void LoopLowering::lower_atomic(Step& step) {
    if (step.next == kNoWay) return;
    const Step& body = steps_[step.next];
    if (body.kind != Step::Kind::plain) return;
    if (body.op > Op::loop_possessive || body.next == kNoWay) return;
    const Step& end = steps_[body.next];
    if (end.op != Op::region_end || end.arg != step.arg) return;
    Step made = body;
    if (is_loop(made.op)) {
        if (made.op == Op::loop_lazy) made.repeat.max = made.repeat.min;
        made.op = Op::loop_possessive;
    }
    made.scope = step.scope;
    made.next = end.next;
    step = made;
}

// A character, or a loop of fixed length, before a loop of the same.
void LoopLowering::join(Step& step) {
    if (step.next == kNoWay) return;
    const Step& following = steps_[step.next];
    if (following.kind != Step::Kind::plain) return;
    if (is_single(following.op)) {
        // Characters are better left to the literals that the search for starts looks for.
        if (step.op != Op::set || following.op != Op::set || step.arg != following.arg) return;
        step.repeat = {Op::set, step.arg, 0, 2, 2};
        step.op = Op::loop_greedy;
        step.next = following.next;
        return;
    }
    if (!is_loop(following.op)) return;
    uint32_t count = 1;
    Loop own{step.op, step.arg, step.repeat.other, 1, 1};
    if (is_loop(step.op)) {
        own = step.repeat;
        if (own.min != own.max) return;
        count = own.min;
    }
    Loop joined = following.repeat;
    if (own.what != joined.what || own.arg != joined.arg || own.other != joined.other) return;
    if (count > kNoLimit - 1 - joined.min) return;
    if (joined.max != kNoLimit && count > kNoLimit - 1 - joined.max) return;
    joined.min += count;
    if (joined.max != kNoLimit) joined.max += count;
    const uint32_t scope = step.scope;
    step = following;
    step.scope = scope;
    step.repeat = joined;
}

// A chain of splits, each reached over the second way of the one before alone, is one choice.
void LoopLowering::gather_choices(const Working<uint32_t>& order) {
    const auto is_split = [&](uint32_t number) {
        return number != kNoWay && steps_[number].kind == Step::Kind::plain &&
               steps_[number].op == Op::split;
    };
    Working<uint8_t> ways_in(steps_.size(), 0, lowering_.arena);  // 2: more than one
    const auto count = [&](uint32_t link) {
        link = lowering_.behind_nothing(link);
        if (link != kNoWay && ways_in[link] < 2) ++ways_in[link];
    };
    for (const uint32_t number : order) {
        count(steps_[number].next);
        if (has_alt(steps_[number].op)) count(steps_[number].alt);
        count(steps_[number].body);
    }
    for (const uint32_t number : order) {
        if (!is_split(number)) continue;
        const auto first = static_cast<uint32_t>(lowering_.ways.size());
        uint32_t last = number;
        for (;;) {
            lowering_.ways.push_back(lowering_.behind_nothing(steps_[last].next));
            const uint32_t alt = lowering_.behind_nothing(steps_[last].alt);
            if (!is_split(alt) || ways_in[alt] != 1) {
                lowering_.ways.push_back(alt);
                break;
            }
            last = alt;
            steps_[last].kind = Step::Kind::nothing;  // no step leads to it any more
        }
        Step& step = steps_[number];
        step.op = Op::choice;
        step.ways = first;
        step.way_count = static_cast<uint32_t>(lowering_.ways.size()) - first;
        step.next = kNoWay;
        step.alt = kNoWay;
    }
}

void LoopLowering::visit(uint32_t number) {
    Step& step = steps_[number];
    step.next = lowering_.behind_nothing(step.next);
    step.alt = lowering_.behind_nothing(step.alt);
    step.body = lowering_.behind_nothing(step.body);
    if (step.kind == Step::Kind::loop) {
        lower_loop(number);
        return;
    }
    if (step.kind == Step::Kind::nothing) return;
    if (step.op == Op::counter) {
        lower_counter(number);
    } else if (step.op == Op::counter_start) {
        if (step.next == kNoWay || steps_[step.next].op != Op::counter)
            step.kind = Step::Kind::nothing;
    } else if (step.op == Op::split) {
        lower_choice(number);
    } else if (step.op == Op::atomic) {
        lower_atomic(step);
    }
    if (step.kind == Step::Kind::plain && (is_single(step.op) || is_loop(step.op))) join(step);
}

}  // namespace

void lower_loops(Lowering& lowering) { LoopLowering(lowering).run(); }

}  // namespace qxut::regexp
