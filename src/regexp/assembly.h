// assembly.h - puts a graph together: nodes into fragments, fragments into larger ones.
//
// A fragment is a part of the graph with one way in, its first node, and any number of ways out,
// its loose ends: links that wait for what follows. Its nodes are a run of the list in which the
// nodes of the tree stand. Joining two fragments is a matter of a few words and of the loose ends
// of the first, each of which is tied once; nothing moves, so nesting costs nothing.
#ifndef QXUT_SRC_REGEXP_ASSEMBLY_H
#define QXUT_SRC_REGEXP_ASSEMBLY_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "regexp/arena.h"
#include "regexp/failure.h"
#include "regexp/pattern.h"
#include "regexp/quantifier.h"

namespace qxut::regexp {

// How many nodes a pattern may have, and how many of them may be copies that quantifiers made: a
// short pattern must not become a huge graph.
inline constexpr uint32_t kMostNodes = 1U << 24;
inline constexpr uint32_t kMostCopies = 1U << 20;

using NodeId = uint32_t;
inline constexpr uint32_t kNone = UINT32_MAX;

enum class LinkKind : uint8_t { next, fail, alt, body };

struct Fragment {
    NodeId first = kNone;    // in the list, and the way in; kNone: no nodes
    NodeId last = kNone;     // in the list
    uint32_t size = 0;       // nodes
    uint32_t enters = 0;     // possessive regions that begin in front of `first`
    uint32_t loose = kNone;  // the first of its loose ends
    uint32_t last_loose = kNone;
    uint32_t loose_count = 0;
    bool consumes = false;      // can match a character
    bool is_unbounded = false;  // can match any number of them

    bool is_empty() const noexcept { return first == kNone; }
};

class Assembly {
  public:
    // Owns its nodes in `pattern`, in the order of their making until finish.
    Assembly(Pattern& pattern, Arena& arena) noexcept
        : pattern_(pattern), after_(arena), loose_(arena), scratch_(arena), places_(arena) {}

    // A new node of class T, as a fragment without loose ends. All members below throw
    // std::bad_alloc, and UserException for a graph that grows too large.
    template <class T, class... Arguments>
    T* make(size_t position, Arguments&&... arguments) {
        reserve(position);
        T* node = require(new T(std::forward<Arguments>(arguments)...));
        adopt(node, position);
        return node;
    }
    static Fragment fragment_of(const RE_Node& node) noexcept;
    // The same with its next as the loose end.
    Fragment open_fragment_of(const RE_Node& node);

    // Lets a link of a node of the fragment wait for what follows.
    void loosen(Fragment& fragment, NodeId node, LinkKind kind);
    // Ties a link to the fragment's way in, which is not empty.
    void tie(NodeId node, LinkKind kind, const Fragment& target) noexcept;
    // The same for one link of each node of `whole`.
    void tie_each(const Fragment& whole, LinkKind kind, const Fragment& target) noexcept;
    // Ties all loose ends of the fragment to the target, which is not empty.
    void tie_loose(Fragment& fragment, const Fragment& target) noexcept;

    // Puts the nodes of `part` behind those of `whole` without tying anything; what `whole` had
    // loose and what `part` has loose is loose afterwards.
    void enlist(Fragment& whole, const Fragment& part) noexcept;
    // Lets `part` follow `whole`. An empty one changes nothing.
    void append(Fragment& whole, const Fragment& part) noexcept;

    // The fragment repeated; quantifier.cpp. `atom` is used up.
    Fragment repeat(const Fragment& atom, const Quantifier& quantifier);

    RE_Node& node(NodeId id) noexcept { return *pattern_.nodes[id]; }
    RE_Link& link(NodeId id, LinkKind kind) noexcept;

    // Makes the fragment the graph of the pattern: its list becomes the order of the pattern's
    // nodes, and nodes that are in no fragment any more are destroyed.
    void finish(const Fragment& whole);

  private:
    struct Loose {
        NodeId node;
        LinkKind kind;
        uint32_t next;
    };
    // Makes room for more nodes, so that adopting them cannot fail.
    void reserve(size_t position, size_t count = 1);
    void adopt(RE_Node* node, size_t position) noexcept;
    // A copy of a fragment none of whose loose ends is tied yet.
    Fragment clone(const Fragment& original, size_t position);
    void make_possessive(Fragment& fragment, size_t position);
    Fragment counted(RE_Split* counter, size_t count, Fragment body, size_t position);
    Fragment looped(Fragment body, const Quantifier& quantifier, bool repeats);

    Pattern& pattern_;
    Working<NodeId> after_;  // by node: the next one in its list
    Working<Loose> loose_;
    Working<NodeId> scratch_;   // by place in a run: the copies
    Working<uint32_t> places_;  // by node: its place in the run that is copied
    uint32_t copies_ = 0;
};

}  // namespace qxut::regexp

#endif
