// sort_run.h - what the sort knows of a range: that a stretch of it is ascending.
#ifndef QXUT_SRC_UTIL_SORT_RUN_H
#define QXUT_SRC_UTIL_SORT_RUN_H

#include <algorithm>

#include "util/sort_elements.h"

namespace qxut {

// The elements lo..hi, none if hi < lo.
struct SortRun {
    SortIndex lo = 0;
    SortIndex hi = -1;

    SortIndex size() const { return hi - lo + 1; }
    bool contains(SortIndex slot) const { return lo <= slot && slot <= hi; }

    // Keeps what lies in first..last.
    void clip(SortIndex first, SortIndex last) {
        lo = std::max(lo, first);
        hi = std::max(std::min(hi, last), lo - 1);
    }
    // Gives up a slot whose element was replaced, and the shorter side of it.
    void cut(SortIndex slot) {
        if (!contains(slot)) return;
        if (slot - lo > hi - slot)
            hi = slot - 1;
        else
            lo = slot + 1;
    }
};

}  // namespace qxut

#endif
