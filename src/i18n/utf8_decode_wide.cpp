// utf8_decode_wide.cpp - well-formed UTF-8 to UTF-16, 64 bytes at a time.
//
// A unit is made at the place of every byte, out of that byte and the two in front of it, as if a
// character ended there; then the units of the places where one does end are compressed. With
// characters of four bytes the place of the third gives the lead surrogate, that of the last the
// trail surrogate. Leads and continuations are masks of 64 bits, and so are the rules: behind each
// lead there are as many continuations as it demands, and nowhere else.
//
//     bytes  41 D0 B6 E2 82 AC F0 9F 98 80
//     kept   ^     ^        ^        ^  ^
//     units  41   436     20AC     D83D DE00
//
// A block ends in front of a character that it does not hold the whole of. An ill-formed sequence
// ends the run, in front of the character that it follows or before. Within less than a block loads
// and stores are masked. Entry point: utf8_decode_wide. Tested by tests/i18n/utf8_forms_test.cpp.
#include "i18n/processor.h"
#include "i18n/utf8.h"

#if defined(QXUT_I18N_VECTORS)

#include "i18n/wide_registers.h"

namespace qxut {
namespace {

constexpr size_t kBlock = 64;
// A whole store reaches over up to 32 units behind those that it is for, which the bytes to come
// have if there are so many.
constexpr size_t kMargin = size_t{3} * 32;

struct Places {
    alignas(64) unsigned char place[kBlock];
};

constexpr Places make_places_before() {
    Places made{};
    for (size_t i = 1; i < kBlock; ++i) made.place[i] = static_cast<unsigned char>(i - 1);
    return made;
}

constexpr Places kPlacesBefore = make_places_before();

template <Constant kWhere>
struct Constants {
    using every = Every<kWhere>;
    // As signed bytes, 80 to BF are those below C0.
    __m512i c0 = every::byte(0xC0);
    __m512i c0_and_c1 = every::byte(0xFE);
    __m512i e0 = every::byte(0xE0);
    __m512i ed = every::byte(0xED);
    __m512i f0 = every::byte(0xF0);
    __m512i f4 = every::byte(0xF4);
    __m512i from_90 = every::byte(0x90);
    __m512i from_a0 = every::byte(0xA0);

    __m512i places_before = every::value(_mm512_load_si512(&kPlacesBefore));
    __m512i inner_mark = every::byte(0x80);
    __m512i six_bits = every::byte(0x3F);

    __m512i three_bits = every::unit(0x07);
    __m512i ten_bits = every::unit(0x3FF);
    __m512i lead_surrogate = every::unit(0xD800 - (0x10000 >> 10));
    __m512i trail_surrogate = every::unit(0xDC00);

    QXUT_TARGET_WIDE_VECTORS Constants() {}
};

// What the bytes of a block are, a bit for each.
struct Kinds {
    uint64_t inner;  // continuations
    uint64_t lead;   // of two bytes or more
    uint64_t lead_of_three;
    uint64_t lead_of_four;

    QXUT_TARGET_WIDE_VECTORS Kinds(const auto& k, __m512i bytes, uint64_t high) {
        inner = _mm512_cmplt_epi8_mask(bytes, k.c0);
        lead = high & ~inner;
        lead_of_three = _mm512_cmpge_epu8_mask(bytes, k.e0);
        lead_of_four = _mm512_cmpge_epu8_mask(bytes, k.f0);
    }

    // Bytes in front of the character, if any, that goes on behind the first `size` bytes.
    QXUT_TARGET_WIDE_VECTORS size_t whole_characters(size_t size) const {
        const size_t gap = kBlock - size;
        const uint64_t cut = ((lead << gap) & uint64_t{1} << 63) |
                             ((lead_of_three << gap) & uint64_t{3} << 62) |
                             ((lead_of_four << gap) & uint64_t{7} << 61);
        return _tzcnt_u64(cut) - gap;  // of 0 it is 64
    }

