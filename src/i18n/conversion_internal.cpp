// conversion_internal.cpp - the internal character set: bytes copied, widened and narrowed.
// Tested by tests/i18n/conversion_test.cpp.
#include <qxut/i18n/conversion.h>

#include <qxut/util/heap.h>

#include <algorithm>
#include <cstring>

namespace qxut {
namespace {

constexpr uint32_t kTerminated = 0xFFFFFFFF;

size_t measure(const char* source, uint32_t length) {
    if (source == nullptr) return 0;
    return length == kTerminated ? std::strlen(source) : length;
}

size_t measure(const char16_t* source, uint32_t length) {
    return source == nullptr || length == kTerminated ? utf16_strlen(source) : length;
}

// A byte counts as a signed number.
char16_t convert_unit(char byte, char16_t /*kind*/) {
    return static_cast<char16_t>(static_cast<signed char>(byte));
}
char convert_unit(char16_t unit, char /*kind*/) { return static_cast<char>(unit & 0xFF); }
char convert_unit(char byte, char /*kind*/) { return byte; }

template <typename To, typename From>
void convert_units(To* target, const From* source, size_t count) {
    for (size_t i = 0; i < count; ++i) target[i] = convert_unit(source[i], To{});
}

template <typename To, typename From>
To* allocate_units(const From* source, uint32_t length) {
    const size_t count = measure(source, length);
    auto* const block = static_cast<To*>(utMalloc((count + 1) * sizeof(To)));
    if (block == nullptr) return nullptr;
    block[count] = 0;
    convert_units(block, source, count);
    return block;
}

template <typename To, typename From>
uint32_t store_units(To* target, uint32_t* capacity, const From* source, uint32_t length) {
    const size_t count = std::min<size_t>(*capacity, measure(source, length));
    convert_units(target, source, count);
    return *capacity = static_cast<uint32_t>(count);
}

}  // namespace
}  // namespace qxut

char16_t* ics_to_utf16(const char* source, uint32_t length) {
    return qxut::allocate_units<char16_t>(source, length);
}

char* utf16_to_ics(const char16_t* source, uint32_t length) {
    return qxut::allocate_units<char>(source, length);
}

char* ics_to_utf8(const char* source, uint32_t length) {
    return qxut::allocate_units<char>(source, length);
}

char* utf8_to_ics(const char* source, uint32_t length) {
    return qxut::allocate_units<char>(source, length);
}

uint32_t ics_to_utf16_n(char16_t* target, uint32_t* capacity, const char* source, uint32_t length) {
    return qxut::store_units(target, capacity, source, length);
}

uint32_t utf16_to_ics_n(char* target, uint32_t* capacity, const char16_t* source, uint32_t length) {
    return qxut::store_units(target, capacity, source, length);
}

uint32_t ics_to_utf8_n(char* target, uint32_t* capacity, const char* source, uint32_t length) {
    return qxut::store_units(target, capacity, source, length);
}

uint32_t utf8_to_ics_n(char* target, uint32_t* capacity, const char* source, uint32_t length) {
    return qxut::store_units(target, capacity, source, length);
}
