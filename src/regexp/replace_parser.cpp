// replace_parser.cpp - reads a replacement template into its chain of elements.
//
// One pass from left to right. A `$` that begins no element is literal, with a warning, and the
// scan goes on behind it; so nothing is read twice but the beginning of a name that is not closed.
// Where each brace is closed is found in one pass beforehand, when the first `${` asks for it.
// Invariant: literal text goes to the last element of the chain when that is literal. Entry point:
// parse_template. Tested by tests/regexp/replace_test.cpp.
#include <algorithm>
#include <map>
#include <set>
#include <string_view>

#include "regexp/escapes.h"
#include "regexp/failure.h"
#include "regexp/names.h"
#include "regexp/replace_parts.h"

namespace qxut::regexp {

namespace {

using View = std::u16string_view;
template <class Key, class Value>
using Map = std::map<Key, Value, std::less<Key>, Allocator<std::pair<const Key, Value>>>;
template <class Key>
using Set = std::set<Key, std::less<Key>, Allocator<Key>>;

// What stands behind a `$` but for expressions.
struct Form {
    enum class Kind : uint8_t { none, special, token, name };
    Kind kind = Kind::none;
    RE_Replace_Special_Kind special = RE_REPLACE_FORMER;
    size_t number = 0;
    View name;
    size_t end = 0;
};

Form special_form(RE_Replace_Special_Kind kind, size_t dollar) {
    Form form;
    form.kind = Form::Kind::special;
    form.special = kind;
    form.end = dollar + 2;
    return form;
}

// The form whose `$` stands at `dollar`; nothing from `end` on is looked at.
Form read_form(const Source& source, size_t dollar, size_t end) {
    const char16_t* const text = source.text;
    if (dollar + 1 >= end) return {};
    const char16_t c = text[dollar + 1];
    switch (c) {
        case u'`':
            return special_form(RE_REPLACE_FORMER, dollar);
        case u'0':
            return special_form(RE_REPLACE_WHOLE, dollar);
        case u'&':
            return special_form(RE_REPLACE_MATCHED, dollar);
        case u'\'':
            return special_form(RE_REPLACE_LATTER, dollar);
        default:
            break;
    }
    Form form;
    if (c == u'<') {
        const size_t begin = dollar + 2;
        size_t after = begin;
        const size_t name_end = read_closed_name(source, after, end, u'>');
        if (after == begin) return {};
        form.kind = Form::Kind::name;
        form.name = View(text + begin, name_end - begin);
        form.end = after;
    } else if (c >= u'1' && c <= u'9') {
        form.kind = Form::Kind::token;
        for (form.end = dollar + 1; form.end < end; ++form.end) {
            const char16_t digit = text[form.end];
            if (digit < u'0' || digit > u'9') break;
            const size_t value = digit - u'0';
            form.number =
                form.number > (SIZE_MAX - value) / 10 ? SIZE_MAX : form.number * 10 + value;
        }
    }
    return form;
}

// Where the inputs of one expression stand, so that each is made once.
struct InputIndex {
    Map<size_t, size_t> tokens;
    Map<View, size_t> names;
    size_t specials[4] = {SIZE_MAX, SIZE_MAX, SIZE_MAX, SIZE_MAX};
};

void append(Vector<char16_t>& text, View more) {
    text.insert(text.end(), more.begin(), more.end());
}

void append_number(Vector<char16_t>& text, size_t number) {
    char16_t digits[24];
    size_t begin = 24;
    do {
        digits[--begin] = static_cast<char16_t>(u'0' + number % 10);
        number /= 10;
    } while (number != 0);
    append(text, View(digits + begin, 24 - begin));
}

View special_name(RE_Replace_Special_Kind kind) {
    switch (kind) {
        case RE_REPLACE_FORMER:
            return u"former";
        case RE_REPLACE_LATTER:
            return u"latter";
        default:
            return u"matched";
    }
}

class TemplateParser {
  public:
    TemplateParser(const Source& source, RE_Flags flags, RE_Replace::Parts& parts) noexcept
        : source_(source), flags_(flags), parts_(parts), escapes_(source) {}

    void parse() {
        for (size_t position = 0; position < source_.length;) position = parse_piece(position);
        for (const auto& token : numbers_) parts_.tokens.push_back(token);
    }

  private:
    size_t parse_piece(size_t position) {
        const char16_t c = source_.text[position];
        if (c == u'\\') return parse_escape(position);
        if (c == u'$') {
            const Form form = read_form(source_, position, source_.length);
            if (form.kind != Form::Kind::none) {
                chain(make_element(form));
                return form.end;
            }
            if (const size_t end = parse_expression(position); end != position) return end;
            source_.warn(position, "Unknown replace pattern specified, '$' is treated literally.");
        }
        literal().push_back(c);
        return position + 1;
    }

