// diff.h - `qxre replace --dry-run`: what would change, as a unified diff without context.
#ifndef QXRE_DIFF_H
#define QXRE_DIFF_H

#include <cstdint>
#include <string>
#include <string_view>

#include "output.h"

namespace qxre {

class DiffPrinter {
  public:
    DiffPrinter(Output& output, bool colours) : output_(output), colours_(colours) {}
    void begin_file(const std::string& name);
    // Lines, with their ends, that stand at line `number` and what they become.
    void change(uint64_t number, std::u16string_view before, std::u16string_view after);

  private:
    void line(const char* colour, std::string_view text);
    void lines(const char* colour, char mark, std::u16string_view text);

    Output& output_;
    bool colours_;
    std::string name_;
    bool has_begun_ = false;
    uint64_t added_ = 0;  // lines so far; wraps where lines were taken away
};

}  // namespace qxre

#endif
