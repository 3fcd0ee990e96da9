// single_byte.h - encodings of one byte a character, by tables that are filled from ICU.
//
// These are the encodings that extend ASCII, whose bytes 00 to 7F are the units of the same values.
// Others may have characters that depend on each other, as those behind an escape byte do.
//
// A byte's unit is what ICU's converter makes of it, U+FFFD included, so decoding never needs ICU
// again. Of the other direction the tables hold what comes back as the same character; any other
// unit leaves the rest of the text to ICU. Tested by tests/i18n/encodings_test.cpp, over every such
// encoding that ICU has.
#ifndef QXUT_SRC_I18N_SINGLE_BYTE_H
#define QXUT_SRC_I18N_SINGLE_BYTE_H

#include <unicode/ucnv.h>

#include <cstddef>
#include <cstdint>

namespace qxut {

struct SingleByteTables {
    char16_t unit[256];           // of a byte
    unsigned char page[256];      // of a unit's high byte: which of `bytes`; 0: none
    bool control_is_identical;    // 80..9F are the units of the same values, as in ISO-8859-1
    bool high_is_identical;       // A0..FF, too
    unsigned char (*bytes)[256];  // of a unit's low byte; 0: none, but for unit 0
};

// Null when the encoding is none of these, or memory is short; the text is then ICU's. The
// converter is an open one and is reset. Freed with utFree.
SingleByteTables* make_single_byte_tables(UConverter* converter);

// Stores min(length, capacity) units.
void single_byte_decode(const SingleByteTables& tables, char16_t* target, size_t capacity,
                        const unsigned char* source, size_t length);

// Converts up to the first unit that has no byte, and returns how many units that were; stores as
// many of their bytes as the capacity takes.
size_t single_byte_encode(const SingleByteTables& tables, unsigned char* target, size_t capacity,
                          const char16_t* source, size_t length);

}  // namespace qxut

#endif
