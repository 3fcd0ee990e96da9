// memory_counters.cpp - the memory counters of the process; those of the heap are retired.
//
// Tested by tests/util/memory_test.cpp.
#include <qxut/util/memory_counters.h>

#include <qxut/util/output.h>

#include "platform/platform.h"

namespace {

void warn_retired() { utPrintf("Warning: Memory performance counters are no longer supported.\n"); }

void store(uint64_t* destination, uint64_t value) {
    if (destination != nullptr) *destination = value;
}

}  // namespace

void utGetVelumaProcessMem(uint64_t* working_set, uint64_t* peak_working_set,
                           uint64_t* page_file_usage) {
    qxut::platform::ProcessMemory memory{};
    if (!qxut::platform::read_process_memory(memory)) {
        utPrintf("Warning: Failed to get process memory counters\n");
        return;
    }
    store(working_set, memory.resident);
    store(peak_working_set, memory.peak_resident);
    store(page_file_usage, memory.committed);
}

void utGetMemoryPerfCounters() { warn_retired(); }

void utToggleMemoryPerfCounters() { warn_retired(); }

void utClearMemoryPerfCounters() { warn_retired(); }

bool utAreMemoryPerfCountersEnabled() {
    warn_retired();
    return false;
}

uint64_t utGetMemoryCounter() {
    utPrintf("Warning: Memory activity counters are no longer supported.\n");
    return 0;
}
