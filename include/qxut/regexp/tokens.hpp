// tokens.hpp - the tokens (capture groups) of a match: their names and extents.
//
// Tokens are numbered from 1 in the order of their opening parenthesis; number 0 is the whole
// match. Extents are half open, in UTF-16 units of the caller's text, or in bytes of it where a
// narrow text was matched.
#ifndef QXUT_REGEXP_TOKENS_HPP
#define QXUT_REGEXP_TOKENS_HPP

#include <cstddef>

#include <qxut/regexp/memory.hpp>

struct RE_TokenInfo {
    const char16_t* name = nullptr;  // NUL-terminated, owned by the tree; null: the token has none
    size_t start = 0;
    size_t end = 0;
    bool is_set = false;  // false: the token took no part in the match; its extent is empty then
};

class QXUT_API RE_Token_Stack : public RE_Memory {
  public:
    // Room for tokens 0 to `count`, all unset. Throws std::bad_alloc.
    explicit RE_Token_Stack(size_t count);
    ~RE_Token_Stack();
    RE_Token_Stack(const RE_Token_Stack&) = delete;
    RE_Token_Stack& operator=(const RE_Token_Stack&) = delete;

    size_t count() const noexcept;  // without token 0
    // Unsets every token; names stay.
    void reset() noexcept;
    // Opens a token: its start and its name, which must outlive the stack. It becomes set, with
    // this start, when set_end is called; until then it keeps the extent that it had. A number
    // beyond the count is ignored, here and in set_end.
    void set_start(size_t token, const char16_t* name, size_t position) noexcept;
    void set_end(size_t token, size_t position) noexcept;
    // Both in one, for a number that is not beyond the count; the name stays.
    void set(size_t token, size_t start, size_t end) noexcept {
        tokens_[token] = {tokens_[token].name, start, end, true};
    }

    // Null for a number beyond the count.
    const RE_TokenInfo* get(size_t token) const noexcept;
    // The first token of that name that is set, in number order; the first of that name when none
    // is set; null when the name is unknown.
    const RE_TokenInfo* get(const char16_t* name) const noexcept;

  private:
    RE_TokenInfo* tokens_;
    size_t* opened_;  // where a token was opened last; in the block of the tokens
    size_t count_;
};

#endif
