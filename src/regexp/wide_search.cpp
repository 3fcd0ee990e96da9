// wide_search.cpp - the searches of wide_search.h with the widest registers that the processor has.
//
// Google Highway compiles this file once for each kind of registers (it includes itself, through
// foreach_target.h) and picks one by tables that are ready before any constructor runs.
//
// A search is a test: of the units from a place on, one lane each, which may begin what is looked
// for? Its bits are looked at from the lowest on. The last lanes of a range are tested together
// with units before them whose bits are dropped, so that no unit behind the range is read; ranges
// shorter than a register are tested in registers of eight lanes, or plainly.
//
// Tested by tests/regexp/wide_search_test.cpp, against the plain forms.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "regexp/wide_search.cpp"
#define HWY_WANT_AVX3_DL
#include <hwy/foreach_target.h>
// Highway's own order: the targets come first.
#include <hwy/highway.h>

#include <bit>
#include <cstring>

#include "regexp/wide_search_compare.h"

HWY_BEFORE_NAMESPACE();
namespace qxut::regexp::HWY_NAMESPACE {

// Without registers that look up bytes the plain forms are as good.
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

size_t literal_search(const char16_t* text, size_t from, size_t end, const LiteralSearch& literal) {
    return find_literal_plainly(text, from, end, literal);
}
size_t set_search(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    return find_in_set_plainly(text, from, end, set);
}
size_t outside_search(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    return find_outside_set_plainly(text, from, end, set);
}
uint64_t set_members(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    return members_in_plainly(text, from, end, set);
}
size_t doubled_search(const char16_t* text, size_t from, size_t end) {
    return find_doubled_plainly(text, from, end);
}
size_t word_search(const char16_t* text, size_t from, size_t end, size_t readable,
                   const WordSearch& words) {
    return find_word_plainly(text, from, end, readable, words);
}

#else

namespace {

namespace hn = hwy::HWY_NAMESPACE;

inline const uint16_t* units_of(const char16_t* text) {
    return reinterpret_cast<const uint16_t*>(text);
}

template <class D, class Mask>
HWY_INLINE uint64_t bits_of(D d, Mask mask) {
    uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, mask, bytes);
    uint64_t bits = 0;
    std::memcpy(&bits, bytes, sizeof(bits));
    return bits;
}

// The first of the places base + n, n being the number of a set bit, that the test confirms.
template <class Test>
HWY_INLINE size_t first_confirmed(const Test& test, uint64_t bits, size_t base, size_t none) {
    for (; bits != 0; bits &= bits - 1) {
        const size_t place = base + static_cast<size_t>(std::countr_zero(bits));
        if (test.confirm(place)) return place;
    }
    return none;
}

// Goes through [from, end). test.matches(i) gives a mask of the lanes from i on, and
// test.confirm(i) has the last word on a place.
template <class Test>
HWY_INLINE size_t scan_lanes(const Test& test, size_t from, size_t end) {
    const size_t lanes = test.lanes();
    size_t at = from;
    if (end - at >= lanes) {
        // What is looked for is often near.
        const size_t found = first_confirmed(test, test.bits(test.matches(at)), at, end);
        if (found != end) return found;
        at += lanes;
    }
    for (; end - at >= 2 * lanes; at += 2 * lanes) {
        const auto low = test.matches(at);
        const auto high = test.matches(at + lanes);
        if (HWY_LIKELY(test.none_of_both(low, high))) continue;
        size_t found = first_confirmed(test, test.bits(low), at, end);
        if (found == end) found = first_confirmed(test, test.bits(high), at + lanes, end);
        if (found != end) return found;
    }
    while (at < end) {
        const size_t base = end - at >= lanes ? at : end - lanes;
        const uint64_t bits = test.bits(test.matches(base)) >> (at - base) << (at - base);
        const size_t found = first_confirmed(test, bits, base, end);
        if (found != end) return found;
        at = base + lanes;
    }
    return end;
}

template <class D>
class LanesOf {
  public:
    HWY_INLINE size_t lanes() const { return hn::Lanes(d_); }
    template <class Mask>
    HWY_INLINE uint64_t bits(Mask mask) const {
        return bits_of(d_, mask);
    }
    template <class Mask>
    HWY_INLINE bool none_of_both(Mask a, Mask b) const {
        return hn::AllFalse(d_, hn::Or(a, b));
    }

