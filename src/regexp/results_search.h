// results_search.h - what results hold: the search that found them, so that it can go on.
#ifndef QXUT_SRC_REGEXP_RESULTS_SEARCH_H
#define QXUT_SRC_REGEXP_RESULTS_SEARCH_H

#include <memory>

#include <qxut/regexp/results.hpp>

#include "regexp/matcher.h"
#include "regexp/narrow_text.h"
#include "regexp/tree_parts.h"

struct RE_Results::Search : RE_Memory {
    // The results of a search that has found `found`. Throws std::bad_alloc.
    static RE_Results* results(const RE_Tree::Parts& parts,
                               const qxut::regexp::SearchRequest& as_run, const size_t* found,
                               qxut::regexp::NarrowText&& text, bool is_narrow_text);

    Search(const RE_Tree::Parts& parts, const qxut::regexp::SearchRequest& as_run,
           const size_t* found, qxut::regexp::NarrowText&& text, bool is_narrow_text);

    // Takes the extents over into the tokens.
    void publish() noexcept;

    struct DeleteIteration {
        void operator()(qxut::regexp::Iteration* owned) const noexcept {
            qxut::regexp::delete_iteration(owned);
        }
    };

    const RE_Tree::Parts* tree;
    qxut::regexp::NarrowText narrow;  // the text, where `is_narrow`
    bool is_narrow;
    qxut::regexp::SearchRequest request;                                  // as it was run last
    std::unique_ptr<qxut::regexp::Iteration, DeleteIteration> iteration;  // null before next()
    qxut::regexp::Vector<size_t> extents;                                 // UTF-16 units
    RE_Token_Stack tokens;                                                // as the caller counts
};

#endif
