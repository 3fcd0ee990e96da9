// unicode_converter.hpp - the calling thread's converters between encodings and UTF-16.
//
// Every thread keeps one converter per encoding name, opened when it is first asked for and closed
// when the thread ends or the library is unloaded. A bounded number is kept: beyond that, the one
// that was used longest ago is closed, but never one that a UnicodeConverterX refers to. Nothing is
// locked to get one.
//
// The name null means the thread's default encoding: the name that it pushed last, else that of
// the process's LC_CTYPE as the host's setlocale left it (asked for every time), and UTF-8 where
// the host set none ("C" counts as none) or ICU does not know it. The library never calls
// setlocale; a host must not call it while other threads convert.
#ifndef QXUT_I18N_UNICODE_CONVERTER_HPP
#define QXUT_I18N_UNICODE_CONVERTER_HPP

#include <cstdint>

#include <qxut/util/export.h>
#include <qxut/i18n/invalid_character_set_exception.hpp>

namespace qxut {
struct Converter;
}

namespace Quorvanix::I18N {

// Refers to a converter of the thread that got it and keeps it open; cheap to copy. Used and
// destroyed by that thread only, and before the library is unloaded. Each conversion begins anew:
// several references to one converter do not disturb each other.
class UnicodeConverterX {
  public:
    // The thread's converter for an ICU converter name ("UTF-8", "Shift_JIS", ...), or for its
    // default encoding (null). Throws InvalidCharacterSetException for a name that ICU cannot
    // open, std::bad_alloc when memory is short. While the thread or the process ends the
    // converters are no longer kept; each is then opened for its caller alone.
    QXUT_API static UnicodeConverterX getThreadSpecific(const char* name = nullptr);

    // Makes a name the thread's default until it is popped again. Throws as getThreadSpecific
    // does; nothing is pushed then. Null pushes what the default is at this moment. Does nothing
    // while the thread or the process ends.
    QXUT_API static void pushTssDefaultConvName(const char* name);
    // Takes the last pushed name back; does nothing when there is none.
    QXUT_API static void popTssDefaultConvName();

    QXUT_API UnicodeConverterX(const UnicodeConverterX& other) noexcept;
    QXUT_API UnicodeConverterX& operator=(const UnicodeConverterX& other) noexcept;
    QXUT_API ~UnicodeConverterX();

    // The name under which ICU knows the encoding; valid as long as the reference.
    QXUT_API const char* getName() const;
    // The most bytes that one UTF-16 unit becomes.
    QXUT_API int32_t getMaxCharSize() const;

    // Convert a whole text, as the counted functions of conversion.h do: lengths and capacities in
    // units of their text, a length of -1 for NUL-terminated text, the full length as the result,
    // at most `capacity` units stored and a NUL behind them where there is room.
    QXUT_API int32_t toUnicode(char16_t* target, int32_t capacity, const char* source,
                               int32_t length) const;
    QXUT_API int32_t fromUnicode(char* target, int32_t capacity, const char16_t* source,
                                 int32_t length) const;

  private:
    explicit UnicodeConverterX(qxut::Converter* converter) noexcept : converter_(converter) {}
    qxut::Converter* converter_;
};

}  // namespace Quorvanix::I18N

#endif
