// text_slot.h - slots of byte blocks that hold a text pointer, at any alignment.
#ifndef QXUT_SRC_UTIL_TEXT_SLOT_H
#define QXUT_SRC_UTIL_TEXT_SLOT_H

#include <cstddef>
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

// The hash of a text of `size` bytes, its NUL included (hash_keys.cpp).
uint32_t hash_slot_text(const char* text, size_t size);

}  // namespace qxut

#endif
