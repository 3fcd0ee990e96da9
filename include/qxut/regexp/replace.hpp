// replace.hpp - replacement templates: what takes the place of each match.
//
//     RE_Tree date(u"(\\d+)-(\\d+)-(\\d+)", 17, RE_NO_FLAGS, nullptr);
//     RE_Replace order(u"$3.$2.$1", 8);
//     text = order.replace(text, &length, &capacity, date, false, nullptr);
//
// In a template $1 is a token, $<name> a named one, $0 and $& are the match, $` and $' the text
// before and behind it, ${expression} is what the host makes of an expression, and \ begins an
// escape of the pattern language. Everything else stands for itself; docs/regex.md tells more.
// Problems in a template are warnings of the context, and the template is made all the same.
//
// All matches are those in the original text, and $` and $' parts of it. A token that is unset or
// does not exist gives no text. After an empty match the search goes on as RE_Results::next does.
//
// A template never changes once it is made and may be used from many threads at once; its context
// must stay, and is called from each of them.
//
// Thrown: what RE_Tree::match throws, std::bad_alloc, and what a context or a writer throws. After
// any of them tree, template and the caller's text are as they were.
#ifndef QXUT_REGEXP_REPLACE_HPP
#define QXUT_REGEXP_REPLACE_HPP

#include <cstddef>
#include <cstring>
#include <string>

#include <qxut/regexp/flags.hpp>
#include <qxut/regexp/memory.hpp>
#include <qxut/regexp/search.hpp>
#include <qxut/regexp/tokens.hpp>

class RE_Context;
class RE_Tree;

// A match to build a replacement for. Extents are in UTF-16 units of `text`.
struct RE_Replace_Match {
    const char16_t* text = nullptr;
    size_t length = 0;
    const RE_Token_Stack* tokens = nullptr;
};

// A text that grows at its end.
class QXUT_API RE_Replace_Text : public RE_Memory {
  public:
    RE_Replace_Text() noexcept = default;
    ~RE_Replace_Text();
    RE_Replace_Text(const RE_Replace_Text&) = delete;
    RE_Replace_Text& operator=(const RE_Replace_Text&) = delete;

    // Makes room for so many more units. Throws std::bad_alloc.
    void reserve(size_t more) {
        if (more > capacity_ - length_) grow(more);
    }
    // Copies the units, which must not be the text's own. Throws std::bad_alloc.
    void append(const char16_t* text, size_t length) {
        reserve(length);
        copy(text_ + length_, text, length);
        length_ += length;
    }
    // The same where `readable` units, at least the length, may be read: a short piece is moved
    // with what stands behind it, which tells lengths apart by no branch.
    void append_part(const char16_t* text, size_t length, size_t readable) {
        if (length > kAtOnce || readable < kAtOnce) {
            append(text, length);
            return;
        }
        reserve(kAtOnce);
        std::memcpy(text_ + length_, text, kAtOnce * sizeof(char16_t));
        length_ += length;
    }
    void clear() noexcept { length_ = 0; }
    // Not NUL-terminated; null while nothing was appended.
    const char16_t* text() const noexcept { return text_; }
    size_t length() const noexcept { return length_; }

    // Hands the text over in a block of utMalloc's, `capacity` units large, at least the length.
    // Throws std::bad_alloc, the text as it was.
    char16_t* release(size_t capacity);

  private:
    static constexpr size_t kAtOnce = 16;
    void grow(size_t more);
    // Pieces are short as a rule: two moves that overlap where they must.
    static void copy(char16_t* to, const char16_t* from, size_t length) {
        if (length > kAtOnce) {
            std::memcpy(to, from, length * sizeof(char16_t));
        } else if (length >= 8) {
            copy_ends<8>(to, from, length);
        } else if (length >= 4) {
            copy_ends<4>(to, from, length);
        } else if (length >= 2) {
            copy_ends<2>(to, from, length);
        } else if (length == 1) {
            *to = *from;
        }
    }
    template <size_t kUnits>
    static void copy_ends(char16_t* to, const char16_t* from, size_t length) {
        std::memcpy(to, from, kUnits * sizeof(char16_t));
        std::memcpy(to + length - kUnits, from + length - kUnits, kUnits * sizeof(char16_t));
    }
    char16_t* text_ = nullptr;
    size_t length_ = 0;
    size_t capacity_ = 0;
};

// Whatever can say what takes the place of a match: a template, and each of its elements.
class QXUT_API RE_Replaceable : public RE_Memory {
  public:
    virtual ~RE_Replaceable();
    // Appends the text.
    virtual void build_replace(const RE_Replace_Match& match, RE_Replace_Text& result) const = 0;

