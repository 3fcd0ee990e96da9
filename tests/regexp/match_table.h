// match_table.h - reads match_table.txt, which explains its format.
#ifndef QXUT_TESTS_REGEXP_MATCH_TABLE_H
#define QXUT_TESTS_REGEXP_MATCH_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

#include <qxut/regexp/flags.hpp>

namespace qxut_test {

struct MatchCase {
    size_t line = 0;
    std::string written;  // the line itself
    std::u16string pattern;
    RE_Flags flags = RE_NO_FLAGS;
    bool wants_all = false;
    size_t start = 0;
    std::u16string text;
    std::string expected;  // as to_text of engine.h writes it
};

// Throws std::runtime_error for a file that it cannot read and a line that it does not understand.
std::vector<MatchCase> read_match_table(const std::string& path);

// A text in the table's writing: UTF-8 with units by code.
std::u16string read_units(const std::string& written);

}  // namespace qxut_test

#endif
