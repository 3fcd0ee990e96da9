// source.h - statements, one a line, from a file, from standard input or from a text.
#ifndef CONSOLE_SOURCE_H
#define CONSOLE_SOURCE_H

#include <qxut/util/bstream.h>
#include <qxut/util/dsbuffer.h>

#include "text_file.h"

namespace console {

class Source {
  public:
    static constexpr int kLongestLine = 1024 * 1024;  // bytes

    // A file may be in any encoding that is recognised, and is closed by clear; standard input is
    // taken as UTF-8. The name is for messages. Names and
    // texts outlive the source.
    void open_file(const char* path, const char* name);  // raises FILE_NOT_FOUND, FILE_UNREADABLE
    void open_input(bool interactive);
    void open_text(const char* text, const char* name);
    void clear();

    // Reads the next line, without its end but with a NUL, into the buffer; false when there is
    // none. Raises LINE_TOO_LONG and OUT_OF_MEMORY; the next call then goes on with the next line.
    bool read_line(ut_dsbuffer* line);

    const char* name() const { return name_; }
    int line() const { return line_; }  // number of the line read last
    bool interactive() const { return interactive_; }

  private:
    int next_byte();

    const char* name_ = nullptr;
    enum class Origin { file, input, text };
    Origin origin_ = Origin::text;
    TextFile file_;
    char block_[4096]{};  // of the file
    ut_bstream text_{};   // the given text, or what of the block was not taken yet
    int line_ = 0;
    bool interactive_ = false;
    bool has_ended_ = false;    // by an error of the file
    bool inside_line_ = false;  // an error was raised before the end of the line
};

}  // namespace console

#endif
