// nodes.cpp - which links a node has, by its kind.
//
// The list of a tree is walked with these instead of virtual calls, so that a node class is nothing
// but its data and its two writers. Tested through the parser, tests/regexp/parser_test.cpp.
#include "regexp/nodes.h"

namespace qxut::regexp {

RE_Link* fail_of(RE_Node& node) noexcept {
    switch (node.kind) {
        case NodeKind::natural:
        case NodeKind::natural_i:
        case NodeKind::dot_all:
        case NodeKind::dot_line:
        case NodeKind::range:
        case NodeKind::range_i:
        case NodeKind::escaped_set:
        case NodeKind::match_token:
        case NodeKind::token_assertion:
        case NodeKind::evaluate_assertion:
        case NodeKind::lookaround:
            return &static_cast<RE_Fail&>(node).fail;
        default:
            return nullptr;
    }
}

RE_Link* alt_of(RE_Node& node) noexcept {
    switch (node.kind) {
        case NodeKind::split:
        case NodeKind::fixed_counter:
        case NodeKind::limit_counter:
        case NodeKind::lazy_counter:
            return &static_cast<RE_Split&>(node).alt;
        default:
            return nullptr;
    }
}

RE_Link* body_of(RE_Node& node) noexcept {
    if (node.kind == NodeKind::lookaround) {
        return &static_cast<RE_Lookaround_Assertion&>(node).body;
    }
    return node.kind == NodeKind::atomic ? &static_cast<RE_Atomic&>(node).body : nullptr;
}

}  // namespace qxut::regexp
