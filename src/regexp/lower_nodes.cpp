// lower_nodes.cpp - from nodes to steps.
//
// A list holds the links that are still to be followed, each with the scope that it leads into.
// What encloses a node is found on the way: a loop's or counter's body is entered over one of its
// links, a body over its own, a possessive region over a link with a mark. Marks become steps
// between the two ends of their link; links from one region to one node share them.
//
// Entry: lower_nodes. Tested by tests/regexp/program_test.cpp.
#include <algorithm>
#include <optional>

#include <qxut/util/interrupt.h>

#include "regexp/characters.h"
#include "regexp/failure.h"
#include "regexp/folding.h"
#include "regexp/lowering.h"
#include "regexp/token_names.h"

namespace qxut::regexp {
namespace {

// Which link of a step.
enum class Way : uint8_t { next, alt, body };

struct PendingLink {
    uint32_t step;
    Way way;
    uint32_t scope;  // behind the link's marks
    const RE_Link* link;
};

// The marks of a link that are still to be made, by the link's end and the scope before them.
struct MarkKey {
    uint32_t node;
    uint32_t leaves;
    uint32_t enters;
    uint32_t scope;
    auto operator<=>(const MarkKey&) const = default;
};
struct PendingMark {
    uint32_t step;  // leads to the rest
    MarkKey rest;
    const RE_Node* node;
};

class NodeLowering {
  public:
    explicit NodeLowering(Lowering& lowering)
        : lowering_(lowering),
          program_(lowering.program),
          step_of_(lowering.pattern.nodes.size(), kNoWay, lowering.arena) {}

    void run();

  private:
    uint32_t lower(const RE_Node& node, uint32_t scope);
    void follow(uint32_t step, Way way, const RE_Link& link, uint32_t scope);
    uint32_t resolve(const RE_Link& link, uint32_t scope);
    uint32_t mark_step(const MarkKey& key, const RE_Node& node);
    uint32_t region_around(uint32_t scope) const;
    void end_region(Step& step, uint32_t scope);
    uint32_t add_region();
    uint32_t add_reference(size_t token, const char16_t* name);
    uint32_t add_text(const RE_Text& text);

    Step character(char32_t c, bool ignores_case);
    const RE_Link* lower_set(const RE_Node& node, Step& step);
    void lower_string(const RE_String& node, uint32_t step, uint32_t scope);
    void lower_split(const RE_Split& node, uint32_t step, uint32_t scope);
    void lower_counter(const RE_State_Counter& node, uint32_t step, uint32_t scope);
    void lower_lookaround(const RE_Lookaround_Assertion& node, uint32_t step, uint32_t scope);
    void lower_token(const RE_Token& node, Step& step, uint32_t scope);

