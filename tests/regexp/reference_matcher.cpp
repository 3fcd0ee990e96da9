#include "regexp/reference_matcher.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <map>
#include <unordered_map>

namespace qxut_test {
namespace {

using qxut::regexp::NodeKind;
using qxut::regexp::Pattern;

constexpr size_t kNone = SIZE_MAX;
constexpr int kDeepestBody = 500;

struct GaveUp {};

char32_t fold(char32_t character) {
    return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(character), U_FOLD_CASE_DEFAULT));
}

// Every character that folds as this one does, itself among them.
std::vector<char32_t> folding_class(char32_t character) {
    static const auto* const classes = [] {
        auto* made = new std::unordered_map<char32_t, std::vector<char32_t>>;
        for (char32_t c = 0; c <= 0x10FFFF; ++c) {
            if (fold(c) != c) (*made)[fold(c)].push_back(c);
        }
        return made;
    }();
    std::vector<char32_t> members{fold(character)};
    if (const auto found = classes->find(fold(character)); found != classes->end()) {
        members.insert(members.end(), found->second.begin(), found->second.end());
    }
    return members;
}

bool is_word(char32_t c) { return c == U'_' || u_isalnum(static_cast<UChar32>(c)); }

bool is_in_class(char32_t c, char letter) {
    const auto character = static_cast<UChar32>(c);
    switch (letter) {
        case 'd':
            return u_isdigit(character);
        case 'D':
            return !u_isdigit(character);
        case 's':
            return u_isUWhiteSpace(character);
        case 'S':
            return !u_isUWhiteSpace(character);
        case 'w':
            return is_word(c);
        default:
            return !is_word(c);
    }
}

// A repetition under way: how many iterations were begun, and where the last one began.
struct Repetition {
    size_t count = 0;
    size_t began = kNone;
};

struct State {
    size_t position = 0;
    std::vector<size_t> extents;                       // of tokens, by pairs
    std::vector<size_t> opened;                        // where each token was opened
    std::map<const RE_Node*, Repetition> repetitions;  // by loop or counter
};

// One way that is still open: the choices below `regions` belong to possessive parts around it.
struct Path {
    State state;
    std::vector<size_t> regions;  // how many choices there were when each was entered
};

class Walk {
  public:
    Walk(const Pattern& pattern, const ReferenceSearch& search)
        : pattern_(pattern), search_(search), text_(search.text) {}

    ReferenceAnswer run(std::vector<size_t>& extents) try {
        size_t start = search_.start;
        if (start > text_.size()) return ReferenceAnswer::no_match;
        if (start > 0 && start < text_.size() && U16_IS_TRAIL(text_[start]) &&
            U16_IS_LEAD(text_[start - 1])) {
            ++start;
        }
        while (true) {
            start_ = start;
            State state;
            state.position = start;
            state.extents.assign(2 * (pattern_.token_count + 1), kNone);
            state.opened.assign(pattern_.token_count + 1, kNone);
            if (walk(pattern_.first, state, kNone)) {
                extents = state.extents;
                extents[0] = start;
                extents[1] = state.position;
                return ReferenceAnswer::match;
            }
            if (start == text_.size() || search_.anchored) return ReferenceAnswer::no_match;
            start = after(start);
        }
    } catch (const GaveUp&) {
        return ReferenceAnswer::gave_up;
    }

  private:
    // The character at a position below the length, the one before a position above 0.
    char32_t at(size_t position) const {
        UChar32 c = 0;
        U16_NEXT(text_.data(), position, text_.size(), c);
        return static_cast<char32_t>(c);
    }
    char32_t before(size_t position) const {
        UChar32 c = 0;
        U16_PREV(text_.data(), size_t{0}, position, c);
        return static_cast<char32_t>(c);
    }
    size_t after(size_t position) const {
        U16_FWD_1(text_.data(), position, text_.size());
        return position;
    }

    void step() {
        if (++steps_ > search_.steps) throw GaveUp{};
    }

    // From `first` to the end of the pattern, or of a body when the link leads into one. A body
    // that must end at `end` fails where it ends elsewhere. The state is that of the first way
    // that succeeds, else it is of no use.
    bool walk(const RE_Link& first, State& state, size_t end) {
        if (++depth_ > kDeepestBody) throw GaveUp{};
        std::vector<Choice> choices;
        Path path{state, {}};
        const RE_Node* node = follow(first, path, choices);
        bool is_done = false;
        while (true) {
            while (node == nullptr && !choices.empty()) {
                const RE_Link link = choices.back().link;
                path = std::move(choices.back().path);
                choices.pop_back();
                node = follow(link, path, choices);
            }
            if (node == nullptr) break;
            step();
            if (node->kind == NodeKind::end_of_tree) {
                is_done = path.state.position != start_ ||
                          (!search_.not_empty && start_ != search_.not_empty_at);
                if (is_done) break;
                node = nullptr;
            } else if (node->kind == NodeKind::null && node->next.node == nullptr) {
                is_done = end == kNone || path.state.position == end;
                if (is_done) break;
                node = nullptr;
            } else {
                node = follow(visit(*node, path, choices), path, choices);
            }
        }
        --depth_;
        if (is_done) state = std::move(path.state);
        return is_done;
    }

