// utf8_encode_vectors.cpp - well-formed UTF-16 to UTF-8, several units at a time.
//
// Units below 0x800 become two bytes in a 16-bit lane, other units three in a 32-bit lane; then a
// shuffle, selected by which lanes hold fewer, closes the bytes up. Where there are surrogates the
// pairs are taken one by one, and the first one without its other half ends the run.
//
// Stores may reach beyond the bytes they are for; the units still to come have at least as many.
// Entry point: utf8_encode_vectors. Tested by tests/i18n/utf8_forms_test.cpp.
#include "i18n/processor.h"
#include "i18n/utf8.h"

#if defined(QXUT_I18N_VECTORS)

#include <immintrin.h>

#include <cstring>

namespace qxut {
namespace {

constexpr unsigned char kNone = 0x80;

struct Shuffle {
    unsigned char index[16];
};

// Of eight 16-bit lanes: those of the mask hold one byte.
struct TwoByteShuffles {
    alignas(16) Shuffle shuffle[256];
};

constexpr TwoByteShuffles make_two_byte_shuffles() {
    TwoByteShuffles made{};
    for (int mask = 0; mask < 256; ++mask) {
        int at = 0;
        for (int lane = 0; lane < 8; ++lane) {
            made.shuffle[mask].index[at++] = static_cast<unsigned char>(2 * lane);
            if ((mask >> lane & 1) != 0) continue;
            made.shuffle[mask].index[at++] = static_cast<unsigned char>(2 * lane + 1);
        }
        while (at < 16) made.shuffle[mask].index[at++] = kNone;
    }
    return made;
}

// Of four 32-bit lanes: the mask's low four bits are the lanes with at most two bytes, its high
// four those with one.
struct ThreeByteShuffles {
    alignas(16) Shuffle shuffle[256];
    unsigned char bytes[256];
};

constexpr ThreeByteShuffles make_three_byte_shuffles() {
    ThreeByteShuffles made{};
    for (int mask = 0; mask < 256; ++mask) {
        int at = 0;
        for (int lane = 0; lane < 4; ++lane) {
            const int length = 3 - (mask >> lane & 1) - (mask >> (lane + 4) & 1);
            for (int k = 0; k < length; ++k) {
                made.shuffle[mask].index[at++] = static_cast<unsigned char>(4 * lane + k);
            }
        }
        made.bytes[mask] = static_cast<unsigned char>(at);
        while (at < 16) made.shuffle[mask].index[at++] = kNone;
    }
    return made;
}

constexpr TwoByteShuffles kTwoByteShuffles = make_two_byte_shuffles();
constexpr ThreeByteShuffles kThreeByteShuffles = make_three_byte_shuffles();

QXUT_TARGET_VECTORS inline __m128i load(const void* at) {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
QXUT_TARGET_VECTORS inline void store(void* at, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(at), value);
}

// Eight units below 0x800. Returns the bytes written.
QXUT_TARGET_VECTORS inline int encode_two(unsigned char* target, __m128i x) {
    const __m128i is_ascii = _mm_cmplt_epi16(x, _mm_set1_epi16(0x80));
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(x, 6), _mm_set1_epi16(0xC0));
    const __m128i trail =
        _mm_or_si128(_mm_and_si128(x, _mm_set1_epi16(0x3F)), _mm_set1_epi16(0x80));
    const __m128i both = _mm_or_si128(lead, _mm_slli_epi16(trail, 8));
    const __m128i bytes = _mm_blendv_epi8(both, x, is_ascii);
    const int mask = _mm_movemask_epi8(_mm_packs_epi16(is_ascii, _mm_setzero_si128()));
    store(target, _mm_shuffle_epi8(bytes, load(&kTwoByteShuffles.shuffle[mask])));
    return 16 - __builtin_popcount(static_cast<unsigned>(mask));
}

// Four units, in 32-bit lanes, that are no surrogates. Returns the bytes written.
QXUT_TARGET_VECTORS inline int encode_three(unsigned char* target, __m128i x) {
    const __m128i is_one = _mm_cmplt_epi32(x, _mm_set1_epi32(0x80));
    const __m128i is_two = _mm_cmplt_epi32(x, _mm_set1_epi32(0x800));  // or one
    const __m128i low = _mm_and_si128(x, _mm_set1_epi32(0x3F));
    const __m128i middle = _mm_and_si128(_mm_srli_epi32(x, 6), _mm_set1_epi32(0x3F));
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(x, 12), _mm_slli_epi32(middle, 8)),
                     _mm_or_si128(_mm_slli_epi32(low, 16), _mm_set1_epi32(0x8080E0)));
    const __m128i two =
        _mm_or_si128(_mm_or_si128(middle, _mm_slli_epi32(low, 8)), _mm_set1_epi32(0x80C0));
    const __m128i bytes = _mm_blendv_epi8(_mm_blendv_epi8(three, two, is_two), x, is_one);
    const int mask =
        _mm_movemask_ps(_mm_castsi128_ps(is_two)) | _mm_movemask_ps(_mm_castsi128_ps(is_one)) << 4;
    store(target, _mm_shuffle_epi8(bytes, load(&kThreeByteShuffles.shuffle[mask])));
    return kThreeByteShuffles.bytes[mask];
}

