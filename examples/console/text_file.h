// text_file.h - a file as UTF-8 text, whatever encoding it is in.
//
// The first bytes tell the encoding (Quorvanix::I18N::recognize). A file in UTF-8, or in nothing
// that is recognised, is passed on as it is; another is converted block by block, in constant
// memory.
#ifndef CONSOLE_TEXT_FILE_H
#define CONSOLE_TEXT_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>

#include <qxut/i18n/conversion_stream.hpp>
#include <qxut/i18n/recognition.hpp>

namespace console {

class TextFile {
  public:
    // Raises FILE_NOT_FOUND, FILE_UNREADABLE, OUT_OF_MEMORY. The path outlives the file.
    void open(const char* path);
    // Closes the file and frees the block.
    void clear();

    // Puts at most `capacity` bytes of text, and at least one; 0 at the end. Raises
    // FILE_UNREADABLE. A few bytes of capacity must be given.
    size_t read(char* text, size_t capacity);

    uint64_t size() const { return size_; }  // bytes of the file; 0: unknown, a pipe
    const Quorvanix::I18N::Recognition& encoding() const { return encoding_; }

  private:
    void fill();

    const char* path_ = nullptr;
    std::FILE* file_ = nullptr;
    uint64_t size_ = 0;
    char* block_ = nullptr;
    const char* next_ = nullptr;  // what of the block was not passed on yet
    const char* end_ = nullptr;
    bool is_last_ = false;  // the file ends with this block
    Quorvanix::I18N::Recognition encoding_;
    std::optional<Quorvanix::I18N::ConversionStream> converter_;  // none: the file is UTF-8
};

}  // namespace console

#endif
