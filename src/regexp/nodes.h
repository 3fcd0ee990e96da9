// nodes.h - the graph that a pattern is parsed into: one node an action, one link a way on.
//
//     next   what follows when the node succeeds
//     fail   what follows when it fails on the spot (nodes derived from RE_Fail)
//     alt    the other way of a choice, the exit of a counter (RE_Split and below)
//     body   what an atomic group or a look-around looks at
//
// A link without a node is no way on: the path fails there. The pattern ends in one
// RE_End_Of_Tree, a body in an RE_Null without a successor, which says that the body is done. An
// empty alternative is an RE_Null with a successor.
//
//     a|b      split -next-> 'a' -next-> <EOT>           (?!a)b   look ahead -body-> 'a' -> <NULL>
//                    -alt--> 'b' -next-> <EOT>                               -fail-> 'b' -> <EOT>
//     a+       'a' -> split(loop) -next-> 'a' -> the split     [^ab]    'a' -fail-> 'b' -fail->
//     consume -> ...
//                                 -alt--> <EOT>                         (next of both: no way on)
//     a{3000}  start counter -> fixed counter -next-> 'a' -> the counter
//                                             -alt--> <EOT>
//
// Nodes test at the position and consumers advance over what they match. A set is a chain of tests
// over failure links that ends in one RE_Consume, which advances over a character; so are \d and
// its kin.
//
// A possessive quantifier is atomic as a whole. Its first node and its last differ from those of
// its counters and splits, so the region is marked on the links: a link that goes into regions says
// how many it enters, one that goes out how many it leaves (it leaves before it enters).
//
// The nodes of a tree stand in one list in the order of their making, which owns them; a quantified
// atom's nodes are a run of that list, and a copy of it is the run cloned with its links moved.
//
// The graph is what users see (listing.cpp, graph.cpp). It never changes once it is parsed; the
// matcher runs the program that lower.cpp makes of it.
#ifndef QXUT_SRC_REGEXP_NODES_H
#define QXUT_SRC_REGEXP_NODES_H

#include <cstddef>
#include <cstdint>

#include <qxut/regexp/flags.hpp>
#include <qxut/regexp/memory.hpp>

namespace qxut::regexp {

class GraphWriter;    // graph.cpp
class ListingWriter;  // listing.cpp

// Which final class a node is of, so that the stages can switch on it. The order is relied on by
// fail_of and alt_of.
enum class NodeKind : uint8_t {
    natural,
    natural_i,
    dot_all,
    dot_line,
    range,
    range_i,
    escaped_set,
    match_token,
    token_assertion,
    evaluate_assertion,
    lookaround,
    start_line,
    end_line,
    start_string,
    end_string,
    start_word,
    end_word,
    start_token,
    end_token,
    split,
    fixed_counter,
    limit_counter,
    lazy_counter,
    start_counter,
    atomic,
    consume,
    seeker,
    null,
    string,
    evaluate,
    evaluate_dynamic,
    parse_dynamic,
    end_of_tree,
};

inline constexpr size_t kUnbounded = SIZE_MAX;

}  // namespace qxut::regexp

class RE_Node;

struct RE_Link {
    RE_Node* node = nullptr;
    uint32_t leaves = 0;  // possessive regions that end on this link
    uint32_t enters = 0;  // possessive regions that begin on it
};

class RE_Node : public RE_Memory {
  public:
    virtual ~RE_Node() = default;
    virtual void graph(qxut::regexp::GraphWriter& writer) const = 0;
    virtual void list(qxut::regexp::ListingWriter& writer) const = 0;
    // A copy with the links as they are; null when there is no memory.
    virtual RE_Node* clone() const noexcept = 0;

    qxut::regexp::NodeKind kind;
    bool ignores_case = false;
    uint32_t index = 0;   // in the tree's list
    size_t position = 0;  // of its construct in the pattern; a repetition's, of its quantifier
    RE_Link next;

  protected:
    explicit RE_Node(qxut::regexp::NodeKind k) noexcept : kind(k) {}
    RE_Node(const RE_Node&) = default;
};

// What every final class has: the two writers, in this order, and the copy.
#define QXUT_RE_NODE(name)                                         \
    void graph(qxut::regexp::GraphWriter& writer) const override;  \
    void list(qxut::regexp::ListingWriter& writer) const override; \
    RE_Node* clone() const noexcept override { return new name(*this); }

// The two seek templates hold what the analysis learns of a node for the search for starts.
template <class Base>
class RE_Can_Seek : public Base {
  public:
    bool begins = false;  // a match may begin with what this node consumes

  protected:
    using Base::Base;
};
template <class Base>
class RE_Branch_Seek : public Base {
  public:
    bool branches = false;  // a match may begin on more than one of its ways on

  protected:
    using Base::Base;
};