    // The bytes that break a rule.
    QXUT_TARGET_WIDE_VECTORS uint64_t faults(const auto& k, __m512i bytes) const {
        uint64_t fault = inner ^ (lead << 1 | lead_of_three << 2 | lead_of_four << 3);
        fault |= _mm512_cmpeq_epi8_mask(_mm512_and_si512(bytes, k.c0_and_c1), k.c0);
        if (lead_of_three != 0) {
            // Overlong forms and surrogates.
            const uint64_t e0 = _mm512_cmpeq_epi8_mask(bytes, k.e0);
            const uint64_t ed = _mm512_cmpeq_epi8_mask(bytes, k.ed);
            const uint64_t from_a0 = _mm512_cmpge_epu8_mask(bytes, k.from_a0);
            fault |= (e0 << 1 & ~from_a0) | (ed << 1 & from_a0);
        }
        if (lead_of_four != 0) {
            // Overlong forms and what is above 10FFFF.
            const uint64_t f0 = _mm512_cmpeq_epi8_mask(bytes, k.f0);
            const uint64_t f4 = _mm512_cmpeq_epi8_mask(bytes, k.f4);
            const uint64_t from_90 = _mm512_cmpge_epu8_mask(bytes, k.from_90);
            fault |= (f0 << 1 & ~from_90) | (f4 << 1 & from_90);
            fault |= _mm512_cmpgt_epu8_mask(bytes, k.f4);
        }
        return fault;
    }
};

QXUT_TARGET_WIDE_VECTORS inline __m512i lower_widened(__m512i bytes) {
    return _mm512_cvtepu8_epi16(_mm512_castsi512_si256(bytes));
}
QXUT_TARGET_WIDE_VECTORS inline __m512i upper_widened(__m512i bytes) {
    return _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(bytes, 1));
}

// The payload bits of the byte at each place, of the one in front of it and of the one in front of
// that, as far as they belong to one character; of its first byte there may be more bits.
struct Payload {
    __m512i last;
    __m512i middle;
    __m512i first;

    // What is in front of the block's first byte, which begins a character, does not matter.
    QXUT_TARGET_WIDE_VECTORS Payload(const auto& k, __m512i bytes, uint64_t inner) {
        const __m512i before = _mm512_permutexvar_epi8(k.places_before, bytes);
        last = _mm512_mask_sub_epi8(bytes, inner, bytes, k.inner_mark);
        middle = _mm512_maskz_mov_epi8(inner, _mm512_and_si512(before, k.six_bits));
        first = _mm512_maskz_permutexvar_epi8(inner & inner << 1, k.places_before, before);
    }
};

constexpr int kAnyOfThree = 0xFE;

// The three parts are those of 32 places, widened.
template <bool kHasPairs>
QXUT_TARGET_WIDE_VECTORS inline __m512i units_of(const auto& k, __m512i last, __m512i middle,
                                                 __m512i first, uint64_t thirds, uint64_t fourths) {
    __m512i units = _mm512_ternarylogic_epi32(last, _mm512_slli_epi16(middle, 6),
                                              _mm512_slli_epi16(first, 12), kAnyOfThree);
    if constexpr (kHasPairs) {
        const __m512i highest = _mm512_slli_epi16(_mm512_and_si512(first, k.three_bits), 8);
        const __m512i high = _mm512_ternarylogic_epi32(highest, _mm512_slli_epi16(middle, 2),
                                                       _mm512_srli_epi16(last, 4), kAnyOfThree);
        const __m512i low = _mm512_and_si512(units, k.ten_bits);
        units =
            _mm512_mask_add_epi16(units, static_cast<__mmask32>(thirds), high, k.lead_surrogate);
        units =
            _mm512_mask_add_epi16(units, static_cast<__mmask32>(fourths), low, k.trail_surrogate);
    }
    return units;
}

// Stores the units of the places wanted, and returns how many.
template <bool kIsWhole>
QXUT_TARGET_WIDE_VECTORS inline size_t store_units(char16_t* target, __m512i units,
                                                   uint64_t wanted) {
    const auto mask = static_cast<__mmask32>(wanted);
    const auto count = static_cast<size_t>(_mm_popcnt_u32(mask));
    const __m512i closed = _mm512_maskz_compress_epi16(mask, units);
    if constexpr (kIsWhole) {
        _mm512_storeu_si512(target, closed);
    } else {
        _mm512_mask_storeu_epi16(target, static_cast<__mmask32>(lowest_bits(count)), closed);
    }
    return count;
}

template <bool kIsWhole, bool kHasPairs>
QXUT_TARGET_WIDE_VECTORS inline size_t store_block(const auto& k, const Payload& payload,
                                                   char16_t* target, uint64_t wanted,
                                                   uint64_t thirds, uint64_t fourths) {
    const __m512i lower =
        units_of<kHasPairs>(k, lower_widened(payload.last), lower_widened(payload.middle),
                            lower_widened(payload.first), thirds, fourths);
    const __m512i upper =
        units_of<kHasPairs>(k, upper_widened(payload.last), upper_widened(payload.middle),
                            upper_widened(payload.first), thirds >> 32, fourths >> 32);
    const size_t count = store_units<kIsWhole>(target, lower, wanted);
    return count + store_units<kIsWhole>(target + count, upper, wanted >> 32);
}

// Converts up to `size` bytes, and is whole where what stores reach over does not matter. False
// when the run ends, be it in front of them.
template <bool kIsWhole>
QXUT_TARGET_WIDE_VECTORS inline bool decode_block(const auto& k, __m512i bytes, uint64_t high,
                                                  size_t size, DecodeStep& step, size_t room) {
    const Kinds kinds(k, bytes, high);
    size = kinds.whole_characters(size);
    // What was left must not be where a continuation is due.
    const uint64_t fault = kinds.faults(k, bytes) & lowest_bits(size + 1);
    if (fault != 0) [[unlikely]] {
        // In front of the last character that begins before it.
        const uint64_t begun = ~kinds.inner & lowest_bits(_tzcnt_u64(fault));
        size = begun == 0 ? 0 : 63 - _lzcnt_u64(begun);
    }
    const uint64_t thirds = kinds.lead_of_four << 2;
    const uint64_t wanted = (~(kinds.inner >> 1) | thirds) & lowest_bits(size);
    if (!kIsWhole && static_cast<size_t>(_mm_popcnt_u64(wanted)) > room) return false;
    const Payload payload(k, bytes, kinds.inner);
    step.target += kinds.lead_of_four == 0
                       ? store_block<kIsWhole, false>(k, payload, step.target, wanted, 0, 0)
                       : store_block<kIsWhole, true>(k, payload, step.target, wanted, thirds,
                                                     kinds.lead_of_four << 3);
    step.source += size;
    return fault == 0 && size != 0;
}

QXUT_TARGET_WIDE_VECTORS inline void store_ascii(char16_t* target, __m512i bytes) {
    _mm512_storeu_si512(target, lower_widened(bytes));
    _mm512_storeu_si512(target + kBlock / 2, upper_widened(bytes));
}

// Converts up to where stores have to be masked. False when the run ends in front of that.
QXUT_TARGET_WIDE_VECTORS bool decode_whole_blocks(DecodeStep& step, const unsigned char* source_end,
                                                  const char16_t* target_end) {
    const Constants<Constant::in_register> k;
    while (source_end - step.source >= static_cast<ptrdiff_t>(kBlock + kMargin) &&
           target_end - step.target >= static_cast<ptrdiff_t>(kBlock)) {
        const __m512i bytes = _mm512_loadu_si512(step.source);
        const uint64_t high = _mm512_movepi8_mask(bytes);
        if (high != 0) {
            if (!decode_block<true>(k, bytes, high, kBlock, step, 0)) return false;
            continue;
        }
        store_ascii(step.target, bytes);
        step.source += kBlock;
        step.target += kBlock;
    }
    return true;
}

}  // namespace

