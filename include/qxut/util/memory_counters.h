/* memory_counters.h - how much memory the process uses, as the operating system counts it. */
#ifndef QXUT_UTIL_MEMORY_COUNTERS_H
#define QXUT_UTIL_MEMORY_COUNTERS_H

#include <qxut/util/types.h>

QXUT_BEGIN_DECLS

/* Stores the process's counters, in bytes, into those arguments that are not null:
 *
 *   working set         the pages in physical memory, shared ones included (Linux: VmRSS)
 *   peak working set    its highest value so far (VmHWM)
 *   page-file usage     the private writable memory that the process has asked for and that
 *                       memory and swap must be able to hold, whether touched yet or not; thread
 *                       stacks count, the main stack does not (VmData)
 *
 * When the operating system does not tell, prints a warning to the console and stores nothing. */
QXUT_API void utGetVelumaProcessMem(uint64_t* working_set, uint64_t* peak_working_set,
                                    uint64_t* page_file_usage);

/* Retired: each prints a warning to the console and does nothing else; the last two return
 * false and 0. */
QXUT_API void utGetMemoryPerfCounters(void);
QXUT_API void utToggleMemoryPerfCounters(void);
QXUT_API void utClearMemoryPerfCounters(void);
QXUT_API bool utAreMemoryPerfCountersEnabled(void);
QXUT_API uint64_t utGetMemoryCounter(void);

QXUT_END_DECLS

#endif
