// message_table.h - builds a module's constant tables from one list of entries.
//
// A module writes each message once, its texts side by side; the arrays that the records point
// to are derived while compiling, so that codes, mnemonics and texts cannot get out of step and
// tables can be registered while the library loads.
#ifndef QXUT_SRC_UTIL_MESSAGE_TABLE_H
#define QXUT_SRC_UTIL_MESSAGE_TABLE_H

#include <cstddef>

#include <qxut/util/message.h>

namespace qxut {

struct MessageEntry {
    const char* mnemonic;
    const char* english;
    const char* japanese;
};

// The arrays of module `Module`. Must have static storage: the records point into it.
template <uint32_t Module, size_t Count>
struct MessageArrays {
    ut_message_code codes[Count + 1]{};
    const char* mnemonics[Count]{};
    const char* english[Count]{};
    const char* japanese[Count]{};

    explicit constexpr MessageArrays(const MessageEntry (&entries)[Count]) {
        for (size_t i = 0; i < Count; ++i) {
            codes[i] = Module * 65536u + static_cast<uint32_t>(i) + 1u;
            mnemonics[i] = entries[i].mnemonic;
            english[i] = entries[i].english;
            japanese[i] = entries[i].japanese;
        }
        codes[Count] = UT_MESSAGE_CODES_END;
    }

    constexpr ut_message_table primary(const char* component) const {
        return {Count, Module, codes, mnemonics, english, component};
    }
    constexpr ut_translated_table translated() const { return {Module, Count, japanese}; }
};

template <uint32_t Module, size_t Count>
constexpr MessageArrays<Module, Count> make_messages(const MessageEntry (&entries)[Count]) {
    return MessageArrays<Module, Count>(entries);
}

}  // namespace qxut

#endif
