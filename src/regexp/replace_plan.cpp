// replace_plan.cpp - a template made ready for the matches of one tree.
//
// Each element becomes a step over the extents as the search gives them: which tokens a name means
// is looked up once, and the tokens as hosts see them are made for expressions only. Entry point:
// ReplacePlan. Tested by tests/regexp/replace_test.cpp, which compares with build_replace.
#include "regexp/replace_plan.h"

namespace qxut::regexp {

ReplacePlan::ReplacePlan(const RE_Replace::Parts& replacement, const RE_Tree::Parts& tree)
    : tree_(tree) {
    for (const RE_Replace_Node* node = replacement.first; node != nullptr; node = node->next) {
        add(*node);
    }
}

void ReplacePlan::add_token(size_t token) {
    if (token > tree_.pattern.token_count) return;
    Step step;
    step.kind = Step::Kind::token;
    step.token = token;
    steps_.push_back(step);
}

void ReplacePlan::add(const RE_Replace_Node& node) {
    const RE_Replace_Shape shape = node.shape();
    Step step;
    switch (shape.kind) {
        case RE_Replace_Shape::Kind::literal:
            step.kind = Step::Kind::literal;
            step.units = shape.units;
            step.count = shape.number;
            break;
        case RE_Replace_Shape::Kind::token:
            add_token(shape.number);
            return;
        case RE_Replace_Shape::Kind::name: {
            const Pattern& pattern = tree_.pattern;
            if (!names_) names_.emplace(pattern.names.data(), pattern.names.size());
            const TokenNames::Run run = names_->find(shape.units);
            step.kind = Step::Kind::first_set;
            step.token = run.first;
            step.count = run.count;
            break;
        }
        case RE_Replace_Shape::Kind::special:
            if (shape.special == RE_REPLACE_WHOLE || shape.special == RE_REPLACE_MATCHED) {
                add_token(0);
                return;
            }
            step.kind =
                shape.special == RE_REPLACE_FORMER ? Step::Kind::former : Step::Kind::latter;
            break;
        case RE_Replace_Shape::Kind::other:
            if (!tokens_) tokens_.emplace(tree_.pattern.token_count);
            step.node = &node;
            break;
    }
    steps_.push_back(step);
}

void ReplacePlan::show_tokens(const size_t* extents) noexcept {
    tokens_->reset();
    for (size_t token = 0; token <= tokens_->count(); ++token) {
        const char16_t* const name = token != 0 ? tree_.pattern.names[token - 1] : nullptr;
        tokens_->set_start(token, name, extents[2 * token]);
        if (extents[2 * token + 1] != kUnset) tokens_->set_end(token, extents[2 * token + 1]);
    }
}

void ReplacePlan::build(const char16_t* text, size_t length, const size_t* extents,
                        RE_Replace_Text& result) {
    const auto append_token = [&](size_t token) {
        const size_t start = extents[2 * token];
        const size_t end = extents[2 * token + 1];
        if (end == kUnset) return false;
        result.append_part(text + start, end - start, length - start);
        return true;
    };
    if (tokens_) show_tokens(extents);
    for (const Step& step : steps_) {
        switch (step.kind) {
            case Step::Kind::literal:
                result.append(step.units, step.count);
                break;
            case Step::Kind::token:
                append_token(step.token);
                break;
            case Step::Kind::former:
                result.append(text, extents[0]);
                break;
            case Step::Kind::latter:
                result.append(text + extents[1], length - extents[1]);
                break;
            case Step::Kind::first_set:
                for (size_t i = 0; i < step.count; ++i) {
                    if (append_token(names_->tokens()[step.token + i])) break;
                }
                break;
            case Step::Kind::node:
                step.node->build_replace({text, length, &*tokens_}, result);
                break;
        }
    }
}

}  // namespace qxut::regexp
