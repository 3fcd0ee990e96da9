// numbering.cpp - the order in which the dumps show the nodes.
//
// A chain of nodes along next comes first; then, node by node in the order found so far, the chains
// behind alternative, fail and body links. The result is the queue of this walk: no recursion.
// Tested by tests/regexp/parser_test.cpp.
#include "regexp/pattern.h"

namespace qxut::regexp {

Vector<RE_Node*> number_nodes(const Pattern& pattern) {
    Vector<RE_Node*> order;
    order.reserve(pattern.nodes.size());
    Vector<unsigned char> is_seen(pattern.nodes.size(), 0);
    const auto add_chain = [&](RE_Node* node) {
        while (node != nullptr && is_seen[node->index] == 0) {
            is_seen[node->index] = 1;
            order.push_back(node);
            node = node->next.node;
        }
    };
    add_chain(pattern.first.node);
    for (size_t i = 0; i < order.size(); ++i) {
        for (const RE_Link* link : {alt_of(*order[i]), fail_of(*order[i]), body_of(*order[i])}) {
            if (link != nullptr) add_chain(link->node);
        }
    }
    return order;
}

}  // namespace qxut::regexp
