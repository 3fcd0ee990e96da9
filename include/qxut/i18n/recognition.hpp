// recognition.hpp - which encoding bytes are in, by the bytes alone.
//
// In this order: a byte-order mark; UTF-16 and UTF-32 without one, told by where their zero bytes
// stand; well-formed UTF-8 (ASCII is that too); else what ICU's detector holds for the likeliest
// among the encodings in which the bytes are well-formed.
#ifndef QXUT_I18N_RECOGNITION_HPP
#define QXUT_I18N_RECOGNITION_HPP

#include <cstddef>
#include <string>

#include <qxut/util/export.h>

namespace Quorvanix::I18N {

struct Recognition {
    std::string name;      // as converters take it, "UTF-8" or "Shift_JIS"; empty: not recognised
    int confidence = 0;    // 0 to 100; 100 with a byte-order mark and for ASCII
    size_t mark_size = 0;  // bytes of the byte-order mark, which are not part of the text
};

// The first kRecognitionSize bytes are looked at, and the text may be cut there or wherever `size`
// ends: a character that is not whole at the end is no fault where `is_whole` is false. Any bytes
// may be given, null with a size of 0 too; nothing at all is recognised as UTF-8. Throws
// std::bad_alloc when memory is short.
inline constexpr size_t kRecognitionSize = 65536;
QXUT_API Recognition recognize(const char* bytes, size_t size, bool is_whole = true);

}  // namespace Quorvanix::I18N

#endif
