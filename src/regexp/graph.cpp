// graph.cpp - what each node writes into the graph, and the graph.
//
// The nodes come in the order of the pattern, so that those of a token, which are a run of it,
// stand in one cluster. Colours are those of a named scheme: 1 the way on, 2 the other way of a
// choice, 3 a failure, 4 what is looked at or asked, 5 the search for a start. Tested by
// tests/regexp/dump_test.cpp, which runs dot.
#include "regexp/graph.h"

#include "regexp/dump_text.h"

using qxut::regexp::GraphWriter;

namespace qxut::regexp {

void GraphWriter::put_number(std::string& text, const RE_Node& node) {
    RE_Link link;
    link.node = const_cast<RE_Node*>(&node);
    append_decimal(text, numbering_.number(link));
}

void GraphWriter::put_node(const RE_Node& node, const char* attributes) {
    action_.clear();
    ListingWriter action(numbering_, action_);
    node.list(action);
    put_number(text_, node);
    text_ += " [label=";
    append_label(text_, action_);
    text_ += "]";
    text_ += attributes;
    text_ += ";\n";
}

void GraphWriter::put_edge(const RE_Node& from, const RE_Link& link, const char* attributes) {
    if (link.node == nullptr) return;
    put_number(edges_, from);
    edges_ += " -> ";
    put_number(edges_, *link.node);
    edges_ += " [";
    edges_ += attributes;
    edges_ += "];\n";
}

void GraphWriter::begin_cluster(const RE_Token& token) {
    action_ = "Token #";
    append_decimal(action_, token.token);
    if (token.name != nullptr) {
        action_ += "('";
        append_name(action_, token.name);
        action_ += "')";
    }
    // By the node: copies of a token are clusters of their own.
    text_ += "subgraph cluster";
    put_number(text_, token);
    text_ += " {\nlabel=";
    append_label(text_, action_);
    text_ += ";\n";
}

void GraphWriter::end_cluster() { text_ += "}\n"; }

std::string graph_of(const Pattern& pattern) {
    const Numbering numbering(pattern);
    std::string text =
        "\n\ndigraph regexp {\n"
        "node [colorscheme=set19];\n"
        "edge [colorscheme=set19];\n";
    GraphWriter writer(numbering, text);
    for (const auto& node : pattern.nodes) node->graph(writer);
    text += writer.edges();
    text += "}\n";
    return text;
}

namespace {

constexpr char kNext[] = "label=Next, color=1";
constexpr char kAlt[] = "label=Alt, color=2";
constexpr char kDone[] = "label=Done, color=2";
constexpr char kFail[] = "label=Fail, color=3";
constexpr char kAtomic[] = "label=Atomic, color=4";
constexpr char kLookaround[] = "label=Lookaround, color=4";
constexpr char kEvaluate[] = "label=Evaluate, color=4";
constexpr char kTrue[] = "label=True, color=1";
constexpr char kFalse[] = "label=False, color=1";
constexpr char kConsume[] = "label=Consume, color=1";
constexpr char kSeek[] = "label=Seek, color=5";
constexpr char kInvisible[] = " [shape=point, style=invis]";

void put_plain(GraphWriter& writer, const RE_Node& node, const char* next = kNext) {
    writer.put_node(node);
    writer.put_edge(node, node.next, next);
}

void put_fail(GraphWriter& writer, const RE_Fail& node) {
    put_plain(writer, node);
    writer.put_edge(node, node.fail, kFail);
}

void put_condition(GraphWriter& writer, const RE_Fail& node) {
    put_plain(writer, node, kTrue);
    writer.put_edge(node, node.fail, kFalse);
}

void put_choice(GraphWriter& writer, const RE_Split& node, const char* alt) {
    put_plain(writer, node);
    writer.put_edge(node, node.alt, alt);
}

}  // namespace
}  // namespace qxut::regexp

using namespace qxut::regexp;

void RE_Natural::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Natural_I::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Dot_All::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Dot_Line::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Range::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Range_I::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Escaped_Set::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Match_Token::graph(GraphWriter& writer) const { put_fail(writer, *this); }
void RE_Token_Assertion::graph(GraphWriter& writer) const { put_condition(writer, *this); }
void RE_Evaluate_Assertion::graph(GraphWriter& writer) const { put_condition(writer, *this); }
void RE_Lookaround_Assertion::graph(GraphWriter& writer) const {
    put_fail(writer, *this);
    writer.put_edge(*this, body, kLookaround);
}
void RE_Start_Line::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_End_Line::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_Start_String::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_End_String::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_Start_Word::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_End_Word::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_Start_Token::graph(GraphWriter& writer) const {
    writer.begin_cluster(*this);
    writer.put_node(*this, kInvisible);
    writer.put_edge(*this, next, kNext);
}
void RE_End_Token::graph(GraphWriter& writer) const {
    writer.put_node(*this, kInvisible);
    writer.end_cluster();
    writer.put_edge(*this, next, kNext);
}
void RE_Split::graph(GraphWriter& writer) const { put_choice(writer, *this, kAlt); }
void RE_Counter_Popper::graph(GraphWriter& writer) const { put_choice(writer, *this, kDone); }
void RE_Lazy_Decrementer::graph(GraphWriter& writer) const { put_choice(writer, *this, kDone); }
void RE_Fixed_Counter::graph(GraphWriter& writer) const { put_choice(writer, *this, kDone); }
void RE_Limit_Counter::graph(GraphWriter& writer) const { put_choice(writer, *this, kDone); }
void RE_Lazy_Counter::graph(GraphWriter& writer) const { put_choice(writer, *this, kDone); }
void RE_Start_Counter::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_Atomic::graph(GraphWriter& writer) const {
    put_plain(writer, *this);
    writer.put_edge(*this, body, kAtomic);
}
void RE_Consume::graph(GraphWriter& writer) const { put_plain(writer, *this, kConsume); }
void RE_Seeker::graph(GraphWriter& writer) const { put_plain(writer, *this, kSeek); }
void RE_Null::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_String::graph(GraphWriter& writer) const { put_plain(writer, *this); }
void RE_Evaluate::graph(GraphWriter& writer) const { put_plain(writer, *this, kEvaluate); }
void RE_Evaluate_Dynamic::graph(GraphWriter& writer) const { put_plain(writer, *this, kEvaluate); }
void RE_Parse_Dynamic::graph(GraphWriter& writer) const { put_plain(writer, *this, kEvaluate); }
void RE_End_Of_Tree::graph(GraphWriter& writer) const { put_plain(writer, *this); }
