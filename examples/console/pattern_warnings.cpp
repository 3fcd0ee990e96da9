// pattern_warnings.cpp - see pattern_warnings.h. Tested by tests/console (pattern_warnings).
#include "pattern_warnings.h"

#include <cstring>

#include <qxut/regexp/context.hpp>

#include "messages.h"

namespace console {
namespace {

struct Warning {
    const char* format;  // as the library has it
    Message message;
};

constexpr Warning kWarnings[] = {
    {"Unmatched '('.", Message::unmatched_parenthesis},
    {"Unmatched '['.", Message::unmatched_bracket},
    {"Unmatched '{'.", Message::unmatched_brace},
    {"Invalid pattern for '{}' quantifier specified.", Message::bad_quantifier},
    {"Unbound range.", Message::unbound_range},
    {"Word breaks ('\\<' and '\\>') are treated literally in a set.", Message::word_break_in_set},
    {"Escaped character '%c' is treated literally in this context.", Message::escaped_character},
    {"Backslash at end of pattern is treated literally.", Message::last_backslash},
    {"Braced expression does not evaluate to a character.", Message::braced_no_character},
    {"Braced expression is too long to evaluate to a character.", Message::braced_too_long},
    {"Invalid named token backreference.", Message::bad_backreference},
    {"Invalid token name specified.", Message::bad_token_name},
    {"Named tokens in nested parentheses are not supported.", Message::nested_token_name},
    {"Lookbehind assertion of unbound length takes exponential time to solve.",
     Message::unbounded_lookbehind},
    {"No condition specified for if construct.", Message::no_condition},
    {"Invalid condition specified for if construct.", Message::bad_condition},
    {"Unknown extended regular expression.", Message::unknown_extension},
    {"Unknown mode flag.", Message::unknown_mode_flag},
    {"Mode flag negation may only be specified once.", Message::repeated_negation},
    {"Evaluation is disabled", Message::evaluation_disabled},
    {"Unknown replace pattern specified, '$' is treated literally.", Message::unknown_template},
};

}  // namespace

void describe_pattern_warning(char* text, size_t size, const char* format, va_list arguments) {
    for (const Warning& warning : kWarnings) {
        if (std::strcmp(warning.format, format) != 0) continue;
        char character[8] = "";  // that the warning is about, if it is about one
        if (std::strchr(format, '%') != nullptr)
            utFormatRegexpWarning(character, sizeof character, "%c", arguments);
        return console::format(text, size, warning.message, character);
    }
    utFormatRegexpWarning(text, size, format, arguments);
}

}  // namespace console
