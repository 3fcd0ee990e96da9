// generate_stages.h - what the generators of the Unicode tables share: values numbered, and a table
// of a value per code point written in two stages.
//
// Equal blocks of code points are stored once; the size of a block is the one that makes the table
// smallest.
#ifndef QXUT_TOOLS_GENERATE_STAGES_H
#define QXUT_TOOLS_GENERATE_STAGES_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

namespace qxut::generator {

[[noreturn]] inline void give_up(const char* reason) {
    std::fprintf(stderr, "the table cannot be made: %s\n", reason);
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

inline Stages split(const Bytes& values, int shift) {
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

// `values` is a multiple of 256 long.
inline void write_stages(const char* name, const Bytes& values) {
    Stages best = split(values, 5);
    for (int shift = 6; shift <= 8; ++shift) {
        Stages stages = split(values, shift);
        if (stages.size() < best.size()) best = std::move(stages);
    }
    std::printf("inline constexpr int k%sShift = %d;\n", name, best.shift);
    std::printf("inline constexpr uint%d_t k%sBlocks[] = {\n", best.contents.size() > 256 ? 16 : 8,
                name);
    size_t column = 0;
    write_numbers(best.blocks, column);
    std::printf("};\ninline constexpr uint8_t k%sContents[] = {\n", name);
    column = 0;
    for (const Bytes& block : best.contents) write_numbers(block, column);
    std::printf("};\n\n");
}

}  // namespace qxut::generator

#endif
