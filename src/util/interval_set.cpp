// interval_set.cpp - an ordered set of integers: changing it, asking it, walking it.
//
// A change begins with one descent to the interval that begins at or below its lower end. Most
// changes end there too: an interval grows, shrinks, comes or goes. One that reaches further
// removes the intervals in between, a leaf's share at a time, and allocates nothing. All arithmetic
// on neighbours (last + 1, first - 1) is done where another integer is known to lie beyond, so that
// it cannot overflow. Entry points: the public functions; the tree is in interval_tree.cpp.
// Tested by tests/util/interval_set_test.cpp.
#include <qxut/util/interval_set.h>

#include <algorithm>
#include <limits>

#include "util/interval_tree.h"

namespace {

using qxut::fsi::Node;
using qxut::fsi::Path;
namespace fsi = qxut::fsi;

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

// The path to the first interval that begins at or above `value`; false if there is none.
bool find_path_from(const ut_fsi& set, int64_t value, Path& path) {
    if (set.root == nullptr) return false;
    fsi::find_path(set, value, path);
    const Node* const leaf = path.leaf();
    if (path.position() >= 0 && leaf->first[path.position()] == value) return true;
    if (++path.step[0].index < leaf->count) return true;
    if (leaf->next == nullptr) return false;
    fsi::find_path(set, leaf->next->first[0], path);
    return true;
}

// Removes the members of [first, last] from the intervals that begin there. Returns whether there
// were any. Allocates nothing.
bool remove_beginning_in(ut_fsi& set, int64_t first, int64_t last) {
    bool found = false;
    Path path;
    while (find_path_from(set, first, path) && path.leaf()->first[path.position()] <= last) {
        found = true;
        const Node* const leaf = path.leaf();
        int32_t end = fsi::last_at_or_below(leaf, last) + 1;
        const bool is_cut = leaf->last[end - 1] > last;
        const bool goes_on = end == leaf->count && !is_cut;
        if (is_cut) {
            --end;
            Path cut = path;
            cut.step[0].index = end;
            fsi::set_first(set, cut, last + 1);
        }
        if (end > path.position()) fsi::erase_at(set, path, end - path.position());
        if (!goes_on) break;
    }
    return found;
}

// Makes the interval that begins at `first` reach `last` at least, and swallow what it then
// overlaps or touches.
void extend(ut_fsi& set, int64_t first, int64_t last) {
    Path path;
    fsi::find_path(set, last == kHighest ? last : last + 1, path);
    last = std::max(last, path.leaf()->last[path.position()]);
    if (path.leaf()->first[path.position()] != first) {
        remove_beginning_in(set, first + 1, last);
        fsi::find_path(set, first, path);
    }
    fsi::set_last(set, path, last);
}

bool contains(const ut_fsi& set, int64_t first, int64_t last) {
    if (set.root == nullptr) return false;
    const Node* const leaf = fsi::leaf_for(set, first);
    const int32_t index = fsi::last_at_or_below(leaf, first);
    return index >= 0 && leaf->last[index] >= last;
}

}  // namespace

// --- life ----------------------------------------------------------------------------------------

void ut_initialize_fsi(ut_fsi* set, _memory_context* mem_ctx) {
    *set = {};
    set->mem_ctx = mem_ctx;
}

ut_fsi* ut_new_fsi(_memory_context* mem_ctx) {
    auto* const set = static_cast<ut_fsi*>(ut_mem_alloc(mem_ctx, sizeof(ut_fsi)));
    ut_initialize_fsi(set, mem_ctx);
    return set;
}

void ut_clear_fsi(ut_fsi* set) {
    fsi::free_nodes(*set);
    set->mem_ctx = nullptr;
}

void ut_delete_fsi(ut_fsi* set) {
    if (set == nullptr) return;
    _memory_context* const memory = set->mem_ctx;
    ut_clear_fsi(set);
    ut_mem_free(memory, set);
}

