// conversion.cpp - the conversions of whole texts through a converter or, for UTF-8, without one.
//
// Allocating forms work in two passes: the first converts into a buffer on the stack and tells the
// length of the whole result; a result that fitted is copied into a block of its size, a longer one
// is converted again into it. Tested by tests/i18n/conversion_test.cpp and conversion_fuzz.cpp.
#include <qxut/i18n/conversion.h>

#include <qxut/util/heap.h>

#include <cstring>
#include <limits>
#include <string>

#include "i18n/open_failure.h"
#include "i18n/thread_converters.h"
#include "i18n/utf8.h"

namespace qxut {
namespace {

constexpr int32_t kStackUnits = 1024;
constexpr int32_t kUtf8MaxCharSize = 3;

// `convert(target, capacity, error)` gives the length of the whole result. `room` is what the first
// pass is offered.
template <typename Unit, typename Convert>
Unit* allocate_result(int32_t room, Convert convert) {
    Unit stack[kStackUnits];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length = convert(stack, room, error);
    // Lengths are 32-bit numbers; what does not fit them fits no memory either.
    if (length < 0 || length == std::numeric_limits<int32_t>::max()) return nullptr;
    const auto units = static_cast<size_t>(length);
    auto* const block = static_cast<Unit*>(utMalloc((units + 1) * sizeof(Unit)));
    if (block == nullptr) return nullptr;
    block[units] = 0;
    if (error == U_BUFFER_OVERFLOW_ERROR) {
        error = U_ZERO_ERROR;
        convert(block, length, error);
    } else {
        std::memcpy(block, stack, units * sizeof(Unit));
    }
    return block;
}

// The same for UTF-8: what the first pass of `step` left is measured, and all converted once more.
template <typename Unit, typename Source, typename Step, typename Measure>
Unit* allocate_step_result(int32_t room, const Source* source, size_t length, Step step,
                           Measure measure) {
    Unit stack[kStackUnits];
    const Source* const end = source + length;
    const auto first = step(source, end, stack, stack + room);
    size_t units = static_cast<size_t>(first.target - stack);
    const bool is_whole = first.source == end;
    if (!is_whole) units += measure(first.source, end);
    if (units >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) return nullptr;
    auto* const block = static_cast<Unit*>(utMalloc((units + 1) * sizeof(Unit)));
    if (block == nullptr) return nullptr;
    if (is_whole) {
        std::memcpy(block, stack, units * sizeof(Unit));
    } else {
        step(source, end, block, block + units);
    }
    block[units] = 0;
    return block;
}

// Above 0x7FFFFFFF a length or capacity is negative here, and -1 is NUL-terminated.
int32_t source_length(const void* source, uint32_t length) {
    return source == nullptr ? 0 : static_cast<int32_t>(length);
}

template <typename Unit>
size_t measured_length(const Unit* source, uint32_t length) {
    const int32_t units = source_length(source, length);
    if (units >= 0) return static_cast<size_t>(units);
    return units == -1 ? std::char_traits<Unit>::length(source) : 0;
}

uint32_t set_count(uint32_t* capacity, int32_t count) {
    return *capacity = count < 0 ? 0 : static_cast<uint32_t>(count);
}

char16_t* allocate_utf16(const ConverterUse& use, const char* source, uint32_t length) {
    if (use.get() == nullptr) return nullptr;
    const int32_t units = source_length(source, length);
    return allocate_result<char16_t>(
        kStackUnits, [&](char16_t* target, int32_t room, UErrorCode& error) {
            return convert_to_utf16(*use.get(), target, room, source, units, error);
        });
}

char* allocate_narrow(const ConverterUse& use, const char16_t* source, uint32_t length) {
    if (use.get() == nullptr) return nullptr;
    const int32_t units = source_length(source, length);
    return allocate_result<char>(kStackUnits / ucnv_getMaxCharSize(use.get()->icu),
                                 [&](char* target, int32_t room, UErrorCode& error) {
                                     return convert_from_utf16(*use.get(), target, room, source,
                                                               units, error);
                                 });
}

uint32_t count_utf16(const ConverterUse& use, char16_t* target, uint32_t* capacity,
                     const char* source, uint32_t length) {
    if (use.get() == nullptr) return set_count(capacity, 0);
    UErrorCode error = U_ZERO_ERROR;
    return set_count(capacity, convert_to_utf16(*use.get(), target, static_cast<int32_t>(*capacity),
                                                source, source_length(source, length), error));
}

// Of the failures only that of the name concerns a caller who named an encoding.
void throw_unknown_name(const ConverterUse& use, const char* encoding) {
    if (use.failure() == OpenFailure::unknown_name) throw_open_failure(use.failure(), encoding);
}

}  // namespace
}  // namespace qxut

