// regexp_input.h - what the fuzz targets of the regular expressions make of their bytes.
//
// A byte stands for the character of that number, so that seeds are readable; 0xF5 is followed by
// the two bytes of a UTF-16 unit, the higher one first, and 0xF4 by one of a plane above the first.
#ifndef QXUT_FUZZ_REGEXP_INPUT_H
#define QXUT_FUZZ_REGEXP_INPUT_H

#include <cstdint>
#include <string>

inline std::u16string units_of(const uint8_t* bytes, size_t size) {
    std::u16string units;
    for (size_t i = 0; i < size; ++i) {
        if (bytes[i] == 0xF5 && i + 2 < size) {
            units += static_cast<char16_t>(bytes[i + 1] << 8 | bytes[i + 2]);
            i += 2;
        } else if (bytes[i] == 0xF4 && i + 1 < size) {
            units += static_cast<char16_t>(0xD83D);
            units += static_cast<char16_t>(0xDC00 + bytes[i + 1]);
            i += 1;
        } else {
            units += static_cast<char16_t>(bytes[i]);
        }
    }
    return units;
}

#endif
