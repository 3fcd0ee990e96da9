// find.cpp - see find.h. A file is read block by block (text_input.h), the lines that are selected
// are counted, and a printer is told of them. Tested by tests/tools/qxre_test.py.
#include "find.h"

#include <cstdio>
#include <memory>
#include <stdexcept>

#include <qxut/system/throwable.hpp>

#include "json_printer.h"
#include "pattern.h"
#include "printer.h"
#include "search.h"
#include "text_input.h"

namespace qxre {
namespace {

bool wants_names(const FindOptions& options) {
    if (options.names != When::automatic) return options.names == When::always;
    return options.files.size() > 1;
}

std::unique_ptr<Printer> make_printer(const FindOptions& options, const RE_Tree& tree,
                                      Output& output) {
    if (options.count || options.list || options.quiet) return nullptr;
    if (options.json)
        return std::make_unique<JsonPrinter>(output, tree, options.only || options.whole);
    LineStyle style;
    style.names = wants_names(options);
    style.numbers = options.numbers;
    style.only = options.only;
    style.colours = wants_colours(options.colours);
    style.before = options.before;
    style.after = options.after;
    return std::make_unique<LinePrinter>(output, style);
}

class Finder {
  public:
    explicit Finder(const FindOptions& options)
        : options_(options),
          pattern_(options.pattern, options.flags),
          printer_(make_printer(options, pattern_.tree(), output_)) {}

    Status run();

  private:
    void search_file(const std::string& name);
    void search_lines(const Block& block);
    void search_whole(std::u16string_view text);
    bool next_line(LineSearch& search, std::u16string_view text, size_t& from, Line& line);
    void selected(std::u16string_view text, const Line& line);
    void unselected(std::u16string_view text, size_t begin, size_t end);
    void print_region(std::u16string_view text, size_t begin, size_t end,
                      std::vector<Match>& matches);
    void finish_file();
    void complain(const char* text);
    void show_warnings();
    // Whether the rest of the file cannot change what is printed.
    bool is_decided() const {
        return count_ > 0 && (options_.list || options_.quiet || is_binary_);
    }

