// texts.h - the texts that statements and data files hold, numbered.
//
//     code   0    1         2                 an indexed hash: text -> code, code -> text
//     text   ""   "bcc"     "hcp"
//
// Values hold the codes: a column of texts takes 4 bytes a row, equal texts have equal codes, and
// each distinct text is kept once, until the end. (Names are interned in the record's name hash.)
#ifndef CONSOLE_TEXTS_H
#define CONSOLE_TEXTS_H

#include <cstdint>

namespace console {

using TextCode = uint32_t;

constexpr TextCode kEmptyText = 0;

// Make the table in the current record, and give it back. open_texts raises OUT_OF_MEMORY.
void open_texts();
void close_texts();

// The code of a text, a new one if need be. Raises OUT_OF_MEMORY.
TextCode text_code(const char* text);

// The text of a code; it stays where it is until the end.
const char* text_of(TextCode code);

}  // namespace console

#endif