  protected:
    D d_;
};

// --- literals ---------------------------------------------------------------------------------

UnitVariants rare_unit(const LiteralSearch& literal, int i) {
    if (literal.plain == nullptr) return literal.units[literal.rare[i]];
    const char16_t unit = literal.plain[literal.rare[i]];
    return {{unit, unit, unit, unit}};
}

// Variants is how many units are compared at each of the two places.
template <class D, int Variants>
class LiteralTest : public LanesOf<D> {
  public:
    using LanesOf<D>::d_;
    using V = hn::Vec<D>;

    HWY_INLINE LiteralTest(const char16_t* text, const LiteralSearch& literal)
        : text_(text), literal_(literal) {
        for (int i = 0; i < 2; ++i) {
            const UnitVariants variants = rare_unit(literal, i);
            place_[i] = units_of(text) + literal.rare[i];
            for (int v = 0; v < Variants; ++v)
                unit_[i][v] = hn::Set(d_, static_cast<uint16_t>(variants.units[v]));
        }
    }
    HWY_INLINE hn::Mask<D> matches(size_t at) const { return hn::And(holds(at, 0), holds(at, 1)); }
    HWY_INLINE bool confirm(size_t at) const { return holds_literal(text_ + at, literal_); }

  private:
    HWY_INLINE hn::Mask<D> holds(size_t at, int i) const {
        const V units = hn::LoadU(d_, place_[i] + at);
        hn::Mask<D> found = hn::Eq(units, unit_[i][0]);
        for (int v = 1; v < Variants; ++v) found = hn::Or(found, hn::Eq(units, unit_[i][v]));
        return found;
    }

    const char16_t* text_;
    const LiteralSearch& literal_;
    const uint16_t* place_[2];
    V unit_[2][Variants];
};

template <class D>
HWY_INLINE size_t find_literal_in_lanes(const char16_t* text, size_t from, size_t end,
                                        const LiteralSearch& literal) {
    const UnitVariants a = rare_unit(literal, 0);
    const UnitVariants b = rare_unit(literal, 1);
    if (literal.plain != nullptr || (a.is_one() && b.is_one()))
        return scan_lanes(LiteralTest<D, 1>(text, literal), from, end);
    if (a.is_two_at_most() && b.is_two_at_most())
        return scan_lanes(LiteralTest<D, 2>(text, literal), from, end);
    return scan_lanes(LiteralTest<D, 4>(text, literal), from, end);
}

// --- sets -------------------------------------------------------------------------------------

// Ranges are compared on the difference to their first unit.
template <class D>
class Ranges {
  public:
    using V = hn::Vec<D>;

    HWY_INLINE explicit Ranges(const UnitSet& set) : count_(set.range_count) {
        const D d;
        for (int i = 0; i < UnitSet::kRanges; ++i) {
            first_[i] = hn::Set(d, static_cast<uint16_t>(set.first[i]));
            span_[i] = hn::Set(d, static_cast<uint16_t>(set.last[i] - set.first[i]));
        }
    }
    // There is a range at least.
    HWY_INLINE hn::Mask<D> hold(V units) const {
        hn::Mask<D> found = holds(units, 0);
        for (int i = 1; i < count_; ++i) found = hn::Or(found, holds(units, i));
        return found;
    }

  private:
    HWY_INLINE hn::Mask<D> holds(V units, int i) const {
        const V above = hn::Sub(units, first_[i]);
        return hn::Eq(hn::Min(above, span_[i]), above);
    }