QXUT_TARGET_WIDE_VECTORS DecodeStep utf8_decode_wide(const unsigned char* source,
                                                     const unsigned char* source_end,
                                                     char16_t* target, char16_t* target_end) {
    DecodeStep step{source, target};
    const auto left = [&] { return static_cast<size_t>(source_end - step.source); };
    const auto room = [&] { return static_cast<size_t>(target_end - step.target); };
    if (left() >= kBlock + kMargin && room() >= kBlock &&
        !decode_whole_blocks(step, source_end, target_end)) {
        return step;
    }
    const Constants<Constant::anywhere> k;
    while (left() != 0) {
        size_t size = left() < kBlock ? left() : kBlock;
        const __m512i bytes = _mm512_maskz_loadu_epi8(lowest_bits(size), step.source);
        const uint64_t high = _mm512_movepi8_mask(bytes);
        if (high != 0) {
            if (!decode_block<false>(k, bytes, high, size, step, room())) break;
            continue;
        }
        if (size > room()) size = room();
        const uint64_t stored = lowest_bits(size);
        _mm512_mask_storeu_epi16(step.target, static_cast<__mmask32>(stored), lower_widened(bytes));
        if (size > 32) {
            _mm512_mask_storeu_epi16(step.target + 32, static_cast<__mmask32>(stored >> 32),
                                     upper_widened(bytes));
        }
        step.source += size;
        step.target += size;
        if (room() == 0) break;
    }
    return step;
}

}  // namespace qxut

#endif
