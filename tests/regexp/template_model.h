// template_model.h - what a replacement template means, told in another way than the library does.
//
// The template is cut into pieces by string searches, one rule after the other as the language
// reference lists them; nothing is shared with the parser. Evaluation is that of TextContext: the
// answer to an expression is its text and its inputs, so that a replacement shows all of them.
#ifndef QXUT_TESTS_REGEXP_TEMPLATE_MODEL_H
#define QXUT_TESTS_REGEXP_TEMPLATE_MODEL_H

#include <qxut/i18n/classification.h>
#include <qxut/i18n/conversion.h>

#include <algorithm>
#include <cstdarg>
#include <qxut/regexp/context.hpp>
#include <qxut/regexp/tokens.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qxut_test {

struct TemplateWarning {
    size_t position;
    std::string text;
    bool operator==(const TemplateWarning&) const = default;
};

// One value of a match, as an expression sees it.
struct TemplateValue {
    std::u16string name;
    std::u16string text;
    size_t start = 0;
    size_t end = 0;
    bool is_set = false;
};

// "expression[name=text@start-end;...]"; what is not set has neither text nor extent.
inline std::u16string template_answer(std::u16string expression,
                                      const std::vector<TemplateValue>& values) {
    const auto number = [](size_t n) {
        const std::string digits = std::to_string(n);
        return std::u16string(digits.begin(), digits.end());
    };
    expression += u'[';
    for (const TemplateValue& value : values) {
        expression += value.name + u'=';
        if (value.is_set) {
            expression += value.text + u'@' + number(value.start) + u'-' + number(value.end);
        }
        expression += u';';
    }
    return expression + u']';
}

// Keeps the warnings, and evaluates as told above.
class TextContext : public RE_Context {
  public:
    explicit TextContext(bool allows) : allows_(allows) {}
    void set_source(const char16_t* source) { source_ = source; }
    void warn(const char16_t* position, const char* format, va_list arguments) override {
        char text[200];
        utFormatRegexpWarning(text, sizeof(text), format, arguments);
        warnings.push_back({static_cast<size_t>(position - source_), text});
    }
    bool allow_evaluation() const override { return allows_; }
    bool evaluate_string(RE_Evaluation_IO& io) override {
        std::vector<TemplateValue> values;
        for (size_t i = 0; i < io.inputs().count(); ++i) {
            const RE_Evaluation_Input& input = *io.inputs().get(i);
            TemplateValue value{input.name, {}, input.start, input.end, input.is_set};
            if (input.is_set) value.text.assign(input.text, input.length);
            values.push_back(value);
        }
        const std::u16string answer =
            template_answer(std::u16string(io.expression(), io.expression_length()), values);
        io.set_text(answer.data(), answer.size());
        return true;
    }
    std::vector<TemplateWarning> warnings;

  private:
    bool allows_;
    const char16_t* source_ = nullptr;
};

class TemplateModel {
  public:
    TemplateModel(std::u16string text, bool evaluates) : text_(std::move(text)) {
        for (size_t i = 0; i < text_.size();) i = cut(i, evaluates);
    }

    std::vector<TemplateWarning> warnings;

    std::u16string replacement(const std::u16string& subject, const RE_Token_Stack& tokens) const {
        std::u16string result;
        for (const Piece& piece : pieces_) {
            if (piece.kind == Piece::literal) {
                result += piece.text;
            } else if (piece.kind == Piece::form) {
                result += value_of(piece.text, subject, tokens).text;
            } else {
                result += expression(piece.text, subject, tokens);
            }
        }
        return result;
    }

  private:
    struct Piece {
        enum Kind { literal, form, expression } kind;
        std::u16string text;  // of a form with its $, of an expression without its braces
    };
    using View = std::u16string_view;

    static constexpr const char* kUnknown =
        "Unknown replace pattern specified, '$' is treated literally.";

    // The length of the form that `text` begins with; 0 when it begins with none.
    static size_t form_length(View text) {
        if (text.size() < 2 || text[0] != u'$') return 0;
        if (View(u"&'`0").find(text[1]) != View::npos) return 2;
        const size_t digits = text.find_first_not_of(u"0123456789", 1);
        if (digits != 1) return std::min(digits, text.size());
        const size_t end = text.find(u'>');
        if (text[1] != u'<' || end == View::npos) return 0;
        return is_name(text.substr(2, end - 2)) ? end + 1 : 0;
    }

