// checksums.h - the functions that compute checksums of files.
#ifndef CONSOLE_CHECKSUMS_H
#define CONSOLE_CHECKSUMS_H

#include "functions.h"

namespace console {

// Push the CRC-32, the MD5 digest, of the file that the value on top names, as a text of
// hexadecimal digits. Raise NEEDS_TEXT, FILE_NOT_FOUND, FILE_UNREADABLE, OUT_OF_MEMORY.
void run_crc(Machine& machine, const Function& self, size_t arguments);
void run_md5(Machine& machine, const Function& self, size_t arguments);

}  // namespace console

#endif
