// results.cpp - a match and the way to the next one.
//
// The extents are kept in UTF-16 units, in which the search goes on; the tokens show them as the
// caller counts. What a search knows beyond its match (the steps used, the recorded failures) is
// kept from the first next() on, so that a single match pays nothing for it.
//
// Entry points: RE_Results. Tested by tests/regexp/results_test.cpp.
#include <qxut/regexp/results.hpp>

#include <utility>

#include "regexp/failure.h"
#include "regexp/results_search.h"

using namespace qxut::regexp;

RE_Results* RE_Results::Search::results(const RE_Tree::Parts& parts, const SearchRequest& as_run,
                                        const size_t* found, NarrowText&& text,
                                        bool is_narrow_text) {
    std::unique_ptr<Search> search(
        require(new Search(parts, as_run, found, std::move(text), is_narrow_text)));
    auto* const results = require(new RE_Results(search.get()));
    static_cast<void>(search.release());
    return results;
}

RE_Results::Search::Search(const RE_Tree::Parts& parts, const SearchRequest& as_run,
                           const size_t* found, NarrowText&& text, bool is_narrow_text)
    : tree(&parts),
      narrow(std::move(text)),
      is_narrow(is_narrow_text),
      request(as_run),
      extents(found, found + parts.extent_count()),
      tokens(parts.pattern.token_count) {
    for (size_t token = 1; token <= parts.pattern.token_count; ++token)
        tokens.set_start(token, parts.pattern.names[token - 1], 0);
    publish();
}

void RE_Results::Search::publish() noexcept {
    const size_t count = tree->pattern.token_count;
    if (count != 0) tokens.reset();
    for (size_t token = 0; token <= count; ++token) {
        const size_t start = extents[2 * token];
        const size_t end = extents[2 * token + 1];
        if (end == kUnset) continue;
        if (is_narrow) {
            tokens.set(token, narrow.byte_offset(start), narrow.byte_offset(end));
        } else {
            tokens.set(token, start, end);
        }
    }
}

RE_Results::~RE_Results() { delete search_; }

size_t RE_Results::start() const noexcept { return search_->tokens.get(size_t{0})->start; }

size_t RE_Results::end() const noexcept { return search_->tokens.get(size_t{0})->end; }

const RE_Token_Stack& RE_Results::tokens() const noexcept { return search_->tokens; }

const char16_t* RE_Results::text(size_t token, size_t* length) const noexcept {
    const RE_TokenInfo* const info = search_->tokens.get(token);
    const bool is_set = info != nullptr && info->is_set;
    const size_t start = is_set ? search_->extents[2 * token] : 0;
    if (length != nullptr) *length = is_set ? search_->extents[2 * token + 1] - start : 0;
    return is_set ? search_->request.text + start : nullptr;
}

bool RE_Results::next() {
    Search& search = *search_;
    SearchRequest& request = search.request;
    if (search.iteration == nullptr) {
        search.iteration.reset(new_iteration(request.steps_used));
        request.iteration = search.iteration.get();
    }
    // Both follow from the extents, so a search that throws leaves nothing to put back.
    const size_t end = search.extents[1];
    request.start = end;
    request.not_empty_at = search.extents[0] == end ? end : kUnset;
    if (!qxut::regexp::search(request, search.extents.data())) return false;
    search.publish();
    return true;
}
