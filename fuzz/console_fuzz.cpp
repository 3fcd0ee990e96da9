// console_fuzz.cpp - the reference host on any statements and any data file.
//
// Input: statements, a NUL, the bytes of a CSV file that is loaded first. What reads or writes
// files or runs for long is left out. After each input the host's allocator must hold nothing.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "../examples/console/counting_heap.h"
#include "../examples/console/host.h"
#include "../examples/console/session.h"

namespace {

// The path of the data file; standard output is discarded from the first call on.
const char* data_file() {
    static std::string path;
    if (path.empty()) {
        path = "/tmp/console_fuzz_" + std::to_string(getpid()) + ".csv";
        std::atexit([] { std::remove(path.c_str()); });
        if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
    }
    return path.c_str();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t end = std::min(input.find('\0'), size);
    const std::string statements = input.substr(0, end);
    const std::string cells = input.substr(std::min(end + 1, size));
    for (const char* left_out : {"transcript", "repeat", "load", "crc", "md5"}) {
        if (statements.find(left_out) != std::string::npos) return 0;
    }
    if (std::FILE* file = std::fopen(data_file(), "wb")) {
        std::fwrite(cells.data(), 1, cells.size(), file);
        std::fclose(file);
    }
    console::set_heap_limit(size_t{1} << 22);
    console::Host host;
    if (!host.open()) std::abort();
    console::Session session;
    if (session.open()) {
        session.run_text(("load \"" + std::string(data_file()) + "\"").c_str(), "fuzz");
        session.run_text(statements.c_str(), "fuzz");
    }
    session.clear();
    host.close();
    if (console::heap_use().blocks != 0) std::abort();
    return 0;
}
