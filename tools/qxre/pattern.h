// pattern.h - the pattern of the command line, compiled, with what the compiler said of it.
#ifndef QXRE_PATTERN_H
#define QXRE_PATTERN_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <qxut/regexp/context.hpp>
#include <qxut/regexp/tree.hpp>

namespace qxre {

// Something to say about a place in a pattern.
struct Remark {
    size_t position;  // in UTF-16 units; kNoPlace: none in this text
    std::string text;

    static constexpr size_t kNoPlace = SIZE_MAX;
};

// Collects warnings. A dynamic pattern's, which come while matching, have no place.
class Context : public RE_Context {
  public:
    Context(std::u16string_view pattern, bool may_evaluate)
        : pattern_(pattern), may_evaluate_(may_evaluate) {}
    void warn(const char16_t* position, const char* format, va_list arguments) override;
    bool allow_evaluation() const override { return may_evaluate_; }
    const std::vector<Remark>& warnings() const { return warnings_; }

  private:
    std::u16string_view pattern_;
    bool may_evaluate_;
    std::vector<Remark> warnings_;
};

class Pattern {
  public:
    // The text is UTF-8. With `may_evaluate` dynamic parts are kept, though nobody answers them.
    // Throws std::runtime_error, its text with the place and a newline at the end, for a pattern
    // that is refused, and what else RE_Tree's constructor throws.
    Pattern(std::string_view text, RE_Flags flags, bool may_evaluate = false);
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    const RE_Tree& tree() const { return tree_; }
    std::u16string_view text() const { return text_; }
    const std::vector<Remark>& warnings() const { return context_.warnings(); }

  private:
    std::u16string text_;
    Context context_;
    RE_Tree tree_;
};

// The line of the pattern in which a place lies and a caret under it, each line indented and with
// its newline. UTF-8.
std::string show_place(std::u16string_view pattern, size_t position);

// One remark as a paragraph: "qxre: warning: ..." and the place.
std::string show_remark(std::u16string_view pattern, const Remark& remark, const char* kind);

}  // namespace qxre

#endif
