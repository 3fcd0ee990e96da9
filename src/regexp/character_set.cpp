// character_set.cpp - building sets and comparing them; see character_set.h.
//
// The questions that the analysis asks of two sets are answered exactly for bits, ranges against
// ranges and classes against classes; a range against a class looks at the range's characters when
// they are few, and otherwise gives the answer that is safe.
//
// Tested by tests/regexp/character_set_test.cpp, against the definition.
#include "regexp/character_set.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "regexp/folding.h"

namespace qxut::regexp {
namespace {

using Range = CharacterSet::Range;
using Low = std::array<uint64_t, 4>;

// More classes than there are.
constexpr uint64_t kAllClasses = ~uint64_t{0};
// A range up to this length is looked through where its answer needs its characters' classes.
constexpr char32_t kLookedThrough = 512;

constexpr Low low_of(uint64_t classes, bool with_underscore) {
    Low low{};
    for (uint32_t c = 0; c < CharacterSet::kLowEnd; ++c) {
        if ((classes >> classification::class_of(c) & 1) != 0) low[c / 64] |= uint64_t{1} << c % 64;
    }
    if (with_underscore) low['_' / 64] |= uint64_t{1} << '_' % 64;
    return low;
}

struct Escape {
    uint64_t classes;
    Low low;
};
constexpr Escape kDigits{classification::k_digit, low_of(classification::k_digit, false)};
constexpr Escape kWordCharacters{classification::k_alnum, low_of(classification::k_alnum, true)};
constexpr Escape kSpaces{classification::k_space, low_of(classification::k_space, false)};

const Escape& escape_of(char letter) {
    switch (letter) {
        case 'd':
        case 'D':
            return kDigits;
        case 'w':
        case 'W':
            return kWordCharacters;
        default:
            return kSpaces;
    }
}

constexpr bool is_complement(char letter) {
    return letter == 'D' || letter == 'W' || letter == 'S';
}

// The part above the bits, with its negation put into the classes where there are no ranges.
struct High {
    uint64_t classes;
    const Vector<Range>* ranges;
    bool negated;

