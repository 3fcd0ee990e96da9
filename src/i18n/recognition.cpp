// recognition.cpp - see recognition.hpp.
//
// The cheap and certain tests come first, so that ICU's detector, which weighs byte statistics, is
// asked only about what is left: the 8-bit and multi-byte legacy encodings and ISO-2022. Its
// answers are tried from the likeliest on, by converting: it ranks by frequencies and does not mind
// sequences that the encoding does not have.
//
// Entry point: recognize. Tested by tests/i18n/recognition_test.cpp and fuzz/recognition_fuzz.cpp.
#include <qxut/i18n/recognition.hpp>

#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "i18n/utf8_scan.h"

namespace Quorvanix::I18N {
namespace {

struct Mark {
    const char* name;
    char bytes[4];
    size_t size;
};

// The longer of two that begin alike comes first.
constexpr Mark kMarks[] = {
    {"UTF-32LE", {'\xFF', '\xFE', '\0', '\0'}, 4}, {"UTF-32BE", {'\0', '\0', '\xFE', '\xFF'}, 4},
    {"UTF-8", {'\xEF', '\xBB', '\xBF', '\0'}, 3},  {"UTF-16LE", {'\xFF', '\xFE', '\0', '\0'}, 2},
    {"UTF-16BE", {'\xFE', '\xFF', '\0', '\0'}, 2},
};

// A text of mostly Latin script in UTF-16 or UTF-32 has its zero bytes in fixed places. No other
// text has one in four of its bytes zero.
const char* name_by_zeros(const char* bytes, size_t size) {
    std::array<size_t, 4> zeros{};
    for (size_t i = 0; i < size; ++i) zeros[i % 4] += bytes[i] == '\0';
    const size_t even = zeros[0] + zeros[2];
    const size_t odd = zeros[1] + zeros[3];
    if ((even + odd) * 4 < size || size < 4) return nullptr;
    const size_t quarter = size / 4;
    const auto is_most = [quarter](size_t count) { return count * 10 >= quarter * 9; };
    const auto is_few = [quarter](size_t count) { return count * 10 <= quarter; };
    if (is_most(zeros[2]) && is_most(zeros[3]) && is_few(zeros[0])) return "UTF-32LE";
    if (is_most(zeros[0]) && is_most(zeros[1]) && is_few(zeros[3])) return "UTF-32BE";
    if (odd > even * 8) return "UTF-16LE";
    if (even > odd * 8) return "UTF-16BE";
    return nullptr;
}

// Few bytes that happen to be well-formed prove less than many.
int utf8_confidence(const char* bytes, size_t size) {
    size_t sequences = 0;
    for (size_t i = 0; i < size; ++i) sequences += static_cast<unsigned char>(bytes[i]) >= 0xC2;
    constexpr size_t kEnough = 4;
    return sequences == 0 ? 100 : static_cast<int>(80 + 5 * std::min(sequences, kEnough));
}

bool is_utf8(const char* bytes, size_t size, bool is_whole) {
    const size_t valid = qxut::utf8_valid_length(bytes, size);
    return valid == size ||
           (!is_whole && qxut::utf8_sequence(bytes + valid, size - valid).reaches_end);
}

// ISO-2022 texts are ASCII but for their escape sequences: ESC $ and ESC ( and kin.
bool has_shift_sequence(const char* bytes, size_t size) {
    for (size_t i = 0; i + 2 < size; ++i) {
        if (bytes[i] == '\x1B' && std::strchr("$()*+-./", bytes[i + 1]) != nullptr &&
            bytes[i + 1] != '\0')
            return true;
    }
    return false;
}

void check(UErrorCode status) {
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
}

template <auto Close>
struct Closer {
    template <class Object>
    void operator()(Object* object) const {
        Close(object);
    }
};

// Whether the bytes are well-formed in an encoding.
bool fits(const char* name, const char* bytes, size_t size, bool is_whole) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, Closer<ucnv_close>> converter(ucnv_open(name, &status));
    check(status);
    if (U_FAILURE(status)) return false;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    const char* const end = bytes + size;
    char16_t units[1024];
    do {
        status = U_ZERO_ERROR;
        char16_t* next = units;
        ucnv_toUnicode(converter.get(), &next, units + 1024, &bytes, end, nullptr,
                       static_cast<UBool>(is_whole), &status);
    } while (status == U_BUFFER_OVERFLOW_ERROR);
    return U_SUCCESS(status);
}

Recognition by_detector(const char* bytes, size_t size, bool is_whole) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UCharsetDetector, Closer<ucsdet_close>> detector(ucsdet_open(&status));
    ucsdet_setText(detector.get(), bytes, static_cast<int32_t>(size), &status);
    int32_t count = 0;
    const UCharsetMatch** const matches = ucsdet_detectAll(detector.get(), &count, &status);
    check(status);
    if (U_FAILURE(status)) return {};
    for (int32_t i = 0; i < count; ++i) {
        const char* const name = ucsdet_getName(matches[i], &status);
        const int32_t confidence = ucsdet_getConfidence(matches[i], &status);
        if (U_SUCCESS(status) && std::strcmp(name, "UTF-8") != 0 &&
            fits(name, bytes, size, is_whole))
            return {name, confidence, 0};
    }
    return {};
}

}  // namespace

Recognition recognize(const char* bytes, size_t size, bool is_whole) {
    if (size == 0) return {"UTF-8", 100, 0};
    for (const Mark& mark : kMarks) {
        if (size >= mark.size && std::memcmp(bytes, mark.bytes, mark.size) == 0)
            return {mark.name, 100, mark.size};
    }
    if (size > kRecognitionSize) {
        size = kRecognitionSize;
        is_whole = false;
    }
    const char* const wide = name_by_zeros(bytes, size);
    if (wide != nullptr) return {wide, 90, 0};
    if (has_shift_sequence(bytes, size)) {
        Recognition shifted = by_detector(bytes, size, is_whole);
        if (shifted.name.rfind("ISO-2022", 0) == 0) return shifted;
    }
    if (is_utf8(bytes, size, is_whole)) return {"UTF-8", utf8_confidence(bytes, size), 0};
    return by_detector(bytes, size, is_whole);
}

}  // namespace Quorvanix::I18N
