// regexp_engines.h - one pattern compiled by each engine, and the count of all its matches.
//
// Every engine is set to the same language: Unicode classes, code points, newline U+000A alone, `.`
// and the anchors as the flags say. Texts are UTF-16; Boost's iterators over UTF-16 cost more than
// its matching does, so it gets a copy of the text in wchar_t, made beforehand, and the locale
// C.UTF-8 for its classes. PCRE2 is told that the text is well formed, as the others assume or do
// not look.
#ifndef QXUT_BENCH_SUPPORT_REGEXP_ENGINES_H
#define QXUT_BENCH_SUPPORT_REGEXP_ENGINES_H

#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>
#include <unicode/uregex.h>

#include <boost/regex.hpp>
#include <cstddef>
#include <locale>
#include <memory>
#include <qxut/regexp/tree.hpp>
#include <stdexcept>
#include <string>

namespace qxut_bench {

// A pattern in each engine's dialect; null stands for `pattern`.
struct RegexpPattern {
    const char16_t* pattern;
    RE_Flags flags = RE_NO_FLAGS;
    const char16_t* pcre2 = nullptr;
    const char16_t* icu = nullptr;
    const char16_t* boost = nullptr;
};

struct RegexpText {
    std::u16string utf16;
    std::wstring wide;
};

inline std::wstring widen(const std::u16string& text) {
    std::wstring wide;
    wide.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t c = text[i];
        if ((c & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00U);
        }
        wide += static_cast<wchar_t>(c);
    }
    return wide;
}

class OursEngine {
  public:
    explicit OursEngine(const RegexpPattern& pattern)
        : tree_(pattern.pattern, std::u16string_view(pattern.pattern).size(), pattern.flags,
                nullptr) {}
    size_t count(const RegexpText& text) const {
        const std::unique_ptr<RE_Results> found(
            tree_.match(text.utf16.data(), text.utf16.size(), 0, &seek_table_));
        size_t matches = 0;
        for (bool more = found != nullptr; more; more = found->next()) ++matches;
        return matches;
    }
    bool found(const RegexpText& text) const {
        size_t position = 0;
        RE_Search_Info info;
        info.length = text.utf16.size();
        return tree_.match_bool(text.utf16.data(), &position, &info);
    }

  private:
    RE_Tree tree_;
    mutable RE_Seek_Table seek_table_;
};

inline PCRE2_SPTR16 pcre2_units(const char16_t* text) {
    return reinterpret_cast<PCRE2_SPTR16>(text);
}

// Null where the pattern is not one of PCRE2's.
inline pcre2_code_16* pcre2_compiled(const RegexpPattern& pattern, bool jit) {
    const std::u16string_view text(pattern.pcre2 != nullptr ? pattern.pcre2 : pattern.pattern);
    uint32_t options = PCRE2_UTF | PCRE2_UCP;
    if ((pattern.flags & RE_IGNORE_CASE) != 0) options |= PCRE2_CASELESS;
    if ((pattern.flags & RE_DOT_ALL) != 0) options |= PCRE2_DOTALL;
    if ((pattern.flags & RE_MULTI_LINE) != 0) options |= PCRE2_MULTILINE;
    pcre2_compile_context_16* const context = pcre2_compile_context_create_16(nullptr);
    pcre2_set_newline_16(context, PCRE2_NEWLINE_LF);
    int error = 0;
    size_t position = 0;
    pcre2_code_16* const code = pcre2_compile_16(pcre2_units(text.data()), text.size(), options,
                                                 &error, &position, context);
    pcre2_compile_context_free_16(context);
    if (code != nullptr && jit) pcre2_jit_compile_16(code, PCRE2_JIT_COMPLETE);
    return code;
}

class Pcre2Engine {
  public:
    Pcre2Engine(const RegexpPattern& pattern, bool jit) : code_(pcre2_compiled(pattern, jit)) {
        if (code_ == nullptr) throw std::runtime_error("PCRE2 refuses the pattern");
        data_ = pcre2_match_data_create_from_pattern_16(code_, nullptr);
        match_ = jit ? pcre2_jit_match_16 : pcre2_match_16;
    }
    ~Pcre2Engine() {
        pcre2_match_data_free_16(data_);
        pcre2_code_free_16(code_);
    }
    Pcre2Engine(const Pcre2Engine&) = delete;
    Pcre2Engine& operator=(const Pcre2Engine&) = delete;

