// engine.h - the library's answers in the shape of the reference matcher's.
#ifndef QXUT_TESTS_REGEXP_ENGINE_H
#define QXUT_TESTS_REGEXP_ENGINE_H

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <qxut/regexp/results.hpp>
#include <qxut/regexp/tree.hpp>

namespace qxut_test {

using Extents = std::vector<size_t>;  // start and end of token 0, 1, ..., SIZE_MAX where unset

// A text whose block ends where the text does, so that the sanitizers see a step beyond it.
class ExactText {
  public:
    explicit ExactText(std::u16string_view text)
        : units_(new char16_t[text.size() + (text.empty() ? 1 : 0)]), length_(text.size()) {
        std::copy(text.begin(), text.end(), units_.get());
    }
    const char16_t* data() const { return units_.get(); }
    size_t size() const { return length_; }
    operator std::u16string_view() const { return {units_.get(), length_}; }

  private:
    std::unique_ptr<char16_t[]> units_;
    size_t length_;
};

inline Extents extents_of(const RE_Results& results) {
    Extents extents;
    for (size_t token = 0; token <= results.tokens().count(); ++token) {
        const RE_TokenInfo& info = *results.tokens().get(token);
        extents.push_back(info.is_set ? info.start : SIZE_MAX);
        extents.push_back(info.is_set ? info.end : SIZE_MAX);
    }
    return extents;
}

// All matches, or no more than `most` of them.
inline std::vector<Extents> engine_matches(const RE_Tree& tree, const ExactText& text,
                                           size_t start = 0, RE_Search_Info* info = nullptr,
                                           RE_Seek_Table* table = nullptr, size_t most = SIZE_MAX) {
    std::vector<Extents> matches;
    const std::unique_ptr<RE_Results> results{
        tree.match(text.data(), text.size(), start, table, info)};
    if (results == nullptr) return matches;
    do {
        matches.push_back(extents_of(*results));
    } while (matches.size() < most && results->next());
    return matches;
}

// As the table of matches writes them: 0-3 0-1 -, 4-7 - 5-6.
inline std::string to_text(const std::vector<Extents>& matches) {
    std::string text;
    for (const Extents& extents : matches) {
        if (!text.empty()) text += ", ";
        for (size_t i = 0; i < extents.size(); i += 2) {
            if (i > 0) text += ' ';
            text += extents[i] == SIZE_MAX
                        ? "-"
                        : std::to_string(extents[i]) + '-' + std::to_string(extents[i + 1]);
        }
    }
    return text.empty() ? "none" : text;
}

}  // namespace qxut_test

#endif