    High(const CharacterSet& set, bool complement)
        : classes(set.classes()), ranges(&set.ranges()), negated(set.is_negated() != complement) {
        if (negated && ranges->empty()) {
            classes = ~classes;
            negated = false;
        }
    }
    bool is_empty() const { return !negated && classes == 0 && ranges->empty(); }
};

bool overlap(const Vector<Range>& a, const Vector<Range>& b) {
    auto left = a.begin();
    auto right = b.begin();
    while (left != a.end() && right != b.end()) {
        if (left->last < right->first) {
            ++left;
        } else if (right->last < left->first) {
            ++right;
        } else {
            return true;
        }
    }
    return false;
}

bool is_within(const Range& range, const Vector<Range>& ranges) {
    return std::any_of(ranges.begin(), ranges.end(), [&](const Range& other) {
        return other.first <= range.first && range.last <= other.last;
    });
}

// Whether a character of the range has (or has not, `wanted` false) one of the classes; true for a
// long range.
bool may_have_class(const Range& range, uint64_t classes, bool wanted) {
    if (range.last - range.first >= kLookedThrough) return true;
    for (char32_t c = range.first; c <= range.last; ++c) {
        if ((classes >> classification::class_of(c) & 1) == (wanted ? 1U : 0U)) return true;
    }
    return false;
}

bool may_intersect_high(const High& a, const High& b) {
    if (a.is_empty() || b.is_empty()) return false;
    if (a.negated && b.negated) return true;
    if (b.negated) return may_intersect_high(b, a);
    if (a.negated) {
        // Unless all of b is among what a has not.
        if ((b.classes & ~a.classes) != 0) return true;
        return std::any_of(b.ranges->begin(), b.ranges->end(), [&](const Range& range) {
            return !is_within(range, *a.ranges) && may_have_class(range, a.classes, false);
        });
    }
    if ((a.classes & b.classes) != 0 || overlap(*a.ranges, *b.ranges)) return true;
    const auto meets = [](const Vector<Range>& ranges, uint64_t classes) {
        return classes != 0 && std::any_of(ranges.begin(), ranges.end(), [&](const Range& range) {
                   return may_have_class(range, classes, true);
               });
    };
    return meets(*a.ranges, b.classes) || meets(*b.ranges, a.classes);
}

// Sorts, and joins what overlaps or touches.
void normalize(Vector<Range>& ranges) {
    if (ranges.size() < 2) return;
    const auto before = [](const Range& a, const Range& b) { return a.first < b.first; };
    if (!std::is_sorted(ranges.begin(), ranges.end(), before))
        std::sort(ranges.begin(), ranges.end(), before);
    auto end = ranges.begin();
    for (const Range& range : ranges) {
        if (range.first <= end->last + 1) {
            end->last = std::max(end->last, range.last);
        } else {
            *++end = range;
        }
    }
    ranges.erase(end + 1, ranges.end());
}

// What of kLowEnd and above is not in the normal ranges.
Vector<Range> complement_of(const Vector<Range>& ranges) {
    Vector<Range> result;
    result.reserve(ranges.size() + 1);
    char32_t next = CharacterSet::kLowEnd;
    for (const Range& range : ranges) {
        if (next < range.first) result.push_back({next, range.first - 1});
        next = range.last + 1;
    }
    if (next <= kLastCharacter) result.push_back({next, kLastCharacter});
    return result;
}

}  // namespace

CharacterSet CharacterSet::of_class(char letter) noexcept {
    const Escape& escape = escape_of(letter);
    CharacterSet set;
    set.classes_ = escape.classes;
    set.low_ = escape.low;
    if (is_complement(letter)) {
        set.classes_ = ~set.classes_;
        for (uint64_t& word : set.low_) word = ~word;
    }
    return set;
}

CharacterSet CharacterSet::of_everything() noexcept {
    CharacterSet set;
    set.low_.fill(~uint64_t{0});
    set.classes_ = kAllClasses;
    return set;
}

CharacterSet CharacterSet::of_line() noexcept {
    CharacterSet set = of_everything();
    set.low_[0] &= ~(uint64_t{1} << '\n');
    return set;
}

bool CharacterSet::in_many_ranges(char32_t c) const noexcept {
    const auto range = std::lower_bound(ranges_.begin(), ranges_.end(), c,
                                        [](const Range& r, char32_t d) { return r.last < d; });
    return range != ranges_.end() && c >= range->first;
}

bool CharacterSet::is_empty() const noexcept { return low_count() == 0 && !has_high(); }

bool CharacterSet::is_everything() const noexcept {
    return low_count() == kLowEnd &&
           (is_negated_
                ? classes_ == 0 && ranges_.empty()
                : classes_ == kAllClasses ||
                      (ranges_.size() == 1 && ranges_.front() == Range{kLowEnd, kLastCharacter}));
}

size_t CharacterSet::low_count() const noexcept {
    size_t count = 0;
    for (const uint64_t word : low_) count += static_cast<size_t>(std::popcount(word));
    return count;
}

size_t CharacterSet::members(char32_t* members, size_t limit) const noexcept {
    if (is_negated_ || classes_ != 0 || low_count() > limit) return limit + 1;
    size_t count = 0;
    for (char32_t c = 0; c < kLowEnd; ++c) {
        if (contains(c)) members[count++] = c;
    }
    for (const Range& range : ranges_) {
        if (range.last - range.first >= limit - count) return limit + 1;
        for (char32_t c = range.first; c <= range.last; ++c) members[count++] = c;
    }
    return count;
}

bool CharacterSet::may_intersect(const CharacterSet& other) const noexcept {
    for (size_t i = 0; i < low_.size(); ++i) {
        if ((low_[i] & other.low_[i]) != 0) return true;
    }
    return may_intersect_high(High(*this, false), High(other, false));
}

bool CharacterSet::is_surely_within(const CharacterSet& other) const noexcept {
    for (size_t i = 0; i < low_.size(); ++i) {
        if ((low_[i] & ~other.low_[i]) != 0) return false;
    }
    return !may_intersect_high(High(*this, false), High(other, true));
}

void CharacterSetBuilder::add_plain(char32_t first, char32_t last) {
    if (last >= CharacterSet::kLowEnd) {
        const Range range{std::max(first, CharacterSet::kLowEnd), last};
        Vector<Range>& ranges = set_.ranges_;
        // Neighbours, as the cases of an alphabet, arrive one after the other.
        if (!ranges.empty() && ranges.back().last + 1 == range.first) {
            ranges.back().last = range.last;
        } else {
            reserve_first(ranges, 8);
            ranges.push_back(range);
        }
    }
    for (char32_t c = first; c <= last && c < CharacterSet::kLowEnd; ++c)
        set_.low_[c / 64] |= uint64_t{1} << c % 64;
}

void CharacterSetBuilder::add_range(char32_t first, char32_t last, bool ignore_case) {
    if (first > last) return;
    const size_t ranges_before = set_.ranges_.size();
    add_plain(first, last);
    if (!ignore_case) return;
    for (char32_t c = next_with_case(first, last); c <= last; c = next_with_case(c + 1, last)) {
        for (char32_t other = next_in_folding_class(c); other != c;
             other = next_in_folding_class(other)) {
            if (other < first || other > last) add_plain(other, other);
        }
    }
    // An alphabet's two cases alternate often: what one range gave is joined before the next.
    constexpr size_t kMany = 64;
    if (set_.ranges_.size() - ranges_before > kMany) normalize(set_.ranges_);
}

void CharacterSetBuilder::add_class(char letter) noexcept {
    const CharacterSet other = CharacterSet::of_class(letter);
    set_.classes_ |= other.classes_;
    for (size_t i = 0; i < other.low_.size(); ++i) set_.low_[i] |= other.low_[i];
}

void CharacterSetBuilder::add_set(const CharacterSet& other) {
    if (!other.is_negated_)
        set_.ranges_.insert(set_.ranges_.end(), other.ranges_.begin(), other.ranges_.end());
    set_.classes_ |= other.is_negated_ ? kAllClasses : other.classes_;
    for (size_t i = 0; i < other.low_.size(); ++i) set_.low_[i] |= other.low_[i];
}

CharacterSet CharacterSetBuilder::finish(bool negated) {
    normalize(set_.ranges_);
    if (set_.classes_ == kAllClasses) set_.ranges_.clear();
    if (negated) {
        if (set_.ranges_.empty()) {
            set_.classes_ = ~set_.classes_;
        } else if (set_.classes_ == 0) {
            set_.ranges_ = complement_of(set_.ranges_);
        } else {
            set_.is_negated_ = true;
        }
        for (uint64_t& word : set_.low_) word = ~word;
    }
    return std::exchange(set_, CharacterSet());
}

}  // namespace qxut::regexp
