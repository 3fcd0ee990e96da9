// tree_parts.h - what a tree holds, and the searches that start from it.
#ifndef QXUT_SRC_REGEXP_TREE_PARTS_H
#define QXUT_SRC_REGEXP_TREE_PARTS_H

#include <cstddef>
#include <memory>
#include <optional>

#include <qxut/regexp/tree.hpp>

#include "regexp/analysis.h"
#include "regexp/matcher.h"
#include "regexp/pattern.h"
#include "regexp/program.h"
#include "regexp/scratch.h"

namespace qxut::regexp {

// What the host made of the expressions, by RE_Text::id; given back at the end.
struct PreparedFunctions {
    RE_Context* context;
    Vector<void*> prepared;
    ~PreparedFunctions();
};

}  // namespace qxut::regexp

// Made once, then only read. The program and the analysis point into the pattern.
struct RE_Tree::Parts : RE_Memory {
    // Compiles; throws as the constructors of RE_Tree.
    Parts(const char16_t* text, size_t length, RE_Flags flags, RE_Context* lender);
    Parts(const Parts&) = delete;
    Parts& operator=(const Parts&) = delete;

    RE_Context* context;  // null: none
    qxut::regexp::Pattern pattern;
    qxut::regexp::Program program;
    std::unique_ptr<qxut::regexp::StartSearch> starts;
    qxut::regexp::PreparedFunctions functions;

    // How many extents a search gives.
    size_t extent_count() const noexcept { return 2 * (pattern.token_count + 1); }

    // A request for a search of the text that begins at `start`; one inside a surrogate pair is
    // moved behind it. `info` may be null.
    qxut::regexp::SearchRequest request(const char16_t* text, size_t length, size_t start,
                                        const RE_Search_Info* info) const noexcept;

  private:
    void add_seeker();
    void prepare_expressions();
};

namespace qxut::regexp {

// Extents of one search: on the stack for the usual number of tokens, else in a scratch.
class Extents {
  public:
    explicit Extents(size_t count) {
        if (count <= kOnStack) return;
        scratch_.emplace();
        scratch_->get().extents.resize(count);
    }
    ~Extents() {
        if (scratch_) scratch_->get().trim();
    }
    Extents(const Extents&) = delete;
    Extents& operator=(const Extents&) = delete;
    size_t* data() noexcept { return scratch_ ? scratch_->get().extents.data() : few_; }

  private:
    static constexpr size_t kOnStack = 32;
    size_t few_[kOnStack];
    std::optional<ScratchUse> scratch_;
};

// Runs the search unless it begins behind the end. The answers go to `info`, if there is one,
// however the search ends.
bool run_search(SearchRequest& request, size_t* extents, RE_Search_Info* info);

}  // namespace qxut::regexp

#endif
