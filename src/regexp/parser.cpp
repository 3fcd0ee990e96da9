// parser.cpp - the walk over the pattern: atoms, literals, alternatives, levels.
//
// Invariant: the position lies within the alternative of the innermost level, and the flags are
// those in force there. The constructs that begin with '(' are parser_group.cpp and
// parser_condition.cpp, sets parser_set.cpp. Tested by tests/regexp/parser_test.cpp.
#include "regexp/parser.h"

#include <qxut/util/interrupt.h>

namespace qxut::regexp {
namespace {

constexpr RE_Flags kAllFlags = ~RE_NO_FLAGS;

// A character that means itself whatever the flags, and is no quantifier.
constexpr bool is_plain(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

}  // namespace

Parser::Parser(const Source& source, const ParseOptions& options, Pattern& pattern)
    : source_(source),
      options_(options),
      pattern_(pattern),
      assembly_(pattern, arena_),
      closers_(source, arena_),
      escapes_(source),
      flags_(options.flags & kAllFlags) {}

void Parser::run() {
    open(Level::Kind::pattern, 0, 0, source_.length, flags_);
    constexpr size_t kPollEvery = 1024;
    for (size_t step = 1; !levels_.empty(); ++step) {
        if (step % kPollEvery == 0 && utTakeInterrupt()) fail_interrupt();
        if (at_ < limit()) {
            read_atom();
        } else {
            end_alternative();
        }
    }
}

void Parser::read_atom() {
    if (free_spacing()) {
        at_ = skip_free_spacing(source_, at_, limit());
        if (at_ >= limit()) return;
    }
    const size_t position = at_;
    const bool multi_line = (flags_ & RE_MULTI_LINE) != 0;
    RE_Node* node = nullptr;
    switch (source_.text[position]) {
        case u'(':
            open_parenthesis();
            return;
        case u'[':
            if (const size_t close = closers_.bracket(position); close < limit()) {
                read_set(close);
                return;
            }
            source_.warn(position, "Unmatched '['.");
            read_literal(U'[', position, position + 1);
            return;
        case u'\\':
            read_escape();
            return;
        case u'.':
            if ((flags_ & RE_DOT_ALL) != 0) {
                node = assembly_.make<RE_Dot_All>(position);
            } else {
                node = assembly_.make<RE_Dot_Line>(position);
            }
            break;
        case u'^':
            if (multi_line) {
                node = assembly_.make<RE_Start_Line>(position);
            } else {
                node = assembly_.make<RE_Start_String>(position);
            }
            break;
        case u'$':
            if (multi_line) {
                node = assembly_.make<RE_End_Line>(position);
            } else {
                node = assembly_.make<RE_End_String>(position);
            }
            break;
        default: {
            add_plain_characters();
            const size_t begin = at_;
            size_t end = begin;
            const char32_t c = read_character(source_.text, end, limit());
            read_literal(c, begin, end);
            return;
        }
    }
    at_ = position + 1;
    Fragment atom = assembly_.open_fragment_of(*node);
    atom.consumes = source_.text[position] == u'.';
    add_atom(atom);
}

void Parser::read_escape() {
    const size_t position = at_;
    const Escape escape =
        escapes_.read(position, limit(), {EscapePlace::pattern, free_spacing(), visible_tokens()});
    at_ = escape.end;
    Fragment atom;
    switch (escape.kind) {
        case Escape::Kind::character:
            read_literal(escape.character, position, escape.end);
            return;
        case Escape::Kind::dropped:
            drop_until(escape.end);
            return;
        case Escape::Kind::character_class: {
            atom = assembly_.fragment_of(
                *assembly_.make<RE_Escaped_Set>(position, static_cast<char>(escape.character)));
            const Fragment consume =
                assembly_.open_fragment_of(*assembly_.make<RE_Consume>(position));
            assembly_.tie(atom.first, LinkKind::next, consume);
            assembly_.enlist(atom, consume);
            atom.consumes = true;
            break;
        }
        case Escape::Kind::start_of_word:
            atom = assembly_.open_fragment_of(*assembly_.make<RE_Start_Word>(position));
            break;
        case Escape::Kind::end_of_word:
            atom = assembly_.open_fragment_of(*assembly_.make<RE_End_Word>(position));
            break;
        case Escape::Kind::number_reference:
        case Escape::Kind::name_reference: {
            auto* node = assembly_.make<RE_Match_Token>(position);
            node->ignores_case = ignores_case();
            node->token = escape.number;
            if (escape.kind == Escape::Kind::name_reference) {
                node->name = keep_name(escape.name_begin, escape.name_end);
            }
            atom = assembly_.open_fragment_of(*node);
            atom.consumes = true;
            pattern_.has_back_references = true;
            break;
        }
    }
    add_atom(atom);
}

size_t Parser::visible_tokens() const noexcept {
    return options_.capture ? pattern_.token_count : options_.outer.count;
}

const char16_t* Parser::keep_name(size_t begin, size_t end) {
    Vector<char16_t> name;
    name.reserve(end - begin + 1);
    name.assign(source_.text + begin, source_.text + end);
    name.push_back(0);
    pattern_.units.push_back(std::move(name));
    return pattern_.units.back().data();
}

RE_Natural* Parser::make_character(char32_t c, size_t position, bool ignores_case) {
    if (ignores_case) return assembly_.make<RE_Natural_I>(position, c);
    return assembly_.make<RE_Natural>(position, c);
}

Fragment Parser::character_fragment(char32_t c, size_t position, bool ignores_case) {
    Fragment fragment = assembly_.open_fragment_of(*make_character(c, position, ignores_case));
    fragment.consumes = true;
    return fragment;
}

bool Parser::read_quantifier_here(Quantifier& quantifier) {
    if (!free_spacing() && (at_ >= limit() || !begins_quantifier(source_.text[at_]))) return false;
    return read_quantifier(source_, escapes_.braces(), at_, limit(), free_spacing(), quantifier);
}

void Parser::read_literal(char32_t c, size_t position, size_t end) {
    at_ = end;
    Quantifier quantifier;
    if (read_quantifier_here(quantifier)) {
        add(assembly_.repeat(character_fragment(c, position, ignores_case()), quantifier));
    } else {
        add_to_run(c, position, end);
    }
}

void Parser::add_to_run(char32_t c, size_t position, size_t end) {
    // A lone surrogate stays alone: beside another it would read as a pair.
    if (is_surrogate(c)) {
        add(character_fragment(c, position, ignores_case()));
        return;
    }
    begin_run(position);
    run_is_verbatim_ = run_is_verbatim_ && run_end_ == position && source_.text[position] != u'\\';
    run_end_ = end;
    append_units(run_, c);
    ++run_characters_;
}

// Lets the run go on with what stands at the position, or begin there.
void Parser::begin_run(size_t position) {
    if (run_characters_ > 0 && run_ignores_case_ != ignores_case()) flush_run();
    if (run_characters_ > 0) return;
    if (run_.capacity() == 0) run_.reserve(32);
    run_begin_ = position;
    run_end_ = position;
    run_ignores_case_ = ignores_case();
    run_is_verbatim_ = true;
}

// Adds the plain characters that another one follows, and which nothing can quantify therefore.
void Parser::add_plain_characters() {
    const char16_t* text = source_.text;
    size_t end = at_;
    while (end + 1 < limit() && is_plain(text[end]) && is_plain(text[end + 1])) ++end;
    if (end == at_) return;
    begin_run(at_);
    run_is_verbatim_ = run_is_verbatim_ && run_end_ == at_;
    run_.insert(run_.end(), text + at_, text + end);
    run_characters_ += end - at_;
    run_end_ = end;
    at_ = end;
}

void Parser::flush_run() {
    if (run_characters_ == 0) return;
    const RE_Node* literal = nullptr;
    if (run_characters_ == 1) {
        size_t begin = 0;
        const char32_t c = read_character(run_.data(), begin, run_.size());
        literal = make_character(c, run_begin_, run_ignores_case_);
    } else {
        auto* node = assembly_.make<RE_String>(run_begin_);
        node->ignores_case = run_ignores_case_;
        node->length = run_.size();
        if (run_is_verbatim_) {
            node->text = source_.text + run_begin_;
        } else {
            pattern_.units.emplace_back(run_.begin(), run_.end());
            node->text = pattern_.units.back().data();
        }
        literal = node;
    }
    Fragment fragment = assembly_.open_fragment_of(*literal);
    fragment.consumes = true;
    run_.clear();
    run_characters_ = 0;
    assembly_.append(levels_.back().sequence, fragment);
}

void Parser::add(const Fragment& part) {
    flush_run();
    assembly_.append(levels_.back().sequence, part);
}

void Parser::add_atom(const Fragment& atom) {
    Quantifier quantifier;
    if (read_quantifier_here(quantifier)) {
        add(assembly_.repeat(atom, quantifier));
    } else {
        add(atom);
    }
}

void Parser::drop_until(size_t end) {
    at_ = end;
    add_atom(Fragment{});
}

Parser::Level& Parser::open(Level::Kind kind, size_t position, size_t begin, size_t end,
                            RE_Flags inner) {
    if (!levels_.empty()) flush_run();
    Level& level = levels_.emplace_back();
    level.kind = kind;
    level.position = position;
    level.end = end;
    level.outer = flags_;
    level.inner = inner;
    at_ = begin;
    begin_alternative();
    return level;
}

void Parser::begin_alternative() {
    Level& level = levels_.back();
    flags_ = level.inner;
    level.sequence = Fragment{};
    level.alternative_end = closers_.bar(at_, level.end, free_spacing());
    level.split = kNone;
    if (level.alternative_end == level.end) return;
    const Fragment split = Assembly::fragment_of(*assembly_.make<RE_Split>(at_));
    if (level.choice != kNone) assembly_.tie(level.choice, LinkKind::alt, split);
    assembly_.enlist(level.alternatives, split);
    level.split = split.first;
}

void Parser::end_alternative() {
    flush_run();
    Level& level = levels_.back();
    const bool is_one_of_many = level.split != kNone || level.choice != kNone;
    if (is_one_of_many && level.sequence.is_empty()) {
        level.sequence = assembly_.open_fragment_of(*assembly_.make<RE_Null>(at_));
    }
    if (level.split != kNone) {
        assembly_.tie(level.split, LinkKind::next, level.sequence);
    } else if (level.choice != kNone) {
        assembly_.tie(level.choice, LinkKind::alt, level.sequence);
    }
    assembly_.enlist(level.alternatives, level.sequence);
    level.choice = level.split;
    if (level.split == kNone) {
        close_level();
    } else {
        at_ = level.alternative_end + 1;
        begin_alternative();
    }
}

void Parser::close_level() {
    const Level level = levels_.back();
    levels_.pop_back();
    flags_ = level.outer;
    at_ = level.end + 1;
    Fragment whole = level.alternatives;
    switch (level.kind) {
        case Level::Kind::pattern:
            assembly_.append(whole,
                             Assembly::fragment_of(*assembly_.make<RE_End_Of_Tree>(level.end)));
            assembly_.finish(whole);
            break;
        case Level::Kind::group:
            add_atom(whole);
            break;
        case Level::Kind::token:
            add_atom(finish_token(level));
            break;
        case Level::Kind::atomic:
            add_atom(finish_atomic(level));
            break;
        case Level::Kind::look: {
            Fragment look = finish_look(level);
            assembly_.loosen(look, look.first, level.is_negative ? LinkKind::fail : LinkKind::next);
            add(look);
            break;
        }
        case Level::Kind::condition:
            begin_branches(finish_look(level), level.is_negative);
            break;
        case Level::Kind::yes:
            finish_yes(level);
            break;
        case Level::Kind::no:
            add_atom(finish_conditional(level));
            break;
    }
}

void parse(const char16_t* text, size_t length, const ParseOptions& options, Pattern& result) {
    if (length > Closers::kMostUnits) fail_program_too_large(Closers::kMostUnits, 0);
    result.text.assign(text, text + length);
    const Source source{result.text.data(), length, text, options.context};
    Parser(source, options, result).run();
}

}  // namespace qxut::regexp
