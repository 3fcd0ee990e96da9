// single_byte.cpp - encodings of one byte a character; see single_byte.h.
#include "i18n/single_byte.h"

#include <qxut/util/heap.h>

#include <algorithm>
#include <cstring>

#include "i18n/processor.h"

#if defined(QXUT_I18N_VECTORS)
#include <immintrin.h>
#endif

namespace qxut {
namespace {

bool fill_units(SingleByteTables& tables, UConverter* converter) {
    for (int byte = 0; byte < 256; ++byte) {
        const char source = static_cast<char>(byte);
        char16_t units[4];
        UErrorCode error = U_ZERO_ERROR;
        const int32_t length = ucnv_toUChars(converter, units, 4, &source, 1, &error);
        if (length != 1 || U_FAILURE(error) || (units[0] & 0xF800) == 0xD800) return false;
        tables.unit[byte] = units[0];
    }
    return true;
}

bool is_identical(const SingleByteTables& tables, int first, int last) {
    for (int byte = first; byte <= last; ++byte) {
        if (tables.unit[byte] != byte) return false;
    }
    return true;
}

// Gives every high byte that occurs a page; returns the pages, the empty one too.
size_t number_pages(SingleByteTables& tables) {
    size_t pages = 1;
    for (const char16_t unit : tables.unit) {
        unsigned char& page = tables.page[unit >> 8];
        if (page != 0) continue;
        if (pages == 255) return 0;  // no encoding has so many
        page = static_cast<unsigned char>(pages++);
    }
    return pages;
}

void fill_bytes(const SingleByteTables& tables, UConverter* converter) {
    for (int byte = 0; byte < 256; ++byte) {
        const char16_t unit = tables.unit[byte];
        char back[16];
        UErrorCode error = U_ZERO_ERROR;
        const int32_t length = ucnv_fromUChars(converter, back, sizeof back, &unit, 1, &error);
        if (length != 1 || U_FAILURE(error)) continue;
        // U+FFFD comes back as a substitute, and two bytes may stand for one character.
        if (unit == 0xFFFD || static_cast<unsigned char>(back[0]) != byte) continue;
        tables.bytes[tables.page[unit >> 8]][unit & 0xFF] = static_cast<unsigned char>(byte);
    }
}

// Bytes, or units, that a step of the vector forms takes; the last few are taken one by one.
constexpr size_t kVector = 16;

void decode_plain(const SingleByteTables& tables, char16_t* target, const unsigned char* source,
                  size_t length) {
    for (size_t i = 0; i < length; ++i) target[i] = tables.unit[source[i]];
}

// 0 when the unit has none, or for the unit 0.
inline unsigned char byte_of(const SingleByteTables& tables, unsigned unit) {
    return tables.bytes[tables.page[unit >> 8]][unit & 0xFF];
}

// Returns how many units were taken: up to the first one without a byte.
size_t encode_plain(const SingleByteTables& tables, unsigned char* target, const char16_t* source,
                    size_t length) {
    for (size_t i = 0; i < length; ++i) {
        const unsigned unit = source[i];
        const unsigned char byte = byte_of(tables, unit);
        if (byte == 0 && (unit != 0 || tables.unit[0] != 0)) return i;
        target[i] = byte;
    }
    return length;
}

#if defined(QXUT_I18N_VECTORS)

QXUT_TARGET_VECTORS inline __m128i load(const void* at) {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
QXUT_TARGET_VECTORS inline void store(void* at, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(at), value);
}

// More exceptions than this in a vector, and it is converted one by one.
constexpr int kFewExceptions = 5;

// Returns how many bytes were taken, whole vectors. Bytes that are not the units of the same
// values are put right afterwards.
QXUT_TARGET_VECTORS size_t decode_vectors(const SingleByteTables& tables, char16_t* target,
                                          const unsigned char* source, size_t length) {
    const __m128i zero = _mm_setzero_si128();
    // As signed bytes, 80 to 9F are those below -96, and 80 to FF those below 0.
    const __m128i exceptional = _mm_set1_epi8(tables.high_is_identical ? -96 : 0);
    size_t at = 0;
    for (; length - at >= kVector; at += kVector) {
        const __m128i bytes = load(source + at);
        auto exceptions =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmplt_epi8(bytes, exceptional)));
        if (exceptions != 0 && __builtin_popcount(exceptions) > kFewExceptions) {
            decode_plain(tables, target + at, source + at, kVector);
            continue;
        }
        store(target + at, _mm_unpacklo_epi8(bytes, zero));
        store(target + at + 8, _mm_unpackhi_epi8(bytes, zero));
        for (; exceptions != 0; exceptions &= exceptions - 1) {
            const size_t i = at + static_cast<size_t>(__builtin_ctz(exceptions));
            target[i] = tables.unit[source[i]];
        }
    }
    return at;
}

// ISO-8859-1: every byte is the unit of its value.
QXUT_TARGET_VECTORS size_t widen_vectors(char16_t* target, const unsigned char* source,
                                         size_t length) {
    const __m128i zero = _mm_setzero_si128();
    size_t at = 0;
    for (; length - at >= 2 * kVector; at += 2 * kVector) {
        const __m128i a = load(source + at);
        const __m128i b = load(source + at + 16);
        store(target + at, _mm_unpacklo_epi8(a, zero));
        store(target + at + 8, _mm_unpackhi_epi8(a, zero));
        store(target + at + 16, _mm_unpacklo_epi8(b, zero));
        store(target + at + 24, _mm_unpackhi_epi8(b, zero));
    }
    return at;
}

