// text_input.cpp - see text_input.h. UTF-8 goes through the library's counted conversion, a block
// at once; everything else through a stream. Tested by tests/tools/qxre_test.py (encodings, long
// lines, bounded memory).
#include "text_input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <qxut/i18n/recognition.hpp>

#include "unicode.h"

namespace qxre {
namespace {

using Quorvanix::I18N::ConversionStream;
using Quorvanix::I18N::Recognition;

constexpr size_t kBlock = size_t{128} * 1024;

bool begins_with(const std::string& text, const char* prefix) {
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

// The bytes of a newline in an encoding, as many as its code unit has.
std::string newline_of(const std::string& encoding) {
    if (begins_with(encoding, "UTF-16LE")) return std::string("\n\0", 2);
    if (begins_with(encoding, "UTF-16")) return std::string("\0\n", 2);
    if (begins_with(encoding, "UTF-32LE")) return std::string("\n\0\0\0", 4);
    if (begins_with(encoding, "UTF-32")) return std::string("\0\0\0\n", 4);
    char bytes[16];
    const Quorvanix::I18N::ConversionStream::Step step =
        ConversionStream(ConversionStream::kUtf16Units, encoding.c_str())
            .convert(reinterpret_cast<const char*>(u"\n"), 2, true, bytes, sizeof bytes);
    return step.written == 1 ? std::string(bytes, 1) : "\n";
}

}  // namespace

TextInput::TextInput(const std::string& name, const std::string& encoding)
    : name_(name == "-" ? "(standard input)" : name) {
    file_ = name == "-" ? STDIN_FILENO : open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file_ < 0) fail();
    try {
        recognise(encoding);
    } catch (...) {
        if (file_ != STDIN_FILENO) close(file_);
        throw;
    }
}

TextInput::~TextInput() {
    if (file_ != STDIN_FILENO) close(file_);
}

void TextInput::fail() const { throw std::runtime_error(name_ + ": " + std::strerror(errno)); }

// Reads once, behind what is there; 0 at the end of the file.
size_t TextInput::more() {
    if (has_ended_) return 0;
    if (size_ == bytes_.capacity()) bytes_.reserve(size_ + kBlock, size_);
    ssize_t count = -1;
    do {
        count = ::read(file_, bytes_.data() + size_, bytes_.capacity() - size_);
    } while (count < 0 && errno == EINTR);
    if (count < 0) fail();
    has_ended_ = count == 0;
    size_ += static_cast<size_t>(count);
    return static_cast<size_t>(count);
}

void TextInput::recognise(const std::string& encoding) {
    // What a terminal or a pipe gives line by line is not waited for beyond its first line.
    while (size_ < Quorvanix::I18N::kRecognitionSize && more() > 0) {
        if (lseek(file_, 0, SEEK_CUR) < 0 && std::memchr(bytes_.data(), '\n', size_) != nullptr)
            break;
    }
    const Recognition found = Quorvanix::I18N::recognize(bytes_.data(), size_, has_ended_);
    encoding_ = encoding.empty() ? found.name : encoding;
    if (encoding_.empty()) {
        encoding_ = "ISO-8859-1";
        is_binary_ = true;
    }
    // The forms whose byte order a mark tells.
    if (encoding_ == "UTF-16" || encoding_ == "UTF-32")
        encoding_ = begins_with(found.name, encoding_.c_str()) ? found.name : encoding_ + "BE";
    if (encoding_ == found.name) {
        mark_.assign(bytes_.data(), found.mark_size);
        taken_ = found.mark_size;
    }
    if (encoding_ != "UTF-8") stream_.emplace(encoding_.c_str(), ConversionStream::kUtf16Units);
    newline_ = newline_of(encoding_);
    if (newline_.size() == 1 && size_ > 0)
        is_binary_ = is_binary_ || std::memchr(bytes_.data(), '\0', size_) != nullptr;
}

// Behind the last newline of the bytes that is not in front of `from`; 0: there is none.
size_t TextInput::last_line_end(size_t from) const {
    const size_t width = newline_.size();
    // A code unit is aligned to what the blocks took.
    size_t end = size_ - (size_ - taken_) % width;
    for (; end >= from + width; end -= width) {
        if (std::memcmp(bytes_.data() + end - width, newline_.data(), width) == 0) return end;
    }
    return 0;
}

void TextInput::convert(size_t size, bool last) {
    const char* source = bytes_.data() + taken_;
    unit_count_ = 0;
    if (!stream_.has_value()) {
        units_.reserve(size, 0);
        unit_count_ = decode_utf8(units_.data(), {source, size});
        return;
    }
    ConversionStream::Status status = ConversionStream::Status::more_target;
    while (status == ConversionStream::Status::more_target) {
        units_.reserve(unit_count_ + size + 16, unit_count_);
        const ConversionStream::Step step = stream_->convert(
            source, size, last, reinterpret_cast<char*>(units_.data() + unit_count_),
            (units_.capacity() - unit_count_) * sizeof(char16_t));
        source += step.read;
        size -= step.read;
        unit_count_ += step.written / sizeof(char16_t);
        status = step.status;
    }
}

bool TextInput::read(Block& block) {
    // The rest of the last block goes to the front.
    std::memmove(bytes_.data(), bytes_.data() + taken_, size_ - taken_);
    size_ -= taken_;
    taken_ = 0;
    size_t end = last_line_end(0);
    for (size_t looked = size_; end == 0 && more() > 0; looked = size_)
        end = last_line_end(looked - looked % newline_.size());
    if (end == 0) end = size_;
    if (end == 0) return false;
    convert(end, has_ended_ && end == size_);
    block.bytes = {bytes_.data(), end};
    block.text = {units_.data(), unit_count_};
    // As bytes, the units may hold it as a half of another one.
    block.may_have_returns =
        stream_.has_value()
            ? std::memchr(units_.data(), '\r', unit_count_ * sizeof(char16_t)) != nullptr
            : std::memchr(bytes_.data(), '\r', end) != nullptr;
    taken_ = end;
    return true;
}

void TextInput::read_whole(Block& block) {
    while (more() > 0) {
    }
    convert(size_ - taken_, true);
    block.bytes = {bytes_.data() + taken_, size_ - taken_};
    block.text = {units_.data(), unit_count_};
    taken_ = size_;
}

}  // namespace qxre
