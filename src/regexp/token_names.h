// token_names.h - which tokens a name means, found by bisection.
#ifndef QXUT_SRC_REGEXP_TOKEN_NAMES_H
#define QXUT_SRC_REGEXP_TOKEN_NAMES_H

#include <cstddef>
#include <cstdint>

#include "regexp/allocator.h"

namespace qxut::regexp {

class TokenNames {
  public:
    // `names` as in Pattern: one a token, from number 1; null: without a name. They must outlive
    // the object. Throws std::bad_alloc.
    TokenNames(const char16_t* const* names, size_t count);

    // The numbers of the tokens that have a name, those of one name together and ascending.
    const Vector<uint32_t>& tokens() const noexcept { return tokens_; }

    // A run of tokens(); empty for a name that no token has.
    struct Run {
        size_t first = 0;
        size_t count = 0;
    };
    Run find(const char16_t* name) const noexcept;

  private:
    const char16_t* const* names_;
    Vector<uint32_t> tokens_;
};

}  // namespace qxut::regexp

#endif
