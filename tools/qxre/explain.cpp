// explain.cpp - see explain.h. Tested by tests/tools/qxre_test.py.
#include "explain.h"

#include <cstdio>
#include <stdexcept>

#include "dot.h"
#include "notes.h"
#include "pattern.h"
#include "unicode.h"

namespace qxre {
namespace {

void print_tokens(const RE_Tree& tree) {
    size_t count = 0;
    const char16_t** names = tree.treeNames(&count);
    std::string text = "Tokens: " + std::to_string(count) + "\n";
    for (size_t i = 0; i < count; ++i) {
        if (names[i] != nullptr)
            text += "  " + std::to_string(i + 1) + "  " + to_utf8(names[i]) + "\n";
    }
    std::fputs(text.c_str(), stdout);
}

// Prints them; 1 when there are some, else 0.
int print_warnings(const Pattern& pattern, std::FILE* file, const char* kind) {
    for (const Remark& warning : pattern.warnings())
        std::fputs(show_remark(pattern.text(), warning, kind).c_str(), file);
    return pattern.warnings().empty() ? 0 : 1;
}

void flush() {
    if (std::fflush(stdout) != 0) throw std::runtime_error("standard output cannot be written");
}

}  // namespace

int explain(const ExplainOptions& options) {
    const Pattern pattern(options.pattern, options.flags, true);
    print_tokens(pattern.tree());
    pattern.tree().dump();
    std::fputs(("\n" + pattern.tree().analysis() + "\n").c_str(), stdout);
    const int status = print_warnings(pattern, stdout, "warning");
    for (const Remark& remark : find_notes(pattern, options.flags))
        std::fputs(show_remark(pattern.text(), remark, "note").c_str(), stdout);
    flush();
    return status;
}

int graph(const ExplainOptions& options) {
    const Pattern pattern(options.pattern, options.flags, true);
    const int status = print_warnings(pattern, stderr, "qxre: warning");
    write_graph(pattern.tree().graph(), options.format, options.output);
    return status;
}

}  // namespace qxre
