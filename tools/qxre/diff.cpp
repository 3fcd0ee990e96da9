// diff.cpp - see diff.h. Tested by tests/tools/qxre_test.py (patch accepts it).
#include "diff.h"

#include "lines.h"
#include "unicode.h"

namespace qxre {
namespace {

constexpr const char* kHeader = "\033[1m";
constexpr const char* kPlace = "\033[36m";
constexpr const char* kRemoved = "\033[31m";
constexpr const char* kAdded = "\033[32m";
constexpr const char* kPlain = "\033[m";

// "7,2", of no lines the one in front.
std::string extent(uint64_t number, uint64_t count) {
    return std::to_string(count == 0 ? number - 1 : number) +
           (count == 1 ? "" : "," + std::to_string(count));
}

}  // namespace

void DiffPrinter::begin_file(const std::string& name) {
    name_ = name;
    has_begun_ = false;
    added_ = 0;
}

void DiffPrinter::line(const char* colour, std::string_view text) {
    std::string& out = output_.text();
    if (colours_) out += colour;
    out += text;
    if (colours_) out += kPlain;
    out += '\n';
}

void DiffPrinter::lines(const char* colour, char mark, std::u16string_view text) {
    for (size_t begin = 0; begin < text.size();) {
        const size_t newline = find_newline(text, begin);
        line(colour, mark + to_utf8(text.substr(begin, newline - begin)));
        if (newline == text.size()) output_.text() += "\\ No newline at end of file\n";
        begin = newline + 1;
    }
}

void DiffPrinter::change(uint64_t number, std::u16string_view before, std::u16string_view after) {
    if (!has_begun_) {
        line(kHeader, "--- " + name_);
        line(kHeader, "+++ " + name_);
        has_begun_ = true;
    }
    const uint64_t removed = count_lines(before);
    const uint64_t added = count_lines(after);
    line(kPlace, "@@ -" + extent(number, removed) + " +" + extent(number + added_, added) + " @@");
    lines(kRemoved, '-', before);
    lines(kAdded, '+', after);
    added_ += added - removed;
    output_.flush_if_full();
}

}  // namespace qxre
