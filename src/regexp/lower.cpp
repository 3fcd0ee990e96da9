// lower.cpp - from the graph that users see to the program that the matcher runs.
//
// The stages and what lies between them: lowering.h. Entry: lower. Tested by
// tests/regexp/program_test.cpp.
#include <algorithm>
#include <optional>

#include "regexp/failure.h"
#include "regexp/lowering.h"

namespace qxut::regexp {
namespace {

// The tokens whose being set decides a condition.
void find_tested_tokens(Program& program) {
    Vector<bool> is_done(program.references.size());
    for (const Instruction& in : program.code) {
        if (in.op != Op::if_token || is_done[in.arg]) continue;
        is_done[in.arg] = true;
        const Reference& reference = program.references[in.arg];
        for (uint32_t i = 0; i < reference.count; ++i)
            program.tested_tokens.push_back(program.tokens[reference.first + i]);
    }
    Vector<uint32_t>& tested = program.tested_tokens;
    std::sort(tested.begin(), tested.end());
    tested.erase(std::unique(tested.begin(), tested.end()), tested.end());
}

// The look-behinds that have many places to begin at.
Vector<bool> turned_regions(const Program& program) {
    constexpr uint32_t kMostPlaces = 4;
    Vector<bool> regions;
    for (size_t i = 0; i < program.regions.size(); ++i) {
        const Region& region = program.regions[i];
        if (!region.looks_behind || region.max - region.min < kMostPlaces) continue;
        regions.resize(program.regions.size());
        regions[i] = true;
    }
    return regions;
}

void lower_to_code(Lowering& lowering, const Vector<bool>& turned) {
    lower_nodes(lowering);
    if (!turned.empty()) lower_backwards(lowering, turned);
    lower_loops(lowering);
    lower_layout(lowering);
    lower_lengths(lowering.program);
}

}  // namespace

Program lower(const Pattern& pattern, const Program* outer) {
    const auto& names = outer != nullptr ? outer->names : pattern.names;
    Program program;
    std::optional<Lowering> lowering(std::in_place, pattern, program);
    program.names = names;
    lower_to_code(*lowering, {});
    const Vector<bool> turned = turned_regions(program);
    if (!turned.empty()) {
        // Regions get the same numbers again.
        program = Program();
        lowering.emplace(pattern, program);
        program.names = names;
        lower_to_code(*lowering, turned);
    }
    program.token_count = static_cast<uint32_t>(pattern.token_count);
    program.records_failures = !pattern.has_back_references && !pattern.has_dynamic_parts;
    find_tested_tokens(program);
    lower_choices(program, lowering->arena);
    lower_scans(program, outer == nullptr);
    return program;
}

}  // namespace qxut::regexp
