// builder.cpp - patterns put together from pieces.
//
// Each piece knows its shape, so that those around it know when to wrap it. A piece that is given
// as text is scanned once for it (builder_shape.cpp); of a piece that is put together the shape
// follows from how.
//
// Entry points: the functions of RE_Builder_Space. Tested by tests/regexp/builder_test.cpp.
#include <qxut/regexp/builder.hpp>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "regexp/allocator.h"
#include "regexp/builder_shape.h"
#include "regexp/failure.h"
#include "regexp/narrow_text.h"

namespace RE_Builder_Space {

// --- narrow texts ------------------------------------------------------------------------------

RE_Narrow_Text::RE_Narrow_Text(const RE_Narrow_Text& other) {
    if (other.length_ != 0) append(other.text_, other.length_);
}

RE_Narrow_Text::RE_Narrow_Text(RE_Narrow_Text&& other) noexcept
    : text_(std::exchange(other.text_, nullptr)),
      length_(std::exchange(other.length_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

RE_Narrow_Text& RE_Narrow_Text::operator=(RE_Narrow_Text other) noexcept {
    std::swap(text_, other.text_);
    std::swap(length_, other.length_);
    std::swap(capacity_, other.capacity_);
    return *this;
}

RE_Narrow_Text::~RE_Narrow_Text() { qxut::regexp::free_objects(text_); }

void RE_Narrow_Text::reserve(size_t more) {
    if (more <= capacity_ - length_) return;
    if (more > SIZE_MAX / 2 - length_ - 1) qxut::regexp::fail_memory();
    const size_t capacity = std::max(length_ + more, capacity_ + capacity_ / 2);
    auto* const text = static_cast<char*>(qxut::regexp::allocate_objects(capacity + 1, 1));
    std::copy_n(this->text(), length_ + 1, text);
    qxut::regexp::free_objects(text_);
    text_ = text;
    capacity_ = capacity;
}

void RE_Narrow_Text::append(const char* text, size_t length) {
    if (length == 0) return;
    reserve(length);
    std::memcpy(text_ + length_, text, length);
    length_ += length;
    text_[length_] = '\0';
}

// --- making pieces -------------------------------------------------------------------------------

struct RE_Maker {
    using Shape = RE_Builder::Shape;
    using Pieces = std::initializer_list<std::string_view>;

    static void append(RE_Narrow_Text& text, Pieces pieces) {
        size_t length = 0;
        for (const std::string_view piece : pieces) length += piece.size();
        text.reserve(length);
        for (const std::string_view piece : pieces) text.append(piece.data(), piece.size());
    }

    static RE_Builder make(Shape shape, Pieces pieces) {
        RE_Builder made;
        append(made.text_, pieces);
        made.shape_ = shape;
        return made;
    }

    static std::string_view view(const RE_Builder& b) { return {b.text(), b.text_.length()}; }
    static std::string_view view(const char* text) {
        return text != nullptr ? std::string_view(text) : std::string_view();
    }

    // Where a quantifier follows.
    static bool needs_group_alone(const RE_Builder& b) { return b.shape_ != Shape::atom; }
    // Where something stands beside it, and as the branch of a condition.
    static bool needs_group_beside(const RE_Builder& b) { return b.shape_ == Shape::alternatives; }

    // What would become the quantifier of an atom in front of it.
    static bool begins_as_quantifier(const RE_Builder& b) {
        return b.shape_ != Shape::empty && std::strchr("*+?{", *b.text()) != nullptr;
    }
    static bool begins_as_digit(const RE_Builder& b) {
        const auto c = static_cast<unsigned char>(*b.text());
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    }

    static void append_to(RE_Builder& a, const RE_Builder& b) {
        if (b.shape_ == Shape::empty) return;
        if (a.shape_ == Shape::empty) {
            a = b;
            return;
        }
        const bool wraps_b = needs_group_beside(b) || begins_as_quantifier(b);
        const std::string_view open = wraps_b ? "(?:" : "";
        const std::string_view close = wraps_b ? ")" : "";
        const size_t code_length = wraps_b ? 0 : b.code_length_;
        // Of `a` as little as possible is wrapped: a group takes its tokens away.
        size_t kept = a.text_.length();
        if (needs_group_beside(a)) {
            kept = 0;
        } else if (a.code_length_ != 0 && begins_as_digit(b)) {
            kept -= a.code_length_;
        }
        const std::string_view text = view(a);
        if (kept != text.size()) {
            a = make(Shape::sequence,
                     {text.substr(0, kept), "(?:", text.substr(kept), ")", open, view(b), close});
        } else if (&a == &b) {
            a = make(Shape::sequence, {text, open, text, close});
        } else {
            append(a.text_, {open, view(b), close});
            a.shape_ = Shape::sequence;
        }
        a.code_length_ = code_length;
    }

    static RE_Builder group(std::string_view opener, const RE_Builder& b, Shape shape) {
        return make(shape, {opener, view(b), ")"});
    }

    static RE_Builder quantified(const RE_Builder& b, std::string_view quantifier,
                                 RE_QuantifierQualifier qualifier) {
        const bool wraps = needs_group_alone(b);
        std::string_view mark = "";
        if (qualifier == RE_LAZY) mark = "?";
        if (qualifier == RE_POSSESSIVE) mark = "+";
        return make(Shape::sequence,
                    {wraps ? "(?:" : "", view(b), wraps ? ")" : "", quantifier, mark});
    }

    static RE_Builder condition(Pieces test, const RE_Builder& yes, const RE_Builder* no) {
        const bool wraps = needs_group_beside(yes);
        RE_Builder made = make(Shape::atom, test);
        append(made.text_, {wraps ? "(?:" : "", view(yes), wraps ? ")" : ""});
        if (no != nullptr) append(made.text_, {"|", view(*no)});
        append(made.text_, {")"});
        return made;
    }

    static RE_SetItem item(Pieces pieces) {
        RE_SetItem made;
        char* end = made.text_;
        for (const std::string_view piece : pieces)
            end = std::copy(piece.begin(), piece.end(), end);
        return made;
    }
};

namespace {

using Shape = RE_Builder::Shape;

// A number in digits.
class Digits {
  public:
    explicit Digits(uint64_t number, int base = 10)
        : end_(std::to_chars(digits_, digits_ + sizeof digits_, number, base).ptr) {}
    std::string_view text() const { return {digits_, static_cast<size_t>(end_ - digits_)}; }

  private:
    char digits_[20];
    char* end_;
};

// A character inside a set, where the specials of a set may be escaped and all else may be coded.
class SetCharacter {
  public:
    explicit SetCharacter(char32_t c) : SetCharacter(c, false) {}
    SetCharacter(char32_t c, bool is_raw) {
        constexpr std::string_view kSpecial = "()-[]{|}";
        const bool is_plain = c > U' ' && c < 0x7F && c != U'\\' && c != U'^';
        if (is_raw || is_plain) {
            const char byte = static_cast<char>(c);
            if (!is_raw && kSpecial.find(byte) != std::string_view::npos) put("\\");
            put({&byte, 1});
        } else {
            put("\\x{");
            put(Digits(c, 16).text());
            put("}");
        }
    }
    std::string_view text() const { return {text_, length_}; }

  private:
    void put(std::string_view piece) {
        std::copy(piece.begin(), piece.end(), text_ + length_);
        length_ += piece.size();
    }
    char text_[14];
    size_t length_ = 0;
};

std::string_view class_escape(RE_SET_TYPE type, bool negated) {
    switch (type) {
        case RE_SET_DIGIT:
            return negated ? "\\D" : "\\d";
        case RE_SET_WORD:
            return negated ? "\\W" : "\\w";
        default:
            return negated ? "\\S" : "\\s";
    }
}

std::string_view look_opener(bool ahead, bool positive) {
    if (ahead) return positive ? "?=" : "?!";
    return positive ? "?<=" : "?<!";
}

// The letters of a mode group, "on-off".
class ModeLetters {
  public:
    ModeLetters(RE_Flags on, RE_Flags off) {
        put(on);
        if (off != RE_NO_FLAGS) {
            letters_[length_++] = '-';
            put(off);
        }
    }
    std::string_view text() const { return {letters_, length_}; }

  private:
    void put(RE_Flags flags) {
        constexpr char kLetters[] = "ismxe";
        for (unsigned bit = 0; bit < 5; ++bit) {
            if ((unsigned{flags} >> bit & 1U) != 0) letters_[length_++] = kLetters[bit];
        }
    }
    char letters_[11];
    size_t length_ = 0;
};

RE_Builder condition_on_name(const char* name, const RE_Builder& yes, const RE_Builder* no) {
    return RE_Maker::condition({"(?(", RE_Maker::view(name), ")"}, yes, no);
}

RE_Builder condition_on_token(size_t token, const RE_Builder& yes, const RE_Builder* no) {
    return RE_Maker::condition({"(?(", Digits(token).text(), ")"}, yes, no);
}

RE_Builder condition_on_look(const RE_Builder& look, bool ahead, bool positive,
                             const RE_Builder& yes, const RE_Builder* no) {
    return RE_Maker::condition({"(?(", look_opener(ahead, positive), RE_Maker::view(look), ")"},
                               yes, no);
}

RE_Builder condition_on_expression(const char* expression, const RE_Builder& yes,
                                   const RE_Builder* no) {
    return RE_Maker::condition({"(?(?@", RE_Maker::view(expression), ")"}, yes, no);
}

}  // namespace

RE_Builder::RE_Builder(const char* pattern) {
    const std::string_view text = RE_Maker::view(pattern);
    const qxut::regexp::NarrowText wide(text.data(), text.size());
    const auto found = qxut::regexp::shape_of(wide.units(), wide.length());
    text_.append(text.data(), text.size());
    shape_ = found.shape;
    code_length_ = found.code_length;
}

RE_Builder& RE_Builder::operator+=(const RE_Builder& other) {
    RE_Maker::append_to(*this, other);
    return *this;
}

RE_Builder operator+(const RE_Builder& a, const RE_Builder& b) {
    RE_Builder sum = a;
    sum += b;
    return sum;
}

// --- characters ----------------------------------------------------------------------------------

RE_Builder literal(const char* text) {
    constexpr std::string_view kSpecial = "()[]{}|*+?\\$.^";
    RE_Narrow_Text escaped;
    for (const char& c : RE_Maker::view(text)) {
        if (kSpecial.find(c) != std::string_view::npos) escaped.append("\\", 1);
        escaped.append(&c, 1);
    }
    return {escaped.text()};
}

RE_Builder hex(uint32_t code) {
    return RE_Maker::make(Shape::atom, {"\\x{", Digits(code, 16).text(), "}"});
}

RE_Builder special(RE_SpecialKind kind) {
    constexpr const char* kTexts[] = {"^", "$", "\\<", "\\>"};
    return RE_Maker::make(Shape::atom, {kTexts[kind]});
}

RE_SetItem::RE_SetItem(char32_t character)
    : RE_SetItem(RE_Maker::item({SetCharacter(character).text()})) {}

RE_SetItem::RE_SetItem(char character)
    : RE_SetItem(RE_Maker::item(
          {SetCharacter(static_cast<unsigned char>(character), (character & 0x80) != 0).text()})) {}

RE_SetItem::RE_SetItem(RE_SET_TYPE type, bool negated)
    : RE_SetItem(RE_Maker::item({class_escape(type, negated)})) {}

RE_SetItem range(char32_t first, char32_t last) {
    return RE_Maker::item({SetCharacter(first).text(), "-", SetCharacter(last).text()});
}

RE_Set::RE_Set(const RE_SetItem& item) { text_.append(item.text(), std::strlen(item.text())); }

RE_Set::RE_Set(RE_SET_TYPE type, bool negated) : RE_Set(RE_SetItem(type, negated)) {}

RE_Set& RE_Set::operator+=(const RE_Set& other) {
    const RE_Narrow_Text added = other.text_;
    text_.append(added.text(), added.length());
    return *this;
}

RE_Set operator+(const RE_Set& a, const RE_Set& b) {
    RE_Set sum = a;
    sum += b;
    return sum;
}

RE_Builder one_of(const RE_Set& items) {
    return RE_Maker::make(Shape::atom, {"[", items.text(), "]"});
}

RE_Builder none_of(const RE_Set& items) {
    return RE_Maker::make(Shape::atom, {"[^", items.text(), "]"});
}

// --- tokens and conditions -----------------------------------------------------------------------

RE_Builder capture(const RE_Builder& b, const char* name) {
    const std::string_view text = RE_Maker::view(name);
    const bool is_named = !text.empty();
    return RE_Maker::make(
        Shape::atom, {is_named ? "(?<" : "(", text, is_named ? ">" : "", RE_Maker::view(b), ")"});
}

RE_Builder backreference(const char* name) {
    return RE_Maker::make(Shape::atom, {"\\k<", RE_Maker::view(name), ">"});
}

RE_Builder backreference(size_t token) {
    if (token == 0) return one_of(RE_Set());
    // By the same rule as for a piece of text: digits may follow.
    const auto text = RE_Maker::make(Shape::sequence, {"\\", Digits(token).text()});
    return {text.text()};
}

RE_Builder if_then(const char* name, const RE_Builder& yes) {
    return condition_on_name(name, yes, nullptr);
}
RE_Builder if_then(size_t token, const RE_Builder& yes) {
    return condition_on_token(token, yes, nullptr);
}
RE_Builder if_then(const RE_Builder& look, bool ahead, bool positive, const RE_Builder& yes) {
    return condition_on_look(look, ahead, positive, yes, nullptr);
}
RE_Builder eval_if_then(const char* expression, const RE_Builder& yes) {
    return condition_on_expression(expression, yes, nullptr);
}
RE_Builder if_then_else(const char* name, const RE_Builder& yes, const RE_Builder& no) {
    return condition_on_name(name, yes, &no);
}
RE_Builder if_then_else(size_t token, const RE_Builder& yes, const RE_Builder& no) {
    return condition_on_token(token, yes, &no);
}
RE_Builder if_then_else(const RE_Builder& look, bool ahead, bool positive, const RE_Builder& yes,
                        const RE_Builder& no) {
    return condition_on_look(look, ahead, positive, yes, &no);
}
RE_Builder eval_if_then_else(const char* expression, const RE_Builder& yes, const RE_Builder& no) {
    return condition_on_expression(expression, yes, &no);
}

// --- repetition and choice -----------------------------------------------------------------------

RE_Builder quantify(const RE_Builder& b, size_t min, size_t max, RE_QuantifierQualifier qualifier) {
    if (max <= min && max != RE_NO_MAXIMUM) return quantify(b, min, qualifier);
    const auto quantifier = RE_Maker::make(
        Shape::sequence, {"{", Digits(min).text(), ",",
                          max == RE_NO_MAXIMUM ? std::string_view() : Digits(max).text(), "}"});
    return RE_Maker::quantified(b, quantifier.text(), qualifier);
}

RE_Builder quantify(const RE_Builder& b, size_t count, RE_QuantifierQualifier qualifier) {
    const auto quantifier = RE_Maker::make(Shape::sequence, {"{", Digits(count).text(), "}"});
    return RE_Maker::quantified(b, quantifier.text(), qualifier);
}

RE_Builder kleene(const RE_Builder& b, RE_QuantifierQualifier qualifier) {
    return RE_Maker::quantified(b, "*", qualifier);
}

RE_Builder one_or_more(const RE_Builder& b, RE_QuantifierQualifier qualifier) {
    return RE_Maker::quantified(b, "+", qualifier);
}

RE_Builder optional(const RE_Builder& b, RE_QuantifierQualifier qualifier) {
    return RE_Maker::quantified(b, "?", qualifier);
}

RE_Builder either(const RE_Builder& a, const RE_Builder& b) {
    return RE_Maker::make(Shape::alternatives, {RE_Maker::view(a), "|", RE_Maker::view(b)});
}

// --- groups --------------------------------------------------------------------------------------

RE_Builder pos_ahead(const RE_Builder& b) { return RE_Maker::group("(?=", b, Shape::sequence); }
RE_Builder neg_ahead(const RE_Builder& b) { return RE_Maker::group("(?!", b, Shape::sequence); }
RE_Builder pos_behind(const RE_Builder& b) { return RE_Maker::group("(?<=", b, Shape::sequence); }
RE_Builder neg_behind(const RE_Builder& b) { return RE_Maker::group("(?<!", b, Shape::sequence); }
RE_Builder atomic(const RE_Builder& b) { return RE_Maker::group("(?>", b, Shape::atom); }

RE_Builder set_mode(RE_Flags on, RE_Flags off) {
    const ModeLetters letters(on, off);
    if (letters.text().empty()) return {};
    return RE_Maker::make(Shape::sequence, {"(?", letters.text(), ")"});
}

RE_Builder temp_mode(RE_Flags on, RE_Flags off, const RE_Builder& b) {
    const ModeLetters letters(on, off);
    return RE_Maker::make(Shape::atom, {"(?", letters.text(), ":", RE_Maker::view(b), ")"});
}

// --- dynamic parts -------------------------------------------------------------------------------

RE_Builder eval(const char* expression) {
    return RE_Maker::make(Shape::atom, {"(?@", RE_Maker::view(expression), ")"});
}

RE_Builder eval_dynamic(const char* expression) {
    return RE_Maker::make(Shape::atom, {"(??@", RE_Maker::view(expression), ")"});
}

RE_Builder dynamic(const char* pattern) {
    return RE_Maker::make(Shape::atom, {"(??", RE_Maker::view(pattern), ")"});
}

}  // namespace RE_Builder_Space
