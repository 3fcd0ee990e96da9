// conversion_fuzz.cpp - any bytes, as a narrow text and as UTF-16 units, through every form of the
// conversions: what they give is what ICU gives, at a capacity that the first bytes choose, and a
// stream that is cut anywhere gives what it gives in one piece.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>
#include <qxut/i18n/conversion_stream.hpp>
#include <qxut/i18n/unicode_converter.hpp>

#include "support/icu_reference.h"

namespace {

using Quorvanix::I18N::ConversionStream;
using Quorvanix::I18N::UnicodeConverterX;
using qxut_test::Converted;
using qxut_test::IcuConverter;
using qxut_test::kGuard;

constexpr const char* kNames[] = {
    "UTF-8",  "windows-1252", "ISO-8859-1",  "US-ASCII", "Shift_JIS",    "EUC-JP",
    "UTF-16", "GB18030",      "ISO-2022-JP", "UTF-32LE", "windows-1258", "UTF-7",
    "ibm-37", "KOI8-R",       "UTF-16BE",    "Big5",     "ISO-2022-KR",  "UTF-8"};
constexpr size_t kEnough = 100'000;

void require(bool condition) {
    if (!condition) std::abort();
}

uint32_t size_of(size_t size) { return static_cast<uint32_t>(size); }

// What the first bytes choose.
struct Choices {
    const char* from;
    const char* to;
    uint32_t capacity;
    ConversionStream::Policy policy;
    uint32_t state;  // of the numbers below

    uint32_t below(uint32_t n) {
        state = state * 1664525 + 1013904223;
        return (state >> 16) % n;
    }
};

// An allocated result has ICU's length, units and a NUL.
template <typename Unit>
void require_same(Unit* made, const Converted<Unit>& expected) {
    const std::unique_ptr<Unit, decltype(&utFree)> owned(made, utFree);
    require(made != nullptr && made[expected.length] == 0);
    require(std::equal(made, made + expected.length, expected.buffer.begin()));
}

// `convert(buffer, capacity)` is a counted form.
template <typename Unit, typename Convert>
void require_same_counted(const Converted<Unit>& expected, uint32_t capacity, Convert convert) {
    Converted<Unit> made{capacity, std::basic_string<Unit>(capacity + kGuard, Unit{'#'})};
    const uint32_t count = convert(made.buffer.data(), &made.length);
    require(count == made.length && made == expected);
}

void narrow_forms(const Choices& chosen, std::string_view text) {
    const uint32_t size = size_of(text.size());
    const uint32_t capacity = chosen.capacity;
    const IcuConverter utf8("UTF-8");
    require_same(utf8_to_utf16(text.data(), size), utf8.to_utf16(text, kEnough));
    require_same_counted(utf8.to_utf16(text, capacity), capacity, [&](char16_t* to, uint32_t* n) {
        return utf8_to_utf16_n(to, n, text.data(), size);
    });
    const IcuConverter named(chosen.from);
    const Converted<char16_t> whole = named.to_utf16(text, kEnough);
    const Converted<char16_t> cut = named.to_utf16(text, capacity);
    require_same(enc_to_utf16(chosen.from, text.data(), size), whole);
    require_same_counted(cut, capacity, [&](char16_t* to, uint32_t* n) {
        return enc_to_utf16_n(chosen.from, to, n, text.data(), size);
    });
    UnicodeConverterX::pushTssDefaultConvName(chosen.from);
    require_same(lcp_to_utf16(text.data(), size), whole);
    require_same_counted(cut, capacity, [&](char16_t* to, uint32_t* n) {
        return lcp_to_utf16_n(to, n, text.data(), size);
    });
    UnicodeConverterX::popTssDefaultConvName();

    Converted<char16_t> widened{size, std::u16string(size, 0)};
    for (size_t i = 0; i < size; ++i)
        widened.buffer[i] = static_cast<char16_t>(static_cast<signed char>(text[i]));
    require_same(ics_to_utf16(text.data(), size), widened);
}

void wide_forms(const Choices& chosen, std::u16string_view text) {
    const uint32_t size = size_of(text.size());
    const uint32_t capacity = chosen.capacity;
    const IcuConverter utf8("UTF-8");
    require_same(utf16_to_utf8(text.data(), size), utf8.from_utf16(text, kEnough));
    require_same_counted(utf8.from_utf16(text, capacity), capacity, [&](char* to, uint32_t* n) {
        return utf16_to_utf8_n(to, n, text.data(), size);
    });
    const IcuConverter named(chosen.to);
    const Converted<char> whole = named.from_utf16(text, kEnough);
    require_same(utf16_to_enc(chosen.to, text.data(), size), whole);
    UnicodeConverterX::pushTssDefaultConvName(chosen.to);
    require_same(utf16_to_lcp(text.data(), size), whole);
    require_same_counted(named.from_utf16(text, capacity), capacity, [&](char* to, uint32_t* n) {
        return utf16_to_lcp_n(to, n, text.data(), size);
    });
    UnicodeConverterX::popTssDefaultConvName();

    Converted<char> narrowed{size, std::string(size, '\0')};
    for (size_t i = 0; i < size; ++i) narrowed.buffer[i] = static_cast<char>(text[i] & 0xFF);
    require_same(utf16_to_ics(text.data(), size), narrowed);
}

struct Outcome {
    std::string written;
    ConversionStream::Status status;
    uint64_t substituted;
    uint64_t position;

