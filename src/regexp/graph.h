// graph.h - the graph of the nodes for Graphviz's dot.
#ifndef QXUT_SRC_REGEXP_GRAPH_H
#define QXUT_SRC_REGEXP_GRAPH_H

#include <string>

#include "regexp/listing.h"

namespace qxut::regexp {

// Where a node writes its statement and its edges. Edges come behind all nodes: inside a cluster
// they would draw the nodes that they lead to into it.
class GraphWriter {
  public:
    GraphWriter(const Numbering& numbering, std::string& text) noexcept
        : numbering_(numbering), text_(text) {}
    // The statement of a node; `attributes` follow that with the label, as in " [shape=point]".
    void put_node(const RE_Node& node, const char* attributes = "");
    // An edge, where the link leads to a node. `attributes` as in "label=Next, color=1".
    void put_edge(const RE_Node& from, const RE_Link& link, const char* attributes);
    void begin_cluster(const RE_Token& token);
    void end_cluster();
    const std::string& edges() const noexcept { return edges_; }

  private:
    void put_number(std::string& text, const RE_Node& node);
    const Numbering& numbering_;
    std::string& text_;
    std::string edges_;
    std::string action_;
};

// The graph in UTF-8. Throws std::bad_alloc.
std::string graph_of(const Pattern& pattern);

}  // namespace qxut::regexp

#endif
