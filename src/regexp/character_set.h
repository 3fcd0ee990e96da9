// character_set.h - a set of code points, as a pattern's sets and class escapes are tested.
//
// Below U+0100 a bit for each character answers. From there on a character is in the set when its
// class (i18n/character_classes.h) or one of the ranges holds it, so that \w and [^,] are made
// without a look at what Unicode has in it; a set whose classes and ranges are both negated keeps
// that as a mark.
//
// A set is made by a builder and does not change afterwards. Whoever needs no ranges above U+00FF,
// as \w and the like, allocates nothing.
#ifndef QXUT_SRC_REGEXP_CHARACTER_SET_H
#define QXUT_SRC_REGEXP_CHARACTER_SET_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "i18n/character_classes.h"
#include "regexp/allocator.h"

namespace qxut::regexp {

inline constexpr char32_t kLastCharacter = 0x10FFFF;

class CharacterSet {
  public:
    struct Range {
        char32_t first;
        char32_t last;  // inclusive
        bool operator==(const Range&) const = default;
    };
    static constexpr char32_t kLowEnd = 0x100;  // where the bits end

    CharacterSet() = default;  // empty
    // Of \d \D \w \W \s \S, by the letter.
    static CharacterSet of_class(char letter) noexcept;
    static CharacterSet of_everything() noexcept;
    // All but the newline.
    static CharacterSet of_line() noexcept;

    bool contains(char32_t c) const noexcept {
        if (c < kLowEnd) return (low_[c / 64] >> c % 64 & 1) != 0;
        return contains_high(c);
    }

    // What it is made of: the bits below kLowEnd; the ranges from there on, ascending and apart;
    // the classes, a bit each; whether ranges and classes say what is not in it.
    const std::array<uint64_t, 4>& low() const noexcept { return low_; }
    const Vector<Range>& ranges() const noexcept { return ranges_; }
    uint64_t classes() const noexcept { return classes_; }
    bool is_negated() const noexcept { return is_negated_; }
    bool has_high() const noexcept { return is_negated_ || classes_ != 0 || !ranges_.empty(); }

    bool is_empty() const noexcept;
    // Whether it has every code point; a set that has them by way of ranges and classes together
    // may not notice.
    bool is_everything() const noexcept;
    // The members in ascending order, written to `members` when they are `limit` at most; returns
    // their number, or limit + 1 when they are more or not easily counted.
    size_t members(char32_t* members, size_t limit) const noexcept;
    // The number of members below kLowEnd.
    size_t low_count() const noexcept;

    // Whether a character may be in both. True when that cannot be told without looking at too many
    // characters.
    bool may_intersect(const CharacterSet& other) const noexcept;
    // Whether every member surely is one of `other`. False when that cannot be told.
    bool is_surely_within(const CharacterSet& other) const noexcept;
    bool operator==(const CharacterSet&) const = default;

  private:
    friend class CharacterSetBuilder;

    bool contains_high(char32_t c) const noexcept {
        if (classes_ != 0 && (classes_ >> classification::class_of(c) & 1) != 0)
            return !is_negated_;
        return in_ranges(c) != is_negated_;
    }
    bool in_ranges(char32_t c) const noexcept {
        if (ranges_.size() > kFewRanges) return in_many_ranges(c);
        for (const Range& range : ranges_) {
            if (c <= range.last) return c >= range.first;
        }
        return false;
    }
    bool in_many_ranges(char32_t c) const noexcept;

    static constexpr size_t kFewRanges = 4;

    std::array<uint64_t, 4> low_{};
    uint64_t classes_ = 0;
    Vector<Range> ranges_;
    bool is_negated_ = false;
};

// Collects the items of a set.
class CharacterSetBuilder {
  public:
    // Each adds to the set; std::bad_alloc leaves it without what was to be added. Ignoring case, a
    // character is in when any member of its folding class is among those added. A reversed range
    // adds nothing; classes are never folded.
    void add(char32_t c, bool ignore_case) { add_range(c, c, ignore_case); }
    void add_range(char32_t first, char32_t last, bool ignore_case);
    void add_class(char letter) noexcept;
    // Adds the members of `other`; of one with a mark for negation, all above kLowEnd.
    void add_set(const CharacterSet& other);

    // The set, or all that is not in it. The builder is empty afterwards.
    CharacterSet finish(bool negated);

  private:
    void add_plain(char32_t first, char32_t last);

    CharacterSet set_;  // its ranges in any order
};

}  // namespace qxut::regexp

#endif
