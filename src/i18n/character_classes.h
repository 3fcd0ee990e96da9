// character_classes.h - the class of a code point: characters of one class answer alike to every
// test of classification.h. For those who test many characters and cannot afford a call.
#ifndef QXUT_SRC_I18N_CHARACTER_CLASSES_H
#define QXUT_SRC_I18N_CHARACTER_CLASSES_H

#include "i18n/classification_tables.h"

namespace qxut::classification {

inline constexpr uint32_t kCodePointsEnd = 0x110000;

// The bit of the class in k_alnum and kin. One way for all characters and no branch that depends on
// the script: mixed text would mispredict it.
constexpr uint32_t class_of(uint32_t c) {
    if (c >= kCodePointsEnd) [[unlikely]]
        return kUnassigned;
    constexpr uint32_t kWithin = (1u << kClassShift) - 1;
    return kClassContents[static_cast<uint32_t>(kClassBlocks[c >> kClassShift]) << kClassShift |
                          (c & kWithin)];
}

}  // namespace qxut::classification

#endif
