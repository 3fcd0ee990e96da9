// quicksort.h - the order that ut_qsort defines, and the fast ways to it.
//
// The definition. A range lo..hi of at least two elements is partitioned and both sides are then
// sorted the same way. Pivot: the median of the elements at lo, mid = (lo + hi) / 2 and hi, ties
// going to the lower index. Partition: the pivot stays in its slot k while i goes up from lo and j
// goes down from hi:
//
//     i stops at the first element > pivot, or at hi
//     j stops at the first element < pivot, or at lo
//     i < j: exchange elements i and j, and go on; otherwise end:
//         j > k: exchange slot k with j, the pivot's place is j
//         i < k: exchange slot k with i, the pivot's place is i
//         else   the pivot's place is k
//
// The result, the order of equal elements included, is a function of the comparison's answers, and
// every user sees the same one. All of the following keep it; a test compares them with the
// definition written out. Below, "the comparison" is one that is an order. One that contradicts
// itself gives another result, but every index that is formed stays in the range.
//
// 1. Gathering. The pivot's element never moves while i and j scan: i and j stop at its slot only
//    where they end (it equals itself), and exchanges take what is > or < the pivot. So the t-th
//    exchange joins the t-th element > pivot from the left with the t-th < pivot from the right,
//    counted in the order in which they lay, while the former is left of the latter. Their
//    indices are gathered without branches, a block from either end at a time, and exchanged in
//    pairs; what the blocks leave in the middle is gathered at once.
// 2. Ordered ranges. In an ascending range, equal elements allowed, the pivot is lo (when
//    lo equals mid) or mid. i goes up to the first element > pivot, right of every one that equals
//    it; j goes down to the last < pivot, left of them all. Nothing is exchanged, and as j <= k <=
//    i the pivot stays; the sides are ascending again. So nothing moves: such a range is recognised
//    by comparing neighbours, all-equal ones among them. In a strictly descending range all
//    elements differ, so there is just one ascending order, and reversing gives it.
// 3. Nearly ascending ranges. In a sorted array to which a few elements were added, the least of
//    three is often the median, and partitions settle next to nothing. What is known to be
//    ascending is therefore handed down: a partition then compares the few other elements and
//    searches the ascending run for its part > pivot and its part < pivot. The exchanges are those
//    of 1, and what they replace in the run lies where the two parts begin, so the sides have runs
//    too.
// 4. Ties with a neighbour. The elements next to a range, lo - 1 and hi + 1, are pivots in their
//    final places: bounds of the range. Where few values occur, pivots often equal a bound:
//      - equal to lo - 1: the pivot is the least of the range. j finds nothing and ends at lo; if
//        k is lo, nothing moves, else element lo is > pivot (it would be the median otherwise) and
//        i stops there at once. Either way the pivot's place is lo, exchanged with k.
//      - equal to hi + 1: the pivot is the greatest. i finds nothing and ends at hi. j stops at the
//        last element < pivot; from there on all are equal. Only j's scan is done, and not beyond
//        k.
//    Each settles what it looks at, so a column of two values takes a linear time.
// 5. Small ranges. If no two elements are equal, there is just one ascending order, and
//    any method may find it. Up to 16 elements are sorted by insertion into an order held in one
//    word, whose comparisons steer no branch. Elements that are equal and become neighbours must
//    have been compared with each other, so ties are always noticed; such a range is partitioned.
// 6. Depth. The sides are independent: the smaller is taken first, so at most log2 n wait.
// 7. The end of patience. After 4 n log2 n comparisons of the definition, plus four million, what
//    is left is sorted by heap. Comparisons made in vain by 2 and 5 are limited on their own: they
//    must not bring this forward.
//
// No comparison comes between the moves of one exchange, so one that raises finds every element in
// the array.
#ifndef QXUT_SRC_UTIL_QUICKSORT_H
#define QXUT_SRC_UTIL_QUICKSORT_H

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include <qxut/util/interrupt.h>
#include <qxut/util/sort.h>