// A node that can fail on the spot.
class RE_Fail : public RE_Node {
  public:
    RE_Link fail;

  protected:
    using RE_Node::RE_Node;
};

// A node that consumes text. As an item of a set it only tests, and the set's RE_Consume advances.
class RE_Consumable : public RE_Fail {
  public:
    bool consumes = true;

  protected:
    using RE_Fail::RE_Fail;
};

class RE_Natural : public RE_Branch_Seek<RE_Consumable> {
  public:
    explicit RE_Natural(char32_t c) noexcept : RE_Natural(c, qxut::regexp::NodeKind::natural) {}
    QXUT_RE_NODE(RE_Natural)
    char32_t character;  // a code point, a lone surrogate among them

  protected:
    RE_Natural(char32_t c, qxut::regexp::NodeKind k) noexcept : RE_Branch_Seek(k), character(c) {}
};
class RE_Natural_I : public RE_Natural {
  public:
    explicit RE_Natural_I(char32_t c) noexcept : RE_Natural(c, qxut::regexp::NodeKind::natural_i) {
        ignores_case = true;
    }
    QXUT_RE_NODE(RE_Natural_I)
};

class RE_Dot : public RE_Can_Seek<RE_Consumable> {
  protected:
    using RE_Can_Seek::RE_Can_Seek;
};
class RE_Dot_All : public RE_Dot {
  public:
    RE_Dot_All() noexcept : RE_Dot(qxut::regexp::NodeKind::dot_all) {}
    QXUT_RE_NODE(RE_Dot_All)
};
class RE_Dot_Line : public RE_Dot {
  public:
    RE_Dot_Line() noexcept : RE_Dot(qxut::regexp::NodeKind::dot_line) {}
    QXUT_RE_NODE(RE_Dot_Line)
};

class RE_Range : public RE_Fail {
  public:
    RE_Range(char32_t a, char32_t b) noexcept : RE_Range(a, b, qxut::regexp::NodeKind::range) {}
    QXUT_RE_NODE(RE_Range)
    char32_t first;
    char32_t last;  // inclusive; below `first` the range matches nothing

  protected:
    RE_Range(char32_t a, char32_t b, qxut::regexp::NodeKind k) noexcept
        : RE_Fail(k), first(a), last(b) {}
};
class RE_Range_I : public RE_Range {
  public:
    RE_Range_I(char32_t a, char32_t b) noexcept : RE_Range(a, b, qxut::regexp::NodeKind::range_i) {
        ignores_case = true;
    }
    QXUT_RE_NODE(RE_Range_I)
    bool is_ambiguous = false;  // folded, it is not one run of its original length
};

class RE_Escaped_Set : public RE_Fail {
  public:
    explicit RE_Escaped_Set(char l) noexcept
        : RE_Fail(qxut::regexp::NodeKind::escaped_set), letter(l) {}
    QXUT_RE_NODE(RE_Escaped_Set)
    char letter;  // d D s S w W
};

// Refers to a token, by number or by a name that the tree owns.
class RE_Token_Fail : public RE_Fail {
  public:
    size_t token = 0;                // 0: by name
    const char16_t* name = nullptr;  // null: by number

  protected:
    using RE_Fail::RE_Fail;
};
class RE_Match_Token : public RE_Token_Fail {
  public:
    RE_Match_Token() noexcept : RE_Token_Fail(qxut::regexp::NodeKind::match_token) {}
    QXUT_RE_NODE(RE_Match_Token)
};
// A condition: next where the token is set, fail where it is not.
class RE_Token_Assertion : public RE_Token_Fail {
  public:
    RE_Token_Assertion() noexcept : RE_Token_Fail(qxut::regexp::NodeKind::token_assertion) {}
    QXUT_RE_NODE(RE_Token_Assertion)
};

// An expression's or a dynamic pattern's text, units of the tree's copy of the pattern.
struct RE_Text {
    const char16_t* text = nullptr;
    size_t length = 0;
    RE_Flags flags = RE_NO_FLAGS;  // in force at the construct
    size_t id = 0;  // the place of its prepared expression in the tree's list of them
};

class RE_Evaluate_Assertion : public RE_Fail {
  public:
    RE_Evaluate_Assertion() noexcept : RE_Fail(qxut::regexp::NodeKind::evaluate_assertion) {}
    QXUT_RE_NODE(RE_Evaluate_Assertion)
    RE_Text expression;
};

// next where the body matches, fail where it does not; a negative one has no next.
class RE_Lookaround_Assertion : public RE_Branch_Seek<RE_Can_Seek<RE_Consumable>> {
  public:
    explicit RE_Lookaround_Assertion(bool ahead) noexcept
        : RE_Branch_Seek(qxut::regexp::NodeKind::lookaround), looks_ahead(ahead) {
        consumes = false;
    }
    QXUT_RE_NODE(RE_Lookaround_Assertion)
    bool looks_ahead;
    RE_Link body;
};

