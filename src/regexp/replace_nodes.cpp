// replace_nodes.cpp - what each element of a template puts in the place of a match.
//
// An element that refers to the match gives an extent of the searched text; an expression gets the
// extents of its inputs and gives what the host answers. Entry point: build_replace. Tested by
// tests/regexp/replace_test.cpp.
#include "regexp/replace_nodes.h"

RE_Replaceable::~RE_Replaceable() = default;

void RE_Replace_String::build_replace(const RE_Replace_Match& /*match*/,
                                      RE_Replace_Text& result) const {
    result.append(units.data(), units.size());
}

void RE_Replace_Evalable::build_replace(const RE_Replace_Match& match,
                                        RE_Replace_Text& result) const {
    const Extent found = extent(match);
    if (found.is_set) result.append(match.text + found.start, found.end - found.start);
}

namespace {

RE_Replace_Evalable::Extent extent_of(const RE_TokenInfo* token, const RE_Token_Stack* tokens) {
    RE_Replace_Evalable::Extent extent;
    if (token == nullptr || !token->is_set) return extent;
    extent.start = token->start;
    extent.end = token->end;
    extent.is_set = true;
    extent.token = static_cast<size_t>(token - tokens->get(size_t{0}));
    return extent;
}

}  // namespace

RE_Replace_Evalable::Extent RE_Replace_Token::extent(const RE_Replace_Match& match) const noexcept {
    Extent found;
    if (match.tokens != nullptr) found = extent_of(match.tokens->get(number), match.tokens);
    found.token = number;
    return found;
}

RE_Replace_Evalable::Extent RE_Replace_Named_Token::extent(
    const RE_Replace_Match& match) const noexcept {
    if (match.tokens == nullptr) return {};
    return extent_of(match.tokens->get(name), match.tokens);
}

RE_Replace_Evalable::Extent RE_Replace_Special::extent(
    const RE_Replace_Match& match) const noexcept {
    if (match.tokens == nullptr) return {};
    Extent found = extent_of(match.tokens->get(size_t{0}), match.tokens);
    if (!found.is_set) return found;
    if (kind == RE_REPLACE_FORMER) {
        found.end = found.start;
        found.start = 0;
    } else if (kind == RE_REPLACE_LATTER) {
        found.start = found.end;
        found.end = match.length;
    }
    found.token = RE_Evaluation_Input::kNoToken;
    return found;
}

RE_Replace_Evaluator::~RE_Replace_Evaluator() {
    if (function != nullptr) context->delete_fcn(function);
}

namespace {

using Values = qxut::regexp::Vector<RE_Evaluation_Input>;

// The inputs by name, without texts.
Values named_values(const qxut::regexp::Vector<RE_Replace_Evaluator::Input>& inputs) {
    Values values(inputs.size());
    for (size_t i = 0; i < inputs.size(); ++i) {
        values[i].name = inputs[i].name.data();
        values[i].token = inputs[i].element->extent({}).token;
    }
    return values;
}

}  // namespace

void RE_Replace_Evaluator::prepare() {
    const Values values = named_values(inputs);
    const RE_Evaluation_Inputs by_name(values.data(), values.size());
    function =
        context->create_fcn(RE_EVALUATE_TEXT, expression.data(), expression.size() - 1, by_name);
}

void RE_Replace_Evaluator::build_replace(const RE_Replace_Match& match,
                                         RE_Replace_Text& result) const {
    Values values = named_values(inputs);
    for (size_t i = 0; i < values.size(); ++i) {
        const RE_Replace_Evalable::Extent extent = inputs[i].element->extent(match);
        RE_Evaluation_Input& value = values[i];
        value.token = extent.token;
        value.is_set = extent.is_set;
        if (!extent.is_set) continue;
        value.text = match.text + extent.start;
        value.length = extent.end - extent.start;
        value.start = extent.start;
        value.end = extent.end;
    }
    const RE_Evaluation_Inputs given(values.data(), values.size());
    RE_Evaluation_IO io(RE_EVALUATE_TEXT, expression.data(), expression.size() - 1, given);
    io.function = function;
    io.subject = match.text;
    io.subject_length = match.length;
    const RE_TokenInfo* const whole =
        match.tokens != nullptr ? match.tokens->get(size_t{0}) : nullptr;
    io.position = whole != nullptr ? whole->start : 0;
    if (context->evaluate_string(io)) result.append(io.text(), io.text_length());
}
