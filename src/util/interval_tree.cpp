// interval_tree.cpp - the balanced tree of an interval set: finding, splitting, joining.
//
// The technique and the invariants are in interval_tree.h. A change is made in one leaf and goes up
// the path for as long as a node is full (insert_at) or has too little (erase_at). An insertion
// counts the full nodes of its path first and gets as many new ones, so that the splitting itself
// cannot fail. Tested by tests/util/interval_set_test.cpp, with ut_fsi_check after each change.
#include "util/interval_tree.h"

#include <algorithm>

namespace qxut::fsi {
namespace {

void copy_entries(const Node* from, int32_t from_index, Node* to, int32_t to_index, int32_t count,
                  bool is_leaf) {
    std::copy_n(from->first + from_index, count, to->first + to_index);
    if (is_leaf) {
        std::copy_n(from->last + from_index, count, to->last + to_index);
    } else {
        std::copy_n(from->child + from_index, count, to->child + to_index);
    }
}

// Moves the entries from `index` on by `distance` places up; the places in between are free.
void open_gap(Node* node, int32_t index, int32_t distance, bool is_leaf) {
    const int32_t end = node->count;
    std::copy_backward(node->first + index, node->first + end, node->first + end + distance);
    if (is_leaf) {
        std::copy_backward(node->last + index, node->last + end, node->last + end + distance);
    } else {
        std::copy_backward(node->child + index, node->child + end, node->child + end + distance);
    }
    node->count = end + distance;
}

void close_gap(Node* node, int32_t index, int32_t length, bool is_leaf) {
    std::copy(node->first + index + length, node->first + node->count, node->first + index);
    if (is_leaf) {
        std::copy(node->last + index + length, node->last + node->count, node->last + index);
    } else {
        std::copy(node->child + index + length, node->child + node->count, node->child + index);
    }
    cut_to(node, node->count - length);
}

// --- nodes ---------------------------------------------------------------------------------------

// Sees to it that `count` nodes can be taken. What was got before memory ran out stays in the
// list, for the next insertion or the end of the set.
void reserve(ut_fsi& set, int32_t count) {
    for (const Node* spare = set.spares; spare != nullptr && count > 0; spare = spare->next)
        --count;
    for (; count > 0; --count) {
        auto* const node = static_cast<Node*>(ut_mem_alloc(set.mem_ctx, sizeof(Node)));
        node->next = set.spares;
        set.spares = node;
    }
}

Node* take_spare(ut_fsi& set) {
    Node* const node = set.spares;
    set.spares = node->next;
    make_node(node);
    return node;
}

void link_leaf_after(Node* leaf, Node* right) {
    right->previous = leaf;
    right->next = leaf->next;
    if (leaf->next != nullptr) leaf->next->previous = right;
    leaf->next = right;
}

void free_node(ut_fsi& set, Node* node, bool is_leaf) {
    if (is_leaf) {
        if (node->previous != nullptr) node->previous->next = node->next;
        if (node->next != nullptr) node->next->previous = node->previous;
    }
    ut_mem_free(set.mem_ctx, node);
}

void free_subtree(_memory_context* memory, Node* node, int32_t height) {
    if (height > 0) {
        for (int32_t i = 0; i < node->count; ++i) free_subtree(memory, node->child[i], height - 1);
    }
    ut_mem_free(memory, node);
}

// --- first values --------------------------------------------------------------------------------

// The first value of the node at this level of the path has changed.
void tell_first(const ut_fsi& set, const Path& path, int32_t level) {
    const int64_t first = path.step[level].node->first[0];
    for (int32_t above = level + 1; above <= set.height; ++above) {
        const Step& step = path.step[above];
        step.node->first[step.index] = first;
        if (step.index != 0) break;
    }
}

// --- splitting -----------------------------------------------------------------------------------

int32_t nodes_to_split(const ut_fsi& set, const Path& path) {
    int32_t level = 0;
    while (level <= set.height && path.step[level].node->count == kMaxEntries) ++level;
    return level > set.height ? level + 1 : level;  // one more for a new root
}

// Splits a full node so that an entry can be put in at the step, which then leads to that place.
// Returns the new right one.
Node* split(ut_fsi& set, Step& step, bool at_end, bool is_leaf) {
    Node* const node = step.node;
    Node* const right = take_spare(set);
    const int32_t kept = at_end ? kMaxEntries : kMaxEntries / 2;
    copy_entries(node, kept, right, 0, kMaxEntries - kept, is_leaf);
    right->count = kMaxEntries - kept;
    cut_to(node, kept);
    if (is_leaf) link_leaf_after(node, right);
    if (step.index > kept || at_end) step = {right, step.index - kept};
    return right;
}

void grow_root(ut_fsi& set, Node* right) {
    Node* const root = take_spare(set);
    root->count = 2;
    root->first[0] = set.root->first[0];
    root->first[1] = right->first[0];
    root->child[0] = set.root;
    root->child[1] = right;
    set.root = root;
    ++set.height;
}

// --- joining -------------------------------------------------------------------------------------

// Evens out two neighbours, one of which may be empty.
void share(Node* left, Node* right, bool is_leaf) {
    const int32_t wanted = (left->count + right->count) / 2;
    if (left->count < wanted) {
        const int32_t moved = wanted - left->count;
        copy_entries(right, 0, left, left->count, moved, is_leaf);
        left->count = wanted;
        close_gap(right, 0, moved, is_leaf);
    } else {
        const int32_t moved = left->count - wanted;
        open_gap(right, 0, moved, is_leaf);
        copy_entries(left, wanted, right, 0, moved, is_leaf);
        cut_to(left, wanted);
    }
}

// Joins the node at `level` with a neighbour under the same parent, or evens the two out. Returns
// whether the parent has lost an entry.
bool join_or_share(ut_fsi& set, Path& path, int32_t level) {
    const bool is_leaf = level == 0;
    Step& above = path.step[level + 1];
    Node* const parent = above.node;
    above.index = std::max(above.index - 1, 0);
    Node* const left = parent->child[above.index];
    Node* const right = parent->child[above.index + 1];
    path.step[level].node = left;
    const bool join = left->count + right->count <= kMergeEntries;
    if (join) {
        copy_entries(right, 0, left, left->count, right->count, is_leaf);
        left->count += right->count;
        close_gap(parent, above.index + 1, 1, false);
        free_node(set, right, is_leaf);
    } else {
        share(left, right, is_leaf);
        parent->first[above.index + 1] = right->first[0];
    }
    tell_first(set, path, level);
    return join;
}

void shrink_root(ut_fsi& set) {
    while (set.height > 0 && set.root->count == 1) {
        Node* const root = set.root;
        set.root = root->child[0];
        --set.height;
        free_node(set, root, false);
    }
    if (set.root->count == 0) {
        free_node(set, set.root, set.height == 0);
        set.root = nullptr;
        set.height = 0;
    }
}

// Mends the path after the leaf has lost entries.
void rebalance(ut_fsi& set, Path& path) {
    for (int32_t level = 0; level < set.height; ++level) {
        Node* const node = path.step[level].node;
        if (node->count >= kMinEntries) return;
        Node* const parent = path.step[level + 1].node;
        if (parent->count > 1) {
            if (!join_or_share(set, path, level)) return;
        } else {
            // An only child is on the right edge, where a node may be small, but not empty.
            if (node->count > 0) return;
            free_node(set, node, level == 0);
            parent->count = 0;
        }
    }
    shrink_root(set);
}

}  // namespace

const Node* first_leaf(const ut_fsi& set) {
    const Node* node = set.root;
    for (int32_t level = set.height; level > 0; --level) node = node->child[0];
    return node;
}

const Node* last_leaf(const ut_fsi& set) {
    const Node* node = set.root;
    for (int32_t level = set.height; level > 0; --level) node = node->child[node->count - 1];
    return node;
}

void find_path(const ut_fsi& set, int64_t value, Path& path) {
    Node* node = set.root;
    for (int32_t level = set.height; level > 0; --level) {
        const int32_t index = child_for(node, value);
        path.step[level] = {node, index};
        node = node->child[index];
    }
    path.step[0] = {node, last_at_or_below(node, value)};
}

void insert_at(ut_fsi& set, Path& path, ut_fsi_interval interval) {
    if (path.leaf()->count == kMaxEntries) reserve(set, nodes_to_split(set, path));

    const bool at_end = path.leaf()->next == nullptr && path.position() == path.leaf()->count;
    Node* right = nullptr;
    for (int32_t level = 0;; ++level) {
        const bool is_leaf = level == 0;
        Step& step = path.step[level];
        Node* const child = right;  // what the level below has split off
        right = nullptr;
        if (step.node->count == kMaxEntries) right = split(set, step, at_end, is_leaf);
        open_gap(step.node, step.index, 1, is_leaf);
        if (is_leaf) {
            step.node->first[step.index] = interval.first;
            step.node->last[step.index] = interval.last;
            if (step.index == 0 && step.node != right) tell_first(set, path, 0);
        } else {
            step.node->first[step.index] = child->first[0];
            step.node->child[step.index] = child;
        }
        if (right == nullptr) break;
        if (level == set.height) {
            grow_root(set, right);
            break;
        }
        ++path.step[level + 1].index;  // the place behind the node that was split
    }
    ++set.num_intervals;
    set.num_members += size_of(interval.first, interval.last);
}

void insert_into_empty(ut_fsi& set, ut_fsi_interval interval) {
    reserve(set, 1);
    Node* const leaf = take_spare(set);
    leaf->count = 1;
    leaf->first[0] = interval.first;
    leaf->last[0] = interval.last;
    set.root = leaf;
    set.num_intervals = 1;
    set.num_members = size_of(interval.first, interval.last);
}

void set_first(ut_fsi& set, const Path& path, int64_t first) {
    int64_t& old = path.leaf()->first[path.position()];
    set.num_members += static_cast<uint64_t>(old) - static_cast<uint64_t>(first);
    old = first;
    if (path.position() == 0) tell_first(set, path, 0);
}

void set_last(ut_fsi& set, const Path& path, int64_t last) {
    int64_t& old = path.leaf()->last[path.position()];
    set.num_members += static_cast<uint64_t>(last) - static_cast<uint64_t>(old);
    old = last;
}

void erase_at(ut_fsi& set, Path& path, int32_t length) {
    Node* const leaf = path.leaf();
    const int32_t position = path.position();
    for (int32_t i = position; i < position + length; ++i) {
        set.num_members -= size_of(leaf->first[i], leaf->last[i]);
    }
    set.num_intervals -= static_cast<uint64_t>(length);
    close_gap(leaf, position, length, true);
    if (position == 0 && leaf->count > 0) tell_first(set, path, 0);
    rebalance(set, path);
}

void append(ut_fsi& set, Node*& leaf, ut_fsi_interval interval) {
    if (leaf == nullptr) {
        insert_into_empty(set, interval);
        leaf = set.root;
    } else if (leaf->count < kMaxEntries) {
        leaf->first[leaf->count] = interval.first;
        leaf->last[leaf->count] = interval.last;
        ++leaf->count;
        ++set.num_intervals;
        set.num_members += size_of(interval.first, interval.last);
    } else {
        Path path;
        find_path(set, interval.first, path);
        ++path.step[0].index;
        insert_at(set, path, interval);
        leaf = leaf->next;
    }
}

void free_nodes(ut_fsi& set) {
    if (set.root != nullptr) free_subtree(set.mem_ctx, set.root, set.height);
    while (set.spares != nullptr) {
        Node* const spare = set.spares;
        set.spares = spare->next;
        ut_mem_free(set.mem_ctx, spare);
    }
    set.root = nullptr;
    set.height = 0;
    set.num_intervals = 0;
    set.num_members = 0;
}

}  // namespace qxut::fsi
