// generate_classes.cpp - writes src/i18n/classification_tables.h to standard output, from ICU.
//
// Two tables, each in two stages: the class of every code point (characters for which all tests
// answer alike) and its case (characters as far from their lower and upper case). Equal blocks of
// code points are stored once; the size of a block is the one that makes the table smallest.
#include <unicode/uchar.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace {

constexpr int32_t kEnd = 0x110000;

bool has_category(int32_t c, uint32_t categories) { return (categories >> u_charType(c) & 1) != 0; }

struct Test {
    const char* name;
    bool (*answer)(int32_t character);
};

const Test kTests[] = {
    {"alnum", [](int32_t c) { return u_isalnum(c) != 0; }},
    {"alpha", [](int32_t c) { return u_isalpha(c) != 0; }},
    {"blank", [](int32_t c) { return c == '\t' || has_category(c, 0x00001000); }},
    {"cntrl", [](int32_t c) { return u_iscntrl(c) != 0; }},
    {"digit", [](int32_t c) { return u_isdigit(c) != 0; }},
    {"graph", [](int32_t c) { return has_category(c, 0x3FF80FFE); }},
    {"lower", [](int32_t c) { return u_islower(c) != 0; }},
    {"print", [](int32_t c) { return u_isprint(c) != 0; }},
    {"punct", [](int32_t c) { return has_category(c, 0x30F80000); }},
    {"space", [](int32_t c) { return u_isUWhiteSpace(c) != 0; }},
    {"breakablespace", [](int32_t c) { return u_isWhitespace(c) != 0; }},
    {"upper", [](int32_t c) { return u_isupper(c) != 0; }},
    {"xdigit", [](int32_t c) { return u_digit(c, 16) != -1; }},
};

[[noreturn]] void give_up(const char* reason) {
    std::fprintf(stderr, "generate_classes: %s\n", reason);
    std::exit(1);
}

// Numbers values in the order of their first use.
template <class Value>
class Numbering {
  public:
    size_t number(const Value& value) {
        const auto [found, is_new] = numbers_.emplace(value, values_.size());
        if (is_new) values_.push_back(value);
        return found->second;
    }
    const std::vector<Value>& values() const { return values_; }

  private:
    std::map<Value, size_t> numbers_;
    std::vector<Value> values_;
};

using Bytes = std::vector<uint8_t>;

struct Stages {
    int shift = 0;
    std::vector<size_t> blocks;  // per block of code points, the number of its contents
    std::vector<Bytes> contents;
    size_t size() const {
        return blocks.size() * (contents.size() > 256 ? 2 : 1) + (contents.size() << shift);
    }
};

Stages split(const Bytes& values, int shift) {
    Numbering<Bytes> numbering;
    Stages stages{shift, {}, {}};
    const ptrdiff_t step = ptrdiff_t{1} << shift;
    for (auto at = values.begin(); at != values.end(); at += step)
        stages.blocks.push_back(numbering.number(Bytes(at, at + step)));
    stages.contents = numbering.values();
    return stages;
}

template <class Sequence>
void write_numbers(const Sequence& numbers, size_t& column) {
    for (const auto number : numbers) {
        std::printf("%zu,%s", static_cast<size_t>(number), ++column % 40 == 0 ? "\n" : "");
    }
}

void write_stages(const char* name, const Bytes& values) {
    Stages best = split(values, 5);
    for (int shift = 6; shift <= 8; ++shift) {
        Stages stages = split(values, shift);
        if (stages.size() < best.size()) best = std::move(stages);
    }
    std::printf("constexpr int k%sShift = %d;\n", name, best.shift);
    std::printf("constexpr uint%d_t k%sBlocks[] = {\n", best.contents.size() > 256 ? 16 : 8, name);
    size_t column = 0;
    write_numbers(best.blocks, column);
    std::printf("};\nconstexpr uint8_t k%sContents[] = {\n", name);
    column = 0;
    for (const Bytes& block : best.contents) write_numbers(block, column);
    std::printf("};\n\n");
}

void write_classes() {
    Numbering<uint32_t> numbering;
    Bytes classes;
    for (int32_t c = 0; c < kEnd; ++c) {
        uint32_t answers = 0;
        uint32_t bit = 1;
        for (const Test& test : kTests) {
            if (test.answer(c)) answers |= bit;
            bit <<= 1;
        }
        classes.push_back(static_cast<uint8_t>(numbering.number(answers)));
    }
    if (numbering.values().size() > 64) give_up("there are more classes than bits in a word");
    uint32_t bit = 1;
    std::printf("// The classes that answer yes: bit n stands for class n.\n");
    for (const Test& test : kTests) {
        uint64_t members = 0;
        for (size_t number = 0; number < numbering.values().size(); ++number) {
            if ((numbering.values()[number] & bit) != 0) members |= uint64_t{1} << number;
        }
        std::printf("constexpr uint64_t k_%s = 0x%llX;\n", test.name,
                    static_cast<unsigned long long>(members));
        bit <<= 1;
    }
    std::printf("constexpr uint32_t kUnassigned = %zu;\n\n", numbering.number(0));
    write_stages("Class", classes);
}

// What is added to the low 16 bits of a code point: a mapping never leaves its plane.
uint16_t distance(int32_t from, int32_t to) {
    if (from >> 16 != to >> 16) give_up("a case mapping leaves its plane");
    return static_cast<uint16_t>(to - from);
}

void write_cases() {
    Numbering<std::pair<uint16_t, uint16_t>> numbering;
    Bytes cases;
    int32_t last = 0;
    for (int32_t c = 0; c < kEnd; ++c) {
        const auto lower = distance(c, u_tolower(c));
        const auto upper = distance(c, u_toupper(c));
        const size_t number = numbering.number({lower, upper});
        if (number != 0) last = c;
        if (number > 255) give_up("there are too many distances between cases");
        cases.push_back(static_cast<uint8_t>(number));
    }
    std::printf("// No character has case from here on.\n");
    std::printf("constexpr uint32_t kCasesEnd = 0x%X;\n", static_cast<unsigned>(last + 1));
    std::printf("constexpr CaseDistances kDistances[] = {\n");
    for (const auto& [lower, upper] : numbering.values()) std::printf("{%u,%u},\n", lower, upper);
    std::printf("};\n\n");
    cases.resize((static_cast<size_t>(last) | 0xFF) + 1);
    write_stages("Case", cases);
}

}  // namespace

int main() {
    std::printf(
        "// classification_tables.h - generated by tools/generate_classes from Unicode %s.\n"
        "// Do not edit: generate_classes > src/i18n/classification_tables.h\n"
        "#ifndef QXUT_SRC_I18N_CLASSIFICATION_TABLES_H\n"
        "#define QXUT_SRC_I18N_CLASSIFICATION_TABLES_H\n\n"
        "#include <cstdint>\n\n"
        "// clang-format off\n"
        "namespace qxut::classification {\n\n"
        "// Added to the low 16 bits of a code point.\n"
        "struct CaseDistances { uint16_t to_lower, to_upper; };\n\n",
        U_UNICODE_VERSION);
    write_classes();
    write_cases();
    std::printf("}  // namespace qxut::classification\n\n#endif\n");
    return std::fflush(stdout) == 0 ? 0 : 1;
}
