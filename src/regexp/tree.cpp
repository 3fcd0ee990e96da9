// tree.cpp - compiles a pattern and starts its searches.
//
// pattern -> parse -> graph -> lower -> program -> analyse -> starts; then a seeker in front of the
// graph where a start was found, and the host's preparation of the expressions. A failure on the
// way destroys what was made so far, prepared expressions included.
//
// Entry points: RE_Tree. Tested by tests/regexp/tree_test.cpp.
#include <qxut/regexp/tree.hpp>

#include <cstring>
#include <memory>

#include <qxut/i18n/conversion.h>
#include <qxut/util/output.h>
#include <qxut/regexp/builder.hpp>
#include <qxut/regexp/context.hpp>

#include "regexp/characters.h"
#include "regexp/failure.h"
#include "regexp/graph.h"
#include "regexp/listing.h"
#include "regexp/narrow_text.h"
#include "regexp/results_search.h"
#include "regexp/tree_parts.h"

namespace qxut::regexp {
namespace {

RE_Flags case_flag(bool ignore_case) { return ignore_case ? RE_IGNORE_CASE : RE_NO_FLAGS; }

bool is_inside_pair(const char16_t* text, size_t length, size_t position) {
    return position > 0 && position < length && is_low_surrogate(text[position]) &&
           is_high_surrogate(text[position - 1]);
}

// The program is made in the place that it stays in.
Program parse_and_lower(const char16_t* text, size_t length, RE_Flags flags, RE_Context* context,
                        Pattern& pattern) {
    ParseOptions options;
    options.flags = flags;
    options.context = context;
    parse(text, length, options, pattern);
    return lower(pattern);
}

RE_Tree::Parts* compile(const char16_t* text, size_t length, RE_Flags flags, RE_Context* context) {
    return require(new RE_Tree::Parts(text != nullptr ? text : u"", text != nullptr ? length : 0,
                                      flags, context));
}

RE_Tree::Parts* compile(const char* text, bool ignore_case) {
    const NarrowText pattern(text, text != nullptr ? std::strlen(text) : 0);
    return compile(pattern.units(), pattern.length(), case_flag(ignore_case), nullptr);
}

// An expression that the host may prepare; null for other nodes.
const RE_Text* expression_of(const RE_Node& node, RE_Evaluation_Purpose& purpose) {
    switch (node.kind) {
        case NodeKind::evaluate:
            purpose = RE_EVALUATE_EFFECT;
            return &static_cast<const RE_Evaluate&>(node).expression;
        case NodeKind::evaluate_dynamic:
            purpose = RE_EVALUATE_PATTERN;
            return &static_cast<const RE_Evaluate_Dynamic&>(node).pattern;
        case NodeKind::evaluate_assertion:
            purpose = RE_EVALUATE_CONDITION;
            return &static_cast<const RE_Evaluate_Assertion&>(node).expression;
        default:
            return nullptr;
    }
}

}  // namespace

bool run_search(SearchRequest& request, size_t* extents, RE_Search_Info* info) {
    const struct Report {
        const SearchRequest& request;
        RE_Search_Info* info;
        ~Report() {
            if (info == nullptr) return;
            info->steps_used = request.steps_used;
            info->reached_end = request.reached_end;
        }
    } report{request, info};
    if (request.start > request.length) return false;
    if (!search(request, extents)) return false;
    if (info == nullptr) return true;
    info->end = extents[1];
    if (request.lines) {
        info->line_start = request.line_start;
        info->line_end = request.line_end;
    }
    return true;
}

}  // namespace qxut::regexp

using namespace qxut::regexp;

// --- what a tree holds -----------------------------------------------------------------------

PreparedFunctions::~PreparedFunctions() {
    for (void* function : prepared) {
        if (function != nullptr) context->delete_fcn(function);
    }
}

RE_Tree::Parts::Parts(const char16_t* text, size_t length, RE_Flags flags, RE_Context* lender)
    : context(lender),
      program(parse_and_lower(text, length, flags, lender, pattern)),
      starts(analyze(program)),
      functions{lender, {}} {
    if (starts->way != StartSearch::Way::everywhere) add_seeker();
    prepare_expressions();
}

// The program was lowered before: the seeker is there for those who look at the graph.
void RE_Tree::Parts::add_seeker() {
    std::unique_ptr<RE_Node> seeker(require(new RE_Seeker));
    seeker->index = static_cast<uint32_t>(pattern.nodes.size());
    seeker->next = pattern.first;
    pattern.nodes.push_back(std::move(seeker));
    pattern.first = {pattern.nodes.back().get()};
}

