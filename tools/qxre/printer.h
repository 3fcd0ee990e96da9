// printer.h - what `qxre find` prints: lines as grep prints them, or JSON.
//
// A printer is told of a file's text in order: lines that are not printed, then one that is.
#ifndef QXRE_PRINTER_H
#define QXRE_PRINTER_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "output.h"
#include "search.h"

namespace qxre {

class Printer {
  public:
    Printer() = default;
    Printer(const Printer&) = delete;
    Printer& operator=(const Printer&) = delete;
    virtual ~Printer() = default;

    virtual void begin_file(const std::string& name) = 0;
    // Whole lines, with their ends, that are not to be printed for themselves.
    virtual void skip(std::u16string_view lines) = 0;
    // A line without its end, and the matches in it if they are wanted. Where whole files are
    // searched and matches printed instead of lines, it may be several lines.
    virtual void line(std::u16string_view line, const std::vector<Match>& matches) = 0;
    // Whether the matches in a line are wanted.
    virtual bool wants_matches() const = 0;
};

struct LineStyle {
    bool names = false;
    bool numbers = false;
    bool only = false;  // the matches instead of their lines
    bool colours = false;
    size_t before = 0;  // lines of context
    size_t after = 0;
};

class LinePrinter : public Printer {
  public:
    LinePrinter(Output& output, const LineStyle& style) : output_(output), style_(style) {}
    void begin_file(const std::string& name) override;
    void skip(std::u16string_view lines) override;
    void line(std::u16string_view line, const std::vector<Match>& matches) override;
    bool wants_matches() const override { return style_.only || style_.colours; }

  private:
    void prefix(char separator, uint64_t number);
    void coloured(const char* colour, std::string_view text);
    void context_line(std::u16string_view line, uint64_t number);
    void keep(std::u16string_view lines);

    struct Kept {
        std::string text;
        uint64_t number;
    };

    Output& output_;
    LineStyle style_;
    std::string name_;
    uint64_t number_ = 1;        // of the next line
    uint64_t last_printed_ = 0;  // number; 0: none in this file
    size_t after_left_ = 0;
    bool has_printed_ = false;  // in any file
    std::deque<Kept> kept_;     // the last lines that were skipped, for the context
};

}  // namespace qxre

#endif