    int count_;
    V first_[UnitSet::kRanges], span_[UnitSet::kRanges];
};

// Outside: the units that are not in the set are looked for.
template <class D, bool Outside>
class RangesTest : public LanesOf<D> {
  public:
    using LanesOf<D>::d_;

    HWY_INLINE RangesTest(const char16_t* text, const UnitSet& set)
        : text_(units_of(text)), ranges_(set) {}
    HWY_INLINE hn::Mask<D> matches(size_t at) const {
        const hn::Mask<D> found = ranges_.hold(hn::LoadU(d_, text_ + at));
        return Outside ? hn::Not(found) : found;
    }
    HWY_INLINE bool confirm(size_t) const { return true; }

  private:
    const uint16_t* text_;
    Ranges<D> ranges_;
};

// A unit's upper half picks a row of bits, its lower half the bit: both are looked up in the byte
// where the lane's index stands.
template <class D, bool Outside>
class BitsTest : public LanesOf<D> {
  public:
    using LanesOf<D>::d_;
    using V = hn::Vec<D>;
    using Bytes = hn::Repartition<uint8_t, D>;

    HWY_INLINE BitsTest(const char16_t* text, const UnitSet& set)
        : text_(units_of(text)),
          even_(hn::LoadDup128(Bytes(), set.even)),
          odd_(hn::LoadDup128(Bytes(), set.odd)),
          has_ranges_(set.range_count != 0),
          all_others_(set.all_others),
          ranges_(set) {
        alignas(16) static constexpr uint8_t kBits[16] = {1, 2, 4, 8, 16, 32, 64, 128,
                                                          1, 2, 4, 8, 16, 32, 64, 128};
        bits_ = hn::LoadDup128(Bytes(), kBits);
    }
    HWY_INLINE hn::Mask<D> matches(size_t at) const {
        const V units = hn::LoadU(d_, text_ + at);
        const V half = hn::Set(d_, uint16_t{0x0F});
        const V row = hn::And(hn::ShiftRight<4>(units), half);
        const V column = hn::And(units, half);
        const V zero = hn::Zero(d_);
        const hn::Mask<D> is_odd = hn::Ne(hn::And(units, hn::Set(d_, uint16_t{8})), zero);
        const V members = hn::IfThenElse(is_odd, look_up(odd_, row), look_up(even_, row));
        const V bit = hn::And(look_up(bits_, column), hn::Set(d_, uint16_t{0xFF}));
        const hn::Mask<D> is_low = hn::Eq(hn::ShiftRight<8>(units), zero);
        hn::Mask<D> found = hn::Ne(hn::And(members, bit), zero);
        if (all_others_) {
            found = hn::Or(found, hn::Not(is_low));
        } else {
            found = hn::And(found, is_low);
            if (has_ranges_) found = hn::Or(found, hn::AndNot(is_low, ranges_.hold(units)));
        }
        return Outside ? hn::Not(found) : found;
    }
    HWY_INLINE bool confirm(size_t) const { return true; }

  private:
    HWY_INLINE V look_up(hn::Vec<Bytes> table, V index) const {
        return hn::BitCast(d_, hn::TableLookupBytes(table, hn::BitCast(Bytes(), index)));
    }

    const uint16_t* text_;
    hn::Vec<Bytes> even_, odd_, bits_;
    bool has_ranges_, all_others_;
    Ranges<D> ranges_;
};

// Of kMemberBits units from `from` on, a bit each.
template <class Test>
HWY_INLINE uint64_t members_of(const Test& test, size_t from) {
    uint64_t members = 0;
    for (size_t n = 0; n < kMemberBits; n += test.lanes())
        members |= test.bits(test.matches(from + n)) << n;
    return members;
}

template <class D, bool Outside>
HWY_INLINE size_t scan_for_set(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    if (set.by_ranges) return scan_lanes(RangesTest<D, Outside>(text, set), from, end);
    return scan_lanes(BitsTest<D, Outside>(text, set), from, end);
}

// --- doubled units ---------------------------------------------------------------------------

template <class D>
class DoubledTest : public LanesOf<D> {
  public:
    using LanesOf<D>::d_;

