// analysis_text.cpp - what the analysis found out, for people.
//
//     shortest match: 4 characters
//     begins with: a run of [a-z]
//     landmark: "ing", 1 or more characters from the start
//     starts: before the landmark, over [a-z]
#include <cstdio>

#include "regexp/analysis.h"

namespace qxut::regexp {
namespace {

void append_utf8(std::string& text, char32_t c) {
    const auto byte = [&](char32_t value) { text += static_cast<char>(value); };
    const bool is_printable = c >= 0x20 && c != 0x7F && (c < 0x80 || c > 0xA0) &&
                              (c < 0xD800 || c > 0xF8FF) && c != U'"' && c != U'\\';
    if (!is_printable) {
        char code[16];
        std::snprintf(code, sizeof(code), "\\x{%X}", static_cast<unsigned>(c));
        text += code;
    } else if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xC0 | c >> 6);
        byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        byte(0xE0 | c >> 12);
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    } else {
        byte(0xF0 | c >> 18);
        byte(0x80 | (c >> 12 & 0x3F));
        byte(0x80 | (c >> 6 & 0x3F));
        byte(0x80 | (c & 0x3F));
    }
}

void append_range(std::string& text, char32_t first, char32_t last) {
    append_utf8(text, first);
    if (last == first) return;
    if (last > first + 1) text += '-';
    append_utf8(text, last);
}

std::string text_of(const CharacterSet& set) {
    constexpr size_t kMostRanges = 12;
    std::string text = "[";
    size_t count = 0;
    for (char32_t c = 0; c < CharacterSet::kLowEnd; ++c) {
        if (!set.contains(c)) continue;
        char32_t last = c;
        while (last + 1 < CharacterSet::kLowEnd && set.contains(last + 1)) ++last;
        if (++count > kMostRanges) break;
        append_range(text, c, last);
        c = last;
    }
    if (set.is_negated() || set.classes() != 0) {
        text += "] and others above U+00FF";
        return text;
    }
    for (const CharacterSet::Range& range : set.ranges()) {
        if (++count > kMostRanges) break;
        append_range(text, range.first, range.last);
    }
    if (count > kMostRanges) text += " ...";
    return text + ']';
}

void append_units(std::string& text, const UnitVariants* units, size_t count) {
    text += '"';
    for (size_t i = 0; i < count; ++i) {
        const char32_t unit = units[i].units[0];
        const bool is_pair = (unit & 0xFC00) == 0xD800 && i + 1 < count &&
                             (units[i + 1].units[0] & 0xFC00) == 0xDC00;
        if (is_pair) {
            append_utf8(text, ((unit - 0xD800) << 10) + (units[++i].units[0] - 0xDC00U) + 0x10000);
        } else if (units[i].is_one()) {
            append_utf8(text, unit);
        } else {
            text += '[';
            for (int v = 0; v < 4; ++v) {
                if (v == 0 || units[i].units[v] != units[i].units[v - 1])
                    append_utf8(text, units[i].units[v]);
            }
            text += ']';
        }
    }
    text += '"';
}

std::string text_of(const Landmark& landmark) {
    std::string text;
    if (landmark.is_set) {
        text = text_of(landmark.set);
    } else {
        append_units(text, landmark.units.data(), landmark.units.size());
    }
    const std::string least = std::to_string(landmark.min_before);
    if (landmark.behind != 0) {
        text += " in front of character " + least;
    } else if (landmark.max_before == kNoLimit) {
        text += ", " + least + " or more characters from the start";
    } else if (landmark.max_before != landmark.min_before) {
        text += ", " + least + " to " + std::to_string(landmark.max_before) +
                " characters from the start";
    } else if (landmark.min_before != 0) {
        text += ", " + least + " characters from the start";
    }
    return text;
}

std::string way_of(const StartSearch& starts) {
    using Way = StartSearch::Way;
    switch (starts.way) {
        case Way::everywhere:
            return "every position";
        case Way::nowhere:
            return "none, nothing matches";
        case Way::text_start:
            return "the start of the text";
        case Way::line_start:
            return "starts of lines";
        case Way::landmark: {
            std::string text = "at the landmark " + text_of(starts.landmark);
            if (starts.landmark.max_before != 0)
                text += ", back over " + text_of(starts.landmark.before);
            return text;
        }
        case Way::words: {
            std::string text = "at one of";
            for (const WordSearch::Word& word : starts.word_list) {
                text += ' ';
                append_units(text, word.units, word.length);
            }
            return text;
        }
        case Way::first_set:
            return "at a character that a match begins with";
        case Way::doubled:
            return "at a character that stands there twice";
    }
    return {};
}

}  // namespace

std::string describe(const StartSearch& starts) {
    std::string text;
    const auto line = [&](const char* what, const std::string& value) {
        text += what;
        text += ": ";
        text += value;
        text += '\n';
    };
    if (starts.way != StartSearch::Way::nowhere)
        line("shortest match", std::to_string(starts.min_length) +
                                   (starts.min_length == 1 ? " character" : " characters"));
    if (starts.begins_text) line("anchor", "start of the text");
    if (starts.begins_line) line("anchor", "start of a line");
    if (starts.has_first) line("begins with", text_of(starts.first));
    if (starts.begins_with_run)
        line("begins with a run",
             "where no match starts in its first character, none starts in it");
    if (starts.required.exists) line("required", text_of(starts.required));
    line("starts searched", way_of(starts));
    if (starts.whole != StartSearch::Whole::unknown)
        line("match", starts.whole == StartSearch::Whole::run ? "the run" : "the landmark");
    return text;
}

}  // namespace qxut::regexp