// The units of a vector that are exceptions get their bytes afterwards; false, with nothing stored,
// when one may have none.
inline bool encode_exceptions(const SingleByteTables& tables, unsigned char* target,
                              const char16_t* source, __m128i bytes, unsigned exceptions) {
    unsigned char found[kFewExceptions];
    int count = 0;
    for (unsigned rest = exceptions; rest != 0; rest &= rest - 1) {
        found[count] = byte_of(tables, source[__builtin_ctz(rest)]);
        if (found[count++] == 0) return false;
    }
    store(target, bytes);
    count = 0;
    for (unsigned rest = exceptions; rest != 0; rest &= rest - 1) {
        target[__builtin_ctz(rest)] = found[count++];
    }
    return true;
}

// Returns how many units were taken: whole vectors, or up to the first one without a byte, which
// `has_stopped` tells.
QXUT_TARGET_VECTORS size_t encode_vectors(const SingleByteTables& tables, unsigned char* target,
                                          const char16_t* source, size_t length,
                                          bool& has_stopped) {
    const __m128i low = _mm_set1_epi16(0xFF);
    const __m128i highest = _mm_set1_epi16(tables.high_is_identical ? 0xFF : 0x7F);
    const __m128i exceptional =
        _mm_set1_epi8(tables.high_is_identical && !tables.control_is_identical ? -96 : -128);
    size_t at = 0;
    for (; length - at >= kVector; at += kVector) {
        const __m128i a = load(source + at);
        const __m128i b = load(source + at + 8);
        const __m128i fits = _mm_packs_epi16(_mm_cmpeq_epi16(_mm_min_epu16(a, highest), a),
                                             _mm_cmpeq_epi16(_mm_min_epu16(b, highest), b));
        const __m128i bytes = _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
        const __m128i is_identical = _mm_andnot_si128(_mm_cmplt_epi8(bytes, exceptional), fits);
        const unsigned exceptions =
            ~static_cast<unsigned>(_mm_movemask_epi8(is_identical)) & 0xFFFF;
        if (exceptions == 0) {
            store(target + at, bytes);
            continue;
        }
        if (__builtin_popcount(exceptions) <= kFewExceptions &&
            encode_exceptions(tables, target + at, source + at, bytes, exceptions)) {
            continue;
        }
        const size_t taken = encode_plain(tables, target + at, source + at, kVector);
        if (taken != kVector) {
            has_stopped = true;
            return at + taken;
        }
    }
    return at;
}

// ISO-8859-1: every unit up to FF is the byte of its value. Returns how many units were taken, up
// to one that is none of them.
QXUT_TARGET_VECTORS size_t narrow_vectors(unsigned char* target, const char16_t* source,
                                          size_t length) {
    const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF00));
    size_t at = 0;
    for (; length - at >= 2 * kVector; at += 2 * kVector) {
        const __m128i a = load(source + at);
        const __m128i b = load(source + at + 8);
        const __m128i c = load(source + at + 16);
        const __m128i d = load(source + at + 24);
        const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
        if (_mm_testz_si128(any, high) == 0) break;
        store(target + at, _mm_packus_epi16(a, b));
        store(target + at + 16, _mm_packus_epi16(c, d));
    }
    return at;
}

#endif

size_t encode(const SingleByteTables& tables, unsigned char* target, const char16_t* source,
              size_t length) {
    size_t at = 0;
#if defined(QXUT_I18N_VECTORS)
    if (length >= kVector && has_vectors()) {
        if (tables.high_is_identical && tables.control_is_identical) {
            at = narrow_vectors(target, source, length);
        }
        bool has_stopped = false;
        at += encode_vectors(tables, target + at, source + at, length - at, has_stopped);
        if (has_stopped) return at;
    }
#endif
    return at + encode_plain(tables, target + at, source + at, length - at);
}

}  // namespace

SingleByteTables* make_single_byte_tables(UConverter* converter) {
    const UConverterType type = ucnv_getType(converter);
    if (type != UCNV_SBCS && type != UCNV_LATIN_1 && type != UCNV_US_ASCII) return nullptr;
    SingleByteTables made{};
    if (!fill_units(made, converter)) return nullptr;
    if (!is_identical(made, 0, 0x7F)) return nullptr;
    made.control_is_identical = is_identical(made, 0x80, 0x9F);
    made.high_is_identical = is_identical(made, 0xA0, 0xFF);
    const size_t pages = number_pages(made);
    if (pages == 0) return nullptr;
    void* const block = utCalloc(1, sizeof made + pages * 256);
    if (block == nullptr) return nullptr;
    made.bytes = reinterpret_cast<unsigned char(*)[256]>(static_cast<char*>(block) + sizeof made);
    fill_bytes(made, converter);
    std::memcpy(block, &made, sizeof made);
    return static_cast<SingleByteTables*>(block);
}

void single_byte_decode(const SingleByteTables& tables, char16_t* target, size_t capacity,
                        const unsigned char* source, size_t length) {
    length = std::min(length, capacity);
    size_t at = 0;
#if defined(QXUT_I18N_VECTORS)
    if (length >= kVector && has_vectors()) {
        at = tables.high_is_identical && tables.control_is_identical
                 ? widen_vectors(target, source, length)
                 : decode_vectors(tables, target, source, length);
    }
#endif
    decode_plain(tables, target + at, source + at, length - at);
}

size_t single_byte_encode(const SingleByteTables& tables, unsigned char* target, size_t capacity,
                          const char16_t* source, size_t length) {
    const size_t stored = std::min(length, capacity);
    size_t at = encode(tables, target, source, stored);
    if (at < stored) return at;
    unsigned char scratch[1024];
    while (at < length) {
        const size_t piece = std::min(length - at, sizeof scratch);
        const size_t taken = encode(tables, scratch, source + at, piece);
        at += taken;
        if (taken < piece) break;
    }
    return at;
}

}  // namespace qxut
