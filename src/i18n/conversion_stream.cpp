// conversion_stream.cpp - conversion in steps through a pivot of UTF-16 units.
//
//     source bytes --decode--> pivot, each unit with its place in the stream --encode--> target
//
// The decoder stops at ill-formed bytes; the text that takes their place is put through the pivot
// as an insertion, and what the target encoding lacks of that is not counted a second time. The
// encoder's callback applies the policy to characters that the target lacks. The pivot is refilled
// when it is used up. ICU keeps incomplete characters between calls, and also what did not fit into
// the target, which it gives first in the next call.
//
// Places: decoding tells for each unit where in the given piece its bytes began; when that was in
// an earlier piece it says -1, or 0, and some encodings' units behind such a one are shifted. So a
// character that ICU keeps a part of is completed byte by byte; it began where the kept bytes do.
// Encoding may stop at a unit of an earlier pivot, so the last places of that are kept in front of
// the new ones.
//
// Entry point: ConversionStream::convert. Tested by tests/i18n/conversion_stream_test.cpp.
#include <qxut/i18n/conversion_stream.hpp>

#include <qxut/util/heap.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "i18n/open_failure.h"
#include "i18n/thread_converters.h"

namespace Quorvanix::I18N {
namespace {

constexpr int32_t kPivotUnits = 2048;
// Bytes decoded at once; room for more units than any encoding's bytes become.
constexpr size_t kLargestPiece = kPivotUnits / 4;
// Units that an encoder may hold back while it looks for a longer match.
constexpr int32_t kHeldUnits = 32;
constexpr int8_t kLongestIllFormed = 32;

// A converter whose own policy is to stop at every fault.
UConverter* open_stopping(const char* name) {
    qxut::OpenFailure failure = qxut::OpenFailure::none;
    UConverter* converter = nullptr;
    if (name != nullptr) {
        converter = qxut::open_icu_converter(name, failure);
    } else {
        const qxut::ConverterUse use(nullptr);
        failure = use.failure();
        if (use.get() != nullptr) {
            converter = qxut::open_icu_converter(use.get()->name, failure);
        }
    }
    qxut::throw_open_failure(failure, name);
    return converter;
}

bool is_utf16(const UConverter* converter) {
    const UConverterType type = ucnv_getType(converter);
    return type == UCNV_UTF16 || type == UCNV_UTF16_BigEndian || type == UCNV_UTF16_LittleEndian;
}

int32_t code_point_of(const UChar* units, int8_t count) {
    if (count == 2 && (units[0] & 0xFC00) == 0xD800 && (units[1] & 0xFC00) == 0xDC00) {
        return 0x10000 + ((units[0] & 0x3FF) << 10) + (units[1] & 0x3FF);
    }
    return count == 0 ? -1 : units[0];
}

}  // namespace

struct ConversionStream::State {
    UConverter* decoder;
    UConverter* encoder;
    Policy policy;
    Account account;
    Fault fault;

    char16_t pivot[kPivotUnits];
    uint64_t places[kHeldUnits + kPivotUnits];  // those of the earlier pivot's end first
    int32_t pivot_at;
    int32_t pivot_end;
    bool is_insertion;  // the pivot holds what takes the place of ill-formed bytes

    // Ill-formed bytes behind what the pivot holds.
    bool has_ill_formed;
    int8_t ill_formed_length;
    char ill_formed[kLongestIllFormed];
    uint64_t ill_formed_place;

    bool is_decoded;   // all of the source
    bool is_stopping;  // nothing more is decoded; what was is still to be written
    bool is_flushed;   // the encoder, too

    void begin();
    void decode(const char*& source, const char* end, bool last);
    void keep_ill_formed(uint64_t decoded);
    void insert_for_ill_formed();
    bool encode(bool flush, char*& target, char* end);
    void stop_at(uint64_t place, uint32_t length, int32_t character);
    bool advance(const char*& source, const char* source_end, bool last, char*& target,
                 char* target_end, Status& status);