  protected:
    RE_Replaceable() noexcept = default;
    RE_Replaceable(const RE_Replaceable&) noexcept = default;
    RE_Replaceable& operator=(const RE_Replaceable&) noexcept = default;
};

enum RE_Replace_Special_Kind {
    RE_REPLACE_FORMER = 0,   // $`
    RE_REPLACE_WHOLE = 1,    // $0
    RE_REPLACE_MATCHED = 2,  // $&
    RE_REPLACE_LATTER = 3,   // $'
};

// Where a replacement was made: extents in the original text and in the result.
struct RE_Replacement {
    size_t start;
    size_t end;
    size_t result_start;
    size_t result_end;
};

// Takes the result of RE_Replace::stream, piece by piece.
class QXUT_API RE_Replace_Writer : public RE_Memory {
  public:
    virtual ~RE_Replace_Writer();
    // The next piece of the result, never empty, valid during the call: a stretch of the original
    // text or a replacement.
    virtual void write(const char16_t* text, size_t length) = 0;
    // A replacement was made; comes behind its piece.
    virtual void replaced(const RE_Replacement& replacement);
};

class QXUT_API RE_Replace : public RE_Replaceable {
  public:
    // The template is UTF-16, `length` in units; it is copied. A null context: warnings go nowhere
    // and evaluation is disabled, as in the forms below. Of the flags only `e` and `x` (white space
    // in the codes of escapes) count.
    RE_Replace(const char16_t* text, size_t length, RE_Flags flags, RE_Context* context);
    RE_Replace(const char16_t* text, size_t length);
    // NUL-terminated, in the local code page; null counts as empty.
    explicit RE_Replace(const char* text);
    ~RE_Replace() override;
    RE_Replace(const RE_Replace&) = delete;
    RE_Replace& operator=(const RE_Replace&) = delete;

    void build_replace(const RE_Replace_Match& match, RE_Replace_Text& result) const override;

    // Replaces the matches in a buffer of utMalloc's, `*capacity` units large with `*length` in
    // use, and returns it: the same one when the text fits at every step, else a new one in its
    // place. Each replacement that makes the text longer than the capacity makes the capacity the
    // old capacity plus the new length. The buffer may be null with capacity 0, and any memory when
    // the result is known to fit. `count`, which may be null, holds the most replacements going in
    // (0: no limit) and those made coming out. `info`, which may be null, holds limits and a cancel
    // flag for the search. Buffer, length, capacity and count change at the end only.
    char16_t* replace(char16_t* buffer, size_t* length, size_t* capacity, const RE_Tree& tree,
                      bool first_only, size_t* count, RE_Search_Info* info = nullptr) const;

    // The same in the local code page, in bytes. Without a match the bytes stay; else the whole
    // text is converted, what is ill-formed in it is substituted, and the capacity grows once.
    char* replace(char* buffer, size_t* length, size_t* capacity, const RE_Tree& tree,
                  bool first_only, size_t* count, RE_Search_Info* info = nullptr) const;

    // Compiles both and replaces. Returns a new NUL-terminated text, which the caller frees with
    // utFree, and stores its length; `length` null: `buffer` ends with a NUL. The buffer stays.
    static char* replace(const char* buffer, size_t* length, const char* pattern,
                         const char* replacement, bool ignore_case, bool first_only);

    // Writes the result piece by piece; beyond the matcher's memory it takes that of one
    // replacement. What was written before an error stays written.
    void stream(const char16_t* text, size_t length, const RE_Tree& tree, bool first_only,
                size_t* count, RE_Replace_Writer& writer, RE_Search_Info* info = nullptr) const;

    // What the template uses, its expressions included. The elements that can be inputs of
    // expressions, those that are inputs once for each expression:
    size_t evaluable_count() const noexcept;
    // Token numbers, ascending, and names, NUL-terminated, in the order of their first use; owned
    // by the template. `count` may be null. A number that does not fit is SIZE_MAX.
    const size_t* tokens_used(size_t* count) const noexcept;
    const char16_t* const* names_used(size_t* count) const noexcept;
    bool uses(RE_Replace_Special_Kind kind) const noexcept;

    // Prints the listing of the elements through utPrintf.
    void dump() const;
    // The elements as a graph for Graphviz's dot, UTF-8.
    std::string graph() const;

    struct Parts;

  private:
    Parts* parts_;
};

#endif
