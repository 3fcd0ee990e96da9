// path.cpp - see path.h. Tested by tests/console (every script that names a file).
#include "path.h"

#include <cstring>

namespace console {

const char* last_part(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash == nullptr ? path : slash + 1;
}

void resolve_path(const char* script, const char* name, Array<char>& path) {
    const bool from_folder = script != nullptr && name[0] != '/';
    const auto folder = from_folder ? static_cast<size_t>(last_part(script) - script) : size_t{0};
    const size_t length = std::strlen(name);
    path.reserve(folder + length + 1);
    for (size_t i = 0; i < folder; ++i) path.push(script[i]);
    for (size_t i = 0; i <= length; ++i) path.push(name[i]);
}

}  // namespace console
