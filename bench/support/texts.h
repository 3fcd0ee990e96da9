// texts.h - natural texts for benchmarks, from the folder that QXUT_DATA names. Where it is not
// set, or a text not there, one of the same size and kind is made from a seed.
#ifndef QXUT_BENCH_SUPPORT_TEXTS_H
#define QXUT_BENCH_SUPPORT_TEXTS_H

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>

namespace qxut_bench {

enum class Language { english, russian, chinese };

namespace texts_detail {

inline void append(std::string& text, uint32_t c) {
    const auto add = [&text](uint32_t byte) { text += static_cast<char>(byte); };
    if (c < 0x80) return add(c);
    if (c < 0x800) {
        add(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            add(0xE0 | c >> 12);
        } else {
            add(0xF0 | c >> 18);
            add(0x80 | (c >> 12 & 0x3F));
        }
        add(0x80 | (c >> 6 & 0x3F));
    }
    add(0x80 | (c & 0x3F));
}

// Words of letters from [first, first + letters), between them blanks, full stops and line ends.
inline std::string make(uint32_t first, uint32_t letters, uint32_t longest_word, size_t size) {
    std::mt19937 random(1);
    const auto below = [&random](uint32_t n) { return static_cast<uint32_t>(random() % n); };
    std::string text;
    while (text.size() < size) {
        for (uint32_t count = 1 + below(longest_word); count > 0; --count) {
            append(text, first + below(letters));
        }
        const uint32_t end = below(12);
        text += end == 0 ? ".\n" : (end == 1 ? ", " : " ");
    }
    return text;
}

}  // namespace texts_detail

// UTF-8.
inline std::string text_in(Language language) {
    struct Source {
        const char* file;
        uint32_t first;
        uint32_t letters;
        uint32_t longest_word;
        size_t size;
    };
    static constexpr Source kSources[] = {{"en-sampled.txt", 'a', 26, 8, 900'000},
                                          {"ru-sampled.txt", 0x430, 32, 9, 1'570'000},
                                          {"zh-sampled.txt", 0x4E00, 3000, 14, 810'000}};
    const Source& source = kSources[static_cast<int>(language)];
    if (const char* const folder = std::getenv("QXUT_DATA")) {
        std::ifstream file(std::string(folder) + "/" + source.file, std::ios::binary);
        std::string text(std::istreambuf_iterator<char>(file), {});
        if (!text.empty()) return text;
    }
    std::cerr << source.file << " is not there: a made text takes its place\n";
    return texts_detail::make(source.first, source.letters, source.longest_word, source.size);
}

// Latin words with emoji between them.
inline std::string emoji_text(size_t size) {
    std::mt19937 random(2);
    std::string text;
    while (text.size() < size) {
        for (auto count = 1 + random() % 5; count > 0; --count) {
            texts_detail::append(text, 'a' + static_cast<uint32_t>(random() % 26));
        }
        text += ' ';
        for (auto count = random() % 4; count > 0; --count) {
            texts_detail::append(text, 0x1F600 + static_cast<uint32_t>(random() % 80));
        }
    }
    return text;
}

}  // namespace qxut_bench

#endif
