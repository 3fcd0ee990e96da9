// utf8_decode_vectors.cpp - well-formed UTF-8 to UTF-16, several characters at a time.
//
// Of each block of 64 bytes a mask is made that has a bit for every byte that ends a character,
// one that no continuation byte follows. Twelve of its bits tell where the next characters lie, and
// select a shuffle that brings each into a lane, most significant byte first: six characters of up
// to two bytes into 16-bit lanes, or four of up to three or three of up to four into 32-bit lanes.
// There a character is well-formed when its number lies in the range of its length, since a lane
// holds one byte that is no continuation and then continuations only. A lane outside its range, or
// a mask that no character could have, ends the run.
//
//     bytes  41 C3 A9 20 D0 B6 ...   ends  1 0 1 1 0 1 ...   lanes  0041 C3A9 0020 D0B6 ...
//
// Stores may reach beyond the units they are for; the bytes still to come have at least as many.
// Entry point: utf8_decode_vectors. Tested by tests/i18n/utf8_forms_test.cpp.
#include "i18n/processor.h"
#include "i18n/utf8.h"

#if defined(QXUT_I18N_VECTORS)

#include <immintrin.h>

namespace qxut {
namespace {

constexpr int kMaskBits = 12;
constexpr unsigned char kNone = 0x80;  // shuffles a zero in

enum class Lanes : unsigned char { none, six_of_two, four_of_three, three_of_four };

struct Shuffle {
    unsigned char index[16];
};

// Which shuffle, and how many bytes its characters have.
struct Choice {
    Lanes lanes;
    unsigned char bytes;
    unsigned char shuffle;
};

constexpr int kShuffles = 64 + 81 + 64;

struct Tables {
    Choice choice[1 << kMaskBits];
    alignas(16) Shuffle shuffle[kShuffles];
};

// Reads the lengths of the next `count` characters off the mask; their sum, or 0 when the mask ends
// before them or one is longer than `longest`.
constexpr int read_lengths(int mask, int count, int longest, int* lengths) {
    int at = 0;
    for (int i = 0; i < count; ++i) {
        int length = 1;
        while (at + length <= kMaskBits && (mask >> (at + length - 1) & 1) == 0) ++length;
        if (at + length > kMaskBits || length > longest) return 0;
        lengths[i] = length;
        at += length;
    }
    return at;
}

constexpr Tables make_tables() {
    struct Form {
        Lanes lanes;
        int count;
        int longest;
        int first_shuffle;
    };
    constexpr Form kForms[] = {{Lanes::six_of_two, 6, 2, 0},
                               {Lanes::four_of_three, 4, 3, 64},
                               {Lanes::three_of_four, 3, 4, 64 + 81}};
    Tables tables{};
    for (int mask = 0; mask < 1 << kMaskBits; ++mask) {
        for (const Form& form : kForms) {
            int lengths[6] = {};
            const int sum = read_lengths(mask, form.count, form.longest, lengths);
            if (sum == 0) continue;
            int number = 0;
            for (int i = 0; i < form.count; ++i) number = number * form.longest + lengths[i] - 1;
            const int shuffle = form.first_shuffle + number;
            tables.choice[mask] = {form.lanes, static_cast<unsigned char>(sum),
                                   static_cast<unsigned char>(shuffle)};
            Shuffle& made = tables.shuffle[shuffle];
            for (unsigned char& index : made.index) index = kNone;
            const int lane_bytes = form.longest == 2 ? 2 : 4;
            int at = 0;
            for (int i = 0; i < form.count; ++i) {
                for (int k = 0; k < lengths[i]; ++k) {
                    made.index[i * lane_bytes + k] =
                        static_cast<unsigned char>(at + lengths[i] - 1 - k);
                }
                at += lengths[i];
            }
            break;
        }
    }
    return tables;
}

constexpr Tables kTables = make_tables();

// For three lanes of 32 bits: closes up those whose upper half is no unit. Indexed by the lanes
// that hold a surrogate pair.
struct PairShuffles {
    alignas(16) Shuffle shuffle[8];
};

constexpr PairShuffles make_pair_shuffles() {
    PairShuffles made{};
    for (int pairs = 0; pairs < 8; ++pairs) {
        int at = 0;
        for (int lane = 0; lane < 3; ++lane) {
            const int bytes = (pairs >> lane & 1) != 0 ? 4 : 2;
            for (int k = 0; k < bytes; ++k) {
                made.shuffle[pairs].index[at++] = static_cast<unsigned char>(lane * 4 + k);
            }
        }
        while (at < 16) made.shuffle[pairs].index[at++] = kNone;
    }
    return made;
}

constexpr PairShuffles kPairShuffles = make_pair_shuffles();

QXUT_TARGET_VECTORS inline __m128i load(const void* at) {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}
QXUT_TARGET_VECTORS inline void store(void* at, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(at), value);
}
QXUT_TARGET_VECTORS inline bool all(__m128i lanes) { return _mm_movemask_epi8(lanes) == 0xFFFF; }
QXUT_TARGET_VECTORS inline __m128i in_range(__m128i x, int lowest, int highest) {
    return _mm_and_si128(_mm_cmpgt_epi32(x, _mm_set1_epi32(lowest - 1)),
                         _mm_cmpgt_epi32(_mm_set1_epi32(highest + 1), x));
}

QXUT_TARGET_VECTORS inline void widen(char16_t* target, __m128i bytes) {
    store(target, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    store(target + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

// The functions below return the units written, 0 when a lane is ill-formed.

// The 16-bit lanes of characters of up to two bytes, `count` of them.
QXUT_TARGET_VECTORS inline int decode_two(char16_t* target, __m128i x, int count) {
    const __m128i ascii = _mm_cmpeq_epi16(_mm_min_epu16(x, _mm_set1_epi16(0x7F)), x);
    const auto lowest = _mm_set1_epi16(static_cast<short>(0xC280));
    const auto highest = _mm_set1_epi16(static_cast<short>(0xDFBF));
    const __m128i two = _mm_cmpeq_epi16(_mm_max_epu16(_mm_min_epu16(x, highest), lowest), x);
    if (!all(_mm_or_si128(ascii, two))) return 0;
    store(target, _mm_or_si128(_mm_and_si128(x, _mm_set1_epi16(0x7F)),
                               _mm_srli_epi16(_mm_and_si128(x, _mm_set1_epi16(0x1F00)), 2)));
    return count;
}

QXUT_TARGET_VECTORS inline __m128i is_up_to_three(__m128i x) {
    const __m128i surrogate =
        _mm_cmpeq_epi32(_mm_and_si128(x, _mm_set1_epi32(0xFFE000)), _mm_set1_epi32(0xEDA000));
    const __m128i three = _mm_andnot_si128(surrogate, in_range(x, 0xE0A080, 0xEFBFBF));
    return _mm_or_si128(three, _mm_or_si128(in_range(x, 0, 0x7F), in_range(x, 0xC280, 0xDFBF)));
}

// The payload bits of 32-bit lanes of up to three bytes. The lead of a two-byte character has the
// bit 0x20 clear and the last byte of any has 0x40 clear, so one mask does for several lengths.
QXUT_TARGET_VECTORS inline __m128i payload_up_to_three(__m128i x) {
    const __m128i low = _mm_and_si128(x, _mm_set1_epi32(0x7F));
    const __m128i middle = _mm_srli_epi32(_mm_and_si128(x, _mm_set1_epi32(0x3F00)), 2);
    const __m128i high = _mm_srli_epi32(_mm_and_si128(x, _mm_set1_epi32(0x0F0000)), 4);
    return _mm_or_si128(low, _mm_or_si128(middle, high));
}

QXUT_TARGET_VECTORS inline int decode_three(char16_t* target, __m128i x) {
    if (!all(is_up_to_three(x))) return 0;
    const __m128i units = payload_up_to_three(x);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target), _mm_packus_epi32(units, units));
    return 4;
}

QXUT_TARGET_VECTORS inline int decode_four(char16_t* target, __m128i x) {
    // The leads of four bytes make the lane a negative number.
    const __m128i is_four = in_range(x, static_cast<int>(0xF0908080), static_cast<int>(0xF48FBFBF));
    if (!all(_mm_or_si128(is_four, is_up_to_three(x)))) return 0;
    const __m128i tail =
        _mm_or_si128(_mm_and_si128(x, _mm_set1_epi32(0x3F)),
                     _mm_or_si128(_mm_srli_epi32(_mm_and_si128(x, _mm_set1_epi32(0x3F00)), 2),
                                  _mm_srli_epi32(_mm_and_si128(x, _mm_set1_epi32(0x3F0000)), 4)));
    const __m128i code_point =
        _mm_or_si128(tail, _mm_srli_epi32(_mm_and_si128(x, _mm_set1_epi32(0x07000000)), 6));
    const __m128i lead = _mm_add_epi32(_mm_srli_epi32(code_point, 10), _mm_set1_epi32(0xD7C0));
    const __m128i trail =
        _mm_or_si128(_mm_and_si128(code_point, _mm_set1_epi32(0x3FF)), _mm_set1_epi32(0xDC00));
    const __m128i pair = _mm_or_si128(lead, _mm_slli_epi32(trail, 16));
    const __m128i units = _mm_blendv_epi8(payload_up_to_three(x), pair, is_four);
    const int pairs = _mm_movemask_ps(_mm_castsi128_ps(is_four));
    store(target, _mm_shuffle_epi8(units, load(&kPairShuffles.shuffle[pairs])));
    return 3 + __builtin_popcount(static_cast<unsigned>(pairs));
}

QXUT_TARGET_VECTORS inline uint64_t continuations(__m128i bytes) {
    // As signed bytes, 80 to BF are those below -64.
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmplt_epi8(bytes, _mm_set1_epi8(-64))));
}

