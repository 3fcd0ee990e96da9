// line_bytes.h - the bytes of a block, line by line.
#ifndef QXRE_LINE_BYTES_H
#define QXRE_LINE_BYTES_H

#include <cstddef>
#include <cstring>
#include <string_view>

namespace qxre {

class LineBytes {
  public:
    // `newline`: the bytes of a newline in the encoding, as many as its code unit has.
    LineBytes(std::string_view bytes, std::string_view newline)
        : bytes_(bytes), newline_(newline) {}

    // The next `count` lines with their ends, fewer when there are no more.
    std::string_view take(size_t count) {
        const size_t begin = next_;
        for (; count > 0 && next_ < bytes_.size(); --count) next_ = line_end();
        return bytes_.substr(begin, next_ - begin);
    }
    std::string_view rest() { return bytes_.substr(next_); }

  private:
    size_t line_end() const {
        const size_t width = newline_.size();
        for (size_t at = next_; at < bytes_.size();) {
            const void* found =
                std::memchr(bytes_.data() + at, newline_[width - 1], bytes_.size() - at);
            if (found == nullptr) break;
            const auto last = static_cast<size_t>(static_cast<const char*>(found) - bytes_.data());
            at = last + 1;
            // Blocks begin with a code unit.
            if (at % width == 0 && bytes_.compare(at - width, width, newline_) == 0) return at;
        }
        return bytes_.size();
    }

    std::string_view bytes_;
    std::string_view newline_;
    size_t next_ = 0;
};

}  // namespace qxre

#endif
