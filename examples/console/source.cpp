// source.cpp - see source.h. Tested by tests/console.
#include "source.h"

#include <cstdio>
#include <cstring>

#include "messages.h"

namespace console {

void Source::open_file(const char* path, const char* name) {
    name_ = name;
    origin_ = Origin::file;
    file_.open(path);
}

void Source::open_input(bool interactive) {
    name_ = "stdin";
    origin_ = Origin::input;
    interactive_ = interactive;
}

void Source::open_text(const char* text, const char* name) {
    name_ = name;
    // The stream is only read from; its functions take blocks that may be written.
    text_ = {const_cast<char*>(text), std::strlen(text)};
}

void Source::clear() {
    file_.clear();
    *this = Source();
}

int Source::next_byte() {
    if (origin_ == Origin::input) return std::getc(stdin);
    if (origin_ == Origin::file && ut_beof(&text_)) {
        has_ended_ = true;  // unless reading succeeds
        text_ = {block_, file_.read(block_, sizeof block_)};
        has_ended_ = false;
    }
    return ut_bgetc(&text_);
}

bool Source::read_line(ut_dsbuffer* line) {
    if (has_ended_) return false;
    int byte = next_byte();
    while (inside_line_ && byte != '\n' && byte != EOF) byte = next_byte();
    if (inside_line_ && byte == '\n') byte = next_byte();
    inside_line_ = false;
    if (origin_ == Origin::input && std::ferror(stdin) != 0) {
        has_ended_ = true;
        raise(Message::file_unreadable, name_);
    }
    if (byte == EOF) return false;

    ++line_;
    inside_line_ = true;
    line->length = 0;
    for (; byte != '\n' && byte != EOF; byte = next_byte()) {
        if (line->length == kLongestLine) raise(Message::line_too_long, kLongestLine);
        ut_dsbputc(byte, line);
    }
    ut_dsbputc('\0', line);
    inside_line_ = false;
    return true;
}

}  // namespace console
