// output.h - standard output in large pieces, and whether it takes colours.
#ifndef QXRE_OUTPUT_H
#define QXRE_OUTPUT_H

#include <string>
#include <string_view>

namespace qxre {

enum class When { automatic, always, never };

// Whether to print colours: automatic is on a terminal that has them.
bool wants_colours(When when);

class Output {
  public:
    // Where the next piece is appended to; call flush_if_full after each line.
    std::string& text() { return text_; }
    void flush_if_full() {
        if (text_.size() >= kPiece) flush();
    }
    // Throws std::runtime_error when standard output cannot be written.
    void flush();

  private:
    static constexpr size_t kPiece = 65536;
    std::string text_;
};

}  // namespace qxre

#endif
