// utf8_string_encoding.cpp - a checked text from and to the encodings that converters know.
//
// By way of UTF-16 and the calling thread's converter: once to measure, once into the exact size.
//
// Tested by tests/i18n/utf8_string_test.cpp.
#include <cstdint>
#include <limits>
#include <stdexcept>

#include <qxut/i18n/unicode_converter.hpp>
#include <qxut/i18n/utf8_string.hpp>

namespace Quorvanix::I18N {
namespace {

int32_t length_of(size_t length) {
    constexpr size_t kLongest = size_t{1} << 30;
    if (length > kLongest) throw std::length_error("Utf8String: the text is too long");
    return static_cast<int32_t>(length);
}

}  // namespace

Utf8String Utf8String::fromEncoding(const char* encoding, std::string_view bytes) {
    const UnicodeConverterX converter = UnicodeConverterX::getThreadSpecific(encoding);
    const int32_t length = length_of(bytes.size());
    if (length == 0) return {};
    const int32_t needed = converter.toUnicode(nullptr, 0, bytes.data(), length);
    std::u16string units(static_cast<size_t>(needed), u'\0');
    converter.toUnicode(units.data(), needed, bytes.data(), length);
    return fromUtf16(units);
}

std::string Utf8String::toEncoding(const char* encoding) const {
    const UnicodeConverterX converter = UnicodeConverterX::getThreadSpecific(encoding);
    const std::u16string units = toUtf16();
    const int32_t length = length_of(units.size());
    if (length == 0) return {};
    const int32_t needed = converter.fromUnicode(nullptr, 0, units.data(), length);
    if (needed < 0) throw std::length_error("Utf8String: the text is too long");
    std::string bytes(static_cast<size_t>(needed), '\0');
    converter.fromUnicode(bytes.data(), needed, units.data(), length);
    return bytes;
}

}  // namespace Quorvanix::I18N
