// interval_tree.h - the tree of an interval set: disjoint intervals in ascending order, in wide
// nodes.
//
//     root         first   [   -40 |    90 |   700 ]
//                  child   [   |   |   |   |   |   ]
//                              v       v       v
//     leaves <-->  first   [ -40 2 ] [ 90 97 ] [ 700 ]     linked in order by previous and next
//                  last    [  -1 2 ] [ 95 99 ] [ 912 ]
//
// All leaves are at one depth. An inner node holds for each child the first value of its subtree,
// exactly. First values lie side by side in memory, so that a lookup touches about three cache
// lines a level, and a level takes the place of five of a binary tree's. Those past a node's count
// are padding, the largest integer, so that a search need not look at the count.
//
// A node holds kMinEntries to kMaxEntries entries; the root and the nodes on the right edge may
// hold fewer, but at least one (an inner root two). Splitting off an empty right neighbour when
// something is appended keeps the nodes of sets that grow in ascending order full, and makes
// appending the way to build a tree from sorted intervals.
//
// Only an insertion needs memory. It gets all its nodes before it changes anything. The functions
// below keep the counts in the record.
#ifndef QXUT_SRC_UTIL_INTERVAL_TREE_H
#define QXUT_SRC_UTIL_INTERVAL_TREE_H

#include <algorithm>
#include <cstddef>
#include <limits>

#include <qxut/util/interval_set.h>

namespace qxut::fsi {

constexpr int32_t kMaxEntries = 32;
constexpr int32_t kMinEntries = kMaxEntries / 4;
// Nodes that have this much together become one; the gap to kMaxEntries keeps a set that shrinks
// and grows by turns from merging and splitting each time.
constexpr int32_t kMergeEntries = kMaxEntries * 3 / 4;
// The root's first subtree is full to kMinEntries at each level, so 2^63 intervals, the most there
// can be, have no more than 22 levels.
constexpr int32_t kMaxLevels = 23;

}  // namespace qxut::fsi

struct ut_fsi_node {
    ut_fsi_node* previous;  // leaves only
    ut_fsi_node* next;      // leaves, and the list of spare nodes
    int32_t count;
    int64_t first[qxut::fsi::kMaxEntries];
    union {
        int64_t last[qxut::fsi::kMaxEntries];        // leaves
        ut_fsi_node* child[qxut::fsi::kMaxEntries];  // inner nodes
    };
};

namespace qxut::fsi {

using Node = ut_fsi_node;

struct Step {
    Node* node;
    int32_t index;
};

// The way from the root, step[height], to an entry of a leaf, step[0].
struct Path {
    Step step[kMaxLevels];

    Node* leaf() const { return step[0].node; }
    int32_t position() const { return step[0].index; }
};

// Moves on over those of three dividers, `stride` apart, that are at or below `value`. Counting
// takes no branch, which would be as good as random here.
template <ptrdiff_t stride>
const int64_t* pass(const int64_t* first, int64_t value) {
    const ptrdiff_t passed = (first[stride] <= value ? 1 : 0) +
                             (first[2 * stride] <= value ? 1 : 0) +
                             (first[3 * stride] <= value ? 1 : 0);
    return first + stride * passed;
}

// The child to look for `value` in: the last one that begins at or below it, else the first.
inline int32_t child_for(const Node* node, int64_t value) {
    // The padding is not at or below any other value.
    if (value == std::numeric_limits<int64_t>::max()) [[unlikely]]
        return node->count - 1;
    static_assert(kMaxEntries == 32);
    const int64_t* at = pass<2>(pass<8>(node->first, value), value);
    at += at[1] <= value ? 1 : 0;
    return static_cast<int32_t>(at - node->first);
}

// Index of the last entry whose first value is at or below `value`; -1 if there is none.
inline int32_t last_at_or_below(const Node* node, int64_t value) {
    const int32_t index = child_for(node, value);
    return index - (node->first[index] <= value ? 0 : 1);
}

// The leaf that holds the last interval that begins at or below `value`, else the first leaf. The
// set is not empty.
inline const Node* leaf_for(const ut_fsi& set, int64_t value) {
    const Node* node = set.root;
    for (int32_t level = set.height; level > 0; --level) {
        node = node->child[child_for(node, value)];
    }
    return node;
}

// Lowers a node's count.
inline void cut_to(Node* node, int32_t count) {
    std::fill(node->first + count, node->first + node->count, std::numeric_limits<int64_t>::max());
    node->count = count;
}

// Makes new memory a node without entries or neighbours.
inline void make_node(Node* node) {
    node->previous = nullptr;
    node->next = nullptr;
    node->count = kMaxEntries;
    cut_to(node, 0);
}

// The outermost leaves; null for an empty set.
const Node* first_leaf(const ut_fsi& set);
const Node* last_leaf(const ut_fsi& set);

// The path to the last interval that begins at or below `value`; its position is -1 if there is
// none. The set is not empty.
void find_path(const ut_fsi& set, int64_t value, Path& path);

// Puts an interval into the leaf at the path's position and moves what follows up. The position is
// where the order wants it, 0 in the first leaf of the set only, and the interval touches no
// other. Raises OUT_OF_MEMORY with the set as it was. The path may no longer be used.
void insert_at(ut_fsi& set, Path& path, ut_fsi_interval interval);

// Puts the first interval into an empty set.
void insert_into_empty(ut_fsi& set, ut_fsi_interval interval);

// Make the path's interval begin, end, elsewhere; the order does not change.
void set_first(ut_fsi& set, const Path& path, int64_t first);
void set_last(ut_fsi& set, const Path& path, int64_t last);

// Removes `length` intervals, at least one, of the path's leaf from its position on. The path may
// no longer be used.
void erase_at(ut_fsi& set, Path& path, int32_t length);

// Puts an interval behind all others, which it does not touch. `leaf` is last_leaf(set), and is
// kept so.
void append(ut_fsi& set, Node*& leaf, ut_fsi_interval interval);

// Frees all nodes, spare ones too; the set is then empty.
void free_nodes(ut_fsi& set);

// The number of members, modulo 2^64.
inline uint64_t size_of(int64_t first, int64_t last) {
    return static_cast<uint64_t>(last) - static_cast<uint64_t>(first) + 1;
}

}  // namespace qxut::fsi

#endif
