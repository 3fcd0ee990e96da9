// utf8_encode_wide.cpp - well-formed UTF-16 to UTF-8, 32 units at a time.
//
// Every unit gets a lane that holds its bytes, the last one highest: 16 bits where there is nothing
// above 7FF, else 32. The lead surrogate's lane gets the four bytes of the pair, that of the trail
// surrogate none. Then the bytes that are in use are compressed.
//
//     units  41           436          20AC         D83D         DE00
//     lanes  .. .. .. 41  .. .. D0 B6  .. E2 82 AC  F0 9F 98 80  .. .. .. ..
//
// A block ends in front of a lead surrogate whose other half it does not hold; a surrogate without
// one ends the run. Near the ends of source and target loads and stores are masked.
// Entry point: utf8_encode_wide. Tested by tests/i18n/utf8_forms_test.cpp.
#include "i18n/processor.h"
#include "i18n/utf8.h"

#if defined(QXUT_I18N_VECTORS)

#include "i18n/wide_registers.h"

namespace qxut {
namespace {

constexpr size_t kBlock = 32;
// A whole store reaches over up to 64 bytes behind those that it is for; every unit to come has at
// least one.
constexpr size_t kMargin = 64;
constexpr size_t kMostBytes = 3 * kBlock;

template <Constant kWhere>
struct Constants {
    using every = Every<kWhere>;
    __m512i not_ascii = every::unit(0xFF80);
    __m512i above_7ff = every::unit(0xF800);
    __m512i surrogate_bits = every::unit(0xFC00);
    __m512i lead_surrogate = every::unit(0xD800);
    __m512i trail_surrogate = every::unit(0xDC00);

    __m512i two_lead = every::unit(0xC0);
    __m512i two_trail = every::unit(0x8000);
    __m512i two_trail_bits = every::unit(0xBF00);

    // Where the six bits of each byte begin in a code point, for two lanes.
    __m512i sixes = every::value(_mm512_set1_epi64(0x20262C32'00060C12));
    __m512i six_bits = every::lane(0x3F3F3F3F);
    __m512i from_80 = every::lane(0x80);
    __m512i from_800 = every::lane(0x800);
    __m512i from_10000 = every::lane(0x10000);
    // The bits that tell a byte's part; the highest one stands for being used.
    __m512i one_byte = every::lane(0x80000000);
    __m512i two_bytes = every::lane(0x80C00000);
    __m512i three_bytes = every::lane(0x8080E000);
    __m512i four_bytes = every::lane(0x808080F0);
    // What the numbers of a pair sum up to beyond its code point.
    __m512i pair_excess = every::lane((0xD800u << 10) + 0xDC00u - 0x10000u);

    QXUT_TARGET_WIDE_VECTORS Constants() {}
};

// Bytes in lanes, and which of them are in use.
struct Lanes {
    __m512i bytes;
    uint64_t used;

    QXUT_TARGET_WIDE_VECTORS size_t count() const {
        return static_cast<size_t>(_mm_popcnt_u64(used));
    }
    template <bool kIsWhole>
    QXUT_TARGET_WIDE_VECTORS void store(unsigned char* target) const {
        const __m512i closed = _mm512_maskz_compress_epi8(used, bytes);
        if constexpr (kIsWhole) {
            _mm512_storeu_si512(target, closed);
        } else {
            _mm512_mask_storeu_epi8(target, lowest_bits(count()), closed);
        }
    }
};

// Units below 800, in lanes of 16 bits.
QXUT_TARGET_WIDE_VECTORS inline Lanes up_to_two_bytes(const auto& k, __m512i units, size_t size) {
    const __mmask32 one = _mm512_testn_epi16_mask(units, k.not_ascii);
    const __m512i last = _mm512_slli_epi16(units, 8);
    const __m512i lead = _mm512_or_si512(_mm512_srli_epi16(units, 6), k.two_lead);
    const __m512i trail = _mm512_and_si512(_mm512_or_si512(last, k.two_trail), k.two_trail_bits);
    const uint64_t unused = _pdep_u64(one, 0x5555555555555555);
    return {_mm512_mask_mov_epi16(_mm512_or_si512(lead, trail), one, last),
            ~unused & lowest_bits(2 * size)};
}

// Code points in lanes of 32 bits, or, without a byte, trail surrogates.
template <bool kHasPairs>
QXUT_TARGET_WIDE_VECTORS inline Lanes up_to_four_bytes(const auto& k, __m512i code_points,
                                                       __mmask16 trails) {
    const __mmask16 below_80 = _mm512_cmplt_epu32_mask(code_points, k.from_80);
    const __mmask16 below_800 = _mm512_cmplt_epu32_mask(code_points, k.from_800);
    __m512i marks = _mm512_mask_mov_epi32(k.three_bytes, below_800, k.two_bytes);
    marks = _mm512_mask_mov_epi32(marks, below_80, k.one_byte);
    if constexpr (kHasPairs) {
        const __mmask16 four = _mm512_cmpge_epu32_mask(code_points, k.from_10000);
        marks = _mm512_mask_mov_epi32(marks, four, k.four_bytes);
        marks = _mm512_mask_mov_epi32(marks, trails, _mm512_setzero_si512());
    }
    constexpr int kFirstOrBothOthers = 0xF8;
    const __m512i bytes = _mm512_ternarylogic_epi32(
        marks, _mm512_multishift_epi64_epi8(k.sixes, code_points), k.six_bits, kFirstOrBothOthers);
    return {_mm512_mask_slli_epi32(bytes, below_80, code_points, 24), _mm512_movepi8_mask(marks)};
}

QXUT_TARGET_WIDE_VECTORS inline __m512i lower_widened(__m512i units) {
    return _mm512_cvtepu16_epi32(_mm512_castsi512_si256(units));
}
QXUT_TARGET_WIDE_VECTORS inline __m512i upper_widened(__m512i units) {
    return _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(units, 1));
}

// Surrogates, a bit for each.
struct Surrogates {
    uint32_t leads;
    uint32_t trails;

