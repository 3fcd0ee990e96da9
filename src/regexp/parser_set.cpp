// parser_set.cpp - sets: a chain of tests over failure links that ends in one RE_Consume.
//
// The items of a plain set go on to the consumer, those of a negated one nowhere, and its last
// failure link does. Tested by tests/regexp/parser_test.cpp.
#include "regexp/folding.h"
#include "regexp/parser.h"

namespace qxut::regexp {

struct Parser::SetItem {
    enum class Kind : uint8_t { none, character, character_class } kind = Kind::none;
    char32_t character = 0;  // or the letter of the class
    size_t position = 0;
};

// The item at the position, which moves behind it. Kind none: an escape that was dropped.
Parser::SetItem Parser::read_set_item(size_t& at, size_t close) {
    SetItem item;
    item.position = at;
    if (source_.text[at] != u'\\') {
        item.kind = SetItem::Kind::character;
        item.character = read_character(source_.text, at, close);
        return item;
    }
    const Escape escape =
        escapes_.read(at, close, {EscapePlace::set, free_spacing(), visible_tokens()});
    at = escape.end;
    item.character = escape.character;
    if (escape.kind == Escape::Kind::character_class) {
        item.kind = SetItem::Kind::character_class;
    } else if (escape.kind != Escape::Kind::dropped) {
        item.kind = SetItem::Kind::character;
    }
    return item;
}

void Parser::read_set(size_t close) {
    const size_t open = at_;
    const bool is_negated = source_.text[open + 1] == u'^';
    Fragment set;
    const auto add_test = [&](const RE_Node& node) {
        const Fragment test = Assembly::fragment_of(node);
        if (!set.is_empty()) assembly_.tie(set.last, LinkKind::fail, test);
        assembly_.enlist(set, test);
    };
    const auto add_character = [&](char32_t c, size_t position) {
        RE_Natural* node = make_character(c, position, ignores_case());
        node->consumes = false;
        add_test(*node);
    };
    const auto add_range = [&](char32_t first, char32_t last, size_t position) {
        if (!ignores_case()) {
            add_test(*assembly_.make<RE_Range>(position, first, last));
            return;
        }
        auto* node = assembly_.make<RE_Range_I>(position, first, last);
        node->is_ambiguous = is_ambiguous_ignoring_case(first, last);
        add_test(*node);
    };
    const auto add_item = [&](const SetItem& item) {
        if (item.kind == SetItem::Kind::character) {
            add_character(item.character, item.position);
        } else if (item.kind == SetItem::Kind::character_class) {
            add_test(
                *assembly_.make<RE_Escaped_Set>(item.position, static_cast<char>(item.character)));
        }
    };

    size_t at = open + (is_negated ? 2 : 1);
    SetItem carried;  // read as the end of a range that was none
    while (at < close || carried.kind != SetItem::Kind::none) {
        const SetItem item =
            carried.kind != SetItem::Kind::none ? carried : read_set_item(at, close);
        carried = SetItem{};
        const bool opens_range =
            item.kind != SetItem::Kind::none && at < close && source_.text[at] == u'-';
        if (!opens_range) {
            add_item(item);
            continue;
        }
        const size_t dash = at++;
        if (at == close) {
            add_item(item);
            source_.warn(dash, "Unbound range.");
            add_character(U'-', dash);
            continue;
        }
        SetItem last;
        if (item.kind == SetItem::Kind::character) last = read_set_item(at, close);
        if (last.kind == SetItem::Kind::character) {
            add_range(item.character, last.character, item.position);
        } else {
            add_item(item);
            add_character(U'-', dash);
            carried = last;
        }
    }
    if (set.is_empty() && !is_negated) {
        // Nothing is in it.
        add_test(*assembly_.make<RE_Range>(open, U'1', U'0'));
    }

    const Fragment consume = assembly_.open_fragment_of(*assembly_.make<RE_Consume>(open));
    if (!is_negated) {
        assembly_.tie_each(set, LinkKind::next, consume);
    } else if (!set.is_empty()) {
        assembly_.tie(set.last, LinkKind::fail, consume);
    }
    assembly_.enlist(set, consume);
    set.consumes = true;
    at_ = close + 1;
    add_atom(set);
}

}  // namespace qxut::regexp
