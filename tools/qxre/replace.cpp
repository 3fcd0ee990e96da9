// replace.cpp - see replace.h. What does not change is copied as the bytes that it is; a line that
// changes is put back into the file's encoding, after a look that its bytes survived the way into
// UTF-16. A file that is rewritten in place is replaced when all of it was written, or not at all.
// Tested by tests/tools/qxre_test.py.
#include "replace.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

#include <qxut/util/interrupt.h>
#include <qxut/regexp/replace.hpp>
#include <qxut/system/throwable.hpp>

#include "diff.h"
#include "encoder.h"
#include "line_bytes.h"
#include "output_file.h"
#include "pattern.h"
#include "search.h"
#include "text_input.h"
#include "unicode.h"

namespace qxre {
namespace {

extern "C" void on_interrupt(int) { utSetInterruptPending(true); }

// Collects the result of a replacement.
class Rewritten : public RE_Replace_Writer {
  public:
    void clear() {
        text_.clear();
        places_.clear();
    }
    void write(const char16_t* text, size_t length) override { text_.append(text, length); }
    void replaced(const RE_Replacement& place) override { places_.push_back(place); }

    std::u16string_view text() const { return text_; }
    const std::vector<RE_Replacement>& places() const { return places_; }

  private:
    std::u16string text_;
    std::vector<RE_Replacement> places_;
};

class Replacer {
  public:
    explicit Replacer(const ReplaceOptions& options)
        : options_(options),
          pattern_(options.pattern, options.flags),
          template_text_(to_utf16(options.replacement)),
          template_context_(template_text_, false),
          template_(template_text_.data(), template_text_.size(), options.flags,
                    &template_context_),
          diff_(output_, wants_colours(options.colours)) {}

    Status run();

  private:
    void replace_file(const std::string& name);
    void replace_lines(const Block& block);
    void replace_whole(const Block& block);
    void rewrite(std::string_view bytes, std::u16string_view text, std::u16string_view line_end);
    void build(std::u16string_view text);
    void show_whole(std::u16string_view text);
    void write(std::string_view bytes);
    [[noreturn]] void refuse(const std::string& why) const;
    void complain(const std::string& text);
    void show_warnings();

    ReplaceOptions options_;
    Pattern pattern_;
    std::u16string template_text_;
    Context template_context_;
    RE_Replace template_;
    Output output_;
    DiffPrinter diff_;
    size_t warnings_shown_ = 0;
    bool has_replaced_ = false;
    bool has_failed_ = false;

