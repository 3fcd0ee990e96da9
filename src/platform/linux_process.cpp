// linux_process.cpp - ending the process and writing its last words.
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/platform.h"

namespace qxut::platform {
namespace {

constexpr unsigned kFlushSeconds = 2;
constexpr unsigned kEndSeconds = 10;

// The status to leave with when flushing takes too long; written before the alarm is set.
volatile sig_atomic_t late_status = 0;

void leave_late(int /*signal*/) { _exit(late_status); }

// SIGALRM ends the process, whatever the host did with it.
void set_alarm(unsigned seconds) noexcept {
    struct sigaction action {};
    action.sa_handler = leave_late;
    sigaction(SIGALRM, &action, nullptr);
    sigset_t alarm_only;
    sigemptyset(&alarm_only);
    sigaddset(&alarm_only, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &alarm_only, nullptr);
    alarm(seconds);
}

}  // namespace

void write_error(const char* text, size_t length) noexcept {
    while (length > 0) {
        const ssize_t written = write(STDERR_FILENO, text, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text += written;
        length -= static_cast<size_t>(written);
    }
}

void flush_and_leave(int status) noexcept {
    late_status = status;
    set_alarm(kFlushSeconds);
    std::fflush(nullptr);
    _exit(status);
}

void wait_for_end() noexcept {
    unsigned left = kEndSeconds;
    while (left > 0) left = sleep(left);
}

}  // namespace qxut::platform
