// messages.h - the console's own messages: module 100, in English and Japanese.
//
// A host chooses a module number that neither the library nor another of its parts uses. Codes
// are module * 65536 + entry; the library derives the identifier of an error or a warning from
// the mnemonic: VELUMA:unknown_name for UNKNOWN_NAME. The texts are in messages.cpp.
// Tested by tests/console (every text is printed there in both languages).
#ifndef CONSOLE_MESSAGES_H
#define CONSOLE_MESSAGES_H

#include <qxut/util/contexts.h>

namespace console {

constexpr uint32_t kModule = 100;

// In the order of the table in messages.cpp.
enum class Message : uint32_t {
    unexpected = 1,
    unfinished,
    unclosed_text,
    nested_too_deep,
    line_too_long,
    unknown_name,
    unknown_function,
    wrong_arguments,
    wrong_sizes,
    needs_numbers,
    mixed_kinds,
    bad_index,
    no_values,
    bad_count,
    needs_text,
    needs_texts,
    needs_one_value,
    expressions_nested,
    not_whole,
    reserved_name,
    command_usage,
    unknown_language,
    file_not_found,
    file_unreadable,
    unknown_encoding,
    csv_empty,
    csv_bad_number,
    csv_cell_count,
    csv_bad_quote,
    csv_row_too_long,
    interrupted,
    division_by_zero,
    outside_domain,
    missing_cells,
    pattern,
    unmatched_parenthesis,
    unmatched_bracket,
    unmatched_brace,
    bad_quantifier,
    unbound_range,
    word_break_in_set,
    escaped_character,
    last_backslash,
    braced_no_character,
    braced_too_long,
    bad_backreference,
    bad_token_name,
    nested_token_name,
    unbounded_lookbehind,
    no_condition,
    bad_condition,
    unknown_extension,
    unknown_mode_flag,
    repeated_negation,
    evaluation_disabled,
    unknown_template,
    error,
    error_line,
    loaded,
    converted,
    elapsed,
    symbol_number,
    symbol_text,
    symbol_numbers,
    symbol_texts,
    memory_in_use,
    transcribing,
    welcome,
    help,
    end_
};

constexpr ut_message_code code(Message message) {
    return kModule * 65536u + static_cast<uint32_t>(message);
}

// Registers the table and its Japanese texts, and the library's own Japanese texts, with the
// current record. Raises OUT_OF_MEMORY or the message context's own error.
void add_messages();

// Switches the language of all texts ("English", "ja"). Raises UNKNOWN_LANGUAGE.
void change_language(const char* name);

// Raises a message of this table on the current record. The arguments must have the types that
// the conversions of its English text name.
template <class... Arguments>
[[noreturn]] void raise(Message message, Arguments... arguments) {
    ut_error(utGetErrorContext(), code(message), arguments...);
}

// Issues a message of this table as a warning; raises it where warnings are errors.
template <class... Arguments>
void warn(Message message, Arguments... arguments) {
    ut_warning(utGetWarningContext(), code(message), arguments...);
}

// Writes a message of this table into a buffer, cut to fit.
void format(char* buffer, size_t size, Message message, ...);

// Prints a message of this table and a newline to the console.
void say(Message message, ...);

}  // namespace console

#endif
