// lines.h - lines of UTF-16 text. A line ends with U+000A, or with U+000D in front of that.
#ifndef QXRE_LINES_H
#define QXRE_LINES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

namespace qxre {

struct Line {
    size_t begin;
    size_t end;   // without its end
    size_t next;  // where the next one begins
};

// The first newline from `from` on; the text's length when there is none. memchr over the bytes is
// several times faster than a loop over the units; what it finds may be half of another unit.
inline size_t find_newline(std::u16string_view text, size_t from) {
    const auto* const bytes = reinterpret_cast<const char*>(text.data());
    size_t byte = from * 2;
    while (byte < text.size() * 2) {
        const void* found = std::memchr(bytes + byte, '\n', text.size() * 2 - byte);
        if (found == nullptr) break;
        const auto place = static_cast<size_t>(static_cast<const char*>(found) - bytes);
        if (text[place / 2] == u'\n') return place / 2;
        byte = place + 1;
    }
    return text.size();
}

inline size_t line_begin(std::u16string_view text, size_t position) {
    while (position > 0 && text[position - 1] != u'\n') --position;
    return position;
}

// The line that begins at `begin`.
inline Line line_at(std::u16string_view text, size_t begin) {
    const size_t newline = find_newline(text, begin);
    if (newline == text.size()) return {begin, newline, newline};
    const bool has_return = newline > begin && text[newline - 1] == u'\r';
    return {begin, newline - (has_return ? 1 : 0), newline + 1};
}

// How many newlines there are. The inner loops have fixed lengths, which compilers vectorise.
template <class Unit>
size_t count_newlines(std::basic_string_view<Unit> text) {
    using Lane = std::make_unsigned_t<std::conditional_t<sizeof(Unit) == 1, char, int16_t>>;
    constexpr size_t kLanes = 64 / sizeof(Unit);
    constexpr size_t kRounds = std::numeric_limits<Lane>::max();  // as many as a lane can count
    size_t count = 0;
    size_t i = 0;
    while (text.size() - i >= kLanes) {
        Lane lanes[kLanes] = {};
        const size_t rounds = std::min((text.size() - i) / kLanes, kRounds);
        for (size_t round = 0; round < rounds; ++round, i += kLanes) {
            for (size_t lane = 0; lane < kLanes; ++lane)
                lanes[lane] =
                    static_cast<Lane>(lanes[lane] + (text[i + lane] == Unit{'\n'} ? 1 : 0));
        }
        for (const Lane lane : lanes) count += lane;
    }
    for (; i < text.size(); ++i) count += text[i] == Unit{'\n'} ? 1 : 0;
    return count;
}
inline size_t count_newlines(std::u16string_view text) { return count_newlines<char16_t>(text); }

// How many lines there are in the text, whose last one may be without its end.
inline size_t count_lines(std::u16string_view text) {
    return count_newlines(text) + (text.empty() || text.back() == u'\n' ? 0 : 1);
}

}  // namespace qxre

#endif