    Lowering& lowering_;
    Program& program_;
    Working<uint32_t> step_of_;        // of each node
    SetItems items_{lowering_.arena};  // of the set in hand
    Working<PendingLink> pending_{lowering_.arena};
    Working<PendingMark> pending_marks_{lowering_.arena};
    WorkingMap<MarkKey, uint32_t> marks_{lowering_.arena};
    // The references made so far, by number or by the first token of their name.
    struct Meaning {
        bool is_name;
        uint32_t first;
        auto operator<=>(const Meaning&) const = default;
    };
    WorkingMap<Meaning, uint32_t> references_{lowering_.arena};
    std::optional<TokenNames> names_;  // their tokens stand in the program from named_from_ on
    uint32_t named_from_ = 0;
};

uint32_t NodeLowering::region_around(uint32_t scope) const {
    while (scope != kNoWay && lowering_.scopes[scope].kind != Scope::Kind::region)
        scope = lowering_.scopes[scope].parent;
    return scope;
}

uint32_t NodeLowering::add_region() {
    program_.regions.push_back({});
    return static_cast<uint32_t>(program_.regions.size() - 1);
}

// The end of the innermost region around `scope`.
void NodeLowering::end_region(Step& step, uint32_t scope) {
    step.op = Op::region_end;
    step.scope = scope;
    step.arg = lowering_.scopes[region_around(scope)].arg;
}

// The step of one mark, which leads to those of the others. Regions are left first. Whatever links
// enter a region in front of a node enter the same one.
uint32_t NodeLowering::mark_step(const MarkKey& key, const RE_Node& node) {
    const auto found = marks_.find(key);
    if (found != marks_.end()) return found->second;
    Step step;
    if (key.leaves != 0) {
        end_region(step, key.scope);
    } else {
        step.op = Op::atomic;
        step.scope = key.scope;
        step.arg = add_region();
    }
    const uint32_t number = lowering_.add_step(step);
    marks_.emplace(key, number);
    MarkKey rest = key;
    if (key.leaves != 0) {
        --rest.leaves;
        rest.scope = lowering_.scopes[region_around(key.scope)].parent;
    } else {
        --rest.enters;
        rest.scope = lowering_.add_scope(Scope::Kind::region, key.scope, step.arg);
    }
    pending_marks_.push_back({number, rest, &node});
    return number;
}

// Where a link with its marks leads.
uint32_t NodeLowering::resolve(const RE_Link& link, uint32_t scope) {
    if (link.node == nullptr) return kNoWay;
    const auto target = [&](const MarkKey& key, const RE_Node& node) {
        return key.leaves == 0 && key.enters == 0 ? lower(node, key.scope) : mark_step(key, node);
    };
    const uint32_t first = target({link.node->index, link.leaves, link.enters, scope}, *link.node);
    while (!pending_marks_.empty()) {
        const PendingMark mark = pending_marks_.back();
        pending_marks_.pop_back();
        const uint32_t next = target(mark.rest, *mark.node);
        lowering_.steps[mark.step].next = next;
    }
    return first;
}

void NodeLowering::follow(uint32_t step, Way way, const RE_Link& link, uint32_t scope) {
    if (link.node != nullptr) pending_.push_back({step, way, scope, &link});
}

void NodeLowering::run() {
    lowering_.steps.reserve(lowering_.pattern.nodes.size() + 8);
    pending_.reserve(16);
    lowering_.first = resolve(lowering_.pattern.first, kNoWay);
    constexpr size_t kPollEvery = 1024;
    for (size_t followed = 1; !pending_.empty(); ++followed) {
        if (followed % kPollEvery == 0 && utTakeInterrupt()) fail_interrupt();
        // Member by member, as it was written: a copy of all would wait for the writes.
        const PendingLink& link = pending_.back();
        const uint32_t from = link.step;
        const Way way = link.way;
        const uint32_t scope = link.scope;
        const RE_Link& to = *link.link;
        pending_.pop_back();
        const uint32_t target = resolve(to, scope);
        Step& step = lowering_.steps[from];
        (way == Way::next ? step.next : way == Way::alt ? step.alt : step.body) = target;
    }
}

Step NodeLowering::character(char32_t c, bool ignores_case) {
    Step step;
    step.op = Op::character;
    step.arg = c;
    if (!ignores_case) return step;
    char32_t members[kLargestFoldingClass];
    const size_t count = folding_class(c, members);
    if (count == 2) {
        step.op = Op::either;
        step.arg = members[0] < members[1] ? members[0] : members[1];
        step.repeat.other = members[0] < members[1] ? members[1] : members[0];
    } else if (count > 2) {
        step.op = Op::set;
        step.arg = lowering_.set_of(SetItems(1, range_item(c, c, true), lowering_.arena));
    }
    return step;
}

// A chain of tests with its consumer; returns the consumer's link.
const RE_Link* NodeLowering::lower_set(const RE_Node& node, Step& step) {
    step.op = Op::set;
    const auto* item = static_cast<const RE_Fail*>(&node);
    const bool is_negated = item->next.node == nullptr;
    const RE_Node* consumer = item->next.node;
    SetItems& items = items_;
    items.clear();
    if (is_negated) items.push_back(kNegatedItems);
    for (;;) {
        if (item->kind == NodeKind::escaped_set) {
            items.push_back(class_item(static_cast<const RE_Escaped_Set*>(item)->letter));
        } else if (item->kind == NodeKind::range || item->kind == NodeKind::range_i) {
            const auto* const range = static_cast<const RE_Range*>(item);
            if (range->first <= range->last)
                items.push_back(range_item(range->first, range->last, item->ignores_case));
        } else {
            const char32_t c = static_cast<const RE_Natural*>(item)->character;
            items.push_back(range_item(c, c, item->ignores_case));
        }
        const RE_Node* const following = item->fail.node;
        if (following == nullptr) break;
        if (following->kind == NodeKind::consume) {
            consumer = following;
            break;
        }
        item = static_cast<const RE_Fail*>(following);
    }
    step.arg = lowering_.set_of(items);
    return &consumer->next;
}

void NodeLowering::lower_string(const RE_String& node, uint32_t step, uint32_t scope) {
    // There is no lone surrogate in it.
    if (!node.ignores_case) {
        Step& made = lowering_.steps[step];
        made.op = Op::string;
        made.arg = static_cast<uint32_t>(program_.strings.size());
        reserve_first(program_.strings, 4);
        program_.strings.push_back(
            {static_cast<uint32_t>(program_.units.size()), static_cast<uint32_t>(node.length)});
        reserve_first(program_.units, std::max(lowering_.pattern.text.size(), node.length));
        program_.units.insert(program_.units.end(), node.text, node.text + node.length);
        follow(step, Way::next, node.next, scope);
        return;
    }
    Step piece;  // what the units since `begin` are put into
    bool has_piece = false;
    bool is_first = true;
    uint32_t last = step;
    const auto put = [&](Step made) {
        made.scope = scope;
        if (is_first) {
            made.next = lowering_.steps[step].next;
            lowering_.steps[step] = made;
            is_first = false;
            return;
        }
        const uint32_t number = lowering_.add_step(made);
        lowering_.steps[last].next = number;
        last = number;
    };
    const auto end_piece = [&] {
        if (has_piece) put(piece);
        has_piece = false;
    };
    const auto add_unit = [&](const FoldedUnit& unit) {
        Vector<Run>& runs = program_.folded_strings;
        if (!has_piece) {
            reserve_first(runs, 4);
            has_piece = true;
            piece = Step();
            piece.op = Op::folded_string;
            piece.arg = static_cast<uint32_t>(runs.size());
            runs.push_back({static_cast<uint32_t>(program_.folded_units.size()), 0});
        }
        reserve_first(program_.folded_units, node.length);
        program_.folded_units.push_back(unit);
        ++runs.back().length;
    };
    for (size_t i = 0; i < node.length; ++i) {
        char32_t c = node.text[i];
        const bool is_pair =
            is_high_surrogate(c) && i + 1 < node.length && is_low_surrogate(node.text[i + 1]);
        if (is_pair) c = pair_character(c, node.text[++i]);
        char32_t members[kLargestFoldingClass];
        const size_t count = folding_class(c, members);
        bool has_wide_member = false;
        for (size_t k = 0; k < count; ++k) has_wide_member |= members[k] > 0xFFFF;
        if (count > 1 && (count > 4 || has_wide_member)) {
            end_piece();
            put(character(c, true));
        } else if (is_pair) {
            for (const char16_t half : {node.text[i - 1], node.text[i]})
                add_unit({{half, half, half, half}});
        } else {
            FoldedUnit unit;
            for (size_t k = 0; k < 4; ++k)
                unit.units[k] = static_cast<char16_t>(members[k < count ? k : count - 1]);
            add_unit(unit);
        }
    }
    end_piece();
    if (is_first) lowering_.steps[step].kind = Step::Kind::nothing;
    follow(last, Way::next, node.next, scope);
}

void NodeLowering::lower_split(const RE_Split& node, uint32_t step, uint32_t scope) {
    Step& made = lowering_.steps[step];
    made.op = Op::split;
    made.is_lazy = node.is_lazy;
    if (!node.repeats) {
        follow(step, Way::next, node.next, scope);
        follow(step, Way::alt, node.alt, scope);
        return;
    }
    made.kind = Step::Kind::loop;
    const uint32_t own = lowering_.add_scope(Scope::Kind::iteration, scope, kNoWay);
    made.own = own;
    follow(step, Way::next, node.next, node.is_lazy ? scope : own);
    follow(step, Way::alt, node.alt, node.is_lazy ? own : scope);
}

void NodeLowering::lower_counter(const RE_State_Counter& node, uint32_t step, uint32_t scope) {
    Counter counter;
    counter.kind = node.kind == NodeKind::fixed_counter   ? Counter::Kind::fixed
                   : node.kind == NodeKind::limit_counter ? Counter::Kind::greedy
                                                          : Counter::Kind::lazy;
    counter.count = node.count < kNoLimit ? static_cast<uint32_t>(node.count) : kNoLimit - 1;
    program_.counters.push_back(counter);
    const auto number = static_cast<uint32_t>(program_.counters.size() - 1);
    const uint32_t counted = lowering_.add_scope(Scope::Kind::counter, scope, number);
    const uint32_t own = lowering_.add_scope(Scope::Kind::iteration, counted, kNoWay);
    Step& made = lowering_.steps[step];
    made.op = Op::counter;
    made.arg = number;
    made.scope = counted;
    made.own = own;
    follow(step, Way::next, node.next, own);
    follow(step, Way::alt, node.alt, scope);
}

void NodeLowering::lower_lookaround(const RE_Lookaround_Assertion& node, uint32_t step,
                                    uint32_t scope) {
    if (node.body.node == nullptr) {  // it never matches
        lowering_.steps[step].kind = Step::Kind::nothing;
        follow(step, Way::next, node.fail, scope);
        return;
    }
    const uint32_t region = add_region();
    const uint32_t inside = lowering_.add_scope(Scope::Kind::region, scope, region);
    Step& made = lowering_.steps[step];
    made.op = node.looks_ahead ? Op::look_ahead : Op::look_behind;
    made.arg = region;
    follow(step, Way::next, node.next, scope);
    follow(step, Way::alt, node.fail, scope);
    follow(step, Way::body, node.body, inside);
}

void NodeLowering::lower_token(const RE_Token& node, Step& step, uint32_t scope) {
    step.op = node.kind == NodeKind::start_token ? Op::token_start : Op::token_end;
    step.arg = static_cast<uint32_t>(node.token);
    for (uint32_t around = region_around(scope); around != kNoWay;
         around = region_around(lowering_.scopes[around].parent)) {
        Region& region = program_.regions[lowering_.scopes[around].arg];
        if (region.sets_tokens) break;
        region.sets_tokens = true;
    }
}

uint32_t NodeLowering::add_reference(size_t token, const char16_t* name) {
    Vector<uint32_t>& tokens = program_.tokens;
    TokenNames::Run run;
    if (name != nullptr) {
        if (!names_.has_value()) {
            names_.emplace(program_.names.data(), program_.names.size());
            named_from_ = static_cast<uint32_t>(tokens.size());
            tokens.insert(tokens.end(), names_->tokens().begin(), names_->tokens().end());
        }
        run = names_->find(name);
    }
    Meaning meaning{name != nullptr, token < kNoWay ? static_cast<uint32_t>(token) : kNoWay};
    if (meaning.is_name) meaning.first = run.count != 0 ? tokens[named_from_ + run.first] : kNoWay;
    const auto known = references_.find(meaning);
    if (known != references_.end()) return known->second;
    const auto number = static_cast<uint32_t>(program_.references.size());
    if (meaning.is_name) {
        program_.references.push_back(
            {named_from_ + static_cast<uint32_t>(run.first), static_cast<uint32_t>(run.count)});
    } else {
        program_.references.push_back({static_cast<uint32_t>(tokens.size()), 1});
        tokens.push_back(meaning.first);
    }
    references_.emplace(meaning, number);
    return number;
}

uint32_t NodeLowering::add_text(const RE_Text& text) {
    program_.texts.push_back(text);
    program_.has_dynamic_parts = true;
    return static_cast<uint32_t>(program_.texts.size() - 1);
}

// The step of a node, made where there is none yet.
uint32_t NodeLowering::lower(const RE_Node& node, uint32_t scope) {
    if (step_of_[node.index] != kNoWay) return step_of_[node.index];
    const uint32_t number = lowering_.add_step(scope);
    step_of_[node.index] = number;
    Step& step = lowering_.steps[number];
    const auto go = [&](Op op) {
        step.op = op;
        follow(number, Way::next, node.next, scope);
    };
    switch (node.kind) {
        case NodeKind::natural:
        case NodeKind::natural_i: {
            const auto& natural = static_cast<const RE_Natural&>(node);
            if (natural.consumes) {
                step = character(natural.character, natural.ignores_case);
                step.scope = scope;
                follow(number, Way::next, node.next, scope);
            } else {
                follow(number, Way::next, *lower_set(node, step), scope);
            }
            break;
        }
        case NodeKind::range:
        case NodeKind::range_i:
        case NodeKind::escaped_set:
            follow(number, Way::next, *lower_set(node, step), scope);
            break;
        case NodeKind::dot_all:
        case NodeKind::consume:
            go(Op::any);
            break;
        case NodeKind::dot_line:
            go(Op::line);
            break;
        case NodeKind::string:
            lower_string(static_cast<const RE_String&>(node), number, scope);
            break;
        case NodeKind::match_token: {
            const auto& token = static_cast<const RE_Token_Fail&>(node);
            step.arg = add_reference(token.token, token.name);
            go(token.ignores_case ? Op::reference_folded : Op::reference);
            break;
        }
        case NodeKind::token_assertion: {
            const auto& token = static_cast<const RE_Token_Fail&>(node);
            step.arg = add_reference(token.token, token.name);
            go(Op::if_token);
            follow(number, Way::alt, token.fail, scope);
            break;
        }
        case NodeKind::lookaround:
            lower_lookaround(static_cast<const RE_Lookaround_Assertion&>(node), number, scope);
            break;
        case NodeKind::start_line:
            go(Op::start_line);
            break;
        case NodeKind::end_line:
            go(Op::end_line);
            break;
        case NodeKind::start_string:
            go(Op::start_text);
            break;
        case NodeKind::end_string:
            go(Op::end_text);
            break;
        case NodeKind::start_word:
            go(Op::start_word);
            break;
        case NodeKind::end_word:
            go(Op::end_word);
            break;
        case NodeKind::start_token:
        case NodeKind::end_token:
            lower_token(static_cast<const RE_Token&>(node), step, scope);
            follow(number, Way::next, node.next, scope);
            break;
        case NodeKind::split:
            lower_split(static_cast<const RE_Split&>(node), number, scope);
            break;
        case NodeKind::fixed_counter:
        case NodeKind::limit_counter:
        case NodeKind::lazy_counter:
            lower_counter(static_cast<const RE_State_Counter&>(node), number, scope);
            break;
        case NodeKind::start_counter:
            go(Op::counter_start);
            break;
        case NodeKind::atomic: {
            step.op = Op::atomic;
            step.arg = add_region();
            const uint32_t inside = lowering_.add_scope(Scope::Kind::region, scope, step.arg);
            // Until its body ends, which goes on to this.
            follow(number, Way::next, static_cast<const RE_Atomic&>(node).body, inside);
            lowering_.scopes[inside].exit = &node.next;
            break;
        }
        case NodeKind::seeker:
            step.kind = Step::Kind::nothing;
            follow(number, Way::next, node.next, scope);
            break;
        case NodeKind::null:
            if (node.next.node != nullptr) {
                step.kind = Step::Kind::nothing;
                follow(number, Way::next, node.next, scope);
            } else {
                end_region(step, scope);
                const uint32_t region = region_around(scope);
                const RE_Link* const exit = lowering_.scopes[region].exit;
                if (exit != nullptr)
                    follow(number, Way::next, *exit, lowering_.scopes[region].parent);
            }
            break;
        case NodeKind::evaluate:
            step.arg = add_text(static_cast<const RE_Evaluate&>(node).expression);
            go(Op::evaluate);
            break;
        case NodeKind::evaluate_assertion: {
            const auto& assertion = static_cast<const RE_Evaluate_Assertion&>(node);
            step.arg = add_text(assertion.expression);
            go(Op::evaluate_condition);
            follow(number, Way::alt, assertion.fail, scope);
            break;
        }
        case NodeKind::evaluate_dynamic:
        case NodeKind::parse_dynamic:
            step.arg = add_text(static_cast<const RE_Dynamic&>(node).pattern);
            go(node.kind == NodeKind::parse_dynamic ? Op::parse_dynamic : Op::evaluate_dynamic);
            break;
        case NodeKind::end_of_tree:
            step.op = Op::match;
            break;
    }
    return number;
}

}  // namespace

uint64_t range_item(char32_t first, char32_t last, bool ignores_case) {
    return uint64_t{ignores_case} << 60 | uint64_t{first} << 32 | last;
}

uint64_t class_item(char letter) { return uint64_t{1} << 62 | static_cast<unsigned char>(letter); }

uint32_t Lowering::set_of(const SetItems& items) {
    const auto found = sets.find(items);
    if (found != sets.end()) return found->second;
    CharacterSetBuilder builder;
    bool is_negated = false;
    for (const uint64_t item : items) {
        if (item == kNegatedItems) {
            is_negated = true;
        } else if (item >> 62 == 1) {
            builder.add_class(static_cast<char>(item & 0xFF));
        } else {
            builder.add_range(static_cast<char32_t>(item >> 32 & 0x1FFFFF),
                              static_cast<char32_t>(item & 0x1FFFFF), (item >> 60 & 1) != 0);
        }
    }
    const auto number = static_cast<uint32_t>(program.sets.size());
    program.sets.push_back(builder.finish(is_negated));
    items_of.push_back(&sets.emplace(items, number).first->first);
    return number;
}

uint32_t Lowering::add_step(uint32_t scope) {
    if (steps.size() >= kMostInstructions) fail_program_too_large(kMostInstructions, 0);
    steps.emplace_back().scope = scope;
    return static_cast<uint32_t>(steps.size() - 1);
}

uint32_t Lowering::add_step(const Step& step) {
    if (steps.size() >= kMostInstructions) fail_program_too_large(kMostInstructions, 0);
    steps.push_back(step);
    return static_cast<uint32_t>(steps.size() - 1);
}

uint32_t Lowering::add_scope(Scope::Kind kind, uint32_t parent, uint32_t arg) {
    LoweredScope scope;
    scope.kind = kind;
    scope.parent = parent;
    scope.arg = arg;
    scopes.push_back(scope);
    return static_cast<uint32_t>(scopes.size() - 1);
}

void lower_nodes(Lowering& lowering) { NodeLowering(lowering).run(); }

}  // namespace qxut::regexp
