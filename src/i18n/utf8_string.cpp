// utf8_string.cpp - the checked, shared text and its conversions.
//
// The text is one std::string that nobody can change any more; only adopt makes one, from bytes
// that have been checked or were written here. Case is folded by ICU, in UTF-16.
//
// Entry point: adopt. Tested by tests/i18n/utf8_string_test.cpp.
#include <qxut/i18n/utf8_string.hpp>

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "i18n/utf8_scan.h"

namespace Quorvanix::I18N {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool is_surrogate(char32_t c) { return c >= 0xD800 && c < 0xE000; }

void append(std::string& bytes, char32_t c) {
    if (c > 0x10FFFF || is_surrogate(c)) c = kReplacement;
    const auto put = [&bytes](char32_t byte) { bytes += static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
        return;
    }
    if (c < 0x800) {
        put(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            put(0xE0 | c >> 12);
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
        }
        put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

int32_t icu_length(size_t length) {
    if (length > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        throw std::length_error("Utf8String: the text is too long");
    return static_cast<int32_t>(length);
}

}  // namespace

Utf8String Utf8String::adopt(std::string&& bytes) {
    Utf8String text;
    if (!bytes.empty()) text.bytes_ = std::make_shared<const std::string>(std::move(bytes));
    return text;
}

Utf8String::Utf8String(std::string_view bytes) {
    const size_t valid = qxut::utf8_valid_length(bytes.data(), bytes.size());
    if (valid != bytes.size())
        throw std::invalid_argument("Utf8String: ill-formed at byte " + std::to_string(valid));
    *this = adopt(std::string(bytes));
}

std::optional<Utf8String> Utf8String::ifValid(std::string_view bytes) {
    if (qxut::utf8_valid_length(bytes.data(), bytes.size()) != bytes.size()) return std::nullopt;
    return adopt(std::string(bytes));
}

Utf8String Utf8String::repaired(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const size_t valid = qxut::utf8_valid_length(bytes.data(), bytes.size());
        text.append(bytes.substr(0, valid));
        bytes.remove_prefix(valid);
        if (bytes.empty()) break;
        append(text, kReplacement);
        bytes.remove_prefix(qxut::utf8_sequence(bytes.data(), bytes.size()).length);
    }
    return adopt(std::move(text));
}

Utf8String Utf8String::fromUtf16(std::u16string_view units) {
    std::string text;
    for (size_t i = 0; i < units.size(); ++i) {
        char32_t c = units[i];
        const bool leads = c >= 0xD800 && c < 0xDC00 && i + 1 < units.size();
        if (leads && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00u);
        append(text, c);
    }
    return adopt(std::move(text));
}

Utf8String Utf8String::fromCodePoints(std::u32string_view characters) {
    std::string text;
    for (const char32_t c : characters) append(text, c);
    return adopt(std::move(text));
}

std::u16string Utf8String::toUtf16() const {
    std::u16string units;
    units.reserve(size());
    for (const char32_t c : *this) {
        if (c < 0x10000) {
            units += static_cast<char16_t>(c);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (c >> 10));
            units += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    return units;
}

std::u32string Utf8String::toCodePoints() const { return std::u32string(begin(), end()); }

size_t Utf8String::length() const noexcept {
    size_t count = 0;
    for (const char byte : view()) count += (static_cast<unsigned char>(byte) & 0xC0u) != 0x80u;
    return count;
}

int Utf8String::compareIgnoringCase(const Utf8String& other) const {
    if (bytes_ == other.bytes_) return 0;
    const std::u16string a = toUtf16();
    const std::u16string b = other.toUtf16();
    UErrorCode status = U_ZERO_ERROR;
    const int32_t order = u_strCaseCompare(a.data(), icu_length(a.size()), b.data(),
                                           icu_length(b.size()), U_FOLD_CASE_DEFAULT, &status);
    if (U_FAILURE(status)) throw std::bad_alloc();
    return order;
}

Utf8String Utf8String::substr(size_t from, size_t count) const {
    const std::string_view part = view().substr(from, count);
    const auto is_inside = [this](size_t at) {
        return at < size() && (static_cast<unsigned char>(view()[at]) & 0xC0u) == 0x80u;
    };
    if (is_inside(from) || is_inside(from + part.size()))
        throw std::invalid_argument("Utf8String: a part begins or ends inside a character");
    return part.size() == size() ? *this : adopt(std::string(part));
}

Utf8String operator+(const Utf8String& a, const Utf8String& b) {
    if (a.empty()) return b;
    if (b.empty()) return a;
    std::string bytes;
    bytes.reserve(a.size() + b.size());
    bytes.append(a.view()).append(b.view());
    return Utf8String::adopt(std::move(bytes));
}

}  // namespace Quorvanix::I18N