    HWY_INLINE explicit DoubledTest(const char16_t* text) : text_(units_of(text)) {}
    HWY_INLINE hn::Mask<D> matches(size_t at) const {
        const auto units = hn::LoadU(d_, text_ + at);
        const auto lead =
            hn::Eq(hn::And(units, hn::Set(d_, uint16_t{0xFC00})), hn::Set(d_, uint16_t{0xD800}));
        return hn::Or(lead, hn::Eq(units, hn::LoadU(d_, text_ + at + 1)));
    }
    HWY_INLINE bool confirm(size_t) const { return true; }

  private:
    const uint16_t* text_;
};

// --- words ------------------------------------------------------------------------------------

// Lanes are bytes: the low ones of the units, from two registers.
template <class D8>
class WordTest {
  public:
    using D16 = hn::Repartition<uint16_t, D8>;
    using V = hn::Vec<D8>;

    HWY_INLINE WordTest(const char16_t* text, size_t readable, const WordSearch& words)
        : text_(text), readable_(readable), words_(words) {
        for (size_t i = 0; i < WordSearch::kWidest; ++i) {
            low_[i] = hn::LoadDup128(d_, words.low_half[i]);
            high_[i] = hn::LoadDup128(d_, words.high_half[i]);
        }
    }
    HWY_INLINE size_t lanes() const { return hn::Lanes(d_); }
    // The buckets that each place admits.
    HWY_INLINE V buckets(size_t at) const {
        V admitted = admit(at, 0);
        if (words_.width > 1) admitted = hn::And(admitted, admit(at + 1, 1));
        if (words_.width > 2) admitted = hn::And(admitted, admit(at + 2, 2));
        return admitted;
    }
    // The first place from base on, `skipped` lanes left out, where a word stands.
    HWY_INLINE size_t confirm(V admitted, size_t base, size_t skipped, size_t none) const {
        alignas(64) uint8_t bytes[HWY_MAX_BYTES];
        hn::Store(admitted, d_, bytes);
        uint64_t bits = bits_of(d_, hn::Ne(admitted, hn::Zero(d_))) >> skipped << skipped;
        for (; bits != 0; bits &= bits - 1) {
            const auto lane = static_cast<size_t>(std::countr_zero(bits));
            const size_t place = base + lane;
            if (holds_word(text_ + place, readable_ - place, words_, bytes[lane])) return place;
        }
        return none;
    }
    HWY_INLINE bool is_none(V admitted) const {
        return hn::AllTrue(d_, hn::Eq(admitted, hn::Zero(d_)));
    }

  private:
    HWY_INLINE V admit(size_t at, size_t i) const {
        const D16 d16;
        const uint16_t* units = units_of(text_) + at;
        const V bytes = hn::ConcatEven(d_, hn::BitCast(d_, hn::LoadU(d16, units + hn::Lanes(d16))),
                                       hn::BitCast(d_, hn::LoadU(d16, units)));
        const V half = hn::Set(d_, uint8_t{0x0F});
        return hn::And(hn::TableLookupBytes(low_[i], hn::And(bytes, half)),
                       hn::TableLookupBytes(high_[i], hn::ShiftRight<4>(bytes)));
    }

    D8 d_;
    const char16_t* text_;
    size_t readable_;
    const WordSearch& words_;
    V low_[WordSearch::kWidest], high_[WordSearch::kWidest];
};

template <class D8>
HWY_INLINE size_t find_word_in_lanes(const char16_t* text, size_t from, size_t end, size_t readable,
                                     const WordSearch& words) {
    const WordTest<D8> test(text, readable, words);
    const size_t lanes = test.lanes();
    while (from < end) {
        const size_t base = end - from >= lanes ? from : end - lanes;
        const auto admitted = test.buckets(base);
        if (HWY_UNLIKELY(!test.is_none(admitted))) {
            const size_t found = test.confirm(admitted, base, from - base, end);
            if (found != end) return found;
        }
        from = base + lanes;
    }
    return end;
}

}  // namespace