void ut_fsi_empty(ut_fsi* set) { fsi::free_nodes(*set); }

// --- insertion and removal -----------------------------------------------------------------------

bool ut_fsi_insert(ut_fsi* set, int64_t value) { return ut_fsi_insert_interval(set, value, value); }

bool ut_fsi_insert_interval(ut_fsi* set, int64_t first, int64_t last) {
    if (first > last) return true;
    if (set->root == nullptr) {
        fsi::insert_into_empty(*set, {first, last});
        return false;
    }
    Path path;
    fsi::find_path(*set, first, path);
    const Node* const leaf = path.leaf();
    const int32_t position = path.position();

    bool joins_below = false;
    if (position >= 0) {
        const int64_t below = leaf->last[position];
        if (below >= last) return true;
        joins_below = below >= first || below + 1 == first;
    }
    const bool in_leaf = position + 1 < leaf->count;
    const Node* const next = in_leaf ? leaf : leaf->next;
    const int32_t next_position = in_leaf ? position + 1 : 0;
    const bool joins_above = next != nullptr && (next->first[next_position] <= last ||
                                                 next->first[next_position] - 1 == last);

    if (joins_above) {
        if (!joins_below) {
            if (in_leaf) {
                path.step[0].index = next_position;
            } else {
                fsi::find_path(*set, next->first[next_position], path);
            }
            fsi::set_first(*set, path, first);
        }
        if (joins_below || next->last[next_position] < last) {
            extend(*set, path.leaf()->first[path.position()], last);
        }
    } else if (joins_below) {
        fsi::set_last(*set, path, last);
    } else {
        ++path.step[0].index;
        fsi::insert_at(*set, path, {first, last});
    }
    return false;
}

bool ut_fsi_remove(ut_fsi* set, int64_t value) { return ut_fsi_remove_interval(set, value, value); }

bool ut_fsi_remove_interval(ut_fsi* set, int64_t first, int64_t last) {
    if (first > last || set->root == nullptr) return false;
    Path path;
    fsi::find_path(*set, first, path);
    bool found = false;
    if (path.position() >= 0) {
        const ut_fsi_interval below = {path.leaf()->first[path.position()],
                                       path.leaf()->last[path.position()]};
        if (below.first == first && below.last == last) {
            fsi::erase_at(*set, path, 1);
            return true;
        }
        if (below.first < first && below.last > last) {
            // The upper part first, since that may fail.
            ++path.step[0].index;
            fsi::insert_at(*set, path, {last + 1, below.last});
            fsi::find_path(*set, first, path);
            fsi::set_last(*set, path, first - 1);
            return true;
        }
        if (below.first < first && below.last >= first) {
            fsi::set_last(*set, path, first - 1);
            found = true;
        }
    }
    return remove_beginning_in(*set, first, last) || found;
}

// --- lookup --------------------------------------------------------------------------------------

bool ut_fsi_is_member(const ut_fsi* set, int64_t value) { return contains(*set, value, value); }

bool ut_fsi_contains_interval(const ut_fsi* set, int64_t first, int64_t last) {
    return first > last || contains(*set, first, last);
}

bool ut_fsi_meets_interval(const ut_fsi* set, int64_t first, int64_t last) {
    if (first > last || set->root == nullptr) return false;
    const Node* const leaf = fsi::leaf_for(*set, last);
    const int32_t index = fsi::last_at_or_below(leaf, last);
    return index >= 0 && leaf->last[index] >= first;
}

bool ut_fsi_query_interval(const ut_fsi* set, int64_t value, ut_fsi_interval* out) {
    if (set->root == nullptr) return false;
    const Node* const leaf = fsi::leaf_for(*set, value);
    const int32_t index = fsi::last_at_or_below(leaf, value);
    if (index < 0 || leaf->last[index] < value) return false;
    *out = {leaf->first[index], leaf->last[index]};
    return true;
}

