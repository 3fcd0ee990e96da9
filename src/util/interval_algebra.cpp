// interval_algebra.cpp - interval sets from interval sets, in one pass, and their comparison.
//
// A set is taken as the ascending list of integers at which membership changes:
//
//     a        [3 ... 7]        [12 ...          changes at 3, 8, 12
//     b              [6 .. 9]                    changes at 6, 10
//     a and b        [6 7]                       changes at 6, 8
//
// Stepping through the changes of both sets at once, a result is made by any rule that says from
// "in a" and "in b" whether an integer is in the result; it opens an interval where the rule's
// answer becomes true and closes it where that becomes false. A change past the largest integer
// has no number: such a set ends inside. The result grows by appending to a tree of its own, which
// takes the old one's place at the end. Tested by tests/util/interval_set_test.cpp.
#include <algorithm>
#include <limits>

#include <qxut/util/interrupt.h>
#include <qxut/util/interval_set.h>

#include "util/cleanup_guard.h"
#include "util/interval_tree.h"

namespace {

using qxut::fsi::Node;
namespace fsi = qxut::fsi;

constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

// A new tree for a result, freed unless it is given away.
class Builder {
  public:
    explicit Builder(ut_fsi& result)
        : result_(result), guard_(result.mem_ctx->error_context, &tree_address_, nullptr, discard) {
        ut_initialize_fsi(&tree_, result.mem_ctx);
    }

    // Intervals come in ascending order and do not touch.
    void add(int64_t first, int64_t last) { fsi::append(tree_, last_leaf_, {first, last}); }

    void finish() {
        guard_.release();
        fsi::free_nodes(result_);
        result_ = tree_;
    }

  private:
    static void discard(void* /*argument*/, void* tree) {
        fsi::free_nodes(*static_cast<ut_fsi*>(tree));
    }

    ut_fsi& result_;
    ut_fsi tree_{};
    ut_fsi* tree_address_ = &tree_;
    Node* last_leaf_ = nullptr;
    qxut::CleanupGuard guard_;
};

// The changes of membership of a set, in ascending order.
class Changes {
  public:
    Changes(const ut_fsi& set, _error_context* errors)
        : errors_(errors), leaf_(fsi::first_leaf(set)) {
        read();
    }

    bool at_end() const { return at_end_; }
    int64_t next() const { return next_; }      // where the next change is
    bool is_inside() const { return inside_; }  // whether what is below it is in the set

    void step() {
        if (inside_ && ++index_ == leaf_->count) {
            leaf_ = leaf_->next;
            index_ = 0;
            utPollInterrupt(errors_);
        }
        inside_ = !inside_;
        read();
    }

  private:
    void read() {
        at_end_ = leaf_ == nullptr || (inside_ && leaf_->last[index_] == kHighest);
        if (at_end_) return;
        next_ = inside_ ? leaf_->last[index_] + 1 : leaf_->first[index_];
    }

    _error_context* errors_;
    const Node* leaf_;
    int64_t next_ = 0;
    int32_t index_ = 0;
    bool inside_ = false;
    bool at_end_ = false;
};

// Makes `result` the set of the integers for which rule(in a, in b) is true; rule(false, false) is
// not.
template <class Rule>
void combine(ut_fsi& result, const ut_fsi& a, const ut_fsi& b, Rule rule) {
    Builder builder(result);
    _error_context* const errors = result.mem_ctx->error_context;
    Changes in_a(a, errors);
    Changes in_b(b, errors);
    bool inside = false;
    int64_t first = 0;
    while (!in_a.at_end() || !in_b.at_end()) {
        const bool step_a = !in_a.at_end() && (in_b.at_end() || in_a.next() <= in_b.next());
        const bool step_b = !in_b.at_end() && (in_a.at_end() || in_b.next() <= in_a.next());
        const int64_t change = step_a ? in_a.next() : in_b.next();
        if (step_a) in_a.step();
        if (step_b) in_b.step();
        if (rule(in_a.is_inside(), in_b.is_inside()) == inside) continue;
        if (inside) {
            builder.add(first, change - 1);
        } else {
            first = change;
        }
        inside = !inside;
    }
    if (inside) builder.add(first, kHighest);
    builder.finish();
}

}  // namespace

void ut_fsi_copy(ut_fsi* result, const ut_fsi* set) {
    if (result == set) return;
    Builder builder(*result);
    for (const Node* leaf = fsi::first_leaf(*set); leaf != nullptr; leaf = leaf->next) {
        utPollInterrupt(result->mem_ctx->error_context);
        for (int32_t i = 0; i < leaf->count; ++i) builder.add(leaf->first[i], leaf->last[i]);
    }
    builder.finish();
}

void ut_fsi_union(ut_fsi* result, const ut_fsi* a, const ut_fsi* b) {
    combine(*result, *a, *b, [](bool in_a, bool in_b) { return in_a || in_b; });
}

void ut_fsi_intersection(ut_fsi* result, const ut_fsi* a, const ut_fsi* b) {
    combine(*result, *a, *b, [](bool in_a, bool in_b) { return in_a && in_b; });
}

void ut_fsi_difference(ut_fsi* result, const ut_fsi* a, const ut_fsi* b) {
    combine(*result, *a, *b, [](bool in_a, bool in_b) { return in_a && !in_b; });
}

void ut_fsi_symmetric_difference(ut_fsi* result, const ut_fsi* a, const ut_fsi* b) {
    combine(*result, *a, *b, [](bool in_a, bool in_b) { return in_a != in_b; });
}

void ut_fsi_complement(ut_fsi* result, const ut_fsi* set, int64_t first, int64_t last) {
    // The bounds as a set of one leaf, which lives here.
    Node leaf;
    fsi::make_node(&leaf);
    ut_fsi bounds{};
    if (first <= last) {
        leaf.count = 1;
        leaf.first[0] = first;
        leaf.last[0] = last;
        bounds.root = &leaf;
    }
    ut_fsi_difference(result, &bounds, set);
}

bool ut_fsi_equal(const ut_fsi* a, const ut_fsi* b) {
    if (a->num_intervals != b->num_intervals || a->num_members != b->num_members) return false;
    ut_fsi_cursor in_a;
    ut_fsi_cursor in_b;
    ut_fsi_cursor_init(a, &in_a);
    ut_fsi_cursor_init(b, &in_b);
    ut_fsi_interval x;
    ut_fsi_interval y;
    while (ut_fsi_iterate(&in_a, &x) && ut_fsi_iterate(&in_b, &y)) {
        if (x.first != y.first || x.last != y.last) return false;
    }
    return true;
}

bool ut_fsi_is_subset(const ut_fsi* a, const ut_fsi* b) {
    ut_fsi_cursor in_a;
    ut_fsi_cursor in_b;
    ut_fsi_cursor_init(a, &in_a);
    ut_fsi_cursor_init(b, &in_b);
    ut_fsi_interval x;
    ut_fsi_interval y = {0, 0};
    bool has_y = ut_fsi_iterate(&in_b, &y);
    while (ut_fsi_iterate(&in_a, &x)) {
        while (has_y && y.last < x.first) has_y = ut_fsi_iterate(&in_b, &y);
        if (!has_y || y.first > x.first || y.last < x.last) return false;
    }
    return true;
}