#include "util/heapsort.h"
#include "util/sort_elements.h"
#include "util/sort_run.h"

namespace qxut {

// Where the comparison goes: the caller's function, its context, and the errors of interrupts.
struct SortOrder {
    ut_compare_fcn compare;
    void* context;
    _error_context* errors;
};

template <class Elements>
class Quicksort {
  public:
    Quicksort(Elements elements, SortOrder order, uint32_t n)
        : elements_(elements),
          order_(order),
          last_(static_cast<SortIndex>(n) - 1),
          patience_(int64_t{4} * n * std::bit_width(n) + 4'000'000),
          spare_(int64_t{4} * n) {}

    void sort() {
        Range waiting[kDepth];
        int count = 0;
        Range range{0, last_, {}};
        for (;;) {
            Range other{0, -1, {}};
            while (step(range, other)) {
                if (size(other) < size(range)) std::swap(range, other);
                if (size(other) > 1) waiting[count++] = other;
                other = {0, -1, {}};
            }
            if (count == 0) return;
            range = waiting[--count];
        }
    }

  private:
    static constexpr int kDepth = 33;
    static constexpr SortIndex kBlock = 128;
    static constexpr SortIndex kOthers = 512;
    static constexpr SortIndex kInterruptible = 1 << 16;

    struct Range {
        SortIndex lo;
        SortIndex hi;  // inclusive
        SortRun run;   // known to be ascending
    };
    static SortIndex size(const Range& range) { return range.hi - range.lo + 1; }
    // Whether all but a few elements belong to the run.
    static bool is_nearly_ascending(const Range& range) {
        const SortIndex others = size(range) - range.run.size();
        return others <= kOthers && 2 * others < size(range);
    }

    int32_t order(SortIndex a, SortIndex b) const {
        return order_.compare(order_.context, elements_.at(a), elements_.at(b));
    }

    // Sorts the range and returns false, or splits it in two that are left to sort: the lower in
    // `range`, the upper in `other`.
    bool step(Range& range, Range& other) {
        if (size(range) <= kSmallSort) {
            if (size(range) < 2 || sort_distinct(range)) return false;
            split(range, choose_pivot(range), other);
            return true;
        }
        if (!is_nearly_ascending(range) && settle_ordered(range)) return false;
        if (range.run.size() == size(range)) return false;
        if (size(range) > kInterruptible) utPollInterrupt(order_.errors);
        while (size(range) > kSmallSort) {
            if (patience_ < 0) {
                heapsort(range);
                return false;
            }
            const SortIndex pivot = choose_pivot(range);
            if (range.lo > 0 && order(pivot, range.lo - 1) == 0) {
                elements_.exchange(pivot, range.lo);
                range.run.cut(pivot);
                range.run.clip(++range.lo, range.hi);
            } else if (range.hi < last_ && order(pivot, range.hi + 1) == 0) {
                settle_greatest(range, pivot);
            } else {
                split(range, pivot, other);
                return true;
            }
        }
        return true;
    }

    // Median of three, ties going to the lower index.
    SortIndex choose_pivot(const Range& range) {
        const SortIndex lo = range.lo;
        const SortIndex hi = range.hi;
        const SortIndex mid = (lo + hi) / 2;
        --patience_;
        const int32_t c = order(lo, mid);
        if (c == 0) return lo;
        if (c > 0) {
            if (order(mid, hi) >= 0) return mid;
            return order(lo, hi) <= 0 ? lo : hi;
        }
        if (order(lo, hi) >= 0) return lo;
        return order(mid, hi) <= 0 ? mid : hi;
    }

    // The pivot is known to be the greatest element of the range.
    void settle_greatest(Range& range, SortIndex pivot) {
        SortIndex j = range.hi;
        while (j > pivot && order(j, pivot) >= 0) --j;
        patience_ -= range.hi - j;
        elements_.exchange(pivot, j);
        range.hi = j - 1;
        range.run.cut(pivot);
        range.run.clip(range.lo, range.hi);
    }

