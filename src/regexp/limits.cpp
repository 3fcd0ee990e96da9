// limits.cpp - the defaults of RE_Limits; see limits.h.
//
// They are plain data, like the other settings of the process that are made at start-up.
// Tested by tests/regexp/tree_test.cpp.
#include "regexp/limits.h"

#include <cstdint>

#include <qxut/regexp/regexp.h>

namespace qxut::regexp {
namespace {

constexpr uint64_t kBaseSteps = 10'000'000;
constexpr uint64_t kStepsPerUnitAndInstruction = 256;
constexpr size_t kMemory = size_t{64} << 20;
constexpr size_t kDynamicDepth = 100;

constinit RE_Limits set_by_host;

uint64_t saturating_product(uint64_t a, uint64_t b) {
    return b != 0 && a > UINT64_MAX / b ? UINT64_MAX : a * b;
}

uint64_t default_steps(size_t length, size_t program_size) {
    const uint64_t grown =
        saturating_product(saturating_product(kStepsPerUnitAndInstruction, length), program_size);
    return grown > UINT64_MAX - kBaseSteps ? UINT64_MAX : kBaseSteps + grown;
}

template <class T>
T first_set(T asked, T by_host, T otherwise) {
    return asked != 0 ? asked : (by_host != 0 ? by_host : otherwise);
}

}  // namespace

RE_Limits resolve_limits(const RE_Limits& asked, size_t length, size_t program_size) noexcept {
    RE_Limits limits;
    limits.steps = first_set(asked.steps, set_by_host.steps, default_steps(length, program_size));
    limits.memory = first_set(asked.memory, set_by_host.memory, kMemory);
    limits.dynamic_depth = first_set(asked.dynamic_depth, set_by_host.dynamic_depth, kDynamicDepth);
    return limits;
}

}  // namespace qxut::regexp

void utSetRegexpLimits(uint64_t steps, size_t memory, size_t dynamic_depth) {
    qxut::regexp::set_by_host = {steps, memory, dynamic_depth};
}
