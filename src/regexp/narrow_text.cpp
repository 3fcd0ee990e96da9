// narrow_text.cpp - converts a narrow text and remembers which bytes its units came from.
//
// How much is remembered depends on the text. One byte a unit (ASCII, the single-byte code pages):
// nothing. Well-formed UTF-8: the offset of every 64th unit, as the lengths between follow from the
// characters. Anything else, ill-formed UTF-8 and the multi-byte code pages: the offset of each
// unit. Ill-formed bytes are one U+FFFD for each maximal part, with the offset of their first.
//
// Entry point: NarrowText. Tested by tests/regexp/narrow_text_test.cpp.
#include "regexp/narrow_text.h"

#include <algorithm>

#include "i18n/thread_converters.h"
#include "i18n/utf8.h"
#include "i18n/utf8_scan.h"
#include "regexp/characters.h"
#include "regexp/failure.h"

namespace qxut::regexp {
namespace {

constexpr size_t kStride = 64;
// So that offsets within a piece fit ICU's 32 bits.
constexpr size_t kPieceBytes = size_t{1} << 16;
constexpr size_t kPieceUnits = 512;

// Bytes of the UTF-8 that a unit stands for, those of a pair with its high one.
size_t utf8_length(char16_t unit) {
    if (unit < 0x80) return 1;
    if (unit < 0x800) return 2;
    if (is_high_surrogate(unit)) return 4;
    return is_low_surrogate(unit) ? 0 : 3;
}

}  // namespace

NarrowText::NarrowText(const char* text, size_t length) : bytes_(text != nullptr ? length : 0) {
    if (bytes_ == 0) return;
    if (default_is_utf8()) {
        take_utf8(text, bytes_);
    } else {
        take_legacy(text, bytes_);
    }
}

void NarrowText::take_utf8(const char* text, size_t length) {
    units_.resize(utf8_to_utf16_whole(nullptr, 0, text, length));
    utf8_to_utf16_whole(units_.data(), units_.size(), text, length);
    if (units_.size() == length) return;  // no sequence gives more units than it has bytes
    if (utf8_valid_length(text, length) == length) {
        map_well_formed_utf8();
    } else {
        map_any_utf8(text, length);
    }
}

void NarrowText::map_well_formed_utf8() {
    is_sparse_ = true;
    offsets_.reserve(units_.size() / kStride + 1);
    size_t offset = 0;
    for (size_t i = 0; i < units_.size(); ++i) {
        if (i % kStride == 0) offsets_.push_back(offset);
        offset += utf8_length(units_[i]);
    }
}

void NarrowText::map_any_utf8(const char* text, size_t length) {
    offsets_.reserve(units_.size());
    for (size_t offset = 0; offset < length;) {
        const Utf8Sequence sequence = utf8_sequence(text + offset, length - offset);
        offsets_.push_back(offset);
        if (sequence.is_valid && sequence.length == 4) offsets_.push_back(offset);
        offset += sequence.length;
    }
}

void NarrowText::take_legacy(const char* text, size_t length) {
    const ConverterUse use(nullptr);
    if (use.get() == nullptr) fail_memory();
    if (use.get()->kind == Converter::Kind::utf8) {
        take_utf8(text, length);
        return;
    }
    UConverter* const icu = use.get()->icu;
    ucnv_resetToUnicode(icu);
    units_.reserve(length);
    offsets_.reserve(length);
    for (size_t begin = 0; begin < length;) {
        const size_t end = begin + std::min(length - begin, kPieceBytes);
        UErrorCode error = U_ZERO_ERROR;
        // A character that the last piece ended in began there.
        size_t before = begin - static_cast<size_t>(ucnv_toUCountPending(icu, &error));
        const char* source = text + begin;
        do {
            char16_t units[kPieceUnits];
            int32_t offsets[kPieceUnits];
            char16_t* target = units;
            const auto base = static_cast<size_t>(source - text);
            error = U_ZERO_ERROR;
            ucnv_toUnicode(icu, &target, units + kPieceUnits, &source, text + end, offsets,
                           static_cast<UBool>(end == length), &error);
            if (U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR) fail_memory();
            const auto count = static_cast<size_t>(target - units);
            units_.insert(units_.end(), units, target);
            for (size_t i = 0; i < count; ++i) {
                // What was held back belongs to the character before.
                if (offsets[i] >= 0) before = base + static_cast<size_t>(offsets[i]);
                offsets_.push_back(before);
            }
        } while (error == U_BUFFER_OVERFLOW_ERROR);
        begin = end;
    }
    bool is_identity = units_.size() == length;
    for (size_t i = 0; is_identity && i < length; ++i) is_identity = offsets_[i] == i;
    if (is_identity) Vector<size_t>().swap(offsets_);
}

size_t NarrowText::byte_offset(size_t unit) const noexcept {
    if (unit >= units_.size()) return bytes_;
    if (offsets_.empty()) return unit;
    if (!is_sparse_) return offsets_[unit];
    if (unit != 0 && is_low_surrogate(units_[unit]) && is_high_surrogate(units_[unit - 1])) --unit;
    size_t offset = offsets_[unit / kStride];
    for (size_t i = unit / kStride * kStride; i < unit; ++i) offset += utf8_length(units_[i]);
    return offset;
}

}  // namespace qxut::regexp