    void split(Range& range, SortIndex pivot, Range& other) {
        if (is_nearly_ascending(range)) {
            split_by_run(range, pivot, other);
            return;
        }
        patience_ -= size(range);
        const SortIndex place = partition(range, pivot);
        other = {place + 1, range.hi, {}};
        range = {range.lo, place - 1, {}};
    }

    // Indices of elements that are to change sides, ascending.
    template <SortIndex Capacity>
    struct GatheredUpTo {
        uint32_t indices[Capacity];
        SortIndex count = 0;
    };
    using Gathered = GatheredUpTo<3 * kBlock>;

    // Appends the indices of first .. first + count - 1 whose elements are > pivot.
    void gather_greater(SortIndex first, SortIndex count, const char* pivot, Gathered& out) const {
        const SortOrder order = order_;
        const char* element = elements_.at(first);
        for (SortIndex i = first; i < first + count; ++i, element += elements_.size()) {
            out.indices[out.count] = static_cast<uint32_t>(i);
            out.count += order.compare(order.context, element, pivot) > 0 ? 1 : 0;
        }
    }
    void gather_less(SortIndex first, SortIndex count, const char* pivot, Gathered& out) const {
        const SortOrder order = order_;
        const char* element = elements_.at(first);
        for (SortIndex i = first; i < first + count; ++i, element += elements_.size()) {
            out.indices[out.count] = static_cast<uint32_t>(i);
            out.count += order.compare(order.context, element, pivot) < 0 ? 1 : 0;
        }
    }
    template <class AnyGathered>
    void gather_both(SortIndex first, SortIndex count, const char* pivot, AnyGathered& greater,
                     AnyGathered& less) const {
        const SortOrder order = order_;
        const char* element = elements_.at(first);
        for (SortIndex i = first; i < first + count; ++i, element += elements_.size()) {
            const int32_t c = order.compare(order.context, element, pivot);
            greater.indices[greater.count] = static_cast<uint32_t>(i);
            greater.count += c > 0 ? 1 : 0;
            less.indices[less.count] = static_cast<uint32_t>(i);
            less.count += c < 0 ? 1 : 0;
        }
    }

    // Partitions a range about its element `k` and returns the pivot's final place.
    //
    //   lo    looked at     l    middle    r    looked at    hi
    //   |   all <= pivot    |              |   all >= pivot   |
    SortIndex partition(const Range& range, SortIndex k) const {
        const char* const pivot = elements_.at(k);
        SortIndex l = range.lo;
        SortIndex r = range.hi;
        Gathered greater;
        Gathered less;
        SortIndex used = 0;  // of `greater`, from the front; `less` is used from the back
        while (r - l + 1 >= 2 * kBlock) {
            if (used == greater.count) {
                used = greater.count = 0;
                gather_greater(l, kBlock, pivot, greater);
                l += kBlock;
            }
            if (less.count == 0) {
                gather_less(r - kBlock + 1, kBlock, pivot, less);
                r -= kBlock;
            }
            for (SortIndex pairs = std::min(greater.count - used, less.count); pairs > 0; --pairs)
                elements_.exchange(greater.indices[used++], less.indices[--less.count]);
        }
        // The block in which elements still wait joins the middle, from the first of them on.
        if (used < greater.count) l = greater.indices[used];
        if (less.count > 0) r = less.indices[less.count - 1];

        greater.count = less.count = 0;
        gather_both(l, r - l + 1, pivot, greater, less);
        const auto up = [&](SortIndex nth) { return SortIndex{greater.indices[nth]}; };
        const auto down = [&](SortIndex nth) {
            return SortIndex{less.indices[less.count - 1 - nth]};
        };
        const SortIndex pairs = std::min(greater.count, less.count);
        SortIndex t = 0;
        for (; t < pairs && up(t) < down(t); ++t) elements_.exchange(up(t), down(t));

        // j stops at the next element < pivot, or at the last one that an exchange put on the left,
        // or, where the middle has neither, among those looked at. Right of k it is the pivot's
        // place; elsewhere it does not matter. Likewise i.
        SortIndex j = -1;
        if (t < less.count) j = down(t);
        if (t > 0) j = std::max(j, up(t - 1));
        if (j < 0)
            for (j = l - 1; j > k && order(j, k) >= 0;) --j;
        if (j > k) {
            elements_.exchange(k, j);
            return j;
        }
        SortIndex i = range.hi + 1;
        if (t < greater.count) i = up(t);
        if (t > 0) i = std::min(i, down(t - 1));
        if (i > range.hi)
            for (i = r + 1; i < k && order(i, k) <= 0;) ++i;
        if (i < k) {
            elements_.exchange(k, i);
            return i;
        }
        return k;
    }

