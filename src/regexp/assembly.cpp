// assembly.cpp - fragments, their lists and their loose ends.
//
// Invariant: the nodes of a fragment are after_[first], after_[after_[first]], ... up to last, and
// its loose ends a chain of entries from `loose` to `last_loose`; no link of a fragment leads out
// of it. Repetition is repeat.cpp. Tested by tests/regexp/parser_test.cpp.
#include "regexp/assembly.h"

namespace qxut::regexp {

void Assembly::reserve(size_t position, size_t count) {
    const size_t needed = pattern_.nodes.size() + count;
    if (needed > kMostNodes) fail_program_too_large(kMostNodes, position);
    if (needed > pattern_.nodes.capacity()) pattern_.nodes.reserve(needed * 2 + 14);
    if (needed > after_.capacity()) after_.reserve(needed * 2 + 14);
}

void Assembly::adopt(RE_Node* node, size_t position) noexcept {
    node->index = static_cast<uint32_t>(pattern_.nodes.size());
    node->position = position;
    pattern_.nodes.emplace_back(node);
    after_.push_back(kNone);
}

RE_Link& Assembly::link(NodeId id, LinkKind kind) noexcept {
    RE_Node& owner = node(id);
    switch (kind) {
        case LinkKind::fail:
            return *fail_of(owner);
        case LinkKind::alt:
            return *alt_of(owner);
        case LinkKind::body:
            return *body_of(owner);
        default:
            return owner.next;
    }
}

Fragment Assembly::fragment_of(const RE_Node& node) noexcept {
    Fragment fragment;
    fragment.first = node.index;
    fragment.last = node.index;
    fragment.size = 1;
    return fragment;
}

Fragment Assembly::open_fragment_of(const RE_Node& node) {
    Fragment fragment = fragment_of(node);
    loosen(fragment, node.index, LinkKind::next);
    return fragment;
}

void Assembly::loosen(Fragment& fragment, NodeId id, LinkKind kind) {
    const auto entry = static_cast<uint32_t>(loose_.size());
    if (loose_.capacity() == 0) loose_.reserve(16);
    loose_.push_back({id, kind, kNone});
    (fragment.last_loose == kNone ? fragment.loose : loose_[fragment.last_loose].next) = entry;
    fragment.last_loose = entry;
    ++fragment.loose_count;
}

void Assembly::tie(NodeId id, LinkKind kind, const Fragment& target) noexcept {
    RE_Link& tied = link(id, kind);
    tied.node = &node(target.first);
    tied.enters = target.enters;
}

void Assembly::tie_each(const Fragment& whole, LinkKind kind, const Fragment& target) noexcept {
    for (NodeId id = whole.first; id != kNone; id = id == whole.last ? kNone : after_[id]) {
        tie(id, kind, target);
    }
}

void Assembly::tie_loose(Fragment& fragment, const Fragment& target) noexcept {
    for (uint32_t entry = fragment.loose; entry != kNone; entry = loose_[entry].next) {
        tie(loose_[entry].node, loose_[entry].kind, target);
    }
    fragment.loose = kNone;
    fragment.last_loose = kNone;
    fragment.loose_count = 0;
}

void Assembly::enlist(Fragment& whole, const Fragment& part) noexcept {
    if (part.is_empty()) return;
    if (whole.is_empty()) {
        whole = part;
        return;
    }
    after_[whole.last] = part.first;
    whole.last = part.last;
    whole.size += part.size;
    if (part.loose != kNone) {
        (whole.last_loose == kNone ? whole.loose : loose_[whole.last_loose].next) = part.loose;
        whole.last_loose = part.last_loose;
        whole.loose_count += part.loose_count;
    }
    whole.consumes = whole.consumes || part.consumes;
    whole.is_unbounded = whole.is_unbounded || part.is_unbounded;
}

void Assembly::append(Fragment& whole, const Fragment& part) noexcept {
    if (part.is_empty()) return;
    if (!whole.is_empty()) tie_loose(whole, part);
    enlist(whole, part);
}

void Assembly::finish(const Fragment& whole) {
    pattern_.first = {&node(whole.first), 0, whole.enters};
    // The order of making is the order of the list where no quantifier stood in front of its atom.
    NodeId made = 0;
    while (made < whole.last && after_[made] == made + 1) ++made;
    if (whole.first == 0 && made == whole.last && whole.size == pattern_.nodes.size()) return;
    Vector<std::unique_ptr<RE_Node>> ordered;
    ordered.reserve(whole.size + size_t{1});  // for a seeker
    for (NodeId id = whole.first; id != kNone; id = id == whole.last ? kNone : after_[id]) {
        ordered.push_back(std::move(pattern_.nodes[id]));
        ordered.back()->index = static_cast<uint32_t>(ordered.size() - 1);
    }
    pattern_.nodes.swap(ordered);
}

}  // namespace qxut::regexp