QXUT_TARGET_VECTORS inline bool any(__m128i bits) { return _mm_testz_si128(bits, bits) == 0; }

// Units a step takes at most, and units whose bytes a store may reach over.
constexpr ptrdiff_t kStep = 16;
constexpr ptrdiff_t kMargin = 16;

// Takes at least eight units, of which some are surrogates; false at one without its other half.
inline bool encode_with_pairs(const char16_t*& source, unsigned char*& target) {
    const char16_t* const end = source + 8;
    while (source < end) {
        uint32_t c = *source;
        if ((c & 0xF800) == 0xD800) {
            const uint32_t trail = source[1];
            if ((c & 0xFC00) != 0xD800 || (trail & 0xFC00) != 0xDC00) return false;
            c = 0x10000 + ((c & 0x3FF) << 10) + (trail & 0x3FF);
            const uint32_t bytes = 0x808080F0 | c >> 18 | (c >> 4 & 0x3F00) | (c << 10 & 0x3F0000) |
                                   (c << 24 & 0x3F000000);
            std::memcpy(target, &bytes, 4);
            target += 4;
            source += 2;
            continue;
        }
        ++source;
        if (c < 0x80) {
            *target++ = static_cast<unsigned char>(c);
            continue;
        }
        if (c >= 0x800) {
            *target++ = static_cast<unsigned char>(0xE0 | c >> 12);
            *target++ = static_cast<unsigned char>(0x80 | (c >> 6 & 0x3F));
        } else {
            *target++ = static_cast<unsigned char>(0xC0 | c >> 6);
        }
        *target++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
    }
    return true;
}

}  // namespace

QXUT_TARGET_VECTORS EncodeStep utf8_encode_vectors(const char16_t* source,
                                                   const char16_t* source_end,
                                                   unsigned char* target,
                                                   unsigned char* target_end) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i not_ascii = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i above_two = _mm_set1_epi16(static_cast<short>(0xF800));
    const __m128i surrogates = _mm_set1_epi16(static_cast<short>(0xD800));
    while (source_end - source >= kStep + kMargin && target_end - target >= 4 * kStep) {
        const __m128i a = load(source);
        const __m128i b = load(source + 8);
        if (!any(_mm_and_si128(_mm_or_si128(a, b), not_ascii))) {
            store(target, _mm_packus_epi16(a, b));
            source += 16;
            target += 16;
            continue;
        }
        const __m128i high = _mm_and_si128(a, above_two);
        if (!any(high)) {
            target += encode_two(target, a);
            source += 8;
        } else if (!any(_mm_cmpeq_epi16(high, surrogates))) {
            target += encode_three(target, _mm_unpacklo_epi16(a, zero));
            target += encode_three(target, _mm_unpackhi_epi16(a, zero));
            source += 8;
        } else if (!encode_with_pairs(source, target)) {
            break;
        }
    }
    return {source, target};
}

}  // namespace qxut

#endif
