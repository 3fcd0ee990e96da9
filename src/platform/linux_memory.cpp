// linux_memory.cpp - the memory counters of the process, from /proc/self/status.
//
// A line of that file reads "VmRSS:      1234 kB"; the kernel's kB are 1024 bytes.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <string_view>

#include "platform/platform.h"

namespace qxut::platform {
namespace {

// The whole file; its lines that matter lie in the first kilobyte or two.
size_t read_file(const char* path, char* buffer, size_t size) noexcept {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    size_t length = 0;
    while (length < size) {
        const ssize_t got = read(file, buffer + length, size - length);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        length += static_cast<size_t>(got);
    }
    close(file);
    return length;
}

// Finds "name" at the start of a line and stores its number in bytes.
bool find_bytes(std::string_view status, std::string_view name, uint64_t& bytes) noexcept {
    const size_t at = status.find(name);
    if (at == status.npos) return false;
    const size_t digits = status.find_first_not_of(" \t", at + name.size());
    if (digits == status.npos) return false;
    uint64_t kilobytes = 0;
    const auto [end, error] =
        std::from_chars(status.data() + digits, status.data() + status.size(), kilobytes);
    if (error != std::errc{}) return false;
    bytes = kilobytes * 1024;
    return true;
}

}  // namespace

bool read_process_memory(ProcessMemory& memory) noexcept {
    char buffer[8192];
    const std::string_view status(buffer, read_file("/proc/self/status", buffer, sizeof buffer));
    ProcessMemory found{};
    if (!find_bytes(status, "\nVmRSS:", found.resident) ||
        !find_bytes(status, "\nVmHWM:", found.peak_resident) ||
        !find_bytes(status, "\nVmData:", found.committed))
        return false;
    memory = found;
    return true;
}

}  // namespace qxut::platform
