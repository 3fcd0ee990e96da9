// printer.cpp - see printer.h. Tested by tests/tools/qxre_test.py, some of it against grep.
#include "printer.h"

#include "lines.h"
#include "unicode.h"

namespace qxre {
namespace {

constexpr const char* kMatch = "\033[01;31m";
constexpr const char* kName = "\033[35m";
constexpr const char* kNumber = "\033[32m";
constexpr const char* kSeparator = "\033[36m";
constexpr const char* kPlain = "\033[m";

}  // namespace

void LinePrinter::begin_file(const std::string& name) {
    name_ = name;
    number_ = 1;
    last_printed_ = 0;
    after_left_ = 0;
    kept_.clear();
}

void LinePrinter::coloured(const char* colour, std::string_view text) {
    std::string& out = output_.text();
    if (style_.colours) out += colour;
    out += text;
    if (style_.colours) out += kPlain;
}

void LinePrinter::prefix(char separator, uint64_t number) {
    const std::string_view mark(&separator, 1);
    if (style_.names) {
        coloured(kName, name_);
        coloured(kSeparator, mark);
    }
    if (style_.numbers) {
        coloured(kNumber, std::to_string(number));
        coloured(kSeparator, mark);
    }
}

void LinePrinter::context_line(std::u16string_view line, uint64_t number) {
    prefix('-', number);
    append_utf8(output_.text(), line);
    output_.text() += '\n';
    output_.flush_if_full();
    last_printed_ = number;
}

// The last lines of a run, as many as the context may want.
void LinePrinter::keep(std::u16string_view lines) {
    size_t begin = lines.size();
    size_t count = 0;
    for (; count < style_.before && begin > 0; ++count) begin = line_begin(lines, begin - 1);
    uint64_t number = number_ - count;
    while (begin < lines.size()) {
        const Line line = line_at(lines, begin);
        kept_.push_back({to_utf8(lines.substr(line.begin, line.end - line.begin)), number++});
        if (kept_.size() > style_.before) kept_.pop_front();
        begin = line.next;
    }
}

void LinePrinter::skip(std::u16string_view lines) {
    if (style_.only) {
        if (style_.numbers) number_ += count_lines(lines);
        return;
    }
    size_t begin = 0;
    for (; after_left_ > 0 && begin < lines.size(); --after_left_) {
        const Line line = line_at(lines, begin);
        context_line(lines.substr(line.begin, line.end - line.begin), number_++);
        begin = line.next;
    }
    lines.remove_prefix(begin);
    if (lines.empty()) return;
    if (style_.numbers || style_.before > 0 || style_.after > 0) number_ += count_lines(lines);
    if (style_.before > 0) keep(lines);
}

void LinePrinter::line(std::u16string_view line, const std::vector<Match>& matches) {
    std::string& out = output_.text();
    if (style_.only) {
        for (const Match& match : matches) {
            if (match.start() == match.end()) continue;
            const std::u16string_view before = line.substr(0, match.start());
            prefix(':', number_ + (style_.numbers ? count_newlines(before) : 0));
            coloured(kMatch, to_utf8(line.substr(match.start(), match.end() - match.start())));
            out += '\n';
            output_.flush_if_full();
        }
        if (style_.numbers) number_ += line.empty() ? 1 : count_lines(line);
        return;
    }
    const uint64_t first = kept_.empty() ? number_ : kept_.front().number;
    if ((style_.before > 0 || style_.after > 0) && has_printed_ &&
        (last_printed_ == 0 || first > last_printed_ + 1)) {
        coloured(kSeparator, "--");
        out += '\n';
    }
    for (const Kept& kept : kept_) {
        prefix('-', kept.number);
        out += kept.text;
        out += '\n';
    }
    kept_.clear();
    prefix(':', number_);
    size_t done = 0;
    if (style_.colours) {
        for (const Match& match : matches) {
            if (match.start() == match.end()) continue;
            append_utf8(out, line.substr(done, match.start() - done));
            coloured(kMatch, to_utf8(line.substr(match.start(), match.end() - match.start())));
            done = match.end();
        }
    }
    append_utf8(out, line.substr(done));
    out += '\n';
    output_.flush_if_full();
    last_printed_ = number_++;
    has_printed_ = true;
    after_left_ = style_.after;
}

}  // namespace qxre