using Wide = hn::ScalableTag<uint16_t>;
using Block = hn::CappedTag<uint16_t, kMemberBits>;
using Narrow = hn::CappedTag<uint16_t, 8>;
using WideBytes = hn::ScalableTag<uint8_t>;
using NarrowBytes = hn::CappedTag<uint8_t, 16>;

size_t literal_search(const char16_t* text, size_t from, size_t end, const LiteralSearch& literal) {
    if (end >= hn::Lanes(Wide())) return find_literal_in_lanes<Wide>(text, from, end, literal);
    if (end >= hn::Lanes(Narrow())) return find_literal_in_lanes<Narrow>(text, from, end, literal);
    return find_literal_plainly(text, from, end, literal);
}

size_t set_search(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    if (end >= hn::Lanes(Wide())) return scan_for_set<Wide, false>(text, from, end, set);
    if (end >= hn::Lanes(Narrow())) return scan_for_set<Narrow, false>(text, from, end, set);
    return find_in_set_plainly(text, from, end, set);
}

size_t outside_search(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    if (end >= hn::Lanes(Wide())) return scan_for_set<Wide, true>(text, from, end, set);
    if (end >= hn::Lanes(Narrow())) return scan_for_set<Narrow, true>(text, from, end, set);
    return find_outside_set_plainly(text, from, end, set);
}

uint64_t set_members(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    if (end - from != kMemberBits) return members_in_plainly(text, from, end, set);
    return set.by_ranges ? members_of(RangesTest<Block, false>(text, set), from)
                         : members_of(BitsTest<Block, false>(text, set), from);
}

size_t doubled_search(const char16_t* text, size_t from, size_t end) {
    if (end >= hn::Lanes(Wide())) return scan_lanes(DoubledTest<Wide>(text), from, end);
    if (end >= hn::Lanes(Narrow())) return scan_lanes(DoubledTest<Narrow>(text), from, end);
    return find_doubled_plainly(text, from, end);
}

size_t word_search(const char16_t* text, size_t from, size_t end, size_t readable,
                   const WordSearch& words) {
    if (end >= hn::Lanes(WideBytes()))
        return find_word_in_lanes<WideBytes>(text, from, end, readable, words);
    if (end >= hn::Lanes(NarrowBytes()))
        return find_word_in_lanes<NarrowBytes>(text, from, end, readable, words);
    return find_word_plainly(text, from, end, readable, words);
}

#endif

}  // namespace qxut::regexp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qxut::regexp {

HWY_EXPORT(literal_search);
HWY_EXPORT(set_search);
HWY_EXPORT(outside_search);
HWY_EXPORT(set_members);
HWY_EXPORT(doubled_search);
HWY_EXPORT(word_search);

size_t find_literal(const char16_t* text, size_t from, size_t end, const LiteralSearch& literal) {
    if (from >= end) return end;
    return HWY_DYNAMIC_DISPATCH(literal_search)(text, from, end, literal);
}

size_t find_in_set(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    if (from >= end) return end;
    return HWY_DYNAMIC_DISPATCH(set_search)(text, from, end, set);
}

size_t find_outside_set(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    if (from >= end) return end;
    return HWY_DYNAMIC_DISPATCH(outside_search)(text, from, end, set);
}

uint64_t members_in(const char16_t* text, size_t from, size_t end, const UnitSet& set) {
    return HWY_DYNAMIC_DISPATCH(set_members)(text, from, end, set);
}

size_t find_doubled(const char16_t* text, size_t from, size_t end) {
    if (from >= end) return end;
    return HWY_DYNAMIC_DISPATCH(doubled_search)(text, from, end);
}

size_t find_word(const char16_t* text, size_t from, size_t end, size_t readable,
                 const WordSearch& words) {
    if (from >= end) return end;
    return HWY_DYNAMIC_DISPATCH(word_search)(text, from, end, readable, words);
}

}  // namespace qxut::regexp
#endif
