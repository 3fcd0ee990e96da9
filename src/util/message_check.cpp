// message_check.cpp - checks one text, English or translated; see message_check.h.
// Tested by tests/util/message_test.cpp and fuzz/message_fuzz.cpp.
#include "util/message_check.h"

#include <cstring>

#include <qxut/util/message.h>

#include "util/message_conversion.h"

namespace qxut {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// What is wrong with the conversion at `text`, UT_MESSAGE_OK if nothing is.
int32_t check_conversion(const char* text, const Conversion& conversion) {
    char letter = conversion.letter;
    const bool stranded = letter == '\0';
    if (stranded) {
        const char* found = std::strpbrk(text + 1, kConversionLetters);
        if (found == nullptr) return UT_STRANDED_PER_CENT;
        letter = *found;
    }
    if (conversion.plain) return UT_MESSAGE_OK;
    // Whatever stands before these two is too much, be it a valid specifier or not.
    if (letter == '%') return UT_NON_TRIVIAL_PER_CENT;
    if (letter == 'U') return UT_INVALID_PERCENT_U;
    if (stranded) return UT_STRANDED_PER_CENT;
    return letter == 's' ? UT_NON_TRIVIAL_S : UT_MESSAGE_OK;
}

}  // namespace

int32_t check_english_text(const char* text, uint32_t& holes) {
    holes = 0;
    if (text == nullptr) return UT_MESSAGE_OK;
    for (const char* p = std::strchr(text, '%'); p != nullptr; p = std::strchr(p, '%')) {
        const Conversion conversion = parse_conversion(p);
        const int32_t status = check_conversion(p, conversion);
        if (status != UT_MESSAGE_OK) return status;
        if (conversion.letter != '%') ++holes;
        p = conversion.end;
    }
    return UT_MESSAGE_OK;
}

uint32_t parse_hole_number(const char*& p) {
    uint32_t number = 0;
    for (; is_digit(*p); ++p)
        number = number > 0xFFFFFFFu ? number : number * 10 + static_cast<uint32_t>(*p - '0');
    return number;
}

int32_t check_translated_text(const char* text, uint32_t holes) {
    if (text == nullptr) return UT_MESSAGE_OK;
    // A set of 64 holes is looked at in each pass: any number of holes needs no memory.
    for (uint32_t first = 1; first == 1 || first <= holes; first += 64) {
        uint64_t seen = 0;
        for (const char* p = std::strchr(text, '%'); p != nullptr; p = std::strchr(p, '%')) {
            ++p;
            if (*p == '%') {
                ++p;
                continue;
            }
            if (!is_digit(*p)) return UT_ILLEGAL_PER_CENT;
            const uint32_t hole = parse_hole_number(p);
            if (hole == 0 || hole > holes) return UT_HOLE_NOT_PRESENT;
            if (hole < first || hole - first >= 64) continue;
            const uint64_t bit = uint64_t{1} << (hole - first);
            if ((seen & bit) != 0) return UT_DUPLICATE_REFERENCE;
            seen |= bit;
        }
        const uint32_t expected = holes >= first ? holes - first + 1 : 0;
        const uint64_t all = expected >= 64 ? ~uint64_t{0} : (uint64_t{1} << expected) - 1;
        if (seen != all) return UT_OMITTED_HOLE;
    }
    return UT_MESSAGE_OK;
}

}  // namespace qxut
