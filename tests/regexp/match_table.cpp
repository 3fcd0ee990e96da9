#include "regexp/match_table.h"

#include <unicode/unistr.h>

#include <fstream>
#include <stdexcept>

namespace qxut_test {
namespace {

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> fields_of(const std::string& line) {
    const std::string sign = "¦";
    std::vector<std::string> fields;
    size_t from = 0;
    while (true) {
        const size_t to = line.find(sign, from);
        fields.push_back(trimmed(line.substr(from, to - from)));
        if (to == std::string::npos) return fields;
        from = to + sign.size();
    }
}

std::u16string from_utf8(const std::string& text) {
    const auto string = icu::UnicodeString::fromUTF8(text);
    return {string.getBuffer(), static_cast<size_t>(string.length())};
}

// What stands between « and »: codes, each perhaps with a count.
std::u16string by_codes(const std::string& codes) {
    std::u16string units;
    for (size_t i = codes.find_first_not_of(' '); i < codes.size();
         i = codes.find_first_not_of(' ', i)) {
        const size_t end = std::min(codes.find(' ', i), codes.size());
        const std::string code = codes.substr(i, end - i);
        const size_t star = code.find('*');
        const auto unit = static_cast<char16_t>(std::stoul(code.substr(0, star), nullptr, 16));
        units.append(star == std::string::npos ? 1 : std::stoul(code.substr(star + 1)), unit);
        i = end;
    }
    return units;
}

void read_flags(const std::string& letters, MatchCase& made) {
    for (size_t i = 0; i < letters.size(); ++i) {
        switch (letters[i]) {
            case 'i':
                made.flags = made.flags | RE_IGNORE_CASE;
                break;
            case 's':
                made.flags = made.flags | RE_DOT_ALL;
                break;
            case 'm':
                made.flags = made.flags | RE_MULTI_LINE;
                break;
            case 'x':
                made.flags = made.flags | RE_FREE_SPACING;
                break;
            case 'e':
                made.flags = made.flags | RE_EVALUATE;
                break;
            case 'g':
                made.wants_all = true;
                break;
            case '@':
                made.start = std::stoul(letters.substr(i + 1));
                return;
            default:
                throw std::runtime_error("unknown flag");
        }
    }
}

}  // namespace

std::u16string read_units(const std::string& written) {
    const std::string open = "«";
    const std::string close = "»";
    std::u16string units;
    size_t from = 0;
    while (true) {
        const size_t to = written.find(open, from);
        units += from_utf8(written.substr(from, to - from));
        if (to == std::string::npos) return units;
        const size_t end = written.find(close, to);
        if (end == std::string::npos) throw std::runtime_error("« without »");
        const size_t codes = to + open.size();
        units += by_codes(written.substr(codes, end - codes));
        from = end + close.size();
    }
}

std::vector<MatchCase> read_match_table(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot read " + path);
    std::vector<MatchCase> cases;
    std::string line;
    for (size_t number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line.rfind("# ", 0) == 0 || line == "#") continue;
        const std::vector<std::string> fields = fields_of(line);
        if (fields.size() != 4) {
            throw std::runtime_error("line " + std::to_string(number) + " has not four fields");
        }
        MatchCase made;
        made.line = number;
        made.written = line;
        made.pattern = read_units(fields[0]);
        read_flags(fields[1], made);
        made.text = read_units(fields[2]);
        made.expected = fields[3];
        cases.push_back(std::move(made));
    }
    return cases;
}

}  // namespace qxut_test