    // First slot of the run whose element is at least (`above`: greater than) that of slot k;
    // behind the run if there is none. Searches in growing steps from k if k is in the run.
    SortIndex bound_in_run(SortRun run, SortIndex k, bool above) {
        const auto is_before = [&](SortIndex slot) {
            --patience_;
            const int32_t c = order(slot, k);
            return above ? c <= 0 : c < 0;
        };
        SortIndex first = run.lo;  // the bound is in first..end
        SortIndex end = run.hi + 1;
        if (run.contains(k) && above) {
            first = k + 1;
            for (SortIndex step = 1; first + step <= end; step *= 2) {
                if (!is_before(first + step - 1)) {
                    end = first + step - 1;
                    break;
                }
                first += step;
            }
        } else if (run.contains(k)) {
            end = k;
            for (SortIndex step = 1; end - step >= first; step *= 2) {
                if (is_before(end - step)) {
                    first = end - step + 1;
                    break;
                }
                end -= step;
            }
        }
        while (first < end) {
            const SortIndex middle = first + (end - first) / 2;
            if (is_before(middle))
                first = middle + 1;
            else
                end = middle;
        }
        return first;
    }

    // Partitions a range about its element `k`, looking only at the elements that are not of its
    // run and, in the run, for where elements become equal to the pivot and greater. So the
    // elements > pivot, from the left, are those before the run, the run's end from `above` on, and
    // those behind it; those < pivot, from the right, likewise with the run's part below `least`.
    void split_by_run(Range& range, SortIndex k, Range& other) {
        const SortRun run = range.run;
        const SortIndex least = bound_in_run(run, k, false);
        const SortIndex above = bound_in_run(run, k, true);
        GatheredUpTo<kOthers + 1> greater;
        GatheredUpTo<kOthers + 1> less;
        const char* const pivot = elements_.at(k);
        gather_both(range.lo, run.lo - range.lo, pivot, greater, less);
        const SortIndex greater_before = greater.count;
        const SortIndex less_before = less.count;
        gather_both(run.hi + 1, range.hi - run.hi, pivot, greater, less);
        patience_ -= size(range) - run.size();
        const SortIndex greater_in_run = run.hi + 1 - above;
        const SortIndex less_in_run = least - run.lo;
        const SortIndex less_behind = less.count - less_before;

        const auto up = [&](SortIndex nth) {
            if (nth < greater_before) return SortIndex{greater.indices[nth]};
            nth -= greater_before;
            if (nth < greater_in_run) return above + nth;
            return SortIndex{greater.indices[nth - greater_in_run + greater_before]};
        };
        const auto down = [&](SortIndex nth) {
            if (nth < less_behind) return SortIndex{less.indices[less.count - 1 - nth]};
            nth -= less_behind;
            if (nth < less_in_run) return least - 1 - nth;
            return SortIndex{less.indices[less_before - 1 - (nth - less_in_run)]};
        };
        const SortIndex all_greater = greater.count + greater_in_run;
        const SortIndex all_less = less.count + less_in_run;
        const SortIndex pairs = std::min(all_greater, all_less);
        SortIndex t = 0;
        for (; t < pairs && up(t) < down(t); ++t) elements_.exchange(up(t), down(t));

        // As in partition(), but all elements are known.
        SortIndex place = k;
        SortIndex j = t < all_less ? down(t) : range.lo;
        if (t > 0) j = std::max(j, up(t - 1));
        SortIndex i = t < all_greater ? up(t) : range.hi;
        if (t > 0) i = std::min(i, down(t - 1));
        if (j > k)
            place = j;
        else if (i < k)
            place = i;
        elements_.exchange(k, place);

        // What the exchanges replaced in the run lies together on either side of its equal
        // elements.
        const SortIndex replaced_above =
            std::clamp(t - greater_before, SortIndex{0}, greater_in_run);
        const SortIndex replaced_below = std::clamp(t - less_behind, SortIndex{0}, less_in_run);
        SortRun lower = run;
        SortRun upper = run;
        if (replaced_above > 0) {
            lower.clip(run.lo, above - 1);
            upper.clip(above + replaced_above, run.hi);
        }
        if (replaced_below > 0) {
            lower.clip(run.lo, least - replaced_below - 1);
            upper.clip(least, run.hi);
        }
        other = {place + 1, range.hi, upper};
        range = {range.lo, place - 1, lower};
        for (Range* side : {&range, &other}) {
            side->run.clip(side->lo, side->hi);
            if (place != k) side->run.cut(k);
        }
    }

