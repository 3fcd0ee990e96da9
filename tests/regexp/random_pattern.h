// random_pattern.h - patterns and texts at random, over small alphabets in which much matches.
//
// The same seed gives the same ones. A pattern of the shared subset comes in a second writing too,
// that of ICU's engine, which means the same by it.
#ifndef QXUT_TESTS_REGEXP_RANDOM_PATTERN_H
#define QXUT_TESTS_REGEXP_RANDOM_PATTERN_H

#include <cstdint>
#include <random>
#include <string>

#include <qxut/regexp/flags.hpp>

namespace qxut_test {

class RandomPatterns {
  public:
    explicit RandomPatterns(uint64_t seed) : random_(seed) {}

    struct Pattern {
        std::u16string ours;
        std::u16string icus;  // of a pattern of the shared subset
        RE_Flags flags = RE_NO_FLAGS;
    };
    Pattern pattern() { return make(false); }
    Pattern shared_pattern() { return make(true); }
    // Of characters that the last pattern was made of, and a few others.
    std::u16string text(size_t most_characters);

    size_t below(size_t n) { return static_cast<size_t>(random_() % n); }
    bool one_in(size_t n) { return below(n) == 0; }

  private:
    struct Piece {
        std::u16string ours;
        std::u16string icus;
        bool is_nullable = false;
        bool is_bounded = true;  // as the body of a look-behind
        Piece& operator+=(const Piece& other);
    };

    Pattern make(bool is_shared);
    Piece alternatives(int depth);
    Piece sequence(int depth);
    Piece quantified(int depth);
    Piece atom(int depth);
    Piece group(int depth);
    Piece extended(int depth);
    Piece condition(int depth);
    Piece assertion(int depth);
    Piece anchor();
    Piece set();
    Piece literal();
    Piece quantifier();
    Piece wrapped(const char16_t* open, Piece inside, const char16_t* close);
    static Piece both(const std::u16string& written, bool is_nullable = false);
    char16_t class_letter();
    const char16_t* character();

    std::mt19937_64 random_;
    size_t alphabet_ = 0;
    bool is_shared_ = false;
    bool is_outermost_ = true;
    // No atomic parts: in a look-behind, ICU keeps them from going beyond its end.
    bool gives_back_ = false;
    RE_Flags flags_ = RE_NO_FLAGS;
    size_t tokens_ = 0;
};

}  // namespace qxut_test

#endif
