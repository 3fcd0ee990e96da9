// thread_clock.h - processor time of the calling thread: what other programs take does not count.
#ifndef QXUT_BENCH_SUPPORT_THREAD_CLOCK_H
#define QXUT_BENCH_SUPPORT_THREAD_CLOCK_H

#include <ctime>

namespace qxut_bench {

// Seconds since some moment.
inline double thread_seconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

}  // namespace qxut_bench

#endif
