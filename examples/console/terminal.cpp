// terminal.cpp - the console callbacks of a host. Tested by tests/console (transcript).
#include "terminal.h"

#include <cstdio>
#include <cstring>

#include <qxut/util/contexts.h>
#include <qxut/util/output.h>

#include "messages.h"

namespace console {
namespace {

struct Terminal {
    bool interactive;
    std::FILE* transcript;
};

Terminal terminal{};

int write(const char* text, size_t length) {
    if (terminal.transcript != nullptr) std::fwrite(text, 1, length, terminal.transcript);
    return std::fwrite(text, 1, length, stdout) == length ? static_cast<int>(length) : -1;
}

// The puts callback: a utPutsFcn.
int put(const char* text, void*) { return write(text, std::strlen(text)); }

// The is-hot callback: someone waits for what is printed.
bool is_hot(void* data) { return static_cast<Terminal*>(data)->interactive; }

void close_transcript() {
    if (terminal.transcript != nullptr) std::fclose(terminal.transcript);
    terminal.transcript = nullptr;
}

}  // namespace

void open_terminal(bool interactive) {
    terminal.interactive = interactive;
    utSetVprintfCallbacks(put, &terminal, is_hot, utGetErrorContext());
}

void close_terminal() {
    utSetVprintfCallbacks(nullptr, nullptr, nullptr, nullptr);
    close_transcript();
    std::fflush(stdout);
}

void set_transcript(const char* path) {
    std::FILE* transcript = nullptr;
    if (path != nullptr) {
        transcript = std::fopen(path, "w");
        if (transcript == nullptr) raise(Message::file_unreadable, path);
    }
    close_transcript();
    terminal.transcript = transcript;
}

int write_terminal(void*, const char* text, int32_t length) {
    return length > 0 ? write(text, static_cast<size_t>(length)) : 0;
}

void flush_terminal() {
    std::fflush(stdout);
    if (terminal.transcript != nullptr) std::fflush(terminal.transcript);
}

}  // namespace console