    static void stop_decoding(const void*, UConverterToUnicodeArgs*, const char*, int32_t,
                              UConverterCallbackReason, UErrorCode*) {}
    static void on_unmappable(const void* context, UConverterFromUnicodeArgs* arguments,
                              const UChar* units, int32_t length, UChar32 character,
                              UConverterCallbackReason reason, UErrorCode* error);
};

// The policy, for characters that the target lacks. For substitutes ICU's callback passes over
// those that are never shown; they count as well, being lost.
void ConversionStream::State::on_unmappable(const void* context,
                                            UConverterFromUnicodeArgs* arguments,
                                            const UChar* units, int32_t length, UChar32 character,
                                            UConverterCallbackReason reason, UErrorCode* error) {
    if (reason > UCNV_IRREGULAR) return;  // the converter is reset, copied or closed
    auto& state = *static_cast<State*>(const_cast<void*>(context));
    if (state.policy == Policy::stop) return;
    if (!state.is_insertion) ++state.account.substituted;
    if (state.policy == Policy::substitute) {
        UCNV_FROM_U_CALLBACK_SUBSTITUTE(nullptr, arguments, units, length, character, reason,
                                        error);
    } else {
        // Of a character said to be illegal ICU's callback never thinks that it need not be shown.
        UCNV_FROM_U_CALLBACK_ESCAPE(UCNV_ESCAPE_C, arguments, units, length, character,
                                    UCNV_ILLEGAL, error);
    }
}

void ConversionStream::State::begin() {
    ucnv_reset(decoder);
    ucnv_reset(encoder);
    account = {};
    fault = {};
    std::fill(std::begin(places), std::end(places), 0);
    pivot_at = pivot_end = 0;
    is_insertion = has_ill_formed = is_decoded = is_stopping = is_flushed = false;
}

// The decoder has just stopped, with `decoded` bytes of the stream behind it; of these it may have
// given some back to itself.
void ConversionStream::State::keep_ill_formed(uint64_t decoded) {
    UErrorCode error = U_ZERO_ERROR;
    const int32_t kept = ucnv_toUCountPending(decoder, &error);
    ill_formed_length = kLongestIllFormed;
    ucnv_getInvalidChars(decoder, ill_formed, &ill_formed_length, &error);
    if (U_FAILURE(error)) ill_formed_length = 0;
    has_ill_formed = true;
    ill_formed_place =
        decoded - static_cast<uint64_t>(kept) - static_cast<uint64_t>(ill_formed_length);
    // Of the unit behind a lone lead surrogate ICU may have the first byte from an earlier piece;
    // it counts that one nowhere.
    if (is_utf16(decoder)) ill_formed_place &= ~uint64_t{1};
}

// Refills the pivot, which is used up.
void ConversionStream::State::decode(const char*& source, const char* end, bool last) {
    std::memmove(places, places + pivot_end, kHeldUnits * sizeof places[0]);
    const auto available = static_cast<size_t>(end - source);
    UErrorCode error = U_ZERO_ERROR;
    const int32_t kept = ucnv_toUCountPending(decoder, &error);
    const size_t piece = std::min(available, kept > 0 ? 1 : kLargestPiece);
    const bool flush = last && piece == available;
    // Some encodings keep a byte that is not counted.
    const uint64_t earlier =
        account.read - std::min(account.read, static_cast<uint64_t>(std::max(kept, 1)));

    int32_t offsets[kPivotUnits];
    UChar* unit = pivot;
    const char* at = source;
    error = U_ZERO_ERROR;
    ucnv_toUnicode(decoder, &unit, pivot + kPivotUnits, &at, source + piece, offsets,
                   static_cast<UBool>(flush), &error);
    if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    const bool is_fault = U_FAILURE(error) && error != U_BUFFER_OVERFLOW_ERROR;
    const auto taken = static_cast<uint64_t>(at - source);
    is_insertion = false;
    pivot_at = 0;
    pivot_end = static_cast<int32_t>(unit - pivot);
    // Behind kept bytes 0 is where they began; only of UTF-7 a kept run may end in front of it.
    const int32_t first_here = kept > 0 && ucnv_getType(decoder) != UCNV_UTF7 ? 1 : 0;
    for (int32_t i = 0; i < pivot_end; ++i) {
        places[kHeldUnits + i] =
            offsets[i] < first_here ? earlier : account.read + static_cast<uint64_t>(offsets[i]);
    }
    source = at;
    account.read += taken;
    if (is_fault) keep_ill_formed(account.read);
    is_decoded = flush && U_SUCCESS(error);
}

void ConversionStream::State::insert_for_ill_formed() {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    std::memmove(places, places + pivot_end, kHeldUnits * sizeof places[0]);
    has_ill_formed = false;
    is_insertion = true;
    ++account.substituted;
    pivot_at = pivot_end = 0;
    const auto add = [this](char16_t unit) {
        places[kHeldUnits + pivot_end] = ill_formed_place;
        pivot[pivot_end++] = unit;
    };
    if (policy == Policy::substitute) {
        add(0xFFFD);
        return;
    }
    for (int8_t i = 0; i < ill_formed_length; ++i) {
        const auto byte = static_cast<unsigned char>(ill_formed[i]);
        add(u'\\');
        add(u'x');
        add(kDigits[byte >> 4]);
        add(kDigits[byte & 15]);
    }
}

void ConversionStream::State::stop_at(uint64_t place, uint32_t length, int32_t character) {
    fault = {place, length, character};
    is_stopping = true;
    pivot_at = pivot_end = 0;
}

// Writes what the pivot holds; false when the target is full.
bool ConversionStream::State::encode(bool flush, char*& target, char* end) {
    const UChar* unit = pivot + pivot_at;
    char* const start = target;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_fromUnicode(encoder, &target, end, &unit, pivot + pivot_end, nullptr,
                     static_cast<UBool>(flush), &error);
    if (error == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    account.written += static_cast<uint64_t>(target - start);
    pivot_at = static_cast<int32_t>(unit - pivot);
    if (error == U_BUFFER_OVERFLOW_ERROR) return false;
    if (U_FAILURE(error) && !is_stopping) {
        UErrorCode asked = U_ZERO_ERROR;
        const int32_t kept = ucnv_fromUCountPending(encoder, &asked);
        UChar units[8];
        int8_t count = 8;
        ucnv_getInvalidUChars(encoder, units, &count, &asked);
        if (U_FAILURE(asked)) count = 0;
        const int32_t first = std::max(pivot_at - kept - count, -kHeldUnits);
        stop_at(places[kHeldUnits + first], 0, code_point_of(units, count));
    }
    return true;
}

// One stage of the work; false when there is nothing to do until the next call.
bool ConversionStream::State::advance(const char*& source, const char* source_end, bool last,
                                      char*& target, char* target_end, Status& status) {
    status = Status::more_target;
    if (pivot_at < pivot_end) return encode(false, target, target_end);
    if (is_stopping || is_decoded) {
        status = is_stopping ? Status::stopped : Status::finished;
        if (is_flushed) return false;
        const bool was_stopping = is_stopping;
        if (!encode(true, target, target_end)) {
            status = Status::more_target;
            return false;
        }
        // A last unit may have been a fault; what is in front of it is flushed then.
        is_flushed = was_stopping == is_stopping;
        return true;
    }
    if (has_ill_formed) {
        if (policy == Policy::stop) {
            has_ill_formed = false;
            stop_at(ill_formed_place, static_cast<uint32_t>(ill_formed_length), -1);
        } else {
            insert_for_ill_formed();
        }
        return true;
    }
    status = Status::more_source;
    if (source == source_end && !last) return false;
    decode(source, source_end, last);
    return true;
}

ConversionStream::ConversionStream(const char* from, const char* to, Policy policy)
    : state_(static_cast<State*>(utMalloc(sizeof(State)))) {
    if (state_ == nullptr) throw std::bad_alloc();
    state_->policy = policy;
    state_->decoder = state_->encoder = nullptr;
    try {
        state_->decoder = open_stopping(from);
        state_->encoder = open_stopping(to);
    } catch (...) {
        ucnv_close(state_->decoder);
        utFree(state_);
        throw;
    }
    UErrorCode error = U_ZERO_ERROR;
    ucnv_setToUCallBack(state_->decoder, State::stop_decoding, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(state_->encoder, State::on_unmappable, state_, nullptr, nullptr, &error);
    state_->begin();
}

ConversionStream::~ConversionStream() {
    if (state_ == nullptr) return;
    ucnv_close(state_->decoder);
    ucnv_close(state_->encoder);
    utFree(state_);
}

ConversionStream::ConversionStream(ConversionStream&& other) noexcept
    : state_(std::exchange(other.state_, nullptr)) {}

ConversionStream& ConversionStream::operator=(ConversionStream&& other) noexcept {
    std::swap(state_, other.state_);
    return *this;
}

ConversionStream::Step ConversionStream::convert(const char* source, size_t source_size, bool last,
                                                 char* target, size_t target_size) {
    // ICU wants places even for nothing.
    char nothing[1] = {};
    if (source == nullptr) source = nothing;
    if (target == nullptr) target = nothing;
    const char* source_at = source;
    char* target_at = target;
    Status status = Status::more_source;
    while (state_->advance(source_at, source + source_size, last, target_at, target + target_size,
                           status)) {
    }
    return {status, static_cast<size_t>(source_at - source),
            static_cast<size_t>(target_at - target)};
}

void ConversionStream::reset() { state_->begin(); }

ConversionStream::Account ConversionStream::account() const { return state_->account; }
ConversionStream::Fault ConversionStream::fault() const { return state_->fault; }

const char* ConversionStream::source_encoding() const {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_getName(state_->decoder, &error);
}

const char* ConversionStream::target_encoding() const {
    UErrorCode error = U_ZERO_ERROR;
    return ucnv_getName(state_->encoder, &error);
}

}  // namespace Quorvanix::I18N
