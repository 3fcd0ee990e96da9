// utf8_string.hpp - an immutable text in well-formed UTF-8.
//
//     const Utf8String name(u8"Ωμέγα");               // throws where the bytes are not UTF-8
//     for (char32_t character : name) ...
//     if (name.compareIgnoringCase(other) == 0) ...
//
// The bytes are checked once, when the text is made; whoever gets one need not check again. Copies
// share the bytes: they cost a reference count, never memory, and any thread may read them. Offsets
// and sizes are in bytes; the bytes end with a NUL that is not counted, and may hold others.
//
// Whatever makes a new text throws std::bad_alloc when memory is short. No text may outlive the
// loaded library.
#ifndef QXUT_I18N_UTF8_STRING_HPP
#define QXUT_I18N_UTF8_STRING_HPP

#include <compare>
#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <qxut/util/export.h>

namespace Quorvanix::I18N {

class Utf8String {
  public:
    static constexpr size_t npos = static_cast<size_t>(-1);

    // --- making one ---
    Utf8String() noexcept = default;  // the empty text
    // Throws std::invalid_argument with the offset of the first ill-formed byte.
    QXUT_API explicit Utf8String(std::string_view bytes);
    explicit Utf8String(std::u8string_view bytes)
        : Utf8String(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())) {}
    // Nothing where the bytes are ill-formed.
    QXUT_API static std::optional<Utf8String> ifValid(std::string_view bytes);
    // Each maximal part of an ill-formed sequence becomes U+FFFD, as does in the next two a lone
    // surrogate or what is no code point.
    QXUT_API static Utf8String repaired(std::string_view bytes);
    QXUT_API static Utf8String fromUtf16(std::u16string_view units);
    QXUT_API static Utf8String fromCodePoints(std::u32string_view characters);
    // From the encoding of an ICU converter name; null is the thread's default. What is ill-formed
    // becomes U+FFFD. Throws InvalidCharacterSetException, and std::length_error above 1 GB.
    QXUT_API static Utf8String fromEncoding(const char* encoding, std::string_view bytes);

    // --- the other forms ---
    std::string_view view() const noexcept {
        return bytes_ != nullptr ? std::string_view(*bytes_) : std::string_view("");
    }
    const char* c_str() const noexcept { return view().data(); }
    QXUT_API std::u16string toUtf16() const;
    QXUT_API std::u32string toCodePoints() const;
    // What the encoding lacks becomes its substitute. Throws as fromEncoding.
    QXUT_API std::string toEncoding(const char* encoding) const;

    size_t size() const noexcept { return view().size(); }
    bool empty() const noexcept { return bytes_ == nullptr; }
    // The number of code points, counted each time.
    QXUT_API size_t length() const noexcept;

    // --- by code point, either way ---
    class const_iterator {
      public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = char32_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const char32_t*;
        using reference = char32_t;

        const_iterator() noexcept = default;
        char32_t operator*() const noexcept;
        const_iterator& operator++() noexcept {
            do ++at_;
            while (is_continuation(*at_));
            return *this;
        }
        const_iterator& operator--() noexcept {
            do --at_;
            while (is_continuation(*at_));
            return *this;
        }
        const_iterator operator++(int) noexcept {
            const const_iterator before = *this;
            ++*this;
            return before;
        }
        const_iterator operator--(int) noexcept {
            const const_iterator before = *this;
            --*this;
            return before;
        }
        bool operator==(const const_iterator& other) const noexcept = default;
        // The first byte of the character.
        const char* base() const noexcept { return at_; }

      private:
        friend class Utf8String;
        explicit const_iterator(const char* at) noexcept : at_(at) {}
        static bool is_continuation(char byte) noexcept {
            return (static_cast<unsigned char>(byte) & 0xC0u) == 0x80u;
        }
        const char* at_ = nullptr;
    };
    const_iterator begin() const noexcept { return const_iterator(c_str()); }
    const_iterator end() const noexcept { return const_iterator(c_str() + size()); }

    // --- comparison ---
    // By bytes, which is the order of the code points.
    friend bool operator==(const Utf8String& a, const Utf8String& b) noexcept {
        return a.bytes_ == b.bytes_ || a.view() == b.view();
    }
    friend std::strong_ordering operator<=>(const Utf8String& a, const Utf8String& b) noexcept {
        return a.view() <=> b.view();
    }
    // Negative, 0 or positive, by the folded UTF-16 units: ICU's u_strcasecmp with default folding,
    // which makes "straße" and "STRASSE" equal.
    QXUT_API int compareIgnoringCase(const Utf8String& other) const;

    // --- parts ---
    // The offset of the first occurrence at or behind `from`; npos: there is none.
    size_t find(const Utf8String& wanted, size_t from = 0) const noexcept {
        return view().find(wanted.view(), from);
    }
    // The bytes from `from`, at most `count` of them. Throws std::out_of_range behind the end,
    // std::invalid_argument where this would cut a character.
    QXUT_API Utf8String substr(size_t from, size_t count = npos) const;
    QXUT_API friend Utf8String operator+(const Utf8String& a, const Utf8String& b);

  private:
    QXUT_API static Utf8String adopt(std::string&& bytes);  // that are well-formed

    std::shared_ptr<const std::string> bytes_;  // null: the empty text
};

inline char32_t Utf8String::const_iterator::operator*() const noexcept {
    const auto byte = [this](int i) {
        return static_cast<char32_t>(static_cast<unsigned char>(at_[i]));
    };
    const char32_t first = byte(0);
    if (first < 0x80) return first;
    if (first < 0xE0) return (first & 0x1F) << 6 | (byte(1) & 0x3F);
    if (first < 0xF0) return (first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    return (first & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
}

}  // namespace Quorvanix::I18N

#endif
