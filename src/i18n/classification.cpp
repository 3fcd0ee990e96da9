// classification.cpp - character classes and case from generated tables.
//
// All of Unicode falls into a few classes of characters for which every test answers alike. Two
// stages of a table give the class of a code point (its block, then its place in the block), and a
// test is one bit of a constant. Case has a table of the same kind, which ends where no character
// has case any more. tools/generate_classes makes the tables from ICU.
//
// Tested by tests/i18n/classification_test.cpp, which compares every code point with ICU.
#include <qxut/i18n/classification.h>

#include "i18n/character_classes.h"

namespace qxut::classification {
namespace {

inline int is_in(uint64_t classes, int32_t character) {
    return static_cast<int>(classes >> class_of(static_cast<uint32_t>(character)) & 1);
}

// Of a code point below kCasesEnd.
inline CaseDistances distances_of(uint32_t c) {
    constexpr uint32_t kWithin = (1u << kCaseShift) - 1;
    return kDistances[kCaseContents[static_cast<uint32_t>(kCaseBlocks[c >> kCaseShift])
                                        << kCaseShift |
                                    (c & kWithin)]];
}

template <uint16_t CaseDistances::*Distance>
inline int32_t mapped(int32_t character) {
    constexpr uint32_t kPlane = 0xFFFF0000;
    const auto c = static_cast<uint32_t>(character);
    if (c >= kCasesEnd) [[unlikely]]
        return character;
    return static_cast<int32_t>((c & kPlane) | ((c + distances_of(c).*Distance) & ~kPlane));
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
