// json_printer.h - `qxre find --json`: one object a line of output.
//
//     {"file":"a.txt","line":3,"text":"x=12","matches":[{"start":2,"end":4,"text":"12","tokens":[...]}]}
//
// With --only and with --whole one object a match: {"file":...,"line":3,"start":2,"end":4,...}.
// Starts and ends are UTF-16 units of the line in which the match begins. A token is null where it
// is not set, and has its name where it has one.
#ifndef QXRE_JSON_PRINTER_H
#define QXRE_JSON_PRINTER_H

#include "printer.h"

namespace qxre {

class JsonPrinter : public Printer {
  public:
    JsonPrinter(Output& output, const RE_Tree& tree, bool one_a_match);
    void begin_file(const std::string& name) override;
    void skip(std::u16string_view lines) override;
    void line(std::u16string_view line, const std::vector<Match>& matches) override;
    bool wants_matches() const override { return true; }

  private:
    void begin_object(uint64_t number);
    void add_extent(std::u16string_view line, const Span& span, size_t origin);
    void add_match(std::u16string_view line, const Match& match);

    Output& output_;
    std::vector<std::string> token_names_;  // quoted; empty: the token has none
    bool one_a_match_;
    std::string name_;  // quoted
    uint64_t number_ = 1;
};

}  // namespace qxre

#endif
