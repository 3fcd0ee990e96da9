// regexp_compile_fuzz.cpp - compiles any pattern, lists and draws it, and checks what was made.
//
// Input: a byte of flags, then the pattern. Warnings must point into the pattern, links lead to
// nodes of the list, the listing count its lines, and what the expressions' host prepared is given
// back.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

#include <qxut/util/output.h>
#include <qxut/regexp/context.hpp>
#include <qxut/regexp/tree.hpp>
#include <qxut/system/throwable.hpp>

#include "regexp/tree_parts.h"
#include "regexp_input.h"

namespace {

using qxut::regexp::NodeKind;

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "regexp_compile_fuzz: %s\n", what);
    std::abort();
}

class Context : public RE_Context {
  public:
    explicit Context(const std::u16string& pattern) : pattern_(pattern) {}
    void warn(const char16_t* position, const char* format, va_list arguments) override {
        check(position >= pattern_.data() && position <= pattern_.data() + pattern_.size(),
              "a warning beyond the pattern");
        char text[200];
        check(utFormatRegexpWarning(text, sizeof text, format, arguments) < sizeof text,
              "a long warning");
    }
    bool allow_evaluation() const override { return true; }
    void* create_fcn(RE_Evaluation_Purpose, const char16_t*, size_t,
                     const RE_Evaluation_Inputs&) override {
        ++prepared;
        return this;
    }
    void delete_fcn(void*) noexcept override { --prepared; }
    int prepared = 0;

  private:
    const std::u16string& pattern_;
};

std::vector<RE_Link> links_of(const RE_Node& node) {
    switch (node.kind) {
        case NodeKind::lookaround: {
            const auto& look = static_cast<const RE_Lookaround_Assertion&>(node);
            check(look.body.node != nullptr, "a look-around without a body");
            return {node.next, look.fail, look.body};
        }
        case NodeKind::atomic:
            return {node.next, static_cast<const RE_Atomic&>(node).body};
        case NodeKind::split:
        case NodeKind::fixed_counter:
        case NodeKind::limit_counter:
        case NodeKind::lazy_counter:
            return {node.next, static_cast<const RE_Split&>(node).alt};
        default:
            // The kinds that can fail on the spot come first.
            if (node.kind < NodeKind::lookaround)
                return {node.next, static_cast<const RE_Fail&>(node).fail};
            return {node.next};
    }
}

bool is_counter(const RE_Node* node) {
    return node != nullptr &&
           (node->kind == NodeKind::fixed_counter || node->kind == NodeKind::limit_counter ||
            node->kind == NodeKind::lazy_counter);
}

void check_graph(const qxut::regexp::Pattern& pattern) {
    std::set<const RE_Node*> nodes;
    size_t ends = 0;
    for (size_t i = 0; i < pattern.nodes.size(); ++i) {
        const RE_Node& node = *pattern.nodes[i];
        nodes.insert(&node);
        check(node.index == i, "a node out of place");
        if (node.kind == NodeKind::end_of_tree) ++ends;
    }
    check(ends == 1, "the end is not there once");
    check(nodes.count(pattern.first.node) == 1, "the first node is not in the list");
    check(pattern.names.size() == pattern.token_count, "not a name a token");
    for (const auto& node : pattern.nodes) {
        for (const RE_Link& link : links_of(*node)) {
            check(link.node == nullptr || nodes.count(link.node) == 1, "a link to nowhere");
        }
        if (node->kind == NodeKind::start_counter) {
            check(is_counter(node->next.node), "a start of no counter");
        }
        if (node->kind == NodeKind::start_token || node->kind == NodeKind::end_token) {
            const size_t token = static_cast<const RE_Token&>(*node).token;
            check(token >= 1 && token <= pattern.token_count, "a token too many");
        }
    }
}

int append(const char* text, void* to) {
    static_cast<std::string*>(to)->append(text);
    return 1;
}

std::string listing_of(const RE_Tree& tree) {
    std::string text;
    utPutsFcn puts = append;
    void* data = &text;
    utIsHotFcn is_hot = nullptr;
    _error_context* errors = nullptr;
    utSwapVprintfCallbacks(&puts, &data, &is_hot, &errors);
    tree.dump();
    utSwapVprintfCallbacks(&puts, &data, &is_hot, &errors);
    return text;
}

// A line begins with its number and its successor's, eight digits each.
bool begins_line(const std::string& text, size_t at, unsigned number) {
    char expected[12];
    std::snprintf(expected, sizeof expected, " %08x  ", number);
    return text.compare(at, 11, expected) == 0 && text.size() > at + 19 && text[at + 19] == '\t';
}

// Literals and dynamic parts may hold newlines: what does not look like the next line is of the
// last one.
void check_listing(const std::string& text) {
    constexpr char kHeader[] = "\n\n   Addr      Next  \t   Action\n";
    check(text.rfind(kHeader, 0) == 0, "no header");
    check(text.back() == '\n', "a line without an end");
    unsigned lines = 0;
    bool is_over = false;
    for (size_t at = sizeof kHeader - 1; at < text.size(); at = text.find('\n', at) + 1) {
        if (!begins_line(text, at, lines + 1)) continue;
        ++lines;
        is_over = is_over || text.compare(at + 11, 8, "00000000") == 0;
    }
    check(lines > 0 && is_over, "a listing without an end");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    RE_Tree::inlineThreshold = (data[0] & 0x20) != 0 ? 2 : 1024;
    const std::u16string pattern = units_of(data + 1, size - 1);
    Context context(pattern);
    try {
        const RE_Tree tree(pattern.data(), pattern.size(), RE_Flags(data[0] & 31), &context);
        const qxut::regexp::Pattern& made = tree.parts().pattern;
        check_graph(made);
        // Copies make dumps long.
        if (made.nodes.size() < 3000) {
            check_listing(listing_of(tree));
            check(tree.graph().rfind("\n\ndigraph regexp {", 0) == 0, "no graph");
            check(!tree.analysis().empty(), "no analysis");
        }
    } catch (const Quorvanix::System::UserException& error) {
        check(std::strlen(error.what()) > 0, "an error without a text");
    }
    check(context.prepared == 0, "an expression that was not given back");
    return 0;
}