    struct Choice {
        RE_Link link;
        Path path;
    };

    // Goes over a link. Leaving a possessive part drops the choices made in it.
    static const RE_Node* follow(const RE_Link& link, Path& path, std::vector<Choice>& choices) {
        if (link.node == nullptr) return nullptr;
        for (uint32_t i = 0; i < link.leaves; ++i) {
            choices.resize(path.regions.back());
            path.regions.pop_back();
        }
        for (uint32_t i = 0; i < link.enters; ++i) path.regions.push_back(choices.size());
        return link.node;
    }

    // Does what the node says; returns the link to go on with.
    RE_Link visit(const RE_Node& node, Path& path, std::vector<Choice>& choices) {
        size_t& position = path.state.position;
        switch (node.kind) {
            case NodeKind::natural:
            case NodeKind::natural_i:
            case NodeKind::dot_all:
            case NodeKind::dot_line: {
                const auto& consumable = static_cast<const RE_Consumable&>(node);
                if (position == text_.size() || !accepts(node, at(position)))
                    return consumable.fail;
                if (consumable.consumes) position = after(position);
                return node.next;
            }
            case NodeKind::range:
            case NodeKind::range_i:
            case NodeKind::escaped_set:
                return position < text_.size() && accepts(node, at(position))
                           ? node.next
                           : static_cast<const RE_Fail&>(node).fail;
            case NodeKind::consume:
                if (position == text_.size()) return {};
                position = after(position);
                return node.next;
            case NodeKind::string: {
                const auto& string = static_cast<const RE_String&>(node);
                return go_over({string.text, string.length}, node.ignores_case, position)
                           ? node.next
                           : RE_Link{};
            }
            case NodeKind::match_token: {
                const auto& reference = static_cast<const RE_Match_Token&>(node);
                const size_t token = set_token(reference, path.state);
                if (token == kNone) return reference.fail;
                const size_t from = path.state.extents[2 * token];
                const size_t to = path.state.extents[2 * token + 1];
                return go_over(text_.substr(from, to - from), node.ignores_case, position)
                           ? node.next
                           : reference.fail;
            }
            case NodeKind::token_assertion: {
                const auto& condition = static_cast<const RE_Token_Assertion&>(node);
                return set_token(condition, path.state) != kNone ? node.next : condition.fail;
            }
            case NodeKind::lookaround: {
                const auto& look = static_cast<const RE_Lookaround_Assertion&>(node);
                return holds(look, path.state) ? node.next : look.fail;
            }
            case NodeKind::atomic:
                return walk(static_cast<const RE_Atomic&>(node).body, path.state, kNone)
                           ? node.next
                           : RE_Link{};
            case NodeKind::start_line:
                return position == 0 || before(position) == U'\n' ? node.next : RE_Link{};
            case NodeKind::end_line:
                return position == text_.size() || at(position) == U'\n' ? node.next : RE_Link{};
            case NodeKind::start_string:
                return position == 0 ? node.next : RE_Link{};
            case NodeKind::end_string:
                return position == text_.size() ? node.next : RE_Link{};
            case NodeKind::start_word:
            case NodeKind::end_word: {
                const bool is_behind = position > 0 && is_word(before(position));
                const bool is_ahead = position < text_.size() && is_word(at(position));
                const bool wants_ahead = node.kind == NodeKind::start_word;
                return is_behind != is_ahead && is_ahead == wants_ahead ? node.next : RE_Link{};
            }
            case NodeKind::start_token:
                path.state.opened[static_cast<const RE_Token&>(node).token] = position;
                return node.next;
            case NodeKind::end_token: {
                const size_t token = static_cast<const RE_Token&>(node).token;
                path.state.extents[2 * token] = path.state.opened[token];
                path.state.extents[2 * token + 1] = position;
                return node.next;
            }
            case NodeKind::split:
                return choose(static_cast<const RE_Split&>(node), path, choices);
            case NodeKind::start_counter:
                path.state.repetitions.erase(node.next.node);
                return node.next;
            case NodeKind::fixed_counter:
            case NodeKind::limit_counter:
            case NodeKind::lazy_counter:
                return count(static_cast<const RE_State_Counter&>(node), path, choices);
            case NodeKind::seeker:
            case NodeKind::null:
                return node.next;
            case NodeKind::end_of_tree:  // the walk ends there
            case NodeKind::evaluate:
            case NodeKind::evaluate_dynamic:
            case NodeKind::parse_dynamic:
            case NodeKind::evaluate_assertion:
                break;
        }
        throw GaveUp{};
    }

