// converter.cpp - opening converters and converting whole texts; see converter.h.
// Tested by tests/i18n/conversion_test.cpp and tests/i18n/encodings_test.cpp.
#include "i18n/converter.h"

#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "i18n/utf8.h"

namespace qxut {
namespace {

constexpr size_t kMostUnits = static_cast<size_t>(std::numeric_limits<int32_t>::max());

bool has_bad_arguments(const void* target, int32_t capacity, const void* source, int32_t length) {
    return capacity < 0 || (capacity > 0 && target == nullptr) || length < -1 ||
           (length != 0 && source == nullptr);
}

// What ICU says of a result's length.
int32_t answer(size_t length, int32_t capacity, UErrorCode& error) {
    const auto room = static_cast<size_t>(capacity);
    error = length > room ? U_BUFFER_OVERFLOW_ERROR
                          : (length == room ? U_STRING_NOT_TERMINATED_WARNING : U_ZERO_ERROR);
    return static_cast<int32_t>(length < kMostUnits ? length : kMostUnits);
}

const SingleByteTables* tables_of(Converter& converter) {
    if (!converter.tables_were_tried) {
        converter.tables = make_single_byte_tables(converter.icu);
        converter.tables_were_tried = true;
    }
    return converter.tables;
}

Converter::Kind kind_of(UConverter* icu, const char* name) {
    // A name may carry options, which change what the converter does.
    if (std::strchr(name, ',') != nullptr) return Converter::Kind::icu_only;
    switch (ucnv_getType(icu)) {
        case UCNV_UTF8:
            return Converter::Kind::utf8;
        case UCNV_SBCS:
        case UCNV_LATIN_1:
        case UCNV_US_ASCII:
            return Converter::Kind::single_byte;
        default:
            return Converter::Kind::icu_only;
    }
}

}  // namespace

UConverter* open_icu_converter(const char* name, OpenFailure& failure) {
    failure = OpenFailure::unknown_name;
    if (*name == '\0' || *name == ',' || std::strpbrk(name, "/\\") != nullptr) return nullptr;
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const icu = ucnv_open(name, &error);
    if (U_FAILURE(error)) {
        ucnv_close(icu);
        if (error == U_MEMORY_ALLOCATION_ERROR) failure = OpenFailure::no_memory;
        return nullptr;
    }
    failure = OpenFailure::none;
    return icu;
}

Converter* open_converter(const char* name, OpenFailure& failure) {
    UConverter* const icu = open_icu_converter(name, failure);
    if (icu == nullptr) return nullptr;
    const size_t name_size = std::strlen(name) + 1;
    auto* const made = static_cast<Converter*>(utCalloc(1, offsetof(Converter, name) + name_size));
    if (made == nullptr) {
        ucnv_close(icu);
        failure = OpenFailure::no_memory;
        return nullptr;
    }
    made->icu = icu;
    made->kind = kind_of(icu, name);
    made->name_length = name_size - 1;
    std::memcpy(made->name, name, name_size);
    return made;
}

void close_converter(Converter* converter) {
    ucnv_close(converter->icu);
    utFree(converter->tables);
    utFree(converter);
}

int32_t convert_utf8_to_utf16(char16_t* target, int32_t capacity, const char* source,
                              int32_t length, UErrorCode& error) {
    if (has_bad_arguments(target, capacity, source, length)) {
        error = U_ILLEGAL_ARGUMENT_ERROR;
        return 0;
    }
    const size_t units = length < 0 ? std::strlen(source) : static_cast<size_t>(length);
    return answer(utf8_to_utf16_whole(target, static_cast<size_t>(capacity), source, units),
                  capacity, error);
}

int32_t convert_utf16_to_utf8(char* target, int32_t capacity, const char16_t* source,
                              int32_t length, UErrorCode& error) {
    if (has_bad_arguments(target, capacity, source, length)) {
        error = U_ILLEGAL_ARGUMENT_ERROR;
        return 0;
    }
    const size_t units = length < 0 ? utf16_strlen(source) : static_cast<size_t>(length);
    return answer(utf16_to_utf8_whole(target, static_cast<size_t>(capacity), source, units),
                  capacity, error);
}

int32_t convert_to_utf16(Converter& converter, char16_t* target, int32_t capacity,
                         const char* source, int32_t length, UErrorCode& error) {
    error = U_ZERO_ERROR;
    if (converter.kind == Converter::Kind::utf8) {
        return convert_utf8_to_utf16(target, capacity, source, length, error);
    }
    if (converter.kind == Converter::Kind::single_byte &&
        !has_bad_arguments(target, capacity, source, length)) {
        if (const SingleByteTables* const tables = tables_of(converter)) {
            const size_t bytes = length < 0 ? std::strlen(source) : static_cast<size_t>(length);
            const auto room = static_cast<size_t>(capacity);
            single_byte_decode(*tables, target, room,
                               reinterpret_cast<const unsigned char*>(source), bytes);
            if (bytes < room) target[bytes] = 0;
            return answer(bytes, capacity, error);
        }
    }
    return ucnv_toUChars(converter.icu, target, capacity, source, length, &error);
}

int32_t convert_from_utf16(Converter& converter, char* target, int32_t capacity,
                           const char16_t* source, int32_t length, UErrorCode& error) {
    error = U_ZERO_ERROR;
    if (converter.kind == Converter::Kind::utf8) {
        return convert_utf16_to_utf8(target, capacity, source, length, error);
    }
    if (converter.kind == Converter::Kind::single_byte &&
        !has_bad_arguments(target, capacity, source, length)) {
        if (const SingleByteTables* const tables = tables_of(converter)) {
            const size_t units = length < 0 ? utf16_strlen(source) : static_cast<size_t>(length);
            const auto room = static_cast<size_t>(capacity);
            const size_t taken = single_byte_encode(
                *tables, reinterpret_cast<unsigned char*>(target), room, source, units);
            if (taken == units) {
                if (units < room) target[units] = 0;
                return answer(units, capacity, error);
            }
            // ICU goes on where the tables do not, as characters do not depend on each other.
            const size_t stored = std::min(taken, room);
            const int32_t rest =
                ucnv_fromUChars(converter.icu, target + stored, static_cast<int32_t>(room - stored),
                                source + taken, static_cast<int32_t>(units - taken), &error);
            return static_cast<int32_t>(taken) + rest;
        }
    }
    return ucnv_fromUChars(converter.icu, target, capacity, source, length, &error);
}

}  // namespace qxut
