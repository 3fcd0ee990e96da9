// utf8.cpp - which form converts what of a text, and texts as wholes; see utf8.h.
#include "i18n/utf8.h"

#include <algorithm>
#include <iterator>

#include "i18n/processor.h"

namespace qxut {
namespace {

#if defined(QXUT_I18N_VECTORS)

// Units written one by one, where a vector form stopped, before it is tried again.
constexpr ptrdiff_t kPlainRun = 16;

// Units of the source and of the target: with fewer left the rest is taken one by one.
struct Least {
    ptrdiff_t source;
    ptrdiff_t target;
};

template <typename Step, typename Source, typename Target, typename Form>
Step alternate(const Source* source, const Source* source_end, Target* target, Target* target_end,
               const Least& least, Form vectors, Form plain) {
    Step step{source, target};
    for (;;) {
        step = vectors(step.source, source_end, step.target, target_end);
        if (step.source == source_end) return step;
        const ptrdiff_t room = target_end - step.target;
        if (source_end - step.source < least.source || room < least.target) {
            return plain(step.source, source_end, step.target, target_end);
        }
        step = plain(step.source, source_end, step.target, step.target + std::min(room, kPlainRun));
    }
}

#endif

// Runs the steps into memory that nobody reads, for their length; the first units also go to the
// target, which has room for fewer than a character has.
template <typename Unit, typename Source, typename Step>
size_t measure_rest(Unit* target, size_t room, const Source* source, const Source* end, Step step) {
    if (source == end) return 0;
    Unit scratch[2048];
    size_t total = 0;
    do {
        const auto after = step(source, end, scratch, std::end(scratch));
        const auto written = static_cast<size_t>(after.target - scratch);
        if (total < room) std::copy_n(scratch, std::min(room - total, written), target + total);
        total += written;
        source = after.source;
    } while (source != end);
    return total;
}

}  // namespace

DecodeStep utf8_decode(const unsigned char* source, const unsigned char* source_end,
                       char16_t* target, char16_t* target_end) {
#if defined(QXUT_I18N_VECTORS)
    if (has_wide_vectors()) [[likely]] {
        return alternate<DecodeStep>(source, source_end, target, target_end, {16, 64},
                                     utf8_decode_wide, utf8_decode_plain);
    }
    if (has_vectors()) {
        return alternate<DecodeStep>(source, source_end, target, target_end, {80, 80},
                                     utf8_decode_vectors, utf8_decode_plain);
    }
#endif
    return utf8_decode_plain(source, source_end, target, target_end);
}

EncodeStep utf8_encode(const char16_t* source, const char16_t* source_end, unsigned char* target,
                       unsigned char* target_end) {
#if defined(QXUT_I18N_VECTORS)
    if (has_wide_vectors()) [[likely]] {
        return alternate<EncodeStep>(source, source_end, target, target_end, {8, 96},
                                     utf8_encode_wide, utf8_encode_plain);
    }
    if (has_vectors()) {
        return alternate<EncodeStep>(source, source_end, target, target_end, {32, 64},
                                     utf8_encode_vectors, utf8_encode_plain);
    }
#endif
    return utf8_encode_plain(source, source_end, target, target_end);
}

size_t utf8_to_utf16_whole(char16_t* target, size_t capacity, const char* source, size_t length) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(source);
    const DecodeStep step = utf8_decode(bytes, bytes + length, target, target + capacity);
    const auto written = static_cast<size_t>(step.target - target);
    const size_t total = written + measure_rest(step.target, capacity - written, step.source,
                                                bytes + length, utf8_decode);
    if (total < capacity) target[total] = 0;
    return total;
}

size_t utf16_to_utf8_whole(char* target, size_t capacity, const char16_t* source, size_t length) {
    auto* const bytes = reinterpret_cast<unsigned char*>(target);
    const EncodeStep step = utf8_encode(source, source + length, bytes, bytes + capacity);
    const auto written = static_cast<size_t>(step.target - bytes);
    const size_t total = written + measure_rest(step.target, capacity - written, step.source,
                                                source + length, utf8_encode);
    if (total < capacity) target[total] = 0;
    return total;
}

size_t utf8_decoded_length(const unsigned char* source, const unsigned char* source_end) {
    return measure_rest<char16_t>(nullptr, 0, source, source_end, utf8_decode);
}

size_t utf8_encoded_length(const char16_t* source, const char16_t* source_end) {
    return measure_rest<unsigned char>(nullptr, 0, source, source_end, utf8_encode);
}

}  // namespace qxut