    static bool accepts(const RE_Node& node, char32_t c) {
        switch (node.kind) {
            case NodeKind::natural:
                return c == static_cast<const RE_Natural&>(node).character;
            case NodeKind::natural_i:
                return fold(c) == fold(static_cast<const RE_Natural&>(node).character);
            case NodeKind::dot_all:
                return true;
            case NodeKind::dot_line:
                return c != U'\n';
            case NodeKind::escaped_set:
                return is_in_class(c, static_cast<const RE_Escaped_Set&>(node).letter);
            case NodeKind::range: {
                const auto& range = static_cast<const RE_Range&>(node);
                return range.first <= c && c <= range.last;
            }
            default: {
                const auto& range = static_cast<const RE_Range&>(node);
                const std::vector<char32_t> members = folding_class(c);
                return std::any_of(members.begin(), members.end(), [&](char32_t member) {
                    return range.first <= member && member <= range.last;
                });
            }
        }
    }

    // Compares characters, so that half of a pair is never taken for a lone surrogate.
    bool go_over(std::u16string_view wanted, bool ignores_case, size_t& position) const {
        size_t here = position;
        for (size_t i = 0; i < wanted.size();) {
            UChar32 c = 0;
            U16_NEXT(wanted.data(), i, wanted.size(), c);
            if (here == text_.size()) return false;
            const auto character = static_cast<char32_t>(c);
            const char32_t found = at(here);
            if (found != character && !(ignores_case && fold(found) == fold(character)))
                return false;
            here = after(here);
        }
        position = here;
        return true;
    }

    // The token that a reference means, if it is set.
    size_t set_token(const RE_Token_Fail& reference, const State& state) const {
        for (size_t token = 1; token <= pattern_.token_count; ++token) {
            const char16_t* const name = pattern_.names[token - 1];
            const bool is_meant =
                reference.name == nullptr
                    ? token == reference.token
                    : name != nullptr && std::u16string_view(name) == reference.name;
            if (is_meant && state.extents[2 * token + 1] != kNone) return token;
        }
        return kNone;
    }

    bool holds(const RE_Lookaround_Assertion& look, State& state) {
        const size_t here = state.position;
        size_t from = here;
        while (true) {
            step();
            State inside = state;
            inside.position = from;
            if (walk(look.body, inside, look.looks_ahead ? kNone : here)) {
                state = std::move(inside);
                state.position = here;
                return true;
            }
            if (look.looks_ahead || from == 0) return false;
            U16_BACK_1(text_.data(), size_t{0}, from);
        }
    }

    static RE_Link choose(const RE_Split& split, Path& path, std::vector<Choice>& choices) {
        if (!split.repeats) {
            choices.push_back({split.alt, path});
            return split.next;
        }
        const RE_Link& body = split.is_lazy ? split.alt : split.next;
        const RE_Link& exit = split.is_lazy ? split.next : split.alt;
        return repeat(split, body, exit, true, true, path, choices);
    }

    static RE_Link count(const RE_State_Counter& counter, Path& path,
                         std::vector<Choice>& choices) {
        const size_t done = path.state.repetitions[&counter].count;
        const bool is_fixed = counter.kind == NodeKind::fixed_counter;
        return repeat(counter, counter.next, counter.alt, done < counter.count,
                      !is_fixed || done == counter.count, path, choices);
    }

    // Another iteration, or on to what follows. One that matched nothing is the last one, and
    // stands for all that were still to come.
    static RE_Link repeat(const RE_Split& loop, const RE_Link& body, const RE_Link& exit,
                          bool may_repeat, bool may_leave, Path& path,
                          std::vector<Choice>& choices) {
        Path left = path;
        left.state.repetitions.erase(&loop);
        Repetition& repetition = path.state.repetitions[&loop];
        if (repetition.began == path.state.position || !may_repeat) {
            path = std::move(left);
            return exit;
        }
        repetition.count += 1;
        repetition.began = path.state.position;
        if (!may_leave) return body;
        if (loop.is_lazy) {
            choices.push_back({body, path});
            path = std::move(left);
            return exit;
        }
        choices.push_back({exit, std::move(left)});
        return body;
    }

    const Pattern& pattern_;
    const ReferenceSearch& search_;
    std::u16string_view text_;
    size_t start_ = 0;
    uint64_t steps_ = 0;
    int depth_ = 0;
};

}  // namespace

ReferenceAnswer reference_match(const Pattern& pattern, const ReferenceSearch& search,
                                std::vector<size_t>& extents) {
    return Walk(pattern, search).run(extents);
}

ReferenceAnswer reference_matches(const Pattern& pattern, ReferenceSearch search,
                                  std::vector<std::vector<size_t>>& matches) {
    matches.clear();
    std::vector<size_t> extents;
    while (true) {
        const ReferenceAnswer answer = reference_match(pattern, search, extents);
        if (answer != ReferenceAnswer::match) return answer;
        matches.push_back(extents);
        search.start = extents[1];
        search.not_empty_at = extents[0] == extents[1] ? extents[1] : kNone;
    }
}

}  // namespace qxut_test