    static bool is_name(View name) {
        const std::u32string characters = decoded(name);
        return !characters.empty() && !is_digit(characters[0]) &&
               std::all_of(characters.begin(), characters.end(), is_word);
    }
    static bool is_digit(char32_t c) { return qxu_isdigit(static_cast<int32_t>(c)) != 0; }
    static bool is_word(char32_t c) {
        return c == U'_' || qxu_isalnum(static_cast<int32_t>(c)) != 0;
    }
    static std::u32string decoded(View text) {
        std::u32string characters;
        for (size_t i = 0; i < text.size(); ++i) {
            const bool is_pair = (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() &&
                                 (text[i + 1] & 0xFC00) == 0xDC00;
            characters += is_pair ? 0x10000 + ((text[i] & 0x3FFU) << 10) + (text[i + 1] & 0x3FFU)
                                  : char32_t{text[i]};
            if (is_pair) ++i;
        }
        return characters;
    }

    void literal(View text) {
        if (!text.empty()) pieces_.push_back({Piece::literal, std::u16string(text)});
    }

    size_t cut(size_t at, bool evaluates) {
        const View rest = View(text_).substr(at);
        if (rest[0] == u'\\') return at + escape(at, rest);
        if (rest[0] != u'$') {
            literal(rest.substr(0, 1));
            return at + 1;
        }
        if (const size_t length = form_length(rest); length != 0) {
            pieces_.push_back({Piece::form, std::u16string(rest.substr(0, length))});
            return at + length;
        }
        if (rest.substr(0, 2) == u"${") {
            int depth = 0;
            for (size_t i = 1; i < rest.size(); ++i) {
                depth += rest[i] == u'{' ? 1 : (rest[i] == u'}' ? -1 : 0);
                if (depth != 0) continue;
                if (evaluates) {
                    pieces_.push_back({Piece::expression, std::u16string(rest.substr(2, i - 2))});
                    return at + i + 1;
                }
                warnings.push_back({at, "Evaluation is disabled"});
                break;
            }
        }
        warnings.push_back({at, kUnknown});
        literal(u"$");
        return at + 1;
    }

    static unsigned long digits(View text, unsigned base, size_t most, size_t* length) {
        static constexpr View kDigits = u"0123456789abcdef";
        unsigned long value = 0;
        for (*length = 0; *length < std::min(most, text.size()); ++*length) {
            const auto unit = static_cast<char16_t>(
                text[*length] < 128 ? text[*length] | (text[*length] >= u'A' ? 0x20 : 0) : 0);
            const size_t digit = kDigits.find(unit);
            if (digit >= base) break;
            value = std::min(value * base + digit, 0xFFFFFFUL);
        }
        return value;
    }

    void code_point(unsigned long c) {
        if (c < 0x10000) {
            const auto unit = static_cast<char16_t>(c);
            literal(View(&unit, 1));
        } else {
            const char16_t units[] = {static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)),
                                      static_cast<char16_t>(0xDC00 + (c & 0x3FF))};
            literal(View(units, 2));
        }
    }

    // `rest` begins with a backslash; returns the length of the escape.
    size_t escape(size_t at, View rest) {
        if (rest.size() == 1) {
            warnings.push_back({at, "Backslash at end of pattern is treated literally."});
            literal(u"\\");
            return 1;
        }
        const char16_t letter = rest[1];
        if (const size_t control = View(u"abtnvfr").find(letter); control != View::npos) {
            code_point(View(u"\7\b\t\n\v\f\r")[control]);
            return 2;
        }
        size_t length = 0;
        if (letter == u'0') {
            code_point(digits(rest.substr(2), 8, 2, &length));
            return 2 + length;
        }
        if (letter == u'o' || letter == u'x') {
            const unsigned base = letter == u'o' ? 8 : 16;
            const size_t closer = rest.find(u'}');
            if (rest.size() > 2 && rest[2] == u'{' && closer != View::npos) {
                const View inside = rest.substr(3, closer - 3);
                const unsigned long code = digits(inside, base, View::npos, &length);
                if (inside.empty() || length != inside.size()) {
                    warnings.push_back(
                        {at + 2, "Braced expression does not evaluate to a character."});
                } else if (code > 0x10FFFF) {
                    warnings.push_back(
                        {at + 2, "Braced expression is too long to evaluate to a character."});
                } else {
                    code_point(code);
                }
                return closer + 1;
            }
            const unsigned long code = digits(rest.substr(2), base, base == 8 ? 3 : 2, &length);
            if (length != 0) {
                code_point(code);
                return 2 + length;
            }
        }
        const View character = rest.substr(1, decoded(rest.substr(1, 2)).size() == 1 ? 2 : 1);
        literal(character);
        if (View(u"()-[]{|}*+?\\<>$.^").find(letter) == View::npos) {
            char shown[8];
            uint32_t size = sizeof(shown);
            const bool is_nul = letter == 0;
            utf16_to_utf8_n(shown, &size, is_nul ? u" " : character.data(),
                            static_cast<uint32_t>(character.size()));
            warnings.push_back({at + 1, "Escaped character '" + std::string(shown, size) +
                                            "' is treated literally in this context."});
        }
        return 1 + character.size();
    }

    static std::u16string decimal(size_t number) {
        const std::string digits = std::to_string(number);
        return {digits.begin(), digits.end()};
    }
    // Of a form $N; SIZE_MAX where it does not fit.
    static size_t number_of(const std::u16string& form) {
        size_t number = 0;
        for (const char16_t c : form.substr(1)) {
            const size_t digit = c - u'0';
            if (number > (SIZE_MAX - digit) / 10) return SIZE_MAX;
            number = number * 10 + digit;
        }
        return number;
    }

    // The value of a form, with the name that it has in an expression.
    static TemplateValue value_of(const std::u16string& form, const std::u16string& subject,
                                  const RE_Token_Stack& tokens) {
        const RE_TokenInfo* info = tokens.get(size_t{0});
        TemplateValue value;
        if (form == u"$0" || form == u"$&") {
            value = {u"matched", {}, info->start, info->end, true};
        } else if (form == u"$`") {
            value = {u"former", {}, 0, info->start, true};
        } else if (form == u"$'") {
            value = {u"latter", {}, info->end, subject.size(), true};
        } else {
            if (form[1] == u'<') {
                value.name = form.substr(2, form.size() - 3);
                info = tokens.get(value.name.c_str());
            } else {
                const size_t number = number_of(form);
                value.name = u"token_" + decimal(number);
                info = tokens.get(number);
            }
            value.is_set = info != nullptr && info->is_set;
            if (value.is_set) {
                value.start = info->start;
                value.end = info->end;
            }
        }
        if (value.is_set) value.text = subject.substr(value.start, value.end - value.start);
        return value;
    }

    static std::u16string expression(const std::u16string& written, const std::u16string& subject,
                                     const RE_Token_Stack& tokens) {
        std::vector<Piece> pieces;
        std::vector<TemplateValue> inputs;
        std::vector<std::u16string> forms;  // of the inputs, $0 for $&
        std::vector<std::u16string> taken;  // names
        std::u16string word;
        for (size_t i = 0; i < written.size();) {
            const size_t length = form_length(View(written).substr(i));
            if (length == 0) {
                const size_t units = decoded(written.substr(i, 2)).size() == 1 ? 2 : 1;
                pieces.push_back({Piece::literal, written.substr(i, units)});
                i += units;
                continue;
            }
            std::u16string form = written.substr(i, length);
            if (form == u"$&") form = u"$0";
            if (form[1] >= u'1' && form[1] <= u'9') form = u"$" + decimal(number_of(form));
            pieces.push_back({Piece::form, form});
            if (std::find(forms.begin(), forms.end(), form) == forms.end()) {
                forms.push_back(form);
                inputs.push_back(value_of(form, subject, tokens));
            }
            i += length;
        }
        // The words between the forms.
        for (const Piece& piece : pieces) {
            const char32_t c = decoded(piece.text)[0];
            const bool is_part =
                piece.kind == Piece::literal && is_word(c) && (!word.empty() || !is_digit(c));
            if (is_part) {
                word += piece.text;
            } else if (!word.empty()) {
                taken.push_back(word);
                word.clear();
            }
        }
        if (!word.empty()) taken.push_back(word);

        const auto is_taken = [&](const std::u16string& name) {
            return std::find(taken.begin(), taken.end(), name) != taken.end();
        };
        std::vector<size_t> named;
        for (size_t i = 0; i < inputs.size(); ++i) {
            if (forms[i][1] == u'<') {
                named.push_back(i);
            } else {
                taken.push_back(inputs[i].name);
            }
        }
        std::sort(named.begin(), named.end(),
                  [&](size_t a, size_t b) { return inputs[a].name < inputs[b].name; });
        std::vector<size_t> clashing;
        for (const size_t i : named) {
            if (is_taken(inputs[i].name)) {
                clashing.push_back(i);
            } else {
                taken.push_back(inputs[i].name);
            }
        }
        for (const size_t i : clashing) {
            std::u16string name;
            for (size_t suffix = 2; name.empty() || is_taken(name); ++suffix) {
                name = inputs[i].name + u"_" + decimal(suffix);
            }
            inputs[i].name = name;
            taken.push_back(name);
        }
        std::u16string text;
        for (const Piece& piece : pieces) {
            const auto place = std::find(forms.begin(), forms.end(), piece.text);
            text += piece.kind == Piece::literal
                        ? piece.text
                        : inputs[static_cast<size_t>(place - forms.begin())].name;
        }
        return template_answer(text, inputs);
    }

    std::u16string text_;
    std::vector<Piece> pieces_;
};

}  // namespace qxut_test

#endif