// Bytes that a block, or a step in it, may look at.
constexpr int kBlock = 64;
constexpr int kStep = 16;
// What is left behind a block, so that the bytes to come have the units that stores reach over.
constexpr ptrdiff_t kMargin = 16;

}  // namespace

QXUT_TARGET_VECTORS DecodeStep utf8_decode_vectors(const unsigned char* source,
                                                   const unsigned char* source_end,
                                                   char16_t* target, char16_t* target_end) {
    while (source_end - source >= kBlock + kMargin && target_end - target >= kBlock + kMargin) {
        const __m128i a = load(source);
        const __m128i b = load(source + 16);
        const __m128i c = load(source + 32);
        const __m128i d = load(source + 48);
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) == 0) {
            widen(target, a);
            widen(target + 16, b);
            widen(target + 32, c);
            widen(target + 48, d);
            source += kBlock;
            target += kBlock;
            continue;
        }
        const uint64_t inner = continuations(a) | continuations(b) << 16 | continuations(c) << 32 |
                               continuations(d) << 48;
        const uint64_t ends = ~inner >> 1;  // what the last byte is remains open
        int at = 0;
        while (at <= kBlock - kStep) {
            const __m128i bytes = load(source + at);
            const auto mask = static_cast<unsigned>(ends >> at);
            if ((mask & 0x7FFF) == 0x7FFF && _mm_movemask_epi8(bytes) == 0) {
                widen(target, bytes);
                at += kStep;
                target += kStep;
                continue;
            }
            int written = 0;
            if ((mask & 0xFFFF) == 0xAAAA) {
                const __m128i swapped =
                    _mm_or_si128(_mm_slli_epi16(bytes, 8), _mm_srli_epi16(bytes, 8));
                written = decode_two(target, swapped, 8);
                if (written == 0) return {source + at, target};
                at += kStep;
                target += written;
                continue;
            }
            const Choice choice = kTables.choice[mask & ((1 << kMaskBits) - 1)];
            const __m128i lanes = _mm_shuffle_epi8(bytes, load(&kTables.shuffle[choice.shuffle]));
            switch (choice.lanes) {
                case Lanes::six_of_two:
                    written = decode_two(target, lanes, 6);
                    break;
                case Lanes::four_of_three:
                    written = decode_three(target, lanes);
                    break;
                case Lanes::three_of_four:
                    written = decode_four(target, lanes);
                    break;
                case Lanes::none:
                    break;
            }
            if (written == 0) return {source + at, target};
            at += choice.bytes;
            target += written;
        }
        source += at;
    }
    return {source, target};
}

}  // namespace qxut

#endif