    // Leaves an ascending range, reverses a strictly descending one, and returns true. In any
    // other range, notes the longer of the ascending stretches at its ends, and returns false.
    bool settle_ordered(Range& range) {
        if (spare_ < 0) return false;
        const SortIndex lo = range.lo;
        const SortIndex hi = range.hi;
        SortIndex first = lo + 1;  // behind it the order of the beginning ends
        const bool descending = order(lo, first) > 0;
        if (descending)
            while (first < hi && order(first, first + 1) > 0) ++first;
        else
            while (first < hi && order(first, first + 1) <= 0) ++first;
        if (first == hi) {
            for (SortIndex a = lo, b = hi; descending && a < b; ++a, --b) elements_.exchange(a, b);
            return true;
        }
        SortIndex last = hi;  // before it the ascent of the end begins
        while (last > lo && order(last - 1, last) <= 0) --last;
        range.run = {last, hi};
        if (!descending && first - lo > hi - last) range.run = {lo, first};
        spare_ -= (first - lo) + (hi - last) + 2;
        return false;
    }

    // Sorts up to 16 elements if no two of them are equal; otherwise changes nothing and
    // returns false.
    bool sort_distinct(const Range& range) {
        if (spare_ < 0) return false;
        const SortOrder by = order_;
        const auto count = static_cast<int>(size(range));
        SmallOrder places;
        for (int next = 1; next < count; ++next) {
            const char* const element = elements_.at(range.lo + next);
            bool tie = false;
            int place = 0;
            // The number of halvings depends on `next` alone.
            for (int span = next; span > 0; span /= 2) {
                const char* const other = elements_.at(range.lo + places[place + span / 2]);
                const int32_t c = by.compare(by.context, element, other);
                place += c > 0 ? span - span / 2 : 0;
                tie |= c == 0;
            }
            if (tie) {
                spare_ -= int64_t{3} * next;
                return false;
            }
            places.insert(place, next);
        }
        elements_.permute(range.lo, count, places);
        return true;
    }

    void heapsort(const Range& range) const {
        const auto compare = [&](SortIndex a, SortIndex b) {
            return order(range.lo + a, range.lo + b);
        };
        const auto exchange = [&](SortIndex a, SortIndex b) {
            elements_.exchange(range.lo + a, range.lo + b);
        };
        sort_by_heap(size(range), compare, exchange);
    }

    Elements elements_;
    SortOrder order_;
    SortIndex last_;
    int64_t patience_;  // comparisons that the definition may still take
    int64_t spare_;     // comparisons that may still be made in vain
};

}  // namespace qxut

#endif