void RE_Tree::Parts::prepare_expressions() {
    if (pattern.expression_count == 0) return;
    Vector<void*>& prepared = functions.prepared;
    prepared.resize(pattern.expression_count);
    Vector<bool> is_prepared(pattern.expression_count);
    Vector<RE_Evaluation_Input> tokens(pattern.token_count);
    for (size_t i = 0; i < tokens.size(); ++i) {
        tokens[i].token = i + 1;
        tokens[i].name = pattern.names[i];
    }
    const RE_Evaluation_Inputs inputs(tokens.data(), tokens.size());
    for (const auto& node : pattern.nodes) {
        RE_Evaluation_Purpose purpose{};
        const RE_Text* const expression = expression_of(*node, purpose);
        if (expression == nullptr || is_prepared[expression->id]) continue;
        prepared[expression->id] =
            context->create_fcn(purpose, expression->text, expression->length, inputs);
        is_prepared[expression->id] = true;
    }
}

SearchRequest RE_Tree::Parts::request(const char16_t* text, size_t length, size_t start,
                                      const RE_Search_Info* info) const noexcept {
    SearchRequest request;
    request.program = &program;
    request.starts = starts.get();
    request.text = text != nullptr ? text : u"";
    request.length = text != nullptr ? length : 0;
    request.start = is_inside_pair(request.text, request.length, start) ? start + 1 : start;
    request.context = context;
    request.functions = functions.prepared.data();
    if (info != nullptr) {
        request.anchored = (info->flags & RE_SEARCH_ANCHORED) != 0;
        request.not_empty = (info->flags & RE_SEARCH_NOT_EMPTY) != 0;
        request.lines = (info->flags & RE_SEARCH_LINES) != 0;
        request.plain = (info->flags & kPlainSearch) != 0;
        request.records_at_once = (info->flags & kRecordingSearch) != 0;
        request.limits = info->limits;
        request.cancel = info->cancel;
        if (info->context != nullptr) {
            request.context = info->context;
            request.functions = nullptr;
        }
    }
    return request;
}

// --- the tree --------------------------------------------------------------------------------

RE_Tree::RE_Tree(const char16_t* pattern, size_t length, RE_Flags flags, RE_Context* context)
    : parts_(compile(pattern, length, flags, context)) {}

RE_Tree::RE_Tree(const char16_t* pattern, size_t length, bool ignore_case)
    : parts_(compile(pattern, length, case_flag(ignore_case), nullptr)) {}

RE_Tree::RE_Tree(const char* pattern, bool ignore_case) : parts_(compile(pattern, ignore_case)) {}

RE_Tree::RE_Tree(const RE_Builder_Space::RE_Builder& builder, bool ignore_case)
    : parts_(compile(builder.text(), ignore_case)) {}

RE_Tree::~RE_Tree() { delete parts_; }

RE_Results* RE_Tree::match(const char16_t* text, size_t length, size_t start, RE_Seek_Table* table,
                           RE_Search_Info* info) const {
    SearchRequest request = parts_->request(text, length, start, info);
    request.table = table;
    Extents extents(parts_->extent_count());
    if (!run_search(request, extents.data(), info)) return nullptr;
    return RE_Results::Search::results(*parts_, request, extents.data(), NarrowText(), false);
}

RE_Results* RE_Tree::match(const char16_t* text, size_t length, size_t start,
                           RE_Seek_Table* table) const {
    return match(text, length, start, table, nullptr);
}

RE_Results* RE_Tree::match(const char16_t* text, size_t length, size_t start) const {
    return match(text, length, start, nullptr, nullptr);
}

RE_Results* RE_Tree::match(const char* text, size_t length) const {
    NarrowText narrow(text, length);
    SearchRequest request = parts_->request(narrow.units(), narrow.length(), 0, nullptr);
    Extents extents(parts_->extent_count());
    if (!run_search(request, extents.data(), nullptr)) return nullptr;
    return RE_Results::Search::results(*parts_, request, extents.data(), std::move(narrow), true);
}

RE_Results* RE_Tree::match(const char* text) const {
    return match(text, text != nullptr ? std::strlen(text) : 0);
}

bool RE_Tree::match_bool(const char16_t* text, size_t* position, RE_Search_Info* info) const {
    const size_t length = info != nullptr ? info->length : utf16_strlen(text);
    SearchRequest request =
        parts_->request(text, length, position != nullptr ? *position : 0, info);
    Extents extents(parts_->extent_count());
    if (!run_search(request, extents.data(), info)) return false;
    if (position != nullptr) *position = extents.data()[0];
    return true;
}

const char16_t** RE_Tree::treeNames(size_t* count) const {
    if (count != nullptr) *count = parts_->pattern.token_count;
    return parts_->pattern.token_count != 0 ? parts_->pattern.names.data() : nullptr;
}

void RE_Tree::dump() const {
    const auto print = [](void* /*data*/, const char* line) { utPrintf("%s", line); };
    write_listing(parts_->pattern, print, nullptr);
}

std::string RE_Tree::graph() const { return graph_of(parts_->pattern); }

std::string RE_Tree::analysis() const {
    return describe(*parts_->starts) + program_text(parts_->program);
}
