// output.cpp - see output.h. Tested by tests/tools/qxre_test.py (a full device).
#include "output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace qxre {

bool wants_colours(When when) {
    if (when != When::automatic) return when == When::always;
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr &&
           terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

void Output::flush() {
    const std::string text = std::move(text_);
    text_.clear();
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw std::runtime_error(std::string("standard output cannot be written: ") +
                                 std::strerror(errno));
}

}  // namespace qxre
