// parser.h - from a pattern's text to its graph.
//
// The parser goes once over the text from left to right. Constructs that are open stand on an
// explicit stack of levels, each with the piece of the pattern that is its inside (the closers are
// known before), the alternatives that are finished and the sequence that grows. At the end of an
// alternative, and of a level, what was built becomes a part of what encloses it.
//
// Literal characters are gathered in a run while nothing but comments comes between them; a run
// becomes one node when something else follows.
//
// Internal to parser*.cpp; the door is qxut::regexp::parse, pattern.h.
#ifndef QXUT_SRC_REGEXP_PARSER_H
#define QXUT_SRC_REGEXP_PARSER_H

#include <cstddef>
#include <cstdint>

#include "regexp/arena.h"
#include "regexp/assembly.h"
#include "regexp/closers.h"
#include "regexp/escapes.h"
#include "regexp/pattern.h"
#include "regexp/source.h"

namespace qxut::regexp {

class Parser {
  public:
    // All must outlive the parser; pattern.text is filled already.
    Parser(const Source& source, const ParseOptions& options, Pattern& pattern);
    void run();

  private:
    // A construct that is open.
    struct Level {
        enum class Kind : uint8_t {
            pattern,
            group,
            token,
            atomic,
            look,       // a look-around
            condition,  // the look-around of a conditional
            yes,        // the branches of a conditional
            no,
        };
        Kind kind = Kind::group;
        bool looks_ahead = false;
        bool is_negative = false;
        RE_Flags outer = RE_NO_FLAGS;  // in force again behind it
        RE_Flags inner = RE_NO_FLAGS;  // in force where each of its alternatives begins
        size_t position = 0;           // of the construct
        size_t end = 0;                // of its inside
        size_t alternative_end = 0;    // of the alternative in hand
        size_t token = 0;
        Fragment alternatives;  // those that are finished
        Fragment sequence;      // of the alternative in hand
        NodeId choice = kNone;  // the split whose alt waits for the alternative in hand
        NodeId split = kNone;   // the split in front of the alternative in hand
    };
    // A conditional whose branches are read.
    struct Conditional {
        Fragment condition;  // without loose ends
        Fragment yes;
        bool is_negative = false;
        size_t position = 0;
        size_t end = 0;  // its ')'
        size_t bar = 0;  // the '|' between its branches, or its end
    };

    // parser.cpp
    void read_atom();
    void read_escape();
    void read_literal(char32_t c, size_t position, size_t end);
    void add_to_run(char32_t c, size_t position, size_t end);
    void add_plain_characters();
    void begin_run(size_t position);
    void flush_run();
    bool read_quantifier_here(Quantifier& quantifier);
    // Reads the quantifier that may stand at the position, and adds the atom so repeated.
    void add_atom(const Fragment& atom);
    // Passes over a construct that is dropped, up to `end`, and over its quantifier.
    void drop_until(size_t end);
    void add(const Fragment& part);
    Level& open(Level::Kind kind, size_t position, size_t begin, size_t end, RE_Flags inner);
    void begin_alternative();
    void end_alternative();
    void close_level();
    const char16_t* keep_name(size_t begin, size_t end);
    bool free_spacing() const noexcept { return (flags_ & RE_FREE_SPACING) != 0; }
    bool ignores_case() const noexcept { return (flags_ & RE_IGNORE_CASE) != 0; }
    size_t limit() const noexcept { return levels_.back().alternative_end; }
    size_t visible_tokens() const noexcept;
    RE_Natural* make_character(char32_t c, size_t position, bool ignores_case);
    Fragment character_fragment(char32_t c, size_t position, bool ignores_case);

    // parser_set.cpp
    void read_set(size_t close);
    struct SetItem;
    SetItem read_set_item(size_t& at, size_t close);

    // parser_group.cpp
    void open_parenthesis();
    void open_extended(size_t position, size_t close);
    void open_token(size_t position, size_t begin, size_t close, const char16_t* name);
    void open_named_token(size_t position, size_t close);
    void open_look(Level::Kind kind, size_t position, size_t question, size_t close);
    void read_mode(size_t position, size_t close);
    void read_dynamic(size_t position, size_t close);
    bool may_evaluate(size_t position) const;
    RE_Text dynamic_text(size_t begin, size_t end, bool is_expression);
    Fragment finish_token(const Level& level);
    Fragment finish_atomic(const Level& level);
    Fragment finish_look(const Level& level);

    // parser_condition.cpp
    void open_conditional(size_t position, size_t close);
    void begin_branches(const Fragment& condition, bool is_negative);
    void finish_yes(const Level& level);
    Fragment finish_conditional(const Level& level);

    const Source& source_;
    const ParseOptions& options_;
    Pattern& pattern_;
    Arena arena_;
    Assembly assembly_;
    Closers closers_;
    EscapeReader escapes_;
    Working<Level> levels_{arena_};
    Working<Conditional> conditionals_{arena_};
    RE_Flags flags_;
    size_t at_ = 0;

    // The run of literals: its units, and where it came from.
    Working<char16_t> run_{arena_};
    size_t run_characters_ = 0;
    size_t run_begin_ = 0;
    size_t run_end_ = 0;
    bool run_ignores_case_ = false;
    bool run_is_verbatim_ = true;  // it stands in the pattern as it is
};

}  // namespace qxut::regexp

#endif