    size_t parse_escape(size_t backslash) {
        EscapeOptions options;
        options.place = EscapePlace::replacement;
        options.free_spacing = (flags_ & RE_FREE_SPACING) != 0;
        const Escape escape = escapes_.read(backslash, source_.length, options);
        if (escape.kind == Escape::Kind::character) append_units(literal(), escape.character);
        return escape.end;
    }

    // The end of the `${...}` at `dollar`; `dollar` where there is none or it may not be.
    size_t parse_expression(size_t dollar) {
        const size_t brace = dollar + 1;
        if (brace >= source_.length || source_.text[brace] != u'{') return dollar;
        const size_t closer = closer_of(brace);
        if (closer == source_.length) return dollar;
        if ((flags_ & RE_EVALUATE) == 0 || source_.context == nullptr ||
            !source_.context->allow_evaluation()) {
            source_.warn(dollar, "Evaluation is disabled");
            return dollar;
        }
        std::unique_ptr<RE_Replace_Evaluator> node(
            require(new RE_Replace_Evaluator(source_.context)));
        read_expression(*node, brace + 1, closer);
        node->prepare();
        chain(std::move(node));
        return closer + 1;
    }

    // Finds the inputs, names them, and puts the names where they stand.
    void read_expression(RE_Replace_Evaluator& node, size_t begin, size_t end) {
        const View written(source_.text + begin, end - begin);
        append(node.written, written);
        InputIndex index;
        Set<View> words;
        for_each_form(begin, end, [&](View before, const Form& form) {
            add_words(words, before);
            if (form.kind != Form::Kind::none) add_input(node, index, form);
        });
        name_inputs(node, index, words);
        for_each_form(begin, end, [&](View before, const Form& form) {
            append(node.expression, before);
            if (form.kind == Form::Kind::none) return;
            const auto& name = node.inputs[place_of(index, form)].name;
            append(node.expression, View(name.data(), name.size() - 1));
        });
        node.expression.push_back(0);
    }

    // Calls take(text in front of it, form) for each form, and once for the rest without one.
    template <class Take>
    void for_each_form(size_t begin, size_t end, Take take) {
        size_t done = begin;
        for (size_t i = begin; i < end;) {
            const Form form = source_.text[i] == u'$' ? read_form(source_, i, end) : Form{};
            if (form.kind == Form::Kind::none) {
                ++i;
                continue;
            }
            take(View(source_.text + done, i - done), form);
            done = i = form.end;
        }
        take(View(source_.text + done, end - done), Form{});
    }

    // The words of an expression, so that no input takes the name of something of the host's.
    void add_words(Set<View>& words, View text) const {
        Source part = source_;
        part.text = text.data();
        part.length = text.size();
        for (size_t i = 0; i < text.size();) {
            const size_t end = read_name(part, i, text.size());
            if (end != i) words.insert(text.substr(i, end - i));
            i = end == i ? i + 1 : end;
        }
    }

    static size_t place_of(const InputIndex& index, const Form& form) {
        switch (form.kind) {
            case Form::Kind::token:
                return index.tokens.find(form.number)->second;
            case Form::Kind::name:
                return index.names.find(form.name)->second;
            default:
                return index.specials[form.special];
        }
    }

    void add_input(RE_Replace_Evaluator& node, InputIndex& index, const Form& form) {
        const size_t place = node.inputs.size();
        bool is_new = true;
        if (form.kind == Form::Kind::token) {
            is_new = index.tokens.try_emplace(form.number, place).second;
        } else if (form.kind == Form::Kind::name) {
            is_new = index.names.try_emplace(form.name, place).second;
        } else {
            // $0 and $& are one input, as they have one name.
            const bool is_match =
                form.special == RE_REPLACE_WHOLE || form.special == RE_REPLACE_MATCHED;
            size_t& known = index.specials[form.special];
            is_new = known == SIZE_MAX;
            if (is_new) known = place;
            if (is_match)
                index.specials[RE_REPLACE_WHOLE] = index.specials[RE_REPLACE_MATCHED] = known;
        }
        if (!is_new) {
            record(form);
            return;
        }
        node.inputs.emplace_back();
        node.inputs.back().element = make_element(form);
    }