class RE_Anchor : public RE_Node {
  protected:
    using RE_Node::RE_Node;
};
class RE_Start_Line : public RE_Anchor {
  public:
    RE_Start_Line() noexcept : RE_Anchor(qxut::regexp::NodeKind::start_line) {}
    QXUT_RE_NODE(RE_Start_Line)
};
class RE_End_Line : public RE_Anchor {
  public:
    RE_End_Line() noexcept : RE_Anchor(qxut::regexp::NodeKind::end_line) {}
    QXUT_RE_NODE(RE_End_Line)
};
class RE_Start_String : public RE_Anchor {
  public:
    RE_Start_String() noexcept : RE_Anchor(qxut::regexp::NodeKind::start_string) {}
    QXUT_RE_NODE(RE_Start_String)
};
class RE_End_String : public RE_Anchor {
  public:
    RE_End_String() noexcept : RE_Anchor(qxut::regexp::NodeKind::end_string) {}
    QXUT_RE_NODE(RE_End_String)
};
class RE_Word_Anchor : public RE_Anchor {
  protected:
    using RE_Anchor::RE_Anchor;
};
class RE_Start_Word : public RE_Word_Anchor {
  public:
    RE_Start_Word() noexcept : RE_Word_Anchor(qxut::regexp::NodeKind::start_word) {}
    QXUT_RE_NODE(RE_Start_Word)
};
class RE_End_Word : public RE_Word_Anchor {
  public:
    RE_End_Word() noexcept : RE_Word_Anchor(qxut::regexp::NodeKind::end_word) {}
    QXUT_RE_NODE(RE_End_Word)
};

class RE_Token : public RE_Node {
  public:
    size_t token = 0;
    const char16_t* name = nullptr;  // null: it has none

  protected:
    using RE_Node::RE_Node;
};
class RE_Start_Token : public RE_Token {
  public:
    RE_Start_Token() noexcept : RE_Token(qxut::regexp::NodeKind::start_token) {}
    QXUT_RE_NODE(RE_Start_Token)
};
class RE_End_Token : public RE_Token {
  public:
    RE_End_Token() noexcept : RE_Token(qxut::regexp::NodeKind::end_token) {}
    QXUT_RE_NODE(RE_End_Token)
};

// A choice: next is tried first, then alt. Where it repeats (kind `split`, repeats) the way into
// the body leads back here; that way is next when greedy, alt when lazy. A single optional atom is
// a split that does not repeat.
class RE_Split : public RE_Branch_Seek<RE_Can_Seek<RE_Node>> {
  public:
    RE_Split() noexcept : RE_Split(qxut::regexp::NodeKind::split) {}
    QXUT_RE_NODE(RE_Split)
    bool repeats = false;
    bool is_lazy = false;
    bool is_possessive = false;
    RE_Link alt;

  protected:
    explicit RE_Split(qxut::regexp::NodeKind k) noexcept : RE_Branch_Seek(k) {}
};
// A counted repetition: RE_Start_Counter, then the counter, whose next is the body (which leads
// back to the counter) and whose alt is the exit.
class RE_Counter : public RE_Split {
  protected:
    using RE_Split::RE_Split;
};
// What a counter does besides choosing; not nodes of the chain, and not listed.
// Leaves the repetition: its count is dropped, that of an enclosing iteration is in force again.
class RE_Counter_Popper : public RE_Counter {
  public:
    RE_Counter_Popper() noexcept : RE_Counter(qxut::regexp::NodeKind::split) {}
    QXUT_RE_NODE(RE_Counter_Popper)
};
// Takes one more repetition of a lazy counter, when what followed it has failed.
class RE_Lazy_Decrementer : public RE_Counter {
  public:
    RE_Lazy_Decrementer() noexcept : RE_Counter(qxut::regexp::NodeKind::split) {}
    QXUT_RE_NODE(RE_Lazy_Decrementer)
};
// A counter that holds a count.
class RE_State_Counter : public RE_Counter {
  public:
    size_t count = 0;

  protected:
    using RE_Counter::RE_Counter;
};
class RE_Greedy_Counter : public RE_State_Counter {
  protected:
    using RE_State_Counter::RE_State_Counter;
};
// Exactly `count` times.
class RE_Fixed_Counter : public RE_Greedy_Counter {
  public:
    RE_Fixed_Counter() noexcept : RE_Greedy_Counter(qxut::regexp::NodeKind::fixed_counter) {}
    QXUT_RE_NODE(RE_Fixed_Counter)
};
// Up to `count` times, as many as possible.
class RE_Limit_Counter : public RE_Greedy_Counter {
  public:
    RE_Limit_Counter() noexcept : RE_Greedy_Counter(qxut::regexp::NodeKind::limit_counter) {}
    QXUT_RE_NODE(RE_Limit_Counter)
};
// Up to `count` times, as few as possible.
class RE_Lazy_Counter : public RE_State_Counter {
  public:
    RE_Lazy_Counter() noexcept : RE_State_Counter(qxut::regexp::NodeKind::lazy_counter) {
        is_lazy = true;
    }
    QXUT_RE_NODE(RE_Lazy_Counter)
};