bool ut_fsi_next(const ut_fsi* set, int64_t value, int64_t* out) {
    if (value == kHighest) return false;
    ut_fsi_cursor cursor;
    ut_fsi_interval interval;
    ut_fsi_cursor_init_at(set, &cursor, value + 1);
    if (!ut_fsi_iterate(&cursor, &interval)) return false;
    *out = std::max(interval.first, value + 1);
    return true;
}

bool ut_fsi_previous(const ut_fsi* set, int64_t value, int64_t* out) {
    if (value == kLowest || set->root == nullptr) return false;
    const Node* const leaf = fsi::leaf_for(*set, value - 1);
    const int32_t index = fsi::last_at_or_below(leaf, value - 1);
    if (index < 0) return false;
    *out = std::min(leaf->last[index], value - 1);
    return true;
}

bool ut_fsi_min(const ut_fsi* set, int64_t* out) {
    const Node* const leaf = fsi::first_leaf(*set);
    if (leaf == nullptr) return false;
    *out = leaf->first[0];
    return true;
}

bool ut_fsi_max(const ut_fsi* set, int64_t* out) {
    const Node* const leaf = fsi::last_leaf(*set);
    if (leaf == nullptr) return false;
    *out = leaf->last[leaf->count - 1];
    return true;
}

uint64_t ut_fsi_count(const ut_fsi* set) {
    const bool is_full = set->num_members == 0 && set->num_intervals != 0;
    return is_full ? std::numeric_limits<uint64_t>::max() : set->num_members;
}

uint64_t ut_fsi_num_intervals(const ut_fsi* set) { return set->num_intervals; }

bool ut_fsi_is_empty(const ut_fsi* set) { return set->root == nullptr; }

// --- traversal -----------------------------------------------------------------------------------

void ut_fsi_cursor_init(const ut_fsi* set, ut_fsi_cursor* cursor) {
    *cursor = {fsi::first_leaf(*set), 0};
}

void ut_fsi_cursor_init_end(const ut_fsi* set, ut_fsi_cursor* cursor) {
    const Node* const leaf = fsi::last_leaf(*set);
    *cursor = {leaf, leaf != nullptr ? leaf->count : 0};
}

void ut_fsi_cursor_init_at(const ut_fsi* set, ut_fsi_cursor* cursor, int64_t value) {
    *cursor = {nullptr, 0};
    if (set->root == nullptr) return;
    const Node* const leaf = fsi::leaf_for(*set, value);
    const int32_t index = fsi::last_at_or_below(leaf, value);
    *cursor = {leaf, index >= 0 && leaf->last[index] >= value ? index : index + 1};
}

bool ut_fsi_iterate(ut_fsi_cursor* cursor, ut_fsi_interval* out) {
    const Node* leaf = cursor->leaf;
    if (leaf == nullptr) return false;
    int32_t index = cursor->position;
    if (index == leaf->count) {
        leaf = leaf->next;
        if (leaf == nullptr) return false;
        index = 0;
    }
    *out = {leaf->first[index], leaf->last[index]};
    *cursor = {leaf, index + 1};
    return true;
}

bool ut_fsi_iterate_backward(ut_fsi_cursor* cursor, ut_fsi_interval* out) {
    const Node* leaf = cursor->leaf;
    if (leaf == nullptr) return false;
    int32_t index = cursor->position;
    if (index == 0) {
        leaf = leaf->previous;
        if (leaf == nullptr) return false;
        index = leaf->count;
    }
    --index;
    *out = {leaf->first[index], leaf->last[index]};
    *cursor = {leaf, index};
    return true;
}

int32_t ut_fsi_apply(const ut_fsi* set, void* argument, ut_fsi_apply_fcn fn) {
    for (const Node* leaf = fsi::first_leaf(*set); leaf != nullptr; leaf = leaf->next) {
        for (int32_t i = 0; i < leaf->count; ++i) {
            if (fn(set, argument, leaf->first[i], leaf->last[i]) == 0) return 0;
        }
    }
    return 1;
}
