// tree.hpp - a compiled pattern.
//
//     RE_Tree date(u"(\\d+)-(\\d+)", 11, RE_NO_FLAGS, nullptr);
//     std::unique_ptr<RE_Results> found{date.match(text, length, 0)};
//
// A tree never changes once it is made and may be matched from many threads at once; its
// context, and the text while it is searched, must stay. Problems in a pattern are warnings of the
// context, and the tree is made all the same; docs/regex.md is the language.
//
// Thrown: UserException for a repeated mode flag, a program beyond the size limit, and
// a match that reached a limit of its budget (the text names limit, count and position);
// InterruptException when the interrupt was pending or the caller cancelled; std::bad_alloc. What a
// context throws passes through. After any of them the tree is as usable as before.
#ifndef QXUT_REGEXP_TREE_HPP
#define QXUT_REGEXP_TREE_HPP

#include <cstddef>
#include <string>

#include <qxut/regexp/flags.hpp>
#include <qxut/regexp/memory.hpp>
#include <qxut/regexp/results.hpp>
#include <qxut/regexp/search.hpp>

class RE_Context;
namespace RE_Builder_Space {
class RE_Builder;
}

class QXUT_API RE_Tree : public RE_Memory {
  public:
    // The pattern is UTF-16, `length` in units; it is copied. A null context: warnings go nowhere
    // and evaluation is disabled, as in the forms below.
    RE_Tree(const char16_t* pattern, size_t length, RE_Flags flags, RE_Context* context);
    RE_Tree(const char16_t* pattern, size_t length, bool ignore_case);
    // NUL-terminated, in the local code page; null counts as empty.
    RE_Tree(const char* pattern, bool ignore_case);
    RE_Tree(const RE_Builder_Space::RE_Builder& builder, bool ignore_case);
    ~RE_Tree();
    RE_Tree(const RE_Tree&) = delete;
    RE_Tree& operator=(const RE_Tree&) = delete;

    // The leftmost match that begins at `start` (UTF-16 units) or behind it; null when there is
    // none. Anchors and look-behind see the text before `start`. A start inside a surrogate pair
    // moves behind it; one beyond the length finds nothing. The caller deletes the results.
    RE_Results* match(const char16_t* text, size_t length, size_t start,
                      RE_Seek_Table* table) const;
    RE_Results* match(const char16_t* text, size_t length, size_t start) const;
    // With limits and flags, and the steps used; `length` of the info is not looked at. Either may
    // be null.
    RE_Results* match(const char16_t* text, size_t length, size_t start, RE_Seek_Table* table,
                      RE_Search_Info* info) const;
    // In the local code page; extents are bytes of the caller's text. The second is NUL-terminated.
    RE_Results* match(const char* text, size_t length) const;
    RE_Results* match(const char* text) const;

    // Whether there is a match, without results. *position is the start going in and the match's
    // start coming out, unchanged without a match. Without `info` the text is NUL-terminated.
    bool match_bool(const char16_t* text, size_t* position, RE_Search_Info* info) const;

    // One entry a token, from number 1 on, null when it has no name; owned by the tree. `count` may
    // be null. Null when the pattern has no tokens.
    const char16_t** treeNames(size_t* count) const;

    // Prints the listing of the nodes through utPrintf.
    void dump() const;
    // The graph of the nodes for Graphviz's dot, UTF-8.
    std::string graph() const;
    // What is known about the matches of the pattern and the program that the matcher runs: lines
    // for a reader, UTF-8.
    std::string analysis() const;

    // A required part whose copies would have this many nodes or more is repeated by a counter
    // instead. Read while a pattern is compiled; set at start-up.
    static size_t inlineThreshold;

    struct Parts;  // the graph, its program, its analysis; internal
    const Parts& parts() const noexcept { return *parts_; }

  private:
    Parts* parts_;
};

#endif
