// classification.cpp - character classes and case from generated tables.
//
// All of Unicode falls into a few classes of characters for which every test answers alike. Two
// stages of a table give the class of a code point (its block, then its place in the block), and a
// test is one bit of a constant. Case has a table of its own kind. The scripts that come first in
// Unicode are looked up in one stage, by tables that the compiler makes of the others.
// tools/generate_classes makes the tables from ICU.
//
// Tested by tests/i18n/classification_test.cpp, which compares every code point with ICU.
#include <qxut/i18n/classification.h>

#include <array>

#include "i18n/classification_tables.h"

namespace qxut::classification {
namespace {

constexpr uint32_t kCodePointsEnd = 0x110000;

// The first code points, up to Armenian, have tables in one stage.
constexpr uint32_t kFirstEnd = 0x590;

constexpr uint32_t two_stage_class(uint32_t c) {
    constexpr uint32_t kWithin = (1u << kClassShift) - 1;
    return kClassContents[static_cast<uint32_t>(kClassBlocks[c >> kClassShift]) << kClassShift |
                          (c & kWithin)];
}

constexpr auto kFirstClasses = [] {
    std::array<uint8_t, kFirstEnd> classes{};
    for (uint32_t c = 0; c < kFirstEnd; ++c) classes[c] = static_cast<uint8_t>(two_stage_class(c));
    return classes;
}();

inline uint32_t class_of(int32_t character) {
    const auto c = static_cast<uint32_t>(character);
    if (c < kFirstEnd) return kFirstClasses[c];
    return c < kCodePointsEnd ? two_stage_class(c) : kUnassigned;
}

inline int is_in(uint64_t classes, int32_t character) {
    return static_cast<int>(classes >> class_of(character) & 1);
}

// Of a code point below kCasesEnd.
constexpr CaseDistances distances_of(uint32_t c) {
    constexpr uint32_t kWithin = (1u << kCaseShift) - 1;
    return kDistances[kCaseContents[static_cast<uint32_t>(kCaseBlocks[c >> kCaseShift])
                                        << kCaseShift |
                                    (c & kWithin)]];
}

inline bool is_caseless(uint32_t c) {
    return c - kGapBegin < kGapEnd - kGapBegin || c >= kCasesEnd;
}

constexpr int32_t moved(uint32_t c, uint16_t distance) {
    constexpr uint32_t kPlane = 0xFFFF0000;
    return static_cast<int32_t>((c & kPlane) | ((c + distance) & ~kPlane));
}

template <uint16_t CaseDistances::*Distance>
constexpr auto kFirstMapped = [] {
    std::array<uint16_t, kFirstEnd> mapped{};
    for (uint32_t c = 0; c < kFirstEnd; ++c)
        mapped[c] = static_cast<uint16_t>(moved(c, distances_of(c).*Distance));
    return mapped;
}();

template <uint16_t CaseDistances::*Distance>
inline int32_t mapped(int32_t character) {
    const auto c = static_cast<uint32_t>(character);
    if (c < kFirstEnd) return kFirstMapped<Distance>[c];
    if (is_caseless(c)) return character;
    return moved(c, distances_of(c).*Distance);
}

}  // namespace
}  // namespace qxut::classification

using namespace qxut::classification;

int qxu_isalnum(int32_t character) { return is_in(k_alnum, character); }
int qxu_isalpha(int32_t character) { return is_in(k_alpha, character); }
int qxu_isblank(int32_t character) { return is_in(k_blank, character); }
int qxu_iscntrl(int32_t character) { return is_in(k_cntrl, character); }
int qxu_isdigit(int32_t character) { return is_in(k_digit, character); }
int qxu_isgraph(int32_t character) { return is_in(k_graph, character); }
int qxu_islower(int32_t character) { return is_in(k_lower, character); }
int qxu_isprint(int32_t character) { return is_in(k_print, character); }
int qxu_ispunct(int32_t character) { return is_in(k_punct, character); }
int qxu_isspace(int32_t character) { return is_in(k_space, character); }
int qxu_isbreakablespace(int32_t character) { return is_in(k_breakablespace, character); }
int qxu_isupper(int32_t character) { return is_in(k_upper, character); }
int qxu_isxdigit(int32_t character) { return is_in(k_xdigit, character); }

int32_t qxu_tolower(int32_t character) { return mapped<&CaseDistances::to_lower>(character); }
int32_t qxu_toupper(int32_t character) { return mapped<&CaseDistances::to_upper>(character); }
