// terminal.h - where the console's output goes: standard output, and a transcript when one is open.
//
// Everything is printed with utPrintf and utPuts, or through a writer over them; the callbacks
// installed here receive it. So text that the library prints lands in the transcript as well.
#ifndef CONSOLE_TERMINAL_H
#define CONSOLE_TERMINAL_H

#include <cstdint>

#include <qxut/util/types.h>

namespace console {

// Installs the callbacks; the current record's error context reports failures of utPrintf.
// `interactive`: whether a person reads along.
void open_terminal(bool interactive);

// Puts the library's own callbacks back and closes the transcript.
void close_terminal();

// Copies all further output to a file (null: no longer). Raises FILE_UNREADABLE; the earlier
// transcript then goes on.
void set_transcript(const char* path);

// A ut_writer to the console, for messages and warnings; the stream is ignored.
int write_terminal(void* stream, const char* text, int32_t length);

// Writes out what the C runtime still holds: before a person or a program is waited for.
void flush_terminal();

}  // namespace console

#endif
