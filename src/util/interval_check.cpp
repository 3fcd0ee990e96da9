// interval_check.cpp - goes through an interval set and compares it with what interval_tree.h
// promises.
//
// The walk visits the intervals in order, so what lies left of the point it has reached is summed
// up in a few words; the recursion is as deep as the tree is high.
#include <limits>

#include <qxut/util/interval_set.h>

#include "util/interval_tree.h"

namespace {

using qxut::fsi::Node;
namespace fsi = qxut::fsi;

class Check {
  public:
    explicit Check(const ut_fsi& set) : set_(set) {}

    const char* run() {
        if (set_.mem_ctx == nullptr) return "there is no memory context";
        if (set_.root == nullptr) {
            if (set_.height != 0) return "an empty set has a height";
        } else {
            if (set_.height < 0 || set_.height >= fsi::kMaxLevels) return "the height is wrong";
            if (set_.height > 0 && set_.root->count < 2) return "an inner root has no two children";
            if (const char* fault = subtree(set_.root, set_.height, true)) return fault;
            if (leaf_->next != nullptr) return "the last leaf has a next one";
        }
        if (intervals_ != set_.num_intervals) return "the number of intervals is wrong";
        if (members_ != set_.num_members) return "the number of members is wrong";
        return nullptr;
    }

  private:
    const char* subtree(const Node* node, int32_t height, bool on_right_edge) {
        if (node->count < (on_right_edge ? 1 : fsi::kMinEntries))
            return "a node has too few entries";
        if (node->count > fsi::kMaxEntries) return "a node has too many entries";
        for (int32_t i = node->count; i < fsi::kMaxEntries; ++i) {
            if (node->first[i] != std::numeric_limits<int64_t>::max()) return "padding is missing";
        }
        if (height == 0) return leaf(node);
        for (int32_t i = 0; i < node->count; ++i) {
            const Node* const child = node->child[i];
            const bool is_last = i == node->count - 1;
            if (const char* fault = subtree(child, height - 1, on_right_edge && is_last)) {
                return fault;
            }
            if (child->first[0] != node->first[i]) return "an inner node has a wrong first value";
        }
        return nullptr;
    }

    const char* leaf(const Node* node) {
        if (node->previous != leaf_) return "a leaf has a wrong previous one";
        if (leaf_ != nullptr && leaf_->next != node) return "a leaf has a wrong next one";
        for (int32_t i = 0; i < node->count; ++i) {
            const int64_t first = node->first[i];
            if (intervals_ > 0) {
                if (reached_ == std::numeric_limits<int64_t>::max()) {
                    return "an interval comes after the largest integer";
                }
                if (first <= reached_) return "intervals overlap or are out of order";
                if (first == reached_ + 1) return "intervals touch";
            }
            reached_ = node->last[i];
            if (first > reached_) return "an interval is empty";
            ++intervals_;
            members_ += fsi::size_of(first, reached_);
        }
        leaf_ = node;
        return nullptr;
    }

    const ut_fsi& set_;
    const Node* leaf_ = nullptr;  // the leaf before
    int64_t reached_ = 0;         // the last member so far, once there is an interval
    uint64_t intervals_ = 0;
    uint64_t members_ = 0;
};

}  // namespace

const char* ut_fsi_check(const ut_fsi* set) { return Check(*set).run(); }
