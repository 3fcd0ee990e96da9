// message_format.h - what registration must know of the formatter's memory.
#ifndef QXUT_SRC_UTIL_MESSAGE_FORMAT_H
#define QXUT_SRC_UTIL_MESSAGE_FORMAT_H

#include <qxut/util/message.h>

namespace qxut {

// Makes sure that a run over a text with this many holes finds room for its slots. False: out of
// memory.
bool reserve_slots(ut_message_context& context, uint32_t holes, ut_realloc_fcn reallocate);

}  // namespace qxut

#endif
