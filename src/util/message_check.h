// message_check.h - the rules that a text must keep to be registered.
#ifndef QXUT_SRC_UTIL_MESSAGE_CHECK_H
#define QXUT_SRC_UTIL_MESSAGE_CHECK_H

#include <cstdint>

namespace qxut {

// Both return a ut_message_status.

// Checks the conversions of an English text and counts its holes, the arguments that a translated
// text can refer to. A null text is fine and has none.
int32_t check_english_text(const char* text, uint32_t& holes);

// Checks that a translated text refers to each of the holes 1..holes exactly once.
int32_t check_translated_text(const char* text, uint32_t holes);

// Reads the digits behind a "%" of a translated text; saturates. `p` ends up behind them.
uint32_t parse_hole_number(const char*& p);

}  // namespace qxut

#endif
