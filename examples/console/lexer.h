// lexer.h - cuts a statement into tokens.
//
// Bytes above 127 belong to names, so a name may be written in any script in UTF-8. A '#' begins
// a comment. A text stands in quotes of either kind, '"' or '\'', and may hold the other. Columns
// count characters, not bytes, from 1.
#ifndef CONSOLE_LEXER_H
#define CONSOLE_LEXER_H

#include <cstddef>

namespace console {

enum class TokenType { end, number, name, text, symbol };

struct Token {
    TokenType type;
    const char* start;  // of a text: after its opening quote
    size_t length;      // of a text: without its quotes
    int column;
    bool blank_before;
    bool blank_after;
    double number;  // of a number

    // Whether this is the operator or punctuation mark with this spelling.
    bool is(const char* symbol) const;
};

class Lexer {
  public:
    // The statement ends in a NUL and outlives the lexer.
    explicit Lexer(const char* statement) : position_(statement), counted_(statement) {}

    // The next token; at the end again and again the end. Raises UNEXPECTED, UNCLOSED_TEXT.
    Token next();

    // The next word of a command: a quoted text, or everything up to a blank, as a text; or the
    // end. Raises UNCLOSED_TEXT.
    Token next_word();

    // The character that the next token begins with; NUL at the end.
    char peek() const;

  private:
    Token begin_token();
    Token quoted_text(Token token);

    const char* position_;
    const char* counted_;  // up to here characters have been counted
    int column_ = 1;       // of counted_
};

bool is_name_start(char c);
bool is_name_part(char c);

// At most 40 bytes of a text, whole characters, as a C string: for use in messages.
struct Excerpt {
    char text[44];
    Excerpt(const char* start, size_t length);
};

}  // namespace console

#endif
