// text_input.h - a file as UTF-16, in blocks of whole lines.
//
// Reading takes what the file has to give, up to the last newline in it; the rest waits for the
// next block. So memory is a block's, or that of the longest line. A line's bytes and its text are
// both at hand: lines are cut where the encoding's newline stands in the bytes.
#ifndef QXRE_TEXT_INPUT_H
#define QXRE_TEXT_INPUT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <qxut/i18n/conversion_stream.hpp>

#include "buffer.h"

namespace qxre {

// Whole lines, the last one of a file perhaps without its end. Valid until the next read.
struct Block {
    std::u16string_view text;
    std::string_view bytes;
    bool may_have_returns = true;  // false: no U+000D is in the text
};

class TextInput {
  public:
    // "-" is standard input. An empty encoding: it is recognised by the first bytes. Throws
    // std::runtime_error, here and below, with a text that names the file;
    // InvalidCharacterSetException for an encoding that is not known.
    TextInput(const std::string& name, const std::string& encoding);
    ~TextInput();
    TextInput(const TextInput&) = delete;
    TextInput& operator=(const TextInput&) = delete;

    // False: there is no more.
    bool read(Block& block);
    // All that is left as one block.
    void read_whole(Block& block);

    const std::string& name() const { return name_; }
    // As converters take it; what is not recognised counts as ISO-8859-1.
    const std::string& encoding() const { return encoding_; }
    // The bytes of a newline, as many as a code unit has.
    const std::string& newline() const { return newline_; }
    // The byte-order mark, which is in no block.
    const std::string& mark() const { return mark_; }
    // Whether the first bytes are those of no text.
    bool is_binary() const { return is_binary_; }

  private:
    [[noreturn]] void fail() const;
    void recognise(const std::string& encoding);
    size_t more();
    size_t last_line_end(size_t from) const;
    void convert(size_t size, bool last);

    std::string name_;
    int file_ = -1;
    bool has_ended_ = false;
    Buffer<char> bytes_;
    size_t size_ = 0;   // bytes read
    size_t taken_ = 0;  // bytes that were in blocks
    Buffer<char16_t> units_;
    size_t unit_count_ = 0;
    std::string encoding_;
    std::string mark_;
    std::string newline_;
    bool is_binary_ = false;
    std::optional<Quorvanix::I18N::ConversionStream> stream_;  // empty: UTF-8
};

}  // namespace qxre

#endif
