// path.h - the paths of files that statements name.
#ifndef CONSOLE_PATH_H
#define CONSOLE_PATH_H

#include "array.h"

namespace console {

// What follows the last slash.
const char* last_part(const char* path);

// Puts the path of a file into an empty array, as a C string: a relative name counts from the
// folder of the script; without a script (null), and an absolute one, is taken as it is. Raises
// OUT_OF_MEMORY.
void resolve_path(const char* script, const char* name, Array<char>& path);

}  // namespace console

#endif
