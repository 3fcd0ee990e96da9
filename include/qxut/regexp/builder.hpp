// builder.hpp - patterns put together from pieces.
//
//     using namespace RE_Builder_Space;
//     RE_Builder number = one_or_more(one_of(RE_SetItem(RE_SET_DIGIT)));
//     RE_Tree date(capture(number, "year") + "-" + capture(number, "month"), false);
//
// A piece is pattern text in the local code page, complete by itself: its parentheses and brackets
// are closed and it does not end in a comment of free spacing. Operands keep their meaning wherever
// they are put: one that is not a single atom is wrapped in (?:...) where a quantifier follows it,
// one with alternatives also where something stands beside it. Tokens are those of the outermost
// parentheses only, as in any pattern: a capture inside what is wrapped is a plain group. Names and
// expressions are taken as they are. Every function that makes text may throw std::bad_alloc and
// changes nothing then.
#ifndef QXUT_REGEXP_BUILDER_HPP
#define QXUT_REGEXP_BUILDER_HPP

#include <cstddef>
#include <cstdint>

#include <qxut/regexp/flags.hpp>
#include <qxut/regexp/memory.hpp>

namespace RE_Builder_Space {

// A narrow text that grows.
class QXUT_API RE_Narrow_Text : public RE_Memory {
  public:
    RE_Narrow_Text() noexcept = default;
    RE_Narrow_Text(const RE_Narrow_Text& other);
    RE_Narrow_Text(RE_Narrow_Text&& other) noexcept;
    RE_Narrow_Text& operator=(RE_Narrow_Text other) noexcept;
    ~RE_Narrow_Text();

    // Never null; NUL-terminated.
    const char* text() const noexcept { return text_ != nullptr ? text_ : ""; }
    size_t length() const noexcept { return length_; }
    // Makes room for so many more bytes.
    void reserve(size_t more);
    // The bytes are not those of this text.
    void append(const char* text, size_t length);

  private:
    char* text_ = nullptr;
    size_t length_ = 0;
    size_t capacity_ = 0;  // without the NUL
};

// A pattern or a piece of one.
class QXUT_API RE_Builder : public RE_Memory {
  public:
    RE_Builder() noexcept = default;  // matches the empty text
    // Pattern text, NUL-terminated; null counts as empty.
    RE_Builder(const char* pattern);

    const char* text() const noexcept { return text_.text(); }

    RE_Builder& operator+=(const RE_Builder& other);

    // What stands in the text, as far as those around it must know.
    enum class Shape : unsigned char { empty, atom, sequence, alternatives };

  private:
    friend struct RE_Maker;
    RE_Narrow_Text text_;
    Shape shape_ = Shape::empty;
    size_t code_length_ = 0;  // of the escape in whose digits it ends, which others would continue
};

// First `a`, then `b`.
QXUT_API RE_Builder operator+(const RE_Builder& a, const RE_Builder& b);

// --- characters --------------------------------------------------------------------------------

// Text that stands for itself: what is special in a pattern is escaped.
QXUT_API RE_Builder literal(const char* text);
// The character of a code.
QXUT_API RE_Builder hex(uint32_t code);

enum RE_SpecialKind { RE_LINE_START, RE_LINE_END, RE_WORD_START, RE_WORD_END };
// "^", "$", "\<", "\>"
QXUT_API RE_Builder special(RE_SpecialKind kind);

enum RE_SET_TYPE { RE_SET_DIGIT, RE_SET_WORD, RE_SET_SPACE };

// What a set may hold: a character, a class or its complement, a range.
class QXUT_API RE_SetItem : public RE_Memory {
  public:
    RE_SetItem(char32_t character);
    // A byte above 0x7F means itself in the local code page.
    RE_SetItem(char character);
    explicit RE_SetItem(RE_SET_TYPE type, bool negated = false);

    const char* text() const noexcept { return text_; }

  private:
    friend struct RE_Maker;
    RE_SetItem() noexcept = default;
    char text_[32] = {};
};

// Both ends belong to it.
QXUT_API RE_SetItem range(char32_t first, char32_t last);

// Items in the order of their being added.
class QXUT_API RE_Set : public RE_Memory {
  public:
    RE_Set() noexcept = default;  // holds nothing
    RE_Set(const RE_SetItem& item);
    explicit RE_Set(RE_SET_TYPE type, bool negated = false);

