// replace_plan.h - a template made ready for the matches of one tree.
#ifndef QXUT_SRC_REGEXP_REPLACE_PLAN_H
#define QXUT_SRC_REGEXP_REPLACE_PLAN_H

#include <cstddef>
#include <optional>

#include "regexp/replace_parts.h"
#include "regexp/token_names.h"
#include "regexp/tree_parts.h"

namespace qxut::regexp {

// Both parts must stay. One thread uses it at a time.
class ReplacePlan {
  public:
    // Throws std::bad_alloc.
    ReplacePlan(const RE_Replace::Parts& replacement, const RE_Tree::Parts& tree);

    // Appends what build_replace gives for the match with these extents, the tree's
    // extent_count(). Throws what that throws.
    void build(const char16_t* text, size_t length, const size_t* extents, RE_Replace_Text& result);

  private:
    struct Step {
        enum class Kind : uint8_t {
            literal,    // `count` units of `units`
            token,      // the token `token`
            former,     // the text before the match
            latter,     // and behind it
            first_set,  // of `count` tokens of a name, from `token` on in TokenNames::tokens()
            node,       // asked, with the tokens as hosts see them
        };
        Kind kind = Kind::node;
        size_t token = 0;
        size_t count = 0;
        const char16_t* units = nullptr;
        const RE_Replace_Node* node = nullptr;
    };
    void add(const RE_Replace_Node& node);
    void add_token(size_t token);
    void show_tokens(const size_t* extents) noexcept;

    const RE_Tree::Parts& tree_;
    Vector<Step> steps_;
    std::optional<TokenNames> names_;       // where a step means a name
    std::optional<RE_Token_Stack> tokens_;  // where a step asks a node
};

}  // namespace qxut::regexp

#endif