    bool operator==(const Outcome&) const = default;
};

// Pieces of source and target of random sizes, all of it at once when `largest` is large.
Outcome stream(ConversionStream& stream, Choices& chosen, std::string_view text, uint32_t largest) {
    Outcome outcome{};
    std::string target(largest, '\0');
    size_t at = 0;
    for (bool is_last = false;;) {
        const size_t left = text.size() - at;
        const size_t given = is_last ? left : std::min<size_t>(left, chosen.below(largest + 1));
        is_last = given == left;
        const size_t room = 1 + chosen.below(largest);
        const ConversionStream::Step step =
            stream.convert(text.data() + at, given, is_last, target.data(), room);
        require(step.read <= given && step.written <= room);
        at += step.read;
        outcome.written.append(target, 0, step.written);
        outcome.status = step.status;
        if (step.status >= ConversionStream::Status::stopped) break;
    }
    require(stream.account().read == at && stream.account().written == outcome.written.size());
    outcome.substituted = stream.account().substituted;
    if (outcome.status == ConversionStream::Status::stopped)
        outcome.position = stream.fault().position;
    return outcome;
}

void streams(Choices& chosen, std::string_view text) {
    ConversionStream work(chosen.from, chosen.to, chosen.policy);
    const Outcome in_large = stream(work, chosen, text, 60'000);
    work.reset();
    require(stream(work, chosen, text, 1 + chosen.below(20)) == in_large);
    // Where nothing was to be put right the way through UTF-16 gives the same. (Of an empty text
    // ICU writes no header in one call.)
    if (text.empty()) return;
    if (in_large.status != ConversionStream::Status::finished || in_large.substituted != 0) return;
    const Converted<char16_t> wide = IcuConverter(chosen.from).to_utf16(text, kEnough);
    const Converted<char> narrow = IcuConverter(chosen.to).from_utf16(
        std::u16string_view(wide.buffer).substr(0, wide.length), kEnough);
    require(in_large.written == narrow.buffer.substr(0, narrow.length));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kChoices = 6;
    if (size < kChoices || size > 8192) return 0;
    uint32_t state = 0;
    std::memcpy(&state, data, sizeof state);
    const uint32_t capacity = data[4] | (data[5] & 0x0Fu) << 8;
    Choices chosen{kNames[data[0] % std::size(kNames)], kNames[data[1] % std::size(kNames)],
                   capacity, static_cast<ConversionStream::Policy>(data[2] % 3), state};
    data += kChoices;
    size -= kChoices;
    // Blocks of exactly the texts' sizes, so that a read past their ends is found.
    const std::unique_ptr<char[]> narrow(new char[size]);
    std::copy_n(reinterpret_cast<const char*>(data), size, narrow.get());
    const std::unique_ptr<char16_t[]> wide(new char16_t[size / 2]);
    std::memcpy(wide.get(), data, size / 2 * 2);
    const std::string_view text(narrow.get(), size);
    narrow_forms(chosen, text);
    wide_forms(chosen, {wide.get(), size / 2});
    streams(chosen, text);
    return 0;
}
