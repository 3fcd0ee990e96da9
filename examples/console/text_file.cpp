// text_file.cpp - see text_file.h. Tested by tests/console (encodings).
#include "text_file.h"

#include <algorithm>
#include <cerrno>

#include <qxut/util/contexts.h>

#include "messages.h"

namespace console {

using Quorvanix::I18N::ConversionStream;
using Quorvanix::I18N::kRecognitionSize;

void TextFile::open(const char* path) {
    path_ = path;
    file_ = std::fopen(path, "rb");
    if (file_ == nullptr)
        raise(errno == ENOENT ? Message::file_not_found : Message::file_unreadable, path);
    if (std::fseek(file_, 0, SEEK_END) == 0) {
        const long size = std::ftell(file_);
        size_ = size > 0 ? static_cast<uint64_t>(size) : 0;
        std::rewind(file_);
    }
    std::setvbuf(file_, nullptr, _IONBF, 0);  // whole blocks are read here
    block_ = static_cast<char*>(ut_mem_alloc(utGetMemoryContext(), kRecognitionSize));
    fill();
    encoding_ = Quorvanix::I18N::recognize(next_, static_cast<size_t>(end_ - next_), is_last_);
    next_ += encoding_.mark_size;
    if (!encoding_.name.empty() && encoding_.name != "UTF-8")
        converter_.emplace(encoding_.name.c_str(), "UTF-8");
}

void TextFile::clear() {
    if (file_ != nullptr) std::fclose(file_);
    ut_mem_free(utGetMemoryContext(), block_);
    *this = TextFile();
}

// Reads the next block, the one before being used up.
void TextFile::fill() {
    const size_t size = std::fread(block_, 1, kRecognitionSize, file_);
    if (std::ferror(file_) != 0) raise(Message::file_unreadable, path_);
    next_ = block_;
    end_ = block_ + size;
    is_last_ = size < kRecognitionSize;
}

size_t TextFile::read(char* text, size_t capacity) {
    if (!converter_) {
        if (next_ == end_ && !is_last_) fill();
        const size_t size = std::min(capacity, static_cast<size_t>(end_ - next_));
        std::copy_n(next_, size, text);
        next_ += size;
        return size;
    }
    for (;;) {
        if (next_ == end_ && !is_last_) fill();
        const ConversionStream::Step step =
            converter_->convert(next_, static_cast<size_t>(end_ - next_), is_last_, text, capacity);
        next_ += step.read;
        if (step.written > 0 || step.status == ConversionStream::Status::finished)
            return step.written;
    }
}

}  // namespace console
