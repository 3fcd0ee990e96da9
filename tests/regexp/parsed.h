// parsed.h - a pattern parsed for a test: its listing in a terse form, and its warnings.
//
// The terse listing of a|b is "1>2 Split -> 4; 2>3 Match 'a'; 3>0 <EOT>; 4>3 Match 'b'": numbers
// without their zeros, no header, no blank at the end of a line.
#ifndef QXUT_TESTS_REGEXP_PARSED_H
#define QXUT_TESTS_REGEXP_PARSED_H

#include <memory>
#include <string>
#include <string_view>

#include <qxut/regexp/context.hpp>

#include "regexp/pattern.h"

namespace qxut_test {

// Collects the warnings as "position: text" lines; permits evaluation unless told otherwise.
class WarningCollector : public RE_Context {
  public:
    void warn(const char16_t* position, const char* format, va_list arguments) override;
    bool allow_evaluation() const override { return permits; }

    const char16_t* pattern = nullptr;
    bool permits = true;
    std::string warnings;
};

// The flags that the letters of "ismxe" stand for.
RE_Flags flags_of(std::string_view letters);

struct Parsed {
    std::unique_ptr<qxut::regexp::Pattern> pattern;
    std::string listing;  // terse
    std::string warnings;
};

// Throws what qxut::regexp::parse throws. The pattern's text is `text`.
Parsed parse_text(std::u16string_view text, std::string_view flags = "");

std::string terse(std::string_view listing);

}  // namespace qxut_test

#endif
