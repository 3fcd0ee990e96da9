// pattern.h - what parsing a pattern gives: the graph, its tokens, and what the later stages ask
// about it.
#ifndef QXUT_SRC_REGEXP_PATTERN_H
#define QXUT_SRC_REGEXP_PATTERN_H

#include <cstddef>
#include <memory>

#include <qxut/regexp/context.hpp>

#include "regexp/allocator.h"
#include "regexp/nodes.h"

namespace qxut::regexp {

// The names that a pattern sees from outside: a dynamic pattern's, those of the pattern around it.
struct OuterTokens {
    const char16_t* const* names = nullptr;  // one a token, from number 1; null: without a name
    size_t count = 0;
};

struct Pattern : RE_Memory {
    Vector<char16_t>
        text;  // the pattern, copied; texts and names of nodes point into it or into `units`
    Vector<std::unique_ptr<RE_Node>> nodes;  // the owner, in the order of making
    RE_Link first;                           // into the graph
    size_t token_count = 0;
    Vector<const char16_t*>
        names;  // one a token, from number 1, NUL-terminated; null: without a name
    Vector<Vector<char16_t>> units;  // NUL-terminated names, and the texts of merged literals
    size_t expression_count = 0;     // how many RE_Text::id were given out
    bool has_back_references = false;
    bool has_dynamic_parts = false;  // anything that calls the context or is parsed while matching
};

struct ParseOptions {
    RE_Flags flags = RE_NO_FLAGS;
    RE_Context* context = nullptr;    // null: no warnings, evaluation disabled
    bool capture = true;              // whether outermost parentheses make tokens
    bool suspend_evaluation = false;  // for the library's own patterns
    OuterTokens outer;                // with capture off, the tokens that references mean
};

// Parses; parser.cpp. Throws UserException (REGEXP_REPEATED_MODE_FLAG, REGEXP_PROGRAM_TOO_LARGE),
// InterruptException, std::bad_alloc, and what the context throws.
void parse(const char16_t* text, size_t length, const ParseOptions& options, Pattern& result);

// The nodes in listing order: a node's number in the dumps is its place here, from 1;
// numbering.cpp.
Vector<RE_Node*> number_nodes(const Pattern& pattern);

}  // namespace qxut::regexp

#endif
