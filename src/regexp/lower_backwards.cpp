// lower_backwards.cpp - bodies of look-behinds that are read from right to left.
//
// A body whose match may have many lengths would have to be tried from each place that it may begin
// at. Where only its matching counts, and not which of its ways it takes, it is turned round
// instead: each step leads to those that led to it, what consumes does so backwards, and the body
// begins where it ended. A loop that was entered from outside is left there. That it takes few
// iterations first keeps the stack low; any order gives the same answer.
//
// What decides by the order of ways (atomic and possessive parts), by what came before (conditions,
// references) or by the host stays as it is.
//
// Entry: lower_backwards. Tested by tests/regexp/matcher_test.cpp and the comparison with the
// reference matcher.
#include <algorithm>

#include "regexp/characters.h"
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

struct Incoming {
    uint32_t to;
    uint32_t from;  // kNoWay: where the body begins
    bool is_alt;
};

class BackwardBody {
  public:
    BackwardBody(Lowering& lowering, const Working<uint32_t>& place)
        : lowering_(lowering), steps_(lowering.steps), place_(place) {}

    void turn(uint32_t look);

  private:
    bool collect(uint32_t look);
    bool is_pure(const Step& step) const;
    uint32_t into(uint32_t step);
    uint32_t through(const Incoming& link);
    uint32_t choice_of(const Vector<uint32_t>& ways, uint32_t scope);
    void build(uint32_t step);
    uint32_t turned(uint32_t step);
    uint32_t turned_string(const Step& step, uint32_t next);
    Step character_of(const FoldedUnit& unit);
    bool is_back(const Incoming& link) const {
        return link.from != kNoWay && place_[link.from] >= place_[link.to];
    }

    Lowering& lowering_;
    Working<Step>& steps_;
    const Working<uint32_t>& place_;  // in pattern order, of the steps before any is turned
    uint32_t end_ = kNoWay;           // where the body ended
    uint32_t turned_end_ = kNoWay;    // and where it does so now
    Vector<uint32_t> body_;
    Vector<Incoming> incoming_;  // by what they lead to
    std::map<uint32_t, uint32_t, std::less<>, Allocator<std::pair<const uint32_t, uint32_t>>> into_;
    std::map<uint32_t, uint32_t, std::less<>, Allocator<std::pair<const uint32_t, uint32_t>>>
        turned_;
    Vector<uint32_t> pending_;  // steps whose ways in are still to be made
};

bool BackwardBody::is_pure(const Step& step) const {
    if (step.kind != Step::Kind::plain) return true;
    if (is_single(step.op) || step.op == Op::string || step.op == Op::folded_string) return true;
    switch (step.op) {
        case Op::start_text:
        case Op::end_text:
        case Op::start_line:
        case Op::end_line:
        case Op::start_word:
        case Op::end_word:
        case Op::split:
        case Op::counter_start:
        case Op::counter:
            return true;
        case Op::look_ahead:
        case Op::look_behind:
            return step.next == kNoWay || step.alt == kNoWay;  // no condition
        default:
            return false;
    }
}

// Finds the steps of the body and the links between them; false when one cannot be turned.
bool BackwardBody::collect(uint32_t look) {
    body_.clear();
    incoming_.clear();
    into_.clear();
    turned_.clear();
    end_ = kNoWay;
    turned_end_ = kNoWay;
    std::map<uint32_t, bool, std::less<>, Allocator<std::pair<const uint32_t, bool>>> is_seen;
    const auto follow = [&](uint32_t from, uint32_t to, bool is_alt) {
        if (to == kNoWay) return;
        incoming_.push_back({to, from, is_alt});
        if (is_seen.emplace(to, true).second) body_.push_back(to);
    };
    follow(kNoWay, steps_[look].body, false);
    for (size_t i = 0; i < body_.size(); ++i) {
        const uint32_t number = body_[i];
        const Step& step = steps_[number];
        if (step.kind == Step::Kind::plain && step.op == Op::region_end) {
            if (step.arg != steps_[look].arg) return false;
            end_ = number;
            continue;
        }
        if (!is_pure(step)) return false;
        follow(number, step.next, false);
        const bool has_second =
            step.kind == Step::Kind::loop || (step.kind == Step::Kind::plain && has_alt(step.op));
        if (has_second) follow(number, step.alt, true);
    }
    std::sort(incoming_.begin(), incoming_.end(), [](const Incoming& a, const Incoming& b) {
        return a.to != b.to ? a.to < b.to : a.from < b.from;
    });
    return end_ != kNoWay;
}

// What is tried when the way back has come to in front of a step.
uint32_t BackwardBody::into(uint32_t step) {
    const auto known = into_.find(step);
    if (known != into_.end()) return known->second;
    Step made;
    made.scope = steps_[step].scope;
    made.kind = Step::Kind::nothing;
    const uint32_t number = lowering_.add_step(made);
    into_.emplace(step, number);
    pending_.push_back(step);
    return number;
}

// Over a link, to what led to it.
uint32_t BackwardBody::through(const Incoming& link) {
    if (link.from == kNoWay) return turned_end_;
    const Step& from = steps_[link.from];
    if (from.kind != Step::Kind::plain) return into(link.from);
    if (from.op == Op::split || from.op == Op::counter_start) return into(link.from);
    if (from.op == Op::counter) {
        const uint32_t counter = into(link.from);
        if (!link.is_alt) return counter;
        Step start;
        start.op = Op::counter_start;
        start.scope = lowering_.scopes[steps_[link.from].scope].parent;
        start.next = counter;
        return lowering_.add_step(start);
    }
    return turned(link.from);
}

