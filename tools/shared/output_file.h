// output_file.h - a file that appears whole or not at all.
//
// What is written goes to a temporary file in the same folder; commit gives it the name that was
// asked for, over what had it before, whose permissions it takes. Without commit it is removed.
// What is no plain file, such as a device, is written directly, as is standard output.
#ifndef TOOLS_OUTPUT_FILE_H
#define TOOLS_OUTPUT_FILE_H

#include <cstddef>
#include <cstdio>
#include <filesystem>

namespace tools {

class OutputFile {
  public:
    // An empty path is standard output. The temporary file's name ends in `.PROGRAM-N`. Throws
    // std::runtime_error, here and below, with a text that names the file.
    OutputFile(const std::filesystem::path& path, const char* program);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    void write(const char* bytes, size_t size);
    void commit();
    bool is_empty() const { return is_empty_; }  // nothing was written

  private:
    [[noreturn]] void fail(const char* what) const;

    std::filesystem::path path_;
    std::filesystem::path temporary_;  // empty: there is none
    std::FILE* file_ = nullptr;
    bool is_empty_ = true;
};

}  // namespace tools

#endif