    // Tokens and specials have names of their own. A named token keeps its name unless that is
    // taken; then it gets the first free one of name_2, name_3, ...
    static void name_inputs(RE_Replace_Evaluator& node, const InputIndex& index, Set<View>& words) {
        for (const auto& [number, place] : index.tokens) {
            Vector<char16_t>& name = node.inputs[place].name;
            append(name, u"token_");
            append_number(name, number);
            name.push_back(0);
        }
        for (size_t kind = 0; kind < 4; ++kind) {
            if (index.specials[kind] == SIZE_MAX) continue;
            Vector<char16_t>& name = node.inputs[index.specials[kind]].name;
            if (!name.empty()) continue;
            append(name, special_name(static_cast<RE_Replace_Special_Kind>(kind)));
            name.push_back(0);
        }
        if (index.names.empty()) return;
        for (const auto& input : node.inputs) {
            if (!input.name.empty()) words.insert(View(input.name.data(), input.name.size() - 1));
        }
        Vector<std::pair<View, size_t>> clashing;
        for (const auto& [own, place] : index.names) {
            if (!words.insert(own).second) {
                clashing.emplace_back(own, place);
                continue;
            }
            append(node.inputs[place].name, own);
            node.inputs[place].name.push_back(0);
        }
        for (const auto& [own, place] : clashing) {
            Vector<char16_t>& name = node.inputs[place].name;
            for (size_t suffix = 2; name.empty(); ++suffix) {
                append(name, own);
                append(name, u"_");
                append_number(name, suffix);
                if (words.count(View(name.data(), name.size())) != 0) name.clear();
            }
            name.push_back(0);
            words.insert(View(name.data(), name.size() - 1));
        }
    }

    // Records the use of the tokens and names, and the name's text.
    const char16_t* record(const Form& form) {
        switch (form.kind) {
            case Form::Kind::token:
                numbers_.insert(form.number);
                return nullptr;
            case Form::Kind::special:
                parts_.uses[form.special] = true;
                return nullptr;
            default:
                break;
        }
        if (const auto known = names_.find(form.name); known != names_.end()) return known->second;
        Vector<char16_t> text(form.name.begin(), form.name.end());
        text.push_back(0);
        parts_.text_of_names.push_back(std::move(text));
        const char16_t* const name = parts_.text_of_names.back().data();
        parts_.names.push_back(name);
        names_.emplace(View(name, form.name.size()), name);
        return name;
    }

    std::unique_ptr<RE_Replace_Evalable> make_element(const Form& form) {
        const char16_t* const name = record(form);
        ++parts_.evaluable_count;
        RE_Replace_Evalable* element = nullptr;
        if (form.kind == Form::Kind::token) {
            element = new RE_Replace_Token(form.number);
        } else if (form.kind == Form::Kind::name) {
            element = new RE_Replace_Named_Token(name);
        } else {
            element = new RE_Replace_Special(form.special);
        }
        return std::unique_ptr<RE_Replace_Evalable>(require(element));
    }

    void chain(std::unique_ptr<RE_Replace_Node> node) {
        RE_Replace_Node*& link = last_ == nullptr ? parts_.first : last_->next;
        last_ = link = node.release();
        last_literal_ = nullptr;
    }

    Vector<char16_t>& literal() {
        if (last_literal_ == nullptr) {
            std::unique_ptr<RE_Replace_String> node(require(new RE_Replace_String));
            RE_Replace_String* const made = node.get();
            chain(std::move(node));
            last_literal_ = made;
        }
        return last_literal_->units;
    }

    // The position of the `}` that closes the brace; the length without one.
    size_t closer_of(size_t brace) {
        if (closers_.empty()) {
            closers_.resize(source_.length, source_.length);
            Vector<size_t> open;
            for (size_t i = 0; i < source_.length; ++i) {
                if (source_.text[i] == u'{') open.push_back(i);
                if (source_.text[i] != u'}' || open.empty()) continue;
                closers_[open.back()] = i;
                open.pop_back();
            }
        }
        return closers_[brace];
    }

    const Source& source_;
    RE_Flags flags_;
    RE_Replace::Parts& parts_;
    EscapeReader escapes_;
    RE_Replace_Node* last_ = nullptr;
    RE_Replace_String* last_literal_ = nullptr;  // the last element, if it is literal
    Set<size_t> numbers_;
    Map<View, const char16_t*> names_;
    Vector<size_t> closers_;
};

}  // namespace

void parse_template(const char16_t* text, size_t length, RE_Flags flags, RE_Context* context,
                    RE_Replace::Parts& parts) {
    Source source;
    source.text = text;
    source.length = length;
    source.shown = text;
    source.context = context;
    TemplateParser(source, flags, parts).parse();
}

}  // namespace qxut::regexp