    // No row's pattern matches the empty text.
    size_t count(const RegexpText& text) const {
        size_t matches = 0;
        size_t start = 0;
        while (matches_from(text, start)) {
            ++matches;
            start = pcre2_get_ovector_pointer_16(data_)[1];
        }
        return matches;
    }
    bool found(const RegexpText& text) const { return matches_from(text, 0); }
    pcre2_code_16* code() const { return code_; }
    pcre2_match_data_16* data() const { return data_; }

  private:
    bool matches_from(const RegexpText& text, size_t start) const {
        const int result = match_(code_, pcre2_units(text.utf16.data()), text.utf16.size(), start,
                                  PCRE2_NO_UTF_CHECK, data_, nullptr);
        if (result < 0 && result != PCRE2_ERROR_NOMATCH) {
            throw std::runtime_error("PCRE2 gives up: " + std::to_string(result));
        }
        return result >= 0;
    }

    pcre2_code_16* code_;
    pcre2_match_data_16* data_ = nullptr;
    decltype(&pcre2_match_16) match_ = nullptr;
};

inline URegularExpression* icu_compiled(const RegexpPattern& pattern) {
    const std::u16string_view text(pattern.icu != nullptr ? pattern.icu : pattern.pattern);
    uint32_t flags = UREGEX_UNIX_LINES;
    if ((pattern.flags & RE_IGNORE_CASE) != 0) flags |= UREGEX_CASE_INSENSITIVE;
    if ((pattern.flags & RE_DOT_ALL) != 0) flags |= UREGEX_DOTALL;
    if ((pattern.flags & RE_MULTI_LINE) != 0) flags |= UREGEX_MULTILINE;
    UErrorCode error = U_ZERO_ERROR;
    UParseError where;
    return uregex_open(text.data(), static_cast<int32_t>(text.size()), flags, &where, &error);
}

class IcuEngine {
  public:
    explicit IcuEngine(const RegexpPattern& pattern) : regex_(icu_compiled(pattern)) {
        if (regex_ == nullptr) throw std::runtime_error("ICU refuses the pattern");
    }
    ~IcuEngine() { uregex_close(regex_); }
    IcuEngine(const IcuEngine&) = delete;
    IcuEngine& operator=(const IcuEngine&) = delete;

    size_t count(const RegexpText& text) const {
        UErrorCode error = U_ZERO_ERROR;
        uregex_setText(regex_, text.utf16.data(), static_cast<int32_t>(text.utf16.size()), &error);
        size_t matches = 0;
        while (uregex_findNext(regex_, &error)) ++matches;
        if (U_FAILURE(error)) throw std::runtime_error("ICU gives up");
        return matches;
    }
    bool found(const RegexpText& text) const {
        UErrorCode error = U_ZERO_ERROR;
        uregex_setText(regex_, text.utf16.data(), static_cast<int32_t>(text.utf16.size()), &error);
        return uregex_findNext(regex_, &error) != 0;
    }
    URegularExpression* regex() const { return regex_; }

  private:
    URegularExpression* regex_;
};

class BoostEngine {
  public:
    explicit BoostEngine(const RegexpPattern& pattern) {
        regex_.imbue(std::locale("C.UTF-8"));
        boost::wregex::flag_type flags = boost::regex_constants::perl;
        if ((pattern.flags & RE_IGNORE_CASE) != 0) flags |= boost::regex_constants::icase;
        regex_.assign(widen(pattern.boost != nullptr ? pattern.boost : pattern.pattern), flags);
        if ((pattern.flags & RE_DOT_ALL) == 0) match_flags_ |= boost::match_not_dot_newline;
        if ((pattern.flags & RE_MULTI_LINE) == 0) match_flags_ |= boost::match_single_line;
    }
    size_t count(const RegexpText& text) const {
        const boost::wcregex_iterator end;
        size_t matches = 0;
        for (boost::wcregex_iterator i(text.wide.data(), text.wide.data() + text.wide.size(),
                                       regex_, match_flags_);
             i != end; ++i) {
            ++matches;
        }
        return matches;
    }
    bool found(const RegexpText& text) const {
        boost::wcmatch match;
        return boost::regex_search(text.wide.data(), text.wide.data() + text.wide.size(), match,
                                   regex_, match_flags_);
    }

  private:
    boost::wregex regex_;
    boost::match_flag_type match_flags_ = boost::match_default;
};

}  // namespace qxut_bench

#endif
