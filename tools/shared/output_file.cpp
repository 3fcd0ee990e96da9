// output_file.cpp - see output_file.h. Tested by tests/tools/qxconv_test.py and qxre_test.py.
#include "output_file.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tools {

namespace fs = std::filesystem;

OutputFile::OutputFile(const fs::path& path, const char* program) : path_(path) {
    std::error_code ignored;
    if (path.empty()) {
        file_ = stdout;
    } else if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored)) {
        file_ = std::fopen(path.c_str(), "wb");
    } else {
        // A link keeps pointing to the file that is replaced.
        const fs::path target = fs::weakly_canonical(path, ignored);
        if (!target.empty()) path_ = target;
        constexpr int kTries = 1000;
        for (int i = 0; i < kTries && file_ == nullptr; ++i) {
            temporary_ = path_;
            temporary_ += "." + std::string(program) + "-" + std::to_string(i);
            file_ = std::fopen(temporary_.c_str(), "wbx");
            if (file_ == nullptr && errno != EEXIST) break;
        }
    }
    if (file_ == nullptr) {
        temporary_.clear();
        fail("cannot be written");
    }
    // Nobody reads from the temporary file what he may not read from the other.
    if (!temporary_.empty() && fs::exists(path_, ignored))
        fs::permissions(temporary_, fs::perms::owner_read | fs::perms::owner_write, ignored);
}

OutputFile::~OutputFile() {
    if (file_ != nullptr && file_ != stdout) std::fclose(file_);
    std::error_code ignored;
    if (!temporary_.empty()) fs::remove(temporary_, ignored);
}

void OutputFile::fail(const char* what) const {
    const std::string reason = std::strerror(errno);
    throw std::runtime_error((path_.empty() ? "standard output" : path_.string()) + " " + what +
                             ": " + reason);
}

void OutputFile::write(const char* bytes, size_t size) {
    if (std::fwrite(bytes, 1, size, file_) != size) fail("cannot be written");
    is_empty_ = is_empty_ && size == 0;
}

void OutputFile::commit() {
    if (std::fflush(file_) != 0) fail("cannot be written");
    if (file_ == stdout) return;
    std::FILE* const file = file_;
    file_ = nullptr;
    if (std::fclose(file) != 0) fail("cannot be written");
    if (temporary_.empty()) return;
    std::error_code problem;
    const fs::file_status before = fs::status(path_, problem);
    if (fs::exists(before)) fs::permissions(temporary_, before.permissions(), problem);
    fs::rename(temporary_, path_, problem);
    if (problem)
        throw std::runtime_error(path_.string() + " cannot be replaced: " + problem.message());
    temporary_.clear();
}

}  // namespace tools