    QXUT_TARGET_WIDE_VECTORS Surrogates(const auto& k, __m512i units) {
        const __m512i kind = _mm512_and_si512(units, k.surrogate_bits);
        leads = _mm512_cmpeq_epi16_mask(kind, k.lead_surrogate);
        trails = _mm512_cmpeq_epi16_mask(kind, k.trail_surrogate);
    }

    bool any() const { return (leads | trails) != 0; }

    // Of the first `size` units those in front of the first fault, less a lead surrogate in the
    // last place, which waits for its other half.
    QXUT_TARGET_WIDE_VECTORS size_t well_formed(size_t size, bool& is_fault) const {
        size -= leads >> (size - 1);
        const uint32_t fault = (trails ^ leads << 1) & static_cast<uint32_t>(lowest_bits(size + 1));
        is_fault = fault != 0;
        if (!is_fault) return size;
        // A trail surrogate that has no lead, or what stands behind a lead that has no trail.
        const size_t at = _tzcnt_u32(fault);
        return at - (~trails >> at & 1);
    }
};

// Replaces lead surrogates by their pairs' code points. What is behind the last unit, which is no
// lead surrogate, does not matter.
QXUT_TARGET_WIDE_VECTORS inline __m512i with_pairs(const auto& k, __m512i units, __m512i behind,
                                                   __mmask16 leads) {
    const __m512i sum = _mm512_add_epi32(_mm512_slli_epi32(units, 10), behind);
    return _mm512_mask_sub_epi32(units, leads, sum, k.pair_excess);
}

// Converts up to `size` units, and is whole where what stores reach over does not matter. False
// when the run ends, be it in front of them.
template <bool kIsWhole>
QXUT_TARGET_WIDE_VECTORS inline bool encode_block(const auto& k, __m512i units, size_t size,
                                                  EncodeStep& step, size_t room) {
    if (_mm512_test_epi16_mask(units, k.above_7ff) == 0) {
        const Lanes lanes = up_to_two_bytes(k, units, size);
        if (!kIsWhole && lanes.count() > room) return false;
        lanes.store<kIsWhole>(step.target);
        step.source += size;
        step.target += lanes.count();
        return true;
    }
    __m512i lower = lower_widened(units);
    __m512i upper = upper_widened(units);
    const Surrogates surrogates(k, units);
    bool is_fault = false;
    Lanes first;
    Lanes second;
    if (surrogates.any()) {
        size = surrogates.well_formed(size, is_fault);
        const auto leads = static_cast<__mmask32>(surrogates.leads);
        const auto trails = static_cast<__mmask32>(surrogates.trails);
        lower = with_pairs(k, lower, _mm512_alignr_epi32(upper, lower, 1),
                           static_cast<__mmask16>(leads));
        upper = with_pairs(k, upper, _mm512_alignr_epi32(upper, upper, 1),
                           static_cast<__mmask16>(leads >> 16));
        first = up_to_four_bytes<true>(k, lower, static_cast<__mmask16>(trails));
        second = up_to_four_bytes<true>(k, upper, static_cast<__mmask16>(trails >> 16));
    } else {
        first = up_to_four_bytes<false>(k, lower, 0);
        second = up_to_four_bytes<false>(k, upper, 0);
    }
    if (size != kBlock) {
        const size_t half = kBlock / 2;
        first.used &= lowest_bits(4 * size);
        second.used &= size < half ? 0 : lowest_bits(4 * (size - half));
    }
    if (!kIsWhole && first.count() + second.count() > room) return false;
    first.store<kIsWhole>(step.target);
    step.target += first.count();
    second.store<kIsWhole>(step.target);
    step.target += second.count();
    step.source += size;
    return !is_fault && size != 0;
}

QXUT_TARGET_WIDE_VECTORS inline bool is_ascii(const auto& k, __m512i units) {
    return _mm512_test_epi16_mask(units, k.not_ascii) == 0;
}
QXUT_TARGET_WIDE_VECTORS inline void store_ascii(unsigned char* target, __m512i units) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm512_cvtepi16_epi8(units));
}

// Converts up to where stores have to be masked. False when the run ends in front of that.
QXUT_TARGET_WIDE_VECTORS bool encode_whole_blocks(EncodeStep& step, const char16_t* source_end,
                                                  const unsigned char* target_end) {
    const Constants<Constant::in_register> k;
    while (source_end - step.source >= static_cast<ptrdiff_t>(kBlock + kMargin) &&
           target_end - step.target >= static_cast<ptrdiff_t>(kMostBytes + kMargin)) {
        const __m512i units = _mm512_loadu_si512(step.source);
        if (!is_ascii(k, units)) {
            if (!encode_block<true>(k, units, kBlock, step, 0)) return false;
            continue;
        }
        const __m512i more = _mm512_loadu_si512(step.source + kBlock);
        store_ascii(step.target, units);
        step.source += kBlock;
        step.target += kBlock;
        if (!is_ascii(k, more)) continue;
        store_ascii(step.target, more);
        step.source += kBlock;
        step.target += kBlock;
    }
    return true;
}

}  // namespace

