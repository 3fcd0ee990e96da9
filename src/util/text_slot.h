// text_slot.h - slots of byte blocks that hold a text pointer, at any alignment.
#ifndef QXUT_SRC_UTIL_TEXT_SLOT_H
#define QXUT_SRC_UTIL_TEXT_SLOT_H

#include <cstdint>
#include <cstring>

namespace qxut {

inline const char* text_in(const void* slot) {
    const char* text = nullptr;
    std::memcpy(&text, slot, sizeof text);
    return text;
}

// What the hash of such texts starts from.
inline constexpr uint32_t kSlotTextSeed = 0xFFFFFFFF;

}  // namespace qxut

#endif