    FindOptions options_;
    Pattern pattern_;
    Output output_;
    std::unique_ptr<Printer> printer_;
    size_t warnings_shown_ = 0;
    std::string name_;
    uint64_t count_ = 0;      // of this file: lines that were selected; matches of whole files
    uint64_t lines_ = 0;      // of this file: lines in front of the block
    bool is_binary_ = false;  // matches in this file are not printed
    bool has_found_ = false;
    bool has_failed_ = false;
};

// Output and errors may go to the same place: what was printed comes first.
void Finder::complain(const char* text) {
    output_.flush();
    std::fprintf(stderr, "qxre: %s\n", text);
    has_failed_ = true;
}

void Finder::show_warnings() {
    for (; warnings_shown_ < pattern_.warnings().size(); ++warnings_shown_) {
        const Remark& warning = pattern_.warnings()[warnings_shown_];
        std::fputs(show_remark(pattern_.text(), warning, "qxre: warning").c_str(), stderr);
    }
}

// As the search's own, but a line that reached a limit is told of and passed over.
bool Finder::next_line(LineSearch& search, std::u16string_view text, size_t& from, Line& line) {
    for (;;) {
        try {
            return search.find(from, line);
        } catch (const Quorvanix::System::UserException& problem) {
            const uint64_t number = lines_ + count_newlines(text.substr(0, from)) + 1;
            complain((name_ + ":" + std::to_string(number) + ": " + problem.what()).c_str());
            from = line_at(text, from).next;
        }
    }
}

void Finder::selected(std::u16string_view text, const Line& line) {
    ++count_;
    if (printer_ == nullptr || is_binary_) return;
    const std::u16string_view content = text.substr(line.begin, line.end - line.begin);
    std::vector<Match> matches;
    if (!options_.invert && printer_->wants_matches())
        matches = all_matches(pattern_.tree(), content);
    printer_->line(content, matches);
}

// Lines that do not match, or a line that does where those that do not are asked for.
void Finder::unselected(std::u16string_view text, size_t begin, size_t end) {
    if (printer_ != nullptr && !is_binary_ && begin < end)
        printer_->skip(text.substr(begin, end - begin));
}

void Finder::search_lines(const Block& block) {
    const std::u16string_view text = block.text;
    LineSearch search(pattern_.tree(), block);
    Line line{};
    for (size_t done = 0; done < text.size() && !is_decided(); done = line.next) {
        size_t from = done;
        if (!next_line(search, text, from, line)) line = {text.size(), text.size(), text.size()};
        if (!options_.invert) {
            unselected(text, done, line.begin);
            if (line.begin < line.next) selected(text, line);
            continue;
        }
        while (done < line.begin && !is_decided()) {
            const Line other = line_at(text, done);
            selected(text, other);
            done = other.next;
        }
        unselected(text, line.begin, line.next);
    }
}

// Prints the lines from `begin` to `end` with the matches in them, which are units of the text.
void Finder::print_region(std::u16string_view text, size_t begin, size_t end,
                          std::vector<Match>& matches) {
    if (matches.empty() || printer_ == nullptr || is_binary_) return;
    const auto shift = [](Match match, size_t by) {
        for (Span& span : match.tokens) {
            span.start -= by;
            span.end -= by;
        }
        return match;
    };
    if (options_.only || options_.json) {
        std::vector<Match> shifted;
        shifted.reserve(matches.size());
        for (const Match& match : matches) shifted.push_back(shift(match, begin));
        printer_->line(text.substr(begin, end - begin), shifted);
        return;
    }
    while (begin <= end) {
        const Line line = line_at(text.substr(0, end), begin);
        std::vector<Match> parts;
        for (const Match& match : matches) {
            const size_t start = std::max(match.start(), line.begin);
            const size_t stop = std::min(match.end(), line.end);
            if (start < stop) parts.push_back({{{start - line.begin, stop - line.begin, true}}});
        }
        printer_->line(text.substr(line.begin, line.end - line.begin), parts);
        if (line.next == line.end) break;
        begin = line.next;
    }
}

void Finder::search_whole(std::u16string_view text) {
    const std::vector<Match> matches = all_matches(pattern_.tree(), text);
    count_ = matches.size();
    size_t done = 0;
    // Matches whose lines overlap are printed together.
    for (size_t i = 0; i < matches.size();) {
        const size_t begin = line_begin(text, matches[i].start());
        Line last{};
        std::vector<Match> together;
        do {
            // The newline that a match ends with belongs to its last line.
            const bool ends_line =
                matches[i].end() > matches[i].start() && text[matches[i].end() - 1] == u'\n';
            const size_t end = matches[i].end() - (ends_line ? 1 : 0);
            last = line_at(text, line_begin(text, end));
            together.push_back(matches[i++]);
        } while (i < matches.size() && (matches[i].start() < last.next || last.next == last.end));
        unselected(text, done, begin);
        print_region(text, begin, options_.only || options_.json ? last.next : last.end, together);
        done = last.next;
    }
    unselected(text, done, text.size());
}

void Finder::finish_file() {
    has_found_ = has_found_ || count_ > 0;
    std::string& out = output_.text();
    if (options_.quiet) return;
    if (options_.list) {
        if (count_ > 0) out += name_ + "\n";
    } else if (options_.count) {
        if (wants_names(options_)) out += name_ + ":";
        out += std::to_string(count_) + "\n";
    } else if (is_binary_ && count_ > 0) {
        out += "Binary file " + name_ + " matches\n";
    }
    output_.flush_if_full();
}

void Finder::search_file(const std::string& name) {
    TextInput input(name, options_.encoding);
    name_ = input.name();
    count_ = 0;
    lines_ = 0;
    is_binary_ = printer_ != nullptr && input.is_binary() && !options_.as_text;
    if (printer_ != nullptr) printer_->begin_file(name_);
    Block block;
    if (options_.whole) {
        input.read_whole(block);
        search_whole(block.text);
    } else {
        while (!is_decided() && input.read(block)) {
            search_lines(block);
            show_warnings();
            output_.flush();
            lines_ +=
                input.newline() == "\n" ? count_newlines(block.bytes) : count_newlines(block.text);
        }
    }
    finish_file();
}

Status Finder::run() {
    show_warnings();
    for (const std::string& name : options_.files) {
        try {
            search_file(name);
        } catch (const Quorvanix::System::UserException& problem) {
            complain((name + ": " + problem.what()).c_str());
        } catch (const std::runtime_error& problem) {
            complain(problem.what());
        }
        show_warnings();
        if (options_.quiet && has_found_) return kFound;
    }
    output_.flush();
    if (has_failed_) return kTrouble;
    return has_found_ ? kFound : kNotFound;
}

}  // namespace

Status find(const FindOptions& options) { return Finder(options).run(); }

}  // namespace qxre
