// parser_group.cpp - what begins with '(': groups, tokens, look-arounds, modes, dynamic parts.
//
// Each is told by the characters behind its parenthesis and either opens a level, or is read and
// done. A construct at fault is warned of at its '(' or at the letter at fault, and dropped.
// Tested by tests/regexp/parser_test.cpp.
#include "regexp/names.h"
#include "regexp/parser.h"

namespace qxut::regexp {
namespace {

unsigned flag_of(char16_t letter) {
    switch (letter) {
        case u'i':
            return RE_IGNORE_CASE;
        case u's':
            return RE_DOT_ALL;
        case u'm':
            return RE_MULTI_LINE;
        case u'x':
            return RE_FREE_SPACING;
        case u'e':
            return RE_EVALUATE;
        default:
            return RE_NO_FLAGS;
    }
}

}  // namespace

void Parser::open_parenthesis() {
    const size_t position = at_;
    const size_t close = closers_.parenthesis(position, free_spacing());
    const char16_t* text = source_.text;
    const auto is_at = [&](size_t offset, char16_t c) {
        return position + offset < limit() && text[position + offset] == c;
    };
    if (close >= limit()) {
        source_.warn(position, "Unmatched '('.");
        if (is_at(1, u'?') && is_at(2, u'(') &&
            closers_.parenthesis(position + 2, free_spacing()) >= limit()) {
            source_.warn(position + 2, "No condition specified for if construct.");
        }
        at_ = limit();
    } else if (is_at(1, u'?')) {
        open_extended(position, close);
    } else {
        open_token(position, position + 1, close, nullptr);
    }
}

// A token where tokens are made, a plain group elsewhere.
void Parser::open_token(size_t position, size_t begin, size_t close, const char16_t* name) {
    const bool is_token = options_.capture && levels_.size() == 1;
    if (!is_token) {
        open(Level::Kind::group, position, begin, close, flags_);
        return;
    }
    pattern_.names.push_back(name);
    const size_t token = ++pattern_.token_count;
    open(Level::Kind::token, position, begin, close, flags_).token = token;
}

void Parser::open_named_token(size_t position, size_t close) {
    const size_t begin = position + 3;
    size_t inside = begin;
    const size_t end = read_closed_name(source_, inside, close, u'>');
    if (inside == begin) {
        source_.warn(position, "Invalid token name specified.");
        drop_until(close + 1);
        return;
    }
    if (options_.capture && levels_.size() == 1) {
        open_token(position, inside, close, keep_name(begin, end));
    } else {
        source_.warn(position, "Named tokens in nested parentheses are not supported.");
        open(Level::Kind::group, position, inside, close, flags_);
    }
}

void Parser::open_extended(size_t position, size_t close) {
    const char16_t* text = source_.text;
    switch (text[position + 2]) {
        case u':':
            open(Level::Kind::group, position, position + 3, close, flags_);
            break;
        case u'>':
            open(Level::Kind::atomic, position, position + 3, close, flags_);
            break;
        case u'<':
            if (text[position + 3] != u'=' && text[position + 3] != u'!') {
                open_named_token(position, close);
                break;
            }
            [[fallthrough]];
        case u'=':
        case u'!':
            open_look(Level::Kind::look, position, position + 1, close);
            break;
        case u'#':
            at_ = close + 1;  // what stands before and behind it may be one run of literals
            break;
        case u'(':
            open_conditional(position, close);
            break;
        case u'@':
        case u'?':
            read_dynamic(position, close);
            break;
        default:
            read_mode(position, close);
            break;
    }
}

// `question` is the position of the '?' of ?=, ?!, ?<= or ?<!.
void Parser::open_look(Level::Kind kind, size_t position, size_t question, size_t close) {
    const bool looks_ahead = source_.text[question + 1] != u'<';
    const size_t sign = question + (looks_ahead ? 1 : 2);
    Level& level = open(kind, position, sign + 1, close, flags_);
    level.looks_ahead = looks_ahead;
    level.is_negative = source_.text[sign] == u'!';
}

// (?flags) and (?flags:...).
void Parser::read_mode(size_t position, size_t close) {
    unsigned on = RE_NO_FLAGS;
    unsigned off = RE_NO_FLAGS;
    bool negates = false;
    const char* fault = nullptr;
    size_t at = position + 2;
    for (; at < close && source_.text[at] != u':'; ++at) {
        const char16_t c = source_.text[at];
        const unsigned flag = flag_of(c);
        if (c == u'-' && !negates) {
            negates = true;
        } else if (c == u'-') {
            fault = "Mode flag negation may only be specified once.";
            break;
        } else if (flag == RE_NO_FLAGS) {
            fault = "Unknown mode flag.";
            break;
        } else if (((on | off) & flag) != 0) {
            fail_repeated_mode_flag(at);
        } else {
            (negates ? off : on) |= flag;
        }
    }
    if ((on | off) == RE_NO_FLAGS) {
        source_.warn(position, "Unknown extended regular expression.");
        drop_until(close + 1);
        return;
    }
    flush_run();
    if (fault != nullptr) {
        source_.warn(at, fault);
        at_ = close + 1;
        return;
    }
    const auto flags = static_cast<RE_Flags>((flags_ | on) & ~off);
    if (at < close) {
        open(Level::Kind::group, position, at + 1, close, flags);
    } else {
        flags_ = flags;
        at_ = close + 1;
    }
}

// Warns where evaluation is disabled.
bool Parser::may_evaluate(size_t position) const {
    if ((flags_ & RE_EVALUATE) != 0 && options_.context != nullptr &&
        !options_.suspend_evaluation && options_.context->allow_evaluation()) {
        return true;
    }
    source_.warn(position, "Evaluation is disabled");
    return false;
}

RE_Text Parser::dynamic_text(size_t begin, size_t end, bool is_expression) {
    pattern_.has_dynamic_parts = true;
    RE_Text text;
    text.text = source_.text + begin;
    text.length = end - begin;
    text.flags = flags_;
    if (is_expression) text.id = pattern_.expression_count++;
    return text;
}

// (?@...), (??...) and (??@...).
void Parser::read_dynamic(size_t position, size_t close) {
    const char16_t* text = source_.text;
    const bool is_pattern = text[position + 2] == u'?';
    const bool evaluates = !is_pattern || text[position + 3] == u'@';
    const size_t begin = position + (is_pattern && evaluates ? 4 : 3);
    if (evaluates && !may_evaluate(position)) {
        drop_until(close + 1);
        return;
    }
    Fragment atom;
    if (!is_pattern) {
        auto* node = assembly_.make<RE_Evaluate>(position);
        node->expression = dynamic_text(begin, close, true);
        atom = assembly_.open_fragment_of(*node);
    } else {
        RE_Dynamic* node = nullptr;
        if (evaluates) {
            node = assembly_.make<RE_Evaluate_Dynamic>(position);
        } else {
            node = assembly_.make<RE_Parse_Dynamic>(position);
        }
        node->pattern = dynamic_text(begin, close, evaluates);
        atom = assembly_.open_fragment_of(*node);
        atom.consumes = true;
    }
    at_ = close + 1;
    add_atom(atom);
}

Fragment Parser::finish_token(const Level& level) {
    const char16_t* name = pattern_.names[level.token - 1];
    auto* start = assembly_.make<RE_Start_Token>(level.position);
    start->token = level.token;
    start->name = name;
    auto* end = assembly_.make<RE_End_Token>(level.end);
    end->token = level.token;
    end->name = name;
    Fragment whole = assembly_.open_fragment_of(*start);
    assembly_.append(whole, level.alternatives);
    assembly_.append(whole, assembly_.open_fragment_of(*end));
    return whole;
}

Fragment Parser::finish_atomic(const Level& level) {
    Fragment whole = Assembly::fragment_of(*assembly_.make<RE_Atomic>(level.position));
    Fragment body = level.alternatives;
    assembly_.append(body, Assembly::fragment_of(*assembly_.make<RE_Null>(level.end)));
    assembly_.tie(whole.first, LinkKind::body, body);
    assembly_.enlist(whole, body);
    assembly_.loosen(whole, whole.first, LinkKind::next);
    return whole;
}

// The look-around without loose ends: its user knows which way goes on.
Fragment Parser::finish_look(const Level& level) {
    if (!level.looks_ahead && level.alternatives.is_unbounded) {
        source_.warn(level.position,
                     "Lookbehind assertion of unbound length takes exponential time to solve.");
    }
    Fragment whole = Assembly::fragment_of(
        *assembly_.make<RE_Lookaround_Assertion>(level.position, level.looks_ahead));
    Fragment body = level.alternatives;
    assembly_.append(body, Assembly::fragment_of(*assembly_.make<RE_Null>(level.end)));
    assembly_.tie(whole.first, LinkKind::body, body);
    assembly_.enlist(whole, body);
    whole.consumes = false;
    whole.is_unbounded = false;
    return whole;
}

}  // namespace qxut::regexp