    // Of the file that is being worked on.
    std::string name_;
    std::string newline_;
    std::optional<Encoder> encoder_;
    std::unique_ptr<tools::OutputFile> target_;  // in place only
    uint64_t line_ = 0;                          // number of the line that is being rewritten
    bool has_changed_ = false;
    Rewritten result_;
    std::string bytes_;
};

void Replacer::complain(const std::string& text) {
    output_.flush();
    std::fprintf(stderr, "qxre: %s\n", text.c_str());
    has_failed_ = true;
}

void Replacer::refuse(const std::string& why) const {
    throw std::runtime_error(name_ + ":" + std::to_string(line_) + ": " + why);
}

void Replacer::show_warnings() {
    for (; warnings_shown_ < pattern_.warnings().size(); ++warnings_shown_) {
        const Remark& warning = pattern_.warnings()[warnings_shown_];
        std::fputs(show_remark(pattern_.text(), warning, "qxre: warning").c_str(), stderr);
    }
}

void Replacer::write(std::string_view bytes) {
    if (options_.dry_run) return;
    if (target_ != nullptr) return target_->write(bytes.data(), bytes.size());
    output_.text() += bytes;
    output_.flush_if_full();
}

void Replacer::build(std::u16string_view text) {
    result_.clear();
    template_.stream(text.data(), text.size(), pattern_.tree(), options_.first, nullptr, result_);
}

// Writes what becomes of a text, whose bytes are given.
void Replacer::rewrite(std::string_view bytes, std::u16string_view text,
                       std::u16string_view line_end) {
    build(text);
    if (result_.places().empty()) return write(bytes);
    const std::u16string before = std::u16string(text).append(line_end);
    if (!encoder_->is_exact(bytes, before)) refuse("ill-formed bytes in a text to rewrite");
    has_changed_ = true;
    result_.write(line_end.data(), line_end.size());
    char32_t missing = 0;
    bytes_.clear();
    if (!encoder_->append(bytes_, result_.text(), missing)) {
        char character[16];
        std::snprintf(character, sizeof character, "U+%04X", static_cast<unsigned>(missing));
        refuse(std::string(character) + " does not exist in the file's encoding");
    }
    write(bytes_);
    if (!options_.dry_run) return;
    if (options_.whole) return show_whole(before);
    diff_.change(line_, before, result_.text());
}

// Shows the lines that a replacement lies in, together with the next ones that overlap with them.
void Replacer::show_whole(std::u16string_view text) {
    const std::vector<RE_Replacement>& places = result_.places();
    uint64_t number = 1;
    size_t counted = 0;
    for (size_t i = 0; i < places.size(); ++i) {
        const RE_Replacement& first = places[i];
        const auto end_of = [text](const RE_Replacement& place) {
            return line_at(text, line_begin(text, place.end)).next;
        };
        const size_t begin = line_begin(text, first.start);
        size_t end = end_of(first);
        while (i + 1 < places.size() && (places[i + 1].start < end || end == text.size()))
            end = end_of(places[++i]);
        const size_t result_begin = first.result_start - (first.start - begin);
        const size_t result_end = places[i].result_end + (end - places[i].end);
        number += count_newlines(text.substr(counted, begin - counted));
        counted = begin;
        diff_.change(number, text.substr(begin, end - begin),
                     result_.text().substr(result_begin, result_end - result_begin));
    }
}

void Replacer::replace_lines(const Block& block) {
    LineBytes bytes(block.bytes, newline_);
    const std::u16string_view text = block.text;
    LineSearch search(pattern_.tree(), block);
    size_t done = 0;
    for (size_t from = 0; from < text.size();) {
        Line line{};
        try {
            if (!search.find(from, line)) break;
        } catch (...) {
            line_ += count_newlines(text.substr(done, from - done)) + 1;
            throw;
        }
        const uint64_t unchanged = count_newlines(text.substr(done, line.begin - done));
        write(bytes.take(unchanged));
        line_ += unchanged + 1;
        rewrite(bytes.take(1), text.substr(line.begin, line.end - line.begin),
                text.substr(line.end, line.next - line.end));
        done = from = line.next;
    }
    line_ += count_newlines(text.substr(done));
    write(bytes.rest());
}

void Replacer::replace_whole(const Block& block) {
    line_ = 1;
    rewrite(block.bytes, block.text, {});
}

void Replacer::replace_file(const std::string& name) {
    TextInput input(name, options_.encoding);
    name_ = input.name();
    newline_ = input.newline();
    encoder_.emplace(input.encoding());
    line_ = 0;
    has_changed_ = false;
    diff_.begin_file(name_);
    if (options_.in_place) {
        if (!std::filesystem::is_regular_file(name))
            throw std::runtime_error(name_ + ": not a file that can be rewritten in place");
        if (!options_.dry_run) target_ = std::make_unique<tools::OutputFile>(name, "qxre");
    }
    write(input.mark());
    Block block;
    if (options_.whole) {
        input.read_whole(block);
        replace_whole(block);
    } else {
        while (input.read(block)) {
            if (utTakeInterrupt()) throw Quorvanix::System::InterruptException("interrupted");
            replace_lines(block);
            show_warnings();
            if (target_ == nullptr) output_.flush();
        }
    }
    if (target_ != nullptr && has_changed_) target_->commit();
    has_replaced_ = has_replaced_ || has_changed_;
}

Status Replacer::run() {
    std::signal(SIGINT, on_interrupt);
    show_warnings();
    for (const Remark& warning : template_context_.warnings())
        std::fputs(show_remark(template_text_, warning, "qxre: warning").c_str(), stderr);
    for (const std::string& name : options_.files) {
        try {
            replace_file(name);
        } catch (const Quorvanix::System::UserException& problem) {
            const std::string place = line_ > 0 ? ":" + std::to_string(line_) : "";
            complain(name + place + ": " + problem.what());
        } catch (const std::runtime_error& problem) {
            complain(problem.what());
        }
        target_.reset();
    }
    output_.flush();
    if (has_failed_) return kTrouble;
    return has_replaced_ ? kFound : kNotFound;
}

}  // namespace

Status replace(const ReplaceOptions& options) { return Replacer(options).run(); }

}  // namespace qxre
