// repeat.cpp - compiles a quantifier: the required part, then the optional one.
//
//     a{3}      'a' 'a' 'a'                                copies, up to RE_Tree::inlineThreshold
//     a{2000}   start counter, fixed counter{2000} -> 'a'  beyond, and where it is possessive
//     a?        split -> 'a'
//     a{0,5}    start counter, limit counter{5} -> 'a'
//     a*        split(loop) -> 'a' -> the split
//     a+        'a' split(loop) -> 'a' -> the split
//
// The atom that was parsed is the first copy; the others are clones of its run of nodes, made one
// from another before anything follows them, so they repeat no warning and define no token. A
// possessive repetition is one region, from its way in to its loose ends.
//
// Tested by tests/regexp/parser_test.cpp.
#include <qxut/regexp/tree.hpp>

#include "regexp/assembly.h"

size_t RE_Tree::inlineThreshold = 1024;

namespace qxut::regexp {
namespace {

// More loose ends than this are gathered in one node before they are marked, so that regions
// within regions do not mark them all again and again.
constexpr uint32_t kMostMarked = 16;

}  // namespace

Fragment Assembly::clone(const Fragment& original, size_t position) {
    if (original.size > kMostCopies - copies_) fail_program_too_large(kMostCopies, position);
    scratch_.clear();
    scratch_.reserve(original.size);
    // Places are looked up for nodes of the run only, so what other runs left there is harmless.
    places_.resize(pattern_.nodes.size());
    reserve(position, original.size);
    Fragment copy = original;
    uint32_t place = 0;
    for (NodeId id = original.first;; id = after_[id], ++place) {
        const RE_Node& from = node(id);
        places_[id] = place;
        RE_Node* made = require(from.clone());
        adopt(made, from.position);
        scratch_.push_back(made->index);
        if (place > 0) after_[scratch_[place - 1]] = made->index;
        if (id == original.last) break;
    }
    copies_ += original.size;
    copy.first = scratch_.front();
    copy.last = scratch_.back();
    for (const NodeId id : scratch_) {
        RE_Node& made = node(id);
        for (RE_Link* way : {&made.next, fail_of(made), alt_of(made), body_of(made)}) {
            if (way != nullptr && way->node != nullptr) {
                way->node = &node(scratch_[places_[way->node->index]]);
            }
        }
    }
    copy.loose = kNone;
    copy.last_loose = kNone;
    copy.loose_count = 0;
    for (uint32_t entry = original.loose; entry != kNone; entry = loose_[entry].next) {
        const Loose end = loose_[entry];
        loosen(copy, scratch_[places_[end.node]], end.kind);
    }
    return copy;
}

void Assembly::make_possessive(Fragment& fragment, size_t position) {
    if (fragment.loose_count > kMostMarked)
        append(fragment, open_fragment_of(*make<RE_Null>(position)));
    ++fragment.enters;
    for (uint32_t entry = fragment.loose; entry != kNone; entry = loose_[entry].next) {
        ++link(loose_[entry].node, loose_[entry].kind).leaves;
    }
}

// A counter behind its start, around its body.
Fragment Assembly::counted(RE_Split* counter, size_t count, Fragment body, size_t position) {
    static_cast<RE_State_Counter*>(counter)->count = count;
    Fragment whole = fragment_of(*make<RE_Start_Counter>(position));
    const Fragment head = fragment_of(*counter);
    tie(whole.first, LinkKind::next, head);
    tie(counter->index, LinkKind::next, body);
    tie_loose(body, head);
    enlist(whole, head);
    enlist(whole, body);
    loosen(whole, counter->index, LinkKind::alt);
    return whole;
}

// A split in front of its body: a loop, or an optional atom.
Fragment Assembly::looped(Fragment body, const Quantifier& quantifier, bool repeats) {
    RE_Split* split = make<RE_Split>(quantifier.position);
    split->repeats = repeats;
    split->is_lazy = quantifier.is_lazy;
    split->is_possessive = quantifier.is_possessive;
    const LinkKind inside = quantifier.is_lazy ? LinkKind::alt : LinkKind::next;
    const LinkKind outside = quantifier.is_lazy ? LinkKind::next : LinkKind::alt;
    Fragment whole = fragment_of(*split);
    tie(split->index, inside, body);
    if (repeats) tie_loose(body, whole);
    enlist(whole, body);
    loosen(whole, split->index, outside);
    return whole;
}

Fragment Assembly::repeat(const Fragment& atom, const Quantifier& quantifier) {
    if (atom.is_empty() || quantifier.max == 0) return Fragment{};
    const size_t position = quantifier.position;
    const size_t optional =
        quantifier.max == kUnbounded ? kUnbounded : quantifier.max - quantifier.min;
    Fragment whole;
    Fragment copy = atom;  // the last one made, which nothing follows yet
    const bool is_inline = !quantifier.is_possessive &&
                           quantifier.min <= RE_Tree::inlineThreshold / atom.size &&
                           quantifier.min * atom.size < RE_Tree::inlineThreshold;
    if (quantifier.min > 1 && !is_inline) {
        if (optional > 0) copy = clone(atom, position);
        auto* counter = make<RE_Fixed_Counter>(position);
        counter->is_possessive = quantifier.is_possessive;
        whole = counted(counter, quantifier.min, atom, position);
    } else {
        for (size_t i = 0; i < quantifier.min; ++i) {
            const Fragment last = copy;
            if (i + 1 < quantifier.min || optional > 0) copy = clone(last, position);
            append(whole, last);
        }
    }
    if (optional == 1 || optional == kUnbounded) {
        append(whole, looped(copy, quantifier, optional == kUnbounded));
    } else if (optional > 1) {
        RE_State_Counter* counter = nullptr;
        if (quantifier.is_lazy) {
            counter = make<RE_Lazy_Counter>(position);
        } else {
            counter = make<RE_Limit_Counter>(position);
        }
        counter->is_possessive = quantifier.is_possessive;
        append(whole, counted(counter, optional, copy, position));
    }
    if (quantifier.is_possessive) make_possessive(whole, position);
    whole.is_unbounded = atom.is_unbounded || (optional == kUnbounded && atom.consumes);
    return whole;
}

}  // namespace qxut::regexp