uint32_t BackwardBody::choice_of(const Vector<uint32_t>& ways, uint32_t scope) {
    if (ways.empty()) return kNoWay;
    uint32_t last = ways.back();
    for (size_t i = ways.size() - 1; i-- != 0;) {
        Step split;
        split.op = Op::split;
        split.scope = scope;
        split.next = ways[i];
        split.alt = last;
        last = lowering_.add_step(split);
    }
    return last;
}

// The ways that lead into a step, turned round.
void BackwardBody::build(uint32_t step) {
    const auto first =
        std::lower_bound(incoming_.begin(), incoming_.end(), step,
                         [](const Incoming& link, uint32_t to) { return link.to < to; });
    const bool repeats = steps_[step].kind == Step::Kind::loop ||
                         (steps_[step].kind == Step::Kind::plain && steps_[step].op == Op::counter);
    Vector<uint32_t> before;  // the repetition, or of any other step
    Vector<uint32_t> inside;  // of a repetition, back from its body
    for (auto link = first; link != incoming_.end() && link->to == step; ++link) {
        const uint32_t way = through(*link);
        (repeats && is_back(*link) ? inside : before).push_back(way);
    }
    const uint32_t exit = choice_of(before, steps_[step].scope);
    const uint32_t body = repeats ? choice_of(inside, steps_[step].own) : kNoWay;
    const uint32_t number = into_.find(step)->second;
    if (!repeats) {
        steps_[number].next = exit;
        return;
    }
    Step made = steps_[step];
    if (made.kind == Step::Kind::loop) {
        made.is_lazy = true;
        made.next = exit;
        made.alt = body;
        if (body == kNoWay) made.kind = Step::Kind::nothing;
    } else {
        Counter& counter = lowering_.program.counters[made.arg];
        if (counter.kind == Counter::Kind::greedy) counter.kind = Counter::Kind::lazy;
        made.next = body;
        made.alt = exit;
        // Its start stands outside.
    }
    steps_[number] = made;
}

Step BackwardBody::character_of(const FoldedUnit& unit) {
    Step step;
    step.op = Op::back_character;
    step.arg = unit.units[0];
    if (unit.units[1] == unit.units[0]) return step;
    if (unit.units[2] == unit.units[1]) {
        step.op = Op::back_either;
        step.repeat.other = unit.units[1];
        return step;
    }
    SetItems items(lowering_.arena);
    for (const char16_t member : unit.units) items.push_back(range_item(member, member, false));
    step.op = Op::back_set;
    step.arg = lowering_.set_of(items);
    return step;
}

uint32_t BackwardBody::turned_string(const Step& step, uint32_t next) {
    const Program& program = lowering_.program;
    const bool is_folded = step.op == Op::folded_string;
    const Run run = (is_folded ? program.folded_strings : program.strings)[step.arg];
    const uint32_t scope = step.scope;
    uint32_t last = next;
    for (uint32_t i = 0; i < run.length; ++i) {
        FoldedUnit unit;
        if (is_folded) {
            unit = program.folded_units[run.first + i];
        } else {
            for (char16_t& member : unit.units) member = program.units[run.first + i];
        }
        Step made;
        if (is_high_surrogate(unit.units[0])) {  // strings hold whole pairs only
            const char16_t low = is_folded ? program.folded_units[run.first + i + 1].units[0]
                                           : program.units[run.first + i + 1];
            made.op = Op::back_character;
            made.arg = pair_character(unit.units[0], low);
            ++i;
        } else {
            made = character_of(unit);
        }
        made.scope = scope;
        made.next = last;
        last = lowering_.add_step(made);
    }
    return last;
}

// A step that tests or consumes, followed by what led to it.
uint32_t BackwardBody::turned(uint32_t step) {
    const auto known = turned_.find(step);
    if (known != turned_.end()) return known->second;
    const uint32_t before = into(step);
    Step made = steps_[step];
    uint32_t number = kNoWay;
    if (made.op == Op::string || made.op == Op::folded_string) {
        number = turned_string(made, before);
    } else {
        switch (made.op) {
            case Op::character:
                made.op = Op::back_character;
                break;
            case Op::either:
                made.op = Op::back_either;
                break;
            case Op::any:
                made.op = Op::back_any;
                break;
            case Op::line:
                made.op = Op::back_line;
                break;
            case Op::set:
                made.op = Op::back_set;
                break;
            default:
                break;
        }
        // A negative look-around goes on where it fails.
        (has_alt(made.op) && made.next == kNoWay ? made.alt : made.next) = before;
        number = lowering_.add_step(made);
    }
    turned_.emplace(step, number);
    return number;
}

void BackwardBody::turn(uint32_t look) {
    if (steps_[look].body == kNoWay || !collect(look)) return;
    Step end = steps_[end_];
    turned_end_ = lowering_.add_step(end);
    const uint32_t begin = into(end_);
    while (!pending_.empty()) {
        const uint32_t step = pending_.back();
        pending_.pop_back();
        build(step);
    }
    steps_[look].body = begin;
    lowering_.program.regions[steps_[look].arg].is_read_backwards = true;
}

}  // namespace

void lower_backwards(Lowering& lowering, const Vector<bool>& regions) {
    const Working<uint32_t> order = order_steps(lowering);
    Working<uint32_t> place(lowering.steps.size(), kNoWay, lowering.arena);
    for (size_t i = 0; i < order.size(); ++i) place[order[i]] = static_cast<uint32_t>(i);
    BackwardBody body(lowering, place);
    // Inner ones first: what is around them takes them over.
    for (size_t i = order.size(); i-- != 0;) {
        const Step& step = lowering.steps[order[i]];
        if (step.kind == Step::Kind::plain && step.op == Op::look_behind && regions[step.arg])
            body.turn(order[i]);
    }
}

}  // namespace qxut::regexp