    const char* text() const noexcept { return text_.text(); }

    RE_Set& operator+=(const RE_Set& other);

  private:
    RE_Narrow_Text text_;
};
QXUT_API RE_Set operator+(const RE_Set& a, const RE_Set& b);

// [...] and [^...]
QXUT_API RE_Builder one_of(const RE_Set& items);
QXUT_API RE_Builder none_of(const RE_Set& items);

// --- tokens and conditions ---------------------------------------------------------------------

// A token; without a name, or with an empty one, it goes by its number.
QXUT_API RE_Builder capture(const RE_Builder& b, const char* name = nullptr);
QXUT_API RE_Builder backreference(const char* name);
// Token 0 is none to refer to: nothing matches then.
QXUT_API RE_Builder backreference(size_t token);

// `yes` where the token is set, where the look-around holds, where the host finds the expression
// true; else `no`, or nothing.
QXUT_API RE_Builder if_then(const char* name, const RE_Builder& yes);
QXUT_API RE_Builder if_then(size_t token, const RE_Builder& yes);
QXUT_API RE_Builder if_then(const RE_Builder& look, bool ahead, bool positive,
                            const RE_Builder& yes);
QXUT_API RE_Builder eval_if_then(const char* expression, const RE_Builder& yes);
QXUT_API RE_Builder if_then_else(const char* name, const RE_Builder& yes, const RE_Builder& no);
QXUT_API RE_Builder if_then_else(size_t token, const RE_Builder& yes, const RE_Builder& no);
QXUT_API RE_Builder if_then_else(const RE_Builder& look, bool ahead, bool positive,
                                 const RE_Builder& yes, const RE_Builder& no);
QXUT_API RE_Builder eval_if_then_else(const char* expression, const RE_Builder& yes,
                                      const RE_Builder& no);

// --- repetition and choice ---------------------------------------------------------------------

enum RE_QuantifierQualifier { RE_GREEDY, RE_LAZY, RE_POSSESSIVE };

inline constexpr size_t RE_NO_MAXIMUM = SIZE_MAX;

// From `min` to `max` times; a maximum below the minimum counts as the minimum.
QXUT_API RE_Builder quantify(const RE_Builder& b, size_t min, size_t max,
                             RE_QuantifierQualifier qualifier);
QXUT_API RE_Builder quantify(const RE_Builder& b, size_t count, RE_QuantifierQualifier qualifier);
QXUT_API RE_Builder kleene(const RE_Builder& b, RE_QuantifierQualifier qualifier = RE_GREEDY);
QXUT_API RE_Builder one_or_more(const RE_Builder& b, RE_QuantifierQualifier qualifier = RE_GREEDY);
QXUT_API RE_Builder optional(const RE_Builder& b, RE_QuantifierQualifier qualifier = RE_GREEDY);

// `a`, or else `b`.
QXUT_API RE_Builder either(const RE_Builder& a, const RE_Builder& b);

// --- groups ------------------------------------------------------------------------------------

QXUT_API RE_Builder pos_ahead(const RE_Builder& b);
QXUT_API RE_Builder neg_ahead(const RE_Builder& b);
QXUT_API RE_Builder pos_behind(const RE_Builder& b);
QXUT_API RE_Builder neg_behind(const RE_Builder& b);
QXUT_API RE_Builder atomic(const RE_Builder& b);

// The flags hold for what follows, up to the end of its alternative; for `b`. A flag in both sets
// makes the pattern one that cannot be compiled.
QXUT_API RE_Builder set_mode(RE_Flags on, RE_Flags off);
QXUT_API RE_Builder temp_mode(RE_Flags on, RE_Flags off, const RE_Builder& b);

// --- dynamic parts -----------------------------------------------------------------------------

QXUT_API RE_Builder eval(const char* expression);          // (?@expression)
QXUT_API RE_Builder eval_dynamic(const char* expression);  // (??@expression)
QXUT_API RE_Builder dynamic(const char* pattern);          // (??pattern)

}  // namespace RE_Builder_Space

#endif
