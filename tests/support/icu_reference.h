// icu_reference.h - what ICU's converters make of a text, and texts that are hard to convert.
#ifndef QXUT_TESTS_SUPPORT_ICU_REFERENCE_H
#define QXUT_TESTS_SUPPORT_ICU_REFERENCE_H

#include <unicode/ucnv.h>

#include <cstdint>
#include <iterator>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace qxut_test {

// A buffer after a conversion into its first `capacity` units. The rest is there to be untouched,
// and so are the units behind the result and its NUL.
template <typename Unit>
struct Converted {
    uint32_t length;
    std::basic_string<Unit> buffer;

    bool operator==(const Converted&) const = default;
};

template <typename Unit>
std::ostream& operator<<(std::ostream& out, const Converted<Unit>& converted) {
    out << "length " << converted.length << ':' << std::hex;
    for (const Unit unit : converted.buffer.substr(0, 500)) {
        out << ' ' << (static_cast<uint32_t>(unit) & (sizeof(Unit) == 1 ? 0xFFu : 0xFFFFu));
    }
    return out << std::dec;
}

inline constexpr size_t kGuard = 40;

class IcuConverter {
  public:
    explicit IcuConverter(const char* name) {
        UErrorCode error = U_ZERO_ERROR;
        icu_ = ucnv_open(name, &error);
    }
    ~IcuConverter() { ucnv_close(icu_); }
    IcuConverter(const IcuConverter&) = delete;
    IcuConverter& operator=(const IcuConverter&) = delete;

    UConverter* get() const { return icu_; }

    Converted<char16_t> to_utf16(std::string_view text, uint32_t capacity) const {
        Converted<char16_t> made{0, std::u16string(capacity + kGuard, u'#')};
        UErrorCode error = U_ZERO_ERROR;
        made.length = static_cast<uint32_t>(
            ucnv_toUChars(icu_, made.buffer.data(), static_cast<int32_t>(capacity), text.data(),
                          static_cast<int32_t>(text.size()), &error));
        return made;
    }
    Converted<char> from_utf16(std::u16string_view text, uint32_t capacity) const {
        Converted<char> made{0, std::string(capacity + kGuard, '#')};
        UErrorCode error = U_ZERO_ERROR;
        made.length = static_cast<uint32_t>(
            ucnv_fromUChars(icu_, made.buffer.data(), static_cast<int32_t>(capacity), text.data(),
                            static_cast<int32_t>(text.size()), &error));
        return made;
    }

  private:
    UConverter* icu_;
};

// Texts of runs: characters of one length, then of another, or fragments of ill-formed ones.
class HardTexts {
  public:
    explicit HardTexts(uint32_t seed) : random_(seed) {}

    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }

    std::string utf8(size_t length, bool is_well_formed) {
        static constexpr std::string_view kFragments[] = {"\x80",
                                                          "\xBF",
                                                          "\xC0\xAF",
                                                          "\xC1\x81",
                                                          "\xC3",
                                                          "\xE0\x9F\xBF",
                                                          "\xE0\xA0",
                                                          "\xED\xA0\x80",
                                                          "\xED\xBF\xBF",
                                                          "\xEF\xBF",
                                                          "\xF0\x8F\xBF",
                                                          "\xF0\x90\x80",
                                                          "\xF4\x90\x80\x80",
                                                          "\xF5\x80\x80\x80",
                                                          "\xFF",
                                                          "\xFE",
                                                          "\xF0\x9F",
                                                          "\xE2\x82",
                                                          "\xC2",
                                                          "\xF4\x8F\xBF"};
        std::string made;
        while (made.size() < length) {
            const uint32_t kind = below(is_well_formed ? 5 : 7);
            for (uint32_t count = 1 + below(below(4) == 0 ? 40 : 8); count > 0; --count) {
                if (kind == 5) {
                    made += kFragments[below(std::size(kFragments))];
                } else if (kind == 6) {
                    made += static_cast<char>(random_() & 0xFF);
                } else {
                    append_utf8(made, code_point(kind));
                }
            }
        }
        return made;
    }

    std::u16string utf16(size_t length, bool is_well_formed) {
        std::u16string made;
        while (made.size() < length) {
            const uint32_t kind = below(is_well_formed ? 5 : 7);
            for (uint32_t count = 1 + below(below(4) == 0 ? 40 : 8); count > 0; --count) {
                if (kind == 5) {
                    made += static_cast<char16_t>(0xD800 + below(0x800));
                } else if (kind == 6) {
                    made += static_cast<char16_t>(random_() & 0xFFFF);
                } else {
                    append_utf16(made, code_point(kind));
                }
            }
        }
        return made;
    }

    std::string bytes(size_t length) {
        std::string made(length, '\0');
        for (char& byte : made) byte = static_cast<char>(random_() & 0xFF);
        return made;
    }

  private:
    uint32_t code_point(uint32_t kind) {
        switch (kind) {
            case 0:
                return below(0x80);
            case 1:
                return 0x80 + below(0x780);
            case 2:
                return 0x800 + below(0xD000);
            case 3:
                return below(2) == 0 ? 0xE000 + below(0x2000) : 'a' + below(26);
            default:
                return 0x10000 + below(0x100000);
        }
    }
    static void append_utf8(std::string& text, uint32_t c) {
        const auto add = [&text](uint32_t byte) { text += static_cast<char>(byte); };
        if (c < 0x80) return add(c);
        if (c < 0x800) {
            add(0xC0 | c >> 6);
        } else {
            if (c < 0x10000) {
                add(0xE0 | c >> 12);
            } else {
                add(0xF0 | c >> 18);
                add(0x80 | (c >> 12 & 0x3F));
            }
            add(0x80 | (c >> 6 & 0x3F));
        }
        add(0x80 | (c & 0x3F));
    }
    static void append_utf16(std::u16string& text, uint32_t c) {
        if (c < 0x10000) {
            text += static_cast<char16_t>(c);
        } else {
            text += static_cast<char16_t>(0xD7C0 + (c >> 10));
            text += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }

    std::mt19937 random_;
};

}  // namespace qxut_test

#endif
