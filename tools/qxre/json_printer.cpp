// json_printer.cpp - see json_printer.h. Tested by tests/tools/qxre_test.py (read back by a JSON
// parser).
#include "json_printer.h"

#include <cstdio>

#include "unicode.h"

namespace qxre {
namespace {

void append_quoted(std::string& target, std::u16string_view text) {
    target += '"';
    for (size_t i = 0; i < text.size();) {
        const size_t begin = i;
        const char32_t c = take_character(text, i);
        // A surrogate without its other half has no form in UTF-8, but has one here.
        const bool lone = c >= 0xD800 && c <= 0xDFFF;
        if (c == U'"' || c == U'\\') {
            target += '\\';
            target += static_cast<char>(c);
        } else if (c < 0x20 || c == 0x7F || lone) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04X", static_cast<unsigned>(c));
            target += escaped;
        } else {
            append_utf8(target, text.substr(begin, i - begin));
        }
    }
    target += '"';
}

}  // namespace

JsonPrinter::JsonPrinter(Output& output, const RE_Tree& tree, bool one_a_match)
    : output_(output), one_a_match_(one_a_match) {
    size_t count = 0;
    const char16_t** names = tree.treeNames(&count);
    token_names_.resize(count + 1);
    for (size_t i = 0; names != nullptr && i < count; ++i) {
        if (names[i] != nullptr) append_quoted(token_names_[i + 1], names[i]);
    }
}

void JsonPrinter::begin_file(const std::string& name) {
    name_.clear();
    append_quoted(name_, to_utf16(name));
    number_ = 1;
}

void JsonPrinter::skip(std::u16string_view lines) { number_ += count_lines(lines); }

void JsonPrinter::begin_object(uint64_t number) {
    output_.text() += "{\"file\":" + name_ + ",\"line\":" + std::to_string(number) + ",";
}

void JsonPrinter::add_extent(std::u16string_view line, const Span& span, size_t origin) {
    std::string& out = output_.text();
    out += "\"start\":" + std::to_string(span.start - origin) +
           ",\"end\":" + std::to_string(span.end - origin) + ",\"text\":";
    append_quoted(out, line.substr(span.start, span.end - span.start));
}

void JsonPrinter::add_match(std::u16string_view line, const Match& match) {
    std::string& out = output_.text();
    const size_t origin = line_begin(line, match.start());
    add_extent(line, match.tokens[0], origin);
    out += ",\"tokens\":[";
    for (size_t i = 1; i < match.tokens.size(); ++i) {
        if (i > 1) out += ',';
        if (!match.tokens[i].is_set) {
            out += "null";
            continue;
        }
        out += '{';
        if (!token_names_[i].empty()) out += "\"name\":" + token_names_[i] + ",";
        add_extent(line, match.tokens[i], origin);
        out += '}';
    }
    out += ']';
}

void JsonPrinter::line(std::u16string_view line, const std::vector<Match>& matches) {
    std::string& out = output_.text();
    if (one_a_match_) {
        for (const Match& match : matches) {
            begin_object(number_ + count_newlines(line.substr(0, match.start())));
            add_match(line, match);
            out += "}\n";
            output_.flush_if_full();
        }
    } else {
        begin_object(number_);
        out += "\"text\":";
        append_quoted(out, line);
        out += ",\"matches\":[";
        for (size_t i = 0; i < matches.size(); ++i) {
            out += i > 0 ? ",{" : "{";
            add_match(line, matches[i]);
            out += '}';
        }
        out += "]}\n";
    }
    output_.flush_if_full();
    number_ += line.empty() ? 1 : count_lines(line);
}

}  // namespace qxre
