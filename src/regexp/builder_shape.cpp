// builder_shape.cpp - reads a piece of pattern text once, from left to right, and tells whether it
// is one atom and whether it has alternatives.
//
// Parentheses are counted, not descended into. Entry point: shape_of. Tested by
// tests/regexp/builder_test.cpp.
#include "regexp/builder_shape.h"

#include <cstdint>
#include <string_view>

#include "regexp/characters.h"

namespace qxut::regexp {
namespace {

using Shape = RE_Builder_Space::RE_Builder::Shape;

bool is_octal(char16_t c) { return c >= u'0' && c <= u'7'; }
bool is_digit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool is_hex(char16_t c) {
    return is_digit(c) || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
}

class Scan {
  public:
    explicit Scan(std::u16string_view text) : text_(text) {}

    PieceShape run() {
        bool has_bar = false;
        while (position_ < text_.size()) {
            code_length_ = 0;
            switch (text_[position_]) {
                case u'|':
                    has_bar = true;
                    ++position_;
                    break;
                case u'*':
                case u'+':
                case u'?':
                case u'{':  // a quantifier, or literal at the beginning
                    is_simple_ = false;
                    ++position_;
                    break;
                default:
                    skip_atom();
            }
        }
        Shape shape = Shape::sequence;
        if (text_.empty()) shape = Shape::empty;
        if (atoms_ == 1 && is_simple_) shape = Shape::atom;
        if (has_bar) shape = Shape::alternatives;
        return {shape, code_length_};
    }

  private:
    char16_t at(size_t position) const { return position < text_.size() ? text_[position] : u'\0'; }

    void skip_atom() {
        ++atoms_;
        switch (text_[position_]) {
            case u'\\':
                skip_escape();
                break;
            case u'[':
                is_simple_ = skip_set() && is_simple_;
                break;
            case u'(':
                is_simple_ = skip_group() && is_simple_;
                break;
            default:
                skip_character();
        }
    }

    void skip_character() {
        const bool is_pair =
            is_high_surrogate(at(position_)) && is_low_surrogate(at(position_ + 1));
        position_ += is_pair ? 2 : 1;
    }

    void skip_escape() {
        const size_t begin = position_;
        const char16_t letter = at(++position_);
        if (position_ == text_.size()) {  // literal, but not where something follows
            is_simple_ = false;
            return;
        }
        skip_character();
        if (letter == u'x' || letter == u'o') {
            if (at(position_) == u'{') {
                skip_past(u'}');
            } else {
                skip_digits(begin, letter == u'x' ? is_hex : is_octal);
            }
        } else if (letter == u'k') {
            if (at(position_) == u'<') skip_past(u'>');
        } else if (is_digit(letter)) {
            skip_digits(begin, is_digit);
        }
    }

    void skip_digits(size_t begin, bool (*is_wanted)(char16_t)) {
        while (is_wanted(at(position_))) ++position_;
        if (position_ == text_.size()) code_length_ = position_ - begin;
        // How many digits belong to it depends on the escape and on the pattern's tokens.
        is_simple_ = false;
    }

    void skip_past(char16_t closer) {
        const size_t found = text_.find(closer, position_);
        if (found == std::u16string_view::npos) {
            is_simple_ = false;
        } else {
            position_ = found + 1;
        }
    }

    // Behind the set's closer; without one only over the bracket, and false.
    bool skip_set() {
        size_t i = position_ + 1;
        if (at(i) == u'^') ++i;
        for (; i < text_.size() && text_[i] != u']'; ++i) {
            if (text_[i] == u'\\') ++i;
        }
        const bool is_closed = i < text_.size();
        position_ = is_closed ? i + 1 : position_ + 1;
        return is_closed;
    }

    // Behind the group; false for one that takes no quantifier and for one that is not closed.
    bool skip_group() {
        const bool is_quantifiable = is_quantifiable_group();
        size_t depth = 0;
        do {
            switch (text_[position_]) {
                case u'\\':
                    position_ += 2;
                    break;
                case u'[':
                    skip_set();
                    break;
                case u'(':
                    ++depth;
                    ++position_;
                    break;
                case u')':
                    --depth;
                    ++position_;
                    break;
                default:
                    ++position_;
            }
        } while (depth != 0 && position_ < text_.size());
        if (position_ > text_.size()) position_ = text_.size();
        return depth == 0 && is_quantifiable;
    }

    // Look-arounds, comments and flag settings take no quantifier.
    bool is_quantifiable_group() const {
        if (at(position_ + 1) != u'?') return true;
        const char16_t kind = at(position_ + 2);
        if (kind == u'<') return at(position_ + 3) != u'=' && at(position_ + 3) != u'!';
        constexpr std::u16string_view kQuantifiable = u":>(@?";
        return kQuantifiable.find(kind) != std::u16string_view::npos;
    }

    std::u16string_view text_;
    size_t position_ = 0;
    size_t atoms_ = 0;
    bool is_simple_ = true;
    size_t code_length_ = 0;
};

}  // namespace

PieceShape shape_of(const char16_t* text, size_t length) noexcept {
    return Scan({text, length}).run();
}

}  // namespace qxut::regexp
