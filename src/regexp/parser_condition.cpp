// parser_condition.cpp - conditionals: (?(cond)yes) and (?(cond)yes|no).
//
// The condition is a node with two ways on. The branches are levels of their own, one after the
// other; a second '|' is one of the "no" branch. Tested by tests/regexp/parser_test.cpp.
#include "regexp/names.h"
#include "regexp/parser.h"

namespace qxut::regexp {
namespace {

bool is_digit(char16_t c) { return c >= u'0' && c <= u'9'; }

// A token number that fills [begin, end); false where something else stands there. One that does
// not fit is the largest: no token has it.
bool read_token_number(const char16_t* text, size_t begin, size_t end, size_t& number) {
    number = 0;
    bool fits = true;
    for (size_t i = begin; i < end; ++i) {
        if (!is_digit(text[i])) return false;
        const size_t digit = text[i] - size_t{u'0'};
        fits = fits && number <= (SIZE_MAX - digit) / 10;
        number = fits ? number * 10 + digit : SIZE_MAX;
    }
    return number > 0;
}

}  // namespace

void Parser::open_conditional(size_t position, size_t close) {
    const char16_t* text = source_.text;
    const size_t open_at = position + 2;
    const size_t condition_close = closers_.parenthesis(open_at, free_spacing());
    const size_t begin = open_at + 1;
    if (condition_close >= close) {
        source_.warn(open_at, "No condition specified for if construct.");
        drop_until(close + 1);
        return;
    }
    flush_run();
    Conditional conditional;
    conditional.position = position;
    conditional.end = close;
    const auto is_sign = [&](size_t at) { return text[at] == u'=' || text[at] == u'!'; };
    if (text[begin] == u'?') {
        if (is_sign(begin + 1) || (text[begin + 1] == u'<' && is_sign(begin + 2))) {
            conditionals_.push_back(conditional);
            open_look(Level::Kind::condition, open_at, begin, condition_close);
            return;
        }
        if (text[begin + 1] == u'@') {
            if (!may_evaluate(open_at)) {
                drop_until(close + 1);
                return;
            }
            auto* node = assembly_.make<RE_Evaluate_Assertion>(position);
            node->expression = dynamic_text(begin + 2, condition_close, true);
            conditionals_.push_back(conditional);
            at_ = condition_close + 1;
            begin_branches(Assembly::fragment_of(*node), false);
            return;
        }
    }
    size_t token = 0;
    const bool is_number = read_token_number(text, begin, condition_close, token);
    const bool is_name =
        begin < condition_close && read_name(source_, begin, condition_close) == condition_close;
    if (!is_number && !is_name) {
        source_.warn(open_at, "Invalid condition specified for if construct.");
        drop_until(close + 1);
        return;
    }
    auto* node = assembly_.make<RE_Token_Assertion>(position);
    if (is_number) {
        node->token = token;
    } else {
        node->name = keep_name(begin, condition_close);
    }
    conditionals_.push_back(conditional);
    at_ = condition_close + 1;
    begin_branches(Assembly::fragment_of(*node), false);
}

// The position is behind the condition.
void Parser::begin_branches(const Fragment& condition, bool is_negative) {
    Conditional& conditional = conditionals_.back();
    conditional.condition = condition;
    conditional.is_negative = is_negative;
    conditional.bar = closers_.bar(at_, conditional.end, free_spacing());
    open(Level::Kind::yes, conditional.position, at_, conditional.bar, flags_);
}

void Parser::finish_yes(const Level& level) {
    Conditional& conditional = conditionals_.back();
    conditional.yes = level.alternatives;
    if (conditional.bar < conditional.end) {
        open(Level::Kind::no, conditional.position, conditional.bar + 1, conditional.end, flags_);
        return;
    }
    Level none;
    none.end = conditional.end;
    at_ = conditional.end + 1;
    add_atom(finish_conditional(none));
}

// `no` is the level of the "no" branch.
Fragment Parser::finish_conditional(const Level& no) {
    const Conditional conditional = conditionals_.back();
    conditionals_.pop_back();
    Fragment whole = conditional.condition;
    const NodeId test = whole.first;
    const LinkKind yes_way = conditional.is_negative ? LinkKind::fail : LinkKind::next;
    const LinkKind no_way = conditional.is_negative ? LinkKind::next : LinkKind::fail;
    const auto add_branch = [&](LinkKind way, const Fragment& branch) {
        if (branch.is_empty()) {
            assembly_.loosen(whole, test, way);
        } else {
            assembly_.tie(test, way, branch);
            assembly_.enlist(whole, branch);
        }
    };
    add_branch(yes_way, conditional.yes);
    add_branch(no_way, no.alternatives);
    return whole;
}

}  // namespace qxut::regexp
