// pattern.cpp - see pattern.h. Tested by tests/tools/qxre_test.py.
#include "pattern.h"

#include <functional>
#include <stdexcept>

#include <qxut/regexp/exception.hpp>

#include "unicode.h"

namespace qxre {
namespace {

// What a tree refuses is told with its place.
RE_Tree compile(std::u16string_view text, RE_Flags flags, RE_Context& context) {
    try {
        return RE_Tree(text.data(), text.size(), flags, &context);
    } catch (const RE_Exception& problem) {
        throw std::runtime_error(std::string(problem.what()) + "\n" +
                                 show_place(text, problem.position()));
    }
}

}  // namespace

void Context::warn(const char16_t* position, const char* format, va_list arguments) {
    std::string text(utFormatRegexpWarning(nullptr, 0, format, arguments), '\0');
    utFormatRegexpWarning(text.data(), text.size() + 1, format, arguments);
    const char16_t* const end = pattern_.data() + pattern_.size();
    const bool inside =
        std::less_equal<>()(pattern_.data(), position) && std::less_equal<>()(position, end);
    warnings_.push_back(
        {inside ? static_cast<size_t>(position - pattern_.data()) : Remark::kNoPlace, text});
}

Pattern::Pattern(std::string_view text, RE_Flags flags, bool may_evaluate)
    : text_(to_utf16(text)),
      context_(text_, may_evaluate),
      tree_(compile(text_, flags, context_)) {}

std::string show_place(std::u16string_view pattern, size_t position) {
    const auto is_break = [](char16_t c) { return c == u'\n' || c == u'\r'; };
    size_t begin = position;
    while (begin > 0 && !is_break(pattern[begin - 1])) --begin;
    size_t end = position;
    while (end < pattern.size() && !is_break(pattern[end])) ++end;
    // A tab or another control character would move the caret off its place.
    std::u16string line(pattern.substr(begin, end - begin));
    for (char16_t& c : line) {
        if (c < u' ' || c == 0x7F) c = u' ';
    }
    const size_t column = display_width(std::u16string_view(line).substr(0, position - begin));
    return "  " + to_utf8(line) + "\n  " + std::string(column, ' ') + "^\n";
}

std::string show_remark(std::u16string_view pattern, const Remark& remark, const char* kind) {
    std::string text = std::string(kind) + ": " + remark.text + "\n";
    if (remark.position != Remark::kNoPlace) text += show_place(pattern, remark.position);
    return text;
}

}  // namespace qxre
