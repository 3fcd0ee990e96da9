// termination.hpp - ending the process with a report.
//
// fatal ends by abort, panic by _exit with a status after flushing the C streams. Both first
// write the text, the reason and a symbolised stack trace to standard error; a listener of the
// host's sees the report before. Nothing here allocates through a memory context or raises.
#ifndef QXUT_SYSTEM_TERMINATION_HPP
#define QXUT_SYSTEM_TERMINATION_HPP

#include <qxut/util/types.h>

namespace Quorvanix::System {

[[noreturn]] QXUT_API void fatal(const char* text);
[[noreturn]] QXUT_API void fatalsf(const char* format, ...) QXUT_PRINTF_LIKE(1, 2);
[[noreturn]] QXUT_API void panic(int status);
[[noreturn]] QXUT_API void panicsf(int status, const char* format, ...) QXUT_PRINTF_LIKE(2, 3);

}  // namespace Quorvanix::System

#endif
