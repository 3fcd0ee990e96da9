// unit_set.cpp - see unit_set.h.
//
// Tested by tests/regexp/unit_set_test.cpp.
#include "regexp/unit_set.h"

#include <algorithm>
#include <bit>

namespace qxut::regexp {
namespace {

constexpr char32_t kFirstLead = 0xD800;
constexpr char32_t kLastLead = 0xDBFF;
constexpr char32_t kLastTrail = 0xDFFF;
constexpr char32_t kLastUnit = 0xFFFF;

// Appends a range to those that are there, joined where it adjoins the last; false: no room.
bool append(UnitSet& set, char32_t first, char32_t last) {
    if (set.range_count != 0 && first <= char32_t{set.last[set.range_count - 1]} + 1) {
        char16_t& end = set.last[set.range_count - 1];
        end = std::max(end, static_cast<char16_t>(last));
        return true;
    }
    if (set.range_count == UnitSet::kRanges) return false;
    set.first[set.range_count] = static_cast<char16_t>(first);
    set.last[set.range_count] = static_cast<char16_t>(last);
    ++set.range_count;
    return true;
}

// The members below U+0100 as ranges; false: no room.
bool append_low(UnitSet& units, const CharacterSet& set) {
    for (char32_t word = 0; word < set.low().size(); ++word) {
        uint64_t bits = set.low()[word];
        while (bits != 0) {
            const int first = std::countr_zero(bits);
            const int length = std::countr_one(bits >> first);
            const char32_t begin = 64 * word + static_cast<char32_t>(first);
            if (!append(units, begin, begin + static_cast<char32_t>(length) - 1)) return false;
            if (first + length == 64) break;
            bits = bits >> (first + length) << (first + length);
        }
    }
    return true;
}

void copy_low(UnitSet& units, const CharacterSet& set) {
    for (unsigned row = 0; row < 16; ++row) {
        const uint64_t bits = set.low()[row / 4] >> row % 4 * 16;
        units.even[row] = static_cast<uint8_t>(bits);
        units.odd[row] = static_cast<uint8_t>(bits >> 8);
    }
}

// Those above U+00FF, in ascending order; the leads of supplementary characters are one range.
bool append_high(UnitSet& units, const CharacterSet& set) {
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

// Runs of frequent scripts with the classes that their characters are of.
struct Script {
    char32_t first;
    char32_t last;
    uint64_t classes;
};
constexpr Script script(char32_t first, char32_t last) {
    uint64_t classes = 0;
    for (char32_t c = first; c <= last; ++c) classes |= uint64_t{1} << classification::class_of(c);
    return {first, last, classes};
}
constexpr Script kScripts[] = {script(0x0400, 0x0481), script(0x3041, 0x3096),
                               script(0x4E00, 0x9FFF), script(0xAC00, 0xD7A3)};
static_assert(std::size(kScripts) <= UnitSet::kRanges);

}  // namespace

UnitSet units_of(const CharacterSet& set) noexcept {
    UnitSet ranges;
    ranges.by_ranges = true;
    if (append_low(ranges, set) && append_high(ranges, set) && ranges.range_count != 0)
        return ranges;
    UnitSet units;
    copy_low(units, set);
    if (!append_high(units, set)) {
        units.range_count = 0;
        units.all_others = true;
    }
    return units;
}

bool are_whole_units(const UnitSet& units, const CharacterSet& set) noexcept {
    return !units.all_others && !set.is_negated() && set.classes() == 0 &&
           std::all_of(set.ranges().begin(), set.ranges().end(), [](const auto& range) {
               return range.last < kFirstLead ||
                      (range.first > kLastTrail && range.last <= kLastUnit);
           });
}

UnitSet units_surely_in(const CharacterSet& set) noexcept {
    UnitSet units;
    copy_low(units, set);
    if (set.is_negated()) return units;
    if (set.classes() == ~uint64_t{0}) {
        units.all_others = true;
        return units;
    }
    if (set.classes() != 0) {
        for (const Script& script : kScripts) {
            if ((script.classes & ~set.classes()) == 0) append(units, script.first, script.last);
        }
        return units;
    }
    for (const CharacterSet::Range& range : set.ranges()) {
        if (range.first > kLastUnit) break;
        // Halves of pairs are left out.
        if (range.first < kFirstLead &&
            !append(units, range.first, std::min<char32_t>(range.last, kFirstLead - 1)))
            break;
        if (range.last > kLastTrail && range.first <= kLastUnit &&
            !append(units, std::max<char32_t>(range.first, kLastTrail + 1),
                    std::min(range.last, kLastUnit)))
            break;
    }
    return units;
}

}  // namespace qxut::regexp