QXUT_TARGET_WIDE_VECTORS EncodeStep utf8_encode_wide(const char16_t* source,
                                                     const char16_t* source_end,
                                                     unsigned char* target,
                                                     unsigned char* target_end) {
    EncodeStep step{source, target};
    const auto left = [&] { return static_cast<size_t>(source_end - step.source); };
    const auto room = [&] { return static_cast<size_t>(target_end - step.target); };
    if (left() >= kBlock + kMargin && room() >= kMostBytes + kMargin &&
        !encode_whole_blocks(step, source_end, target_end)) {
        return step;
    }
    const Constants<Constant::anywhere> k;
    while (left() != 0) {
        size_t size = left() < kBlock ? left() : kBlock;
        const auto here = static_cast<__mmask32>(lowest_bits(size));
        const __m512i units = _mm512_maskz_loadu_epi16(here, step.source);
        if (!is_ascii(k, units)) {
            if (!encode_block<false>(k, units, size, step, room())) break;
            continue;
        }
        if (size > room()) size = room();
        if (size == kBlock) {
            store_ascii(step.target, units);
        } else {
            _mm256_mask_storeu_epi8(step.target, static_cast<__mmask32>(lowest_bits(size)),
                                    _mm512_cvtepi16_epi8(units));
        }
        step.source += size;
        step.target += size;
        if (room() == 0) break;
    }
    return step;
}

}  // namespace qxut

#endif
