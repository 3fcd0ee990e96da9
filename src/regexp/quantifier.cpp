// quantifier.cpp - the reader of quantifiers.
//
// Its compilation is repeat.cpp. Tested by tests/regexp/parser_test.cpp.
#include "regexp/quantifier.h"

#include <qxut/i18n/classification.h>

namespace qxut::regexp {
namespace {

// The inside of braces, read from left to right.
struct Inside {
    const Source& source;
    size_t at;
    size_t end;
    bool free_spacing;

    void skip_white_space() {
        while (free_spacing && at < end) {
            size_t after = at;
            if (qxu_isspace(static_cast<int32_t>(read_character(source.text, after, end))) == 0) {
                break;
            }
            at = after;
        }
    }
    // False where no digit stands, and for a number that does not fit.
    bool read_number(size_t& number) {
        skip_white_space();
        const size_t begin = at;
        bool fits = true;
        number = 0;
        for (; at < end && source.text[at] >= u'0' && source.text[at] <= u'9'; ++at) {
            const size_t digit = source.text[at] - size_t{u'0'};
            fits = fits && number <= (kUnbounded - 1 - digit) / 10;
            if (fits) number = number * 10 + digit;
        }
        const bool is_number = at > begin && fits;
        skip_white_space();
        return is_number;
    }
    bool read_comma() {
        const bool is_comma = at < end && source.text[at] == u',';
        at += is_comma ? 1 : 0;
        skip_white_space();
        return is_comma;
    }
};

bool read_bounds(Inside inside, Quantifier& result) {
    if (!inside.read_number(result.min)) return false;
    result.max = result.min;
    if (inside.read_comma()) {
        result.max = kUnbounded;
        if (inside.at < inside.end && !inside.read_number(result.max)) return false;
    }
    return inside.at == inside.end && result.min <= result.max;
}

}  // namespace

bool read_quantifier(const Source& source, NextBrace& braces, size_t& position, size_t end,
                     bool free_spacing, Quantifier& result) {
    const size_t at = free_spacing ? skip_free_spacing(source, position, end) : position;
    if (at >= end) return false;
    result = Quantifier{};
    result.position = at;
    size_t after = at + 1;
    switch (source.text[at]) {
        case u'*':
            result.min = 0;
            result.max = kUnbounded;
            break;
        case u'+':
            result.max = kUnbounded;
            break;
        case u'?':
            result.min = 0;
            break;
        case u'{': {
            const size_t closer = braces.find(source, at);
            if (closer >= end) {
                source.warn(at, "Unmatched '{'.");
                return false;
            }
            if (!read_bounds({source, after, closer, free_spacing}, result)) {
                source.warn(at, "Invalid pattern for '{}' quantifier specified.");
                return false;
            }
            after = closer + 1;
            break;
        }
        default:
            return false;
    }
    if (after < end && source.text[after] == u'+') {
        result.is_possessive = true;
        ++after;
    } else if (after < end && source.text[after] == u'?') {
        result.is_lazy = result.min != result.max;
        ++after;
    }
    position = after;
    return true;
}

}  // namespace qxut::regexp
