// lexer.cpp - see lexer.h. Tested by tests/console.
#include "lexer.h"

#include <cstring>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

#include "messages.h"

namespace console {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

bool is_quote(char c) { return c == '"' || c == '\''; }

bool is_continuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// Length of the operator or punctuation mark at `text`, 0 if there is none.
size_t symbol_length(const char* text) {
    if (std::strchr("=!<>", text[0]) != nullptr && text[1] == '=') return 2;
    return std::strchr("+-*/^=<>!&|()[],", text[0]) != nullptr ? 1 : 0;
}

}  // namespace

bool is_name_start(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool is_name_part(char c) { return is_name_start(c) || is_digit(c); }

bool Token::is(const char* symbol) const {
    return type == TokenType::symbol && std::strlen(symbol) == length &&
           std::memcmp(symbol, start, length) == 0;
}

// Passes over blanks and a comment; the token is the end so far.
Token Lexer::begin_token() {
    const char* before = position_;
    while (is_blank(*position_)) ++position_;
    if (*position_ == '#') position_ += std::strlen(position_);
    for (; counted_ < position_; ++counted_) column_ += is_continuation(*counted_) ? 0 : 1;
    Token token{};
    token.start = position_;
    token.column = column_;
    token.blank_before = position_ != before;
    return token;
}

Token Lexer::quoted_text(Token token) {
    const char* close = std::strchr(token.start + 1, *token.start);
    if (close == nullptr) raise(Message::unclosed_text, token.column);
    token.type = TokenType::text;
    ++token.start;
    token.length = static_cast<size_t>(close - token.start);
    position_ = close + 1;
    return token;
}

Token Lexer::next() {
    Token token = begin_token();
    const char* start = token.start;
    if (*start == '\0') return token;
    if (is_quote(*start)) {
        token = quoted_text(token);
    } else {
        if (is_digit(*start) || (*start == '.' && is_digit(start[1]))) {
            char* end = nullptr;
            token.type = TokenType::number;
            token.number = ut_strtod(utGetFpcContext(), start, &end);
            position_ = end;
        } else if (is_name_start(*start)) {
            token.type = TokenType::name;
            while (is_name_part(*position_)) ++position_;
        } else {
            token.type = TokenType::symbol;
            position_ += symbol_length(start);
            if (position_ == start)
                raise(Message::unexpected, Excerpt(start, 1).text, token.column);
        }
        token.length = static_cast<size_t>(position_ - start);
    }
    token.blank_after = is_blank(*position_);
    return token;
}

Token Lexer::next_word() {
    Token token = begin_token();
    if (is_quote(*token.start)) return quoted_text(token);
    while (*position_ != '\0' && !is_blank(*position_)) ++position_;
    token.length = static_cast<size_t>(position_ - token.start);
    if (token.length > 0) token.type = TokenType::text;
    return token;
}

char Lexer::peek() const {
    Lexer rest = *this;
    return *rest.begin_token().start;
}

Excerpt::Excerpt(const char* start, size_t length) {
    constexpr size_t kMost = 40;
    const bool cut = length > kMost;
    if (cut) {
        length = kMost;
        while (length > 0 && is_continuation(start[length])) --length;
    }
    utSNprintf(text, sizeof text, "%.*s%s", static_cast<int>(length), start, cut ? "..." : "");
}

}  // namespace console
