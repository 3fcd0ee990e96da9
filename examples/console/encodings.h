// encodings.h - what the console does with encodings and characters.
#ifndef CONSOLE_ENCODINGS_H
#define CONSOLE_ENCODINGS_H

#include "functions.h"

namespace console {

// Pushes the name of the encoding that the file named on top is in, an empty text where it is not
// recognised. Raises NEEDS_TEXT, FILE_NOT_FOUND, FILE_UNREADABLE, OUT_OF_MEMORY.
void run_detect(Machine& machine, const Function& self, size_t arguments);

// Pushes the class of each character of the text on top: "upper", "lower", "letter", "digit",
// "space", "punctuation", "symbol", "control" or "other". Raises NEEDS_TEXT, OUT_OF_MEMORY.
void run_classify(Machine& machine, const Function& self, size_t arguments);

// Converts a text file of whatever encoding and says what was done; the names stand for the files
// in messages. Raises UNKNOWN_ENCODING, FILE_NOT_FOUND, FILE_UNREADABLE, OUT_OF_MEMORY.
void convert_file(const char* from, const char* to, const char* name, const char* encoding);

}  // namespace console

#endif
