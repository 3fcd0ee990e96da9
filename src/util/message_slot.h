// message_slot.h - what a formatting run holds of one conversion: its argument, fetched and, but
// for strings and callbacks, formatted.
#ifndef QXUT_SRC_UTIL_MESSAGE_SLOT_H
#define QXUT_SRC_UTIL_MESSAGE_SLOT_H

#include <cstddef>

#include <qxut/util/message.h>

#include "util/message_conversion.h"
#include "util/message_scratch.h"

namespace qxut {

constexpr int kOutOfMemory = -1;
constexpr size_t kSmallText = 48;  // any plain integer, and all floating point but huge %f

struct Slot {
    enum class Kind { text, string, callback };
    struct Callback {
        ut_message_formatter formatter;
        ut_arguments position;  // where the callback's own arguments begin; to be ended
    };

    Kind kind;
    const char* begin;  // the conversion in the English text
    const char* end;
    const char* bytes;  // text: the formatted argument; string: the argument itself
    size_t length;      // of a text
    union {
        char small[kSmallText];
        Callback callback;
    };
};

// Fetches the argument of a conversion from `arguments` and fills the slot but for `begin` and
// `end`; a text too long for `small` lies in `scratch`. Returns 0, or a negative result: out of
// memory, a character that the locale cannot encode, or the answer of a failing callback. The
// kind is set in any case, before anything may raise.
int fill_slot(Slot& slot, const Conversion& conversion, ut_arguments& arguments,
              ScratchScope& scratch);

}  // namespace qxut

#endif
