// unit_set.cpp - the units that a set's characters begin with, for the wide search.
#include <algorithm>

#include "regexp/analysis.h"

namespace qxut::regexp {
namespace {

// Appends a range to those that are there, joined where it adjoins the last; false: no room.
bool append(UnitSet& set, char32_t first, char32_t last) {
    if (set.range_count != 0 && first <= char32_t{set.last[set.range_count - 1]} + 1) {
        if (last > set.last[set.range_count - 1])
            set.last[set.range_count - 1] = static_cast<char16_t>(last);
        return true;
    }
    if (set.range_count == UnitSet::kRanges) return false;
    set.first[set.range_count] = static_cast<char16_t>(first);
    set.last[set.range_count] = static_cast<char16_t>(last);
    ++set.range_count;
    return true;
}

// Those above U+00FF, in ascending order; the leads of supplementary characters are one range.
bool append_high(UnitSet& units, const CharacterSet& set) {
    constexpr char32_t kFirstLead = 0xD800;
    constexpr char32_t kLastLead = 0xDBFF;
    constexpr char32_t kLastUnit = 0xFFFF;
    if (set.is_negated() || set.classes() != 0) return false;
    bool needs_leads = !set.ranges().empty() && set.ranges().back().last > kLastUnit;
    for (const CharacterSet::Range& range : set.ranges()) {
        if (needs_leads && range.first >= kFirstLead) {
            needs_leads = false;
            if (!append(units, kFirstLead, kLastLead)) return false;
        }
        if (range.first > kLastUnit) break;
        if (!append(units, range.first, std::min(range.last, kLastUnit))) return false;
    }
    return !needs_leads || append(units, kFirstLead, kLastLead);
}

}  // namespace

UnitSet units_of(const CharacterSet& set) noexcept {
    UnitSet ranges;
    ranges.by_ranges = true;
    bool fits = true;
    for (char32_t c = 0; c < CharacterSet::kLowEnd && fits; ++c) {
        if (set.contains(c)) fits = append(ranges, c, c);
    }
    if (fits && append_high(ranges, set) && ranges.range_count != 0) return ranges;

    UnitSet units;
    for (char32_t c = 0; c < CharacterSet::kLowEnd; ++c) {
        if (!set.contains(c)) continue;
        uint8_t* const rows = c < 0x80 ? units.lower : units.upper;
        rows[c % 16] |= static_cast<uint8_t>(1U << (c % 0x80 / 16));
    }
    if (!append_high(units, set)) {
        units.range_count = 0;
        units.all_others = true;
    }
    return units;
}

}  // namespace qxut::regexp