size_t utf16_strlen(const char16_t* text) {
    return text == nullptr ? 0 : std::char_traits<char16_t>::length(text);
}

char16_t* utf8_to_utf16(const char* source, uint32_t length) {
    return qxut::allocate_step_result<char16_t>(
        qxut::kStackUnits, reinterpret_cast<const unsigned char*>(source),
        qxut::measured_length(source, length), qxut::utf8_decode, qxut::utf8_decoded_length);
}

char* utf16_to_utf8(const char16_t* source, uint32_t length) {
    return reinterpret_cast<char*>(qxut::allocate_step_result<unsigned char>(
        qxut::kStackUnits / qxut::kUtf8MaxCharSize, source, qxut::measured_length(source, length),
        qxut::utf8_encode, qxut::utf8_encoded_length));
}

char16_t* lcp_to_utf16(const char* source, uint32_t length) {
    if (qxut::default_is_utf8()) return utf8_to_utf16(source, length);
    return qxut::allocate_utf16(qxut::ConverterUse(nullptr), source, length);
}

char* utf16_to_lcp(const char16_t* source, uint32_t length) {
    if (qxut::default_is_utf8()) return utf16_to_utf8(source, length);
    return qxut::allocate_narrow(qxut::ConverterUse(nullptr), source, length);
}

char16_t* enc_to_utf16(const char* encoding, const char* source, uint32_t length) {
    const qxut::ConverterUse use(encoding);
    qxut::throw_unknown_name(use, encoding);
    return qxut::allocate_utf16(use, source, length);
}

char* utf16_to_enc(const char* encoding, const char16_t* source, uint32_t length) {
    const qxut::ConverterUse use(encoding);
    qxut::throw_unknown_name(use, encoding);
    return qxut::allocate_narrow(use, source, length);
}

uint32_t utf8_to_utf16_n(char16_t* target, uint32_t* capacity, const char* source,
                         uint32_t length) {
    UErrorCode error = U_ZERO_ERROR;
    return qxut::set_count(
        capacity, qxut::convert_utf8_to_utf16(target, static_cast<int32_t>(*capacity), source,
                                              qxut::source_length(source, length), error));
}

uint32_t utf16_to_utf8_n(char* target, uint32_t* capacity, const char16_t* source,
                         uint32_t length) {
    UErrorCode error = U_ZERO_ERROR;
    return qxut::set_count(
        capacity, qxut::convert_utf16_to_utf8(target, static_cast<int32_t>(*capacity), source,
                                              qxut::source_length(source, length), error));
}

uint32_t lcp_to_utf16_n(char16_t* target, uint32_t* capacity, const char* source, uint32_t length) {
    if (qxut::default_is_utf8()) return utf8_to_utf16_n(target, capacity, source, length);
    return qxut::count_utf16(qxut::ConverterUse(nullptr), target, capacity, source, length);
}

uint32_t enc_to_utf16_n(const char* encoding, char16_t* target, uint32_t* capacity,
                        const char* source, uint32_t length) {
    const qxut::ConverterUse use(encoding);
    qxut::throw_unknown_name(use, encoding);
    return qxut::count_utf16(use, target, capacity, source, length);
}

uint32_t utf16_to_lcp_n(char* target, uint32_t* capacity, const char16_t* source, uint32_t length) {
    if (qxut::default_is_utf8()) return utf16_to_utf8_n(target, capacity, source, length);
    const qxut::ConverterUse use(nullptr);
    if (use.get() == nullptr) return qxut::set_count(capacity, 0);
    UErrorCode error = U_ZERO_ERROR;
    return qxut::set_count(
        capacity, qxut::convert_from_utf16(*use.get(), target, static_cast<int32_t>(*capacity),
                                           source, qxut::source_length(source, length), error));
}
