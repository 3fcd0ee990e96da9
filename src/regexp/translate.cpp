// translate.cpp - texts made fit for patterns.
//
// Each translation means a replacement of all matches of a set of characters: the sets are small,
// so they are tested for directly, the growth is counted first, and the text is spread from its end
// within the buffer. Invariant of the spreading: the units still to be read end at or before the
// ones already written. Entry point: RE_Translate. Tested by tests/regexp/translate_test.cpp, which
// compares with the replacements.
#include <qxut/regexp/translate.hpp>

#include <cstdint>
#include <cstring>

#include <qxut/i18n/classification.h>

#include "regexp/buffer.h"
#include "regexp/narrow_result.h"
#include "regexp/narrow_text.h"

namespace {

using qxut::regexp::NarrowText;
using qxut::regexp::Vector;

// What becomes of a character: itself, itself behind a backslash, `.` or `.*`.
enum class Change : uint8_t { none, escaped, dot, dots };

struct Changes {
    Change of[128] = {};
};

constexpr Changes kEscape = [] {
    Changes changes;
    for (const char c :
         {'$', '^', '.', '\\', '*', '+', '[', ']', '(', ')', '{', '}', '?', '|', '-'}) {
        changes.of[static_cast<unsigned char>(c)] = Change::escaped;
    }
    return changes;
}();

constexpr Changes kWildcard = [] {
    Changes changes = kEscape;
    changes.of[u'*'] = Change::dots;
    changes.of[u'?'] = Change::dot;
    return changes;
}();

Change change_of(const Changes& changes, char16_t unit) {
    return unit < 128 ? changes.of[unit] : Change::none;
}

size_t growth(const Changes& changes, const char16_t* text, size_t length) {
    size_t added = 0;
    for (size_t i = 0; i < length; ++i) {
        const Change change = change_of(changes, text[i]);
        added += change == Change::escaped || change == Change::dots ? 1 : 0;
    }
    return added;
}

// Spreads `length` units over the `new_length` of `target`, which may begin where `text` does.
void spread(const Changes& changes, const char16_t* text, size_t length, char16_t* target,
            size_t new_length) {
    size_t to = new_length;
    for (size_t from = length; from > 0;) {
        const char16_t unit = text[--from];
        switch (change_of(changes, unit)) {
            case Change::none:
                target[--to] = unit;
                break;
            case Change::escaped:
                target[--to] = unit;
                target[--to] = u'\\';
                break;
            case Change::dot:
                target[--to] = u'.';
                break;
            case Change::dots:
                target[--to] = u'*';
                target[--to] = u'.';
                break;
        }
    }
}

char16_t* translated(const Changes& changes, char16_t* buffer, size_t* length, size_t* capacity) {
    const size_t new_length = *length + growth(changes, buffer, *length);
    const size_t new_capacity =
        qxut::regexp::grown_capacity_by_units(*capacity, *length, new_length);
    if (new_capacity != *capacity) buffer = qxut::regexp::resized(buffer, new_capacity);
    spread(changes, buffer, *length, buffer, new_length);
    *length = new_length;
    *capacity = new_capacity;
    return buffer;
}

size_t length_of(const char* text, const size_t* length) {
    if (text == nullptr) return 0;
    return length != nullptr ? *length : std::strlen(text);
}

char* narrowed(const Vector<char16_t>& units, size_t* length) {
    size_t unused = 0;
    return qxut::regexp::narrowed(units.data(), units.size(), length != nullptr ? length : &unused);
}

char* translated(const Changes& changes, const char* text, size_t* length) {
    const NarrowText source(text, length_of(text, length));
    Vector<char16_t> units(source.length() + growth(changes, source.units(), source.length()));
    spread(changes, source.units(), source.length(), units.data(), units.size());
    return narrowed(units, length);
}

void make_spaces(char16_t* text, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        // Printable ASCII needs no look-up; no white space lies beyond the 16-bit units.
        if (text[i] > u' ' && text[i] < 0x7F) continue;
        if (text[i] == 0 || qxu_isspace(text[i]) != 0) text[i] = u' ';
    }
}

}  // namespace

char16_t* RE_Translate::escape(char16_t* buffer, size_t* length, size_t* capacity) {
    return translated(kEscape, buffer, length, capacity);
}
char* RE_Translate::escape(const char* text, size_t* length) {
    return translated(kEscape, text, length);
}

char16_t* RE_Translate::translateWildcard(char16_t* buffer, size_t* length, size_t* capacity) {
    return translated(kWildcard, buffer, length, capacity);
}
char* RE_Translate::translateWildcard(const char* text, size_t* length) {
    return translated(kWildcard, text, length);
}

char16_t* RE_Translate::makeWhitespaceSpaces(char16_t* buffer, size_t* length,
                                             size_t* /*capacity*/) {
    make_spaces(buffer, *length);
    return buffer;
}
char* RE_Translate::makeWhitespaceSpaces(const char* text, size_t* length) {
    const NarrowText source(text, length_of(text, length));
    Vector<char16_t> units(source.units(), source.units() + source.length());
    make_spaces(units.data(), units.size());
    return narrowed(units, length);
}