class RE_Start_Counter : public RE_Node {
  public:
    RE_Start_Counter() noexcept : RE_Node(qxut::regexp::NodeKind::start_counter) {}
    QXUT_RE_NODE(RE_Start_Counter)
};
class RE_Atomic : public RE_Node {
  public:
    RE_Atomic() noexcept : RE_Node(qxut::regexp::NodeKind::atomic) {}
    QXUT_RE_NODE(RE_Atomic)
    RE_Link body;
};
class RE_Consume : public RE_Node {
  public:
    RE_Consume() noexcept : RE_Node(qxut::regexp::NodeKind::consume) {}
    QXUT_RE_NODE(RE_Consume)
};
// Skips ahead to a possible start; the first node of a graph where the analysis found one.
class RE_Seeker : public RE_Node {
  public:
    RE_Seeker() noexcept : RE_Node(qxut::regexp::NodeKind::seeker) {}
    QXUT_RE_NODE(RE_Seeker)
};
class RE_Null : public RE_Node {
  public:
    RE_Null() noexcept : RE_Node(qxut::regexp::NodeKind::null) {}
    QXUT_RE_NODE(RE_Null)
};
// A run of literal characters, two or more and none of them a lone surrogate, in units that the
// tree owns.
class RE_String : public RE_Node {
  public:
    RE_String() noexcept : RE_Node(qxut::regexp::NodeKind::string) {}
    QXUT_RE_NODE(RE_String)
    const char16_t* text = nullptr;
    size_t length = 0;
};
class RE_Evaluate : public RE_Node {
  public:
    RE_Evaluate() noexcept : RE_Node(qxut::regexp::NodeKind::evaluate) {}
    QXUT_RE_NODE(RE_Evaluate)
    RE_Text expression;
};
class RE_Dynamic : public RE_Node {
  public:
    RE_Text pattern;

  protected:
    using RE_Node::RE_Node;
};
// (??@...): the text is evaluated, the answer is the pattern.
class RE_Evaluate_Dynamic : public RE_Dynamic {
  public:
    RE_Evaluate_Dynamic() noexcept : RE_Dynamic(qxut::regexp::NodeKind::evaluate_dynamic) {}
    QXUT_RE_NODE(RE_Evaluate_Dynamic)
};
// (??...): the text is the pattern.
class RE_Parse_Dynamic : public RE_Dynamic {
  public:
    RE_Parse_Dynamic() noexcept : RE_Dynamic(qxut::regexp::NodeKind::parse_dynamic) {}
    QXUT_RE_NODE(RE_Parse_Dynamic)
};
class RE_End_Of_Tree : public RE_Node {
  public:
    RE_End_Of_Tree() noexcept : RE_Node(qxut::regexp::NodeKind::end_of_tree) {}
    QXUT_RE_NODE(RE_End_Of_Tree)
};

#undef QXUT_RE_NODE

namespace qxut::regexp {

// The links that only some kinds of nodes have; null where the node has no such link. The kinds of
// the first two stand in rows of their own, at the beginning and from `split` on.
inline RE_Link* fail_of(RE_Node& node) noexcept {
    return node.kind <= NodeKind::lookaround ? &static_cast<RE_Fail&>(node).fail : nullptr;
}
inline RE_Link* alt_of(RE_Node& node) noexcept {
    return node.kind >= NodeKind::split && node.kind <= NodeKind::lazy_counter
               ? &static_cast<RE_Split&>(node).alt
               : nullptr;
}
inline RE_Link* body_of(RE_Node& node) noexcept {
    if (node.kind == NodeKind::lookaround) {
        return &static_cast<RE_Lookaround_Assertion&>(node).body;
    }
    return node.kind == NodeKind::atomic ? &static_cast<RE_Atomic&>(node).body : nullptr;
}
inline const RE_Link* fail_of(const RE_Node& node) noexcept {
    return fail_of(const_cast<RE_Node&>(node));
}
inline const RE_Link* alt_of(const RE_Node& node) noexcept {
    return alt_of(const_cast<RE_Node&>(node));
}
inline const RE_Link* body_of(const RE_Node& node) noexcept {
    return body_of(const_cast<RE_Node&>(node));
}

}  // namespace qxut::regexp

#endif
