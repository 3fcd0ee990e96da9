// termination.hpp - ending the process with a report.
//
// fatal ends by abort, panic by _exit with a status after flushing the C streams. Both first
// report the text, the reason and a symbolised stack trace to the host's listener and to standard
// error, see report.h. Formatted texts are cut to 8191 bytes; a null text counts as empty. Nothing
// here raises, locks, or allocates through a memory context, so it may be called from anywhere,
// with the heap damaged or the memory used up.
//
// When several threads end the process at once, the first one does; the others write their text
// and wait for it. A call from inside a report (by the listener) ends the process at once.
#ifndef QXUT_SYSTEM_TERMINATION_HPP
#define QXUT_SYSTEM_TERMINATION_HPP

#include <qxut/system/report.h>
#include <qxut/util/types.h>

namespace Quorvanix::System {

[[noreturn]] QXUT_API void fatal(const char* text);
[[noreturn]] QXUT_API void fatalsf(const char* format, ...) QXUT_PRINTF_LIKE(1, 2);
[[noreturn]] QXUT_API void panic(int status);
[[noreturn]] QXUT_API void panicsf(int status, const char* format, ...) QXUT_PRINTF_LIKE(2, 3);

}  // namespace Quorvanix::System

#endif
