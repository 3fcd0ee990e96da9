// qxconv - converts files between encodings.
//
//     qxconv [-f FROM] -t TO [-o OUT] [--invalid=substitute|stop|escape] [FILES]
//     qxconv --list
//
// The files, or standard input (also "-"), are converted one after the other to OUT or standard
// output, piece by piece in memory of a fixed size. Without -f each file's encoding is recognised
// by its first bytes, and a byte-order mark is dropped. What the target encoding begins a text with
// stands once, in front of all. OUT appears only when all went well.
//
// Exit status: 0; 1 something was substituted or escaped, everything is written; 2 stopped at what
// cannot be converted (--invalid=stop); 3 a file could not be read, recognised or written, or the
// user interrupted; 4 wrong usage or an encoding that is not known. From 2 on OUT is untouched.
//
// Tested by tests/tools/qxconv_test.py.
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <qxut/util/interrupt.h>
#include <qxut/i18n/conversion_stream.hpp>
#include <qxut/i18n/encodings.hpp>
#include <qxut/i18n/recognition.hpp>

#include "output_file.h"

namespace {

using Quorvanix::I18N::ConversionStream;
using Quorvanix::I18N::Recognition;
using Status = ConversionStream::Status;

enum Outcome { kConverted = 0, kSubstituted = 1, kStopped = 2, kFailed = 3, kMisused = 4 };

struct Options {
    std::string from;  // empty: recognised
    std::string to;
    std::string output;  // empty: standard output
    ConversionStream::Policy policy = ConversionStream::Policy::substitute;
    std::vector<std::string> files;
    bool list = false;
};

extern "C" void on_interrupt(int) { utSetInterruptPending(true); }

void stop_when_interrupted() {
    if (utTakeInterrupt()) throw std::runtime_error("interrupted");
}

// An input and the block of it that is being converted.
class Input {
  public:
    explicit Input(const std::string& name) : name_(name == "-" ? "standard input" : name) {
        file_ = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
        if (file_ == nullptr) fail();
        std::error_code problem;
        const auto size = std::filesystem::file_size(name, problem);
        if (!problem) total_ = size;
        block_.resize(Quorvanix::I18N::kRecognitionSize);
        read();
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input() {
        if (file_ != stdin) std::fclose(file_);
    }

    // Replaces the block, which has been used up; at the end it stays empty.
    void read() {
        next_ = block_.data();
        size_ = std::fread(block_.data(), 1, block_.size(), file_);
        if (std::ferror(file_) != 0) {
            stop_when_interrupted();
            fail();
        }
        is_last_ = size_ < block_.size();
    }
    void take(size_t count) {
        next_ += count;
        size_ -= count;
    }

    const std::string& name() const { return name_; }
    const char* next() const { return next_; }
    size_t size() const { return size_; }
    bool is_last() const { return is_last_; }  // nothing follows the block
    uint64_t total() const { return total_; }  // bytes; 0: unknown

  private:
    [[noreturn]] void fail() const {
        throw std::runtime_error(name_ + " cannot be read: " + std::strerror(errno));
    }

    std::string name_;
    std::FILE* file_ = nullptr;
    std::vector<char> block_;
    const char* next_ = nullptr;
    size_t size_ = 0;
    bool is_last_ = false;
    uint64_t total_ = 0;
};

// On a terminal, how much of a long file is done.
class Progress {
  public:
    explicit Progress(const Input& input)
        : input_(input), shown_(input.total() >= kLong && isatty(STDERR_FILENO) != 0) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (shown_) std::fprintf(stderr, "\r\033[K");
    }
    void tell(uint64_t done) {
        if (!shown_) return;
        const auto percent = static_cast<int>(done * 100 / input_.total());
        if (percent == percent_) return;
        percent_ = percent;
        std::fprintf(stderr, "\r%s: %d %%", input_.name().c_str(), percent);
    }

  private:
    static constexpr uint64_t kLong = uint64_t{8} << 20;
    const Input& input_;
    bool shown_;
    int percent_ = -1;
};

std::string recognised(Input& input) {
    const Recognition found =
        Quorvanix::I18N::recognize(input.next(), input.size(), input.is_last());
    if (found.name.empty())
        throw std::runtime_error(input.name() +
                                 ": its encoding is not recognised; name it with -f");
    input.take(found.mark_size);
    return found.name;
}

void report_stop(const Input& input, const ConversionStream& stream, uint64_t skipped) {
    const ConversionStream::Fault fault = stream.fault();
    const uint64_t position = fault.position + skipped;
    if (fault.character >= 0) {
        std::fprintf(stderr, "qxconv: %s: U+%04X at byte %" PRIu64 " does not exist in %s.\n",
                     input.name().c_str(), static_cast<unsigned>(fault.character), position,
                     stream.target_encoding());
    } else {
        std::fprintf(stderr, "qxconv: %s: byte %" PRIu64 " is not well-formed %s.\n",
                     input.name().c_str(), position, stream.source_encoding());
    }
}

// How many bytes an encoding begins a text with: a byte-order mark, a designation.
size_t opening_size(const std::string& encoding) {
    const auto size_of = [&](std::string_view text) {
        ConversionStream stream("UTF-8", encoding.c_str());
        char bytes[64];
        return stream.convert(text.data(), text.size(), true, bytes, sizeof bytes).written;
    };
    return 2 * size_of("a") - size_of("aa");
}

Outcome convert(const std::string& name, const Options& options, tools::OutputFile& output) {
    Input input(name);
    const size_t before = input.size();
    const std::string from = options.from.empty() ? recognised(input) : options.from;
    const uint64_t skipped = before - input.size();
    ConversionStream stream(from.c_str(), options.to.c_str(), options.policy);
    Progress progress(input);
    std::vector<char> converted(size_t{128} * 1024);
    size_t opening = output.is_empty() ? 0 : opening_size(options.to);
    for (Status status = Status::more_source; status != Status::finished;) {
        stop_when_interrupted();
        if (input.size() == 0 && !input.is_last()) input.read();
        const ConversionStream::Step step = stream.convert(
            input.next(), input.size(), input.is_last(), converted.data(), converted.size());
        input.take(step.read);
        const size_t dropped = std::min(opening, step.written);
        opening -= dropped;
        output.write(converted.data() + dropped, step.written - dropped);
        status = step.status;
        if (status == Status::stopped) {
            report_stop(input, stream, skipped);
            return kStopped;
        }
        progress.tell(stream.account().read);
    }
    const uint64_t substituted = stream.account().substituted;
    if (substituted == 0) return kConverted;
    std::fprintf(stderr, "qxconv: %s: %" PRIu64 " %s (%s to %s).\n", input.name().c_str(),
                 substituted,
                 options.policy == ConversionStream::Policy::escape ? "escaped" : "substituted",
                 stream.source_encoding(), stream.target_encoding());
    return kSubstituted;
}

Outcome run(const Options& options) {
    if (options.list) {
        for (const std::string& name : Quorvanix::I18N::encodingNames())
            std::printf("%s\n", name.c_str());
        return std::fflush(stdout) == 0 ? kConverted : kFailed;
    }
    // Names are tried before a file is touched.
    const ConversionStream tried(options.from.empty() ? "UTF-8" : options.from.c_str(),
                                 options.to.c_str());
    tools::OutputFile output(options.output, "qxconv");
    Outcome worst = kConverted;
    for (const std::string& name : options.files) {
        const Outcome outcome = convert(name, options, output);
        if (outcome == kStopped) return outcome;
        worst = std::max(worst, outcome);
    }
    stop_when_interrupted();
    output.commit();
    return worst;
}

int start(int argc, char** argv) {
    CLI::App app{"Converts files between encodings."};
    Options options;
    app.add_option("-f,--from", options.from, "Encoding of the files; without it, recognised");
    app.add_option("-t,--to", options.to, "Encoding to convert to");
    app.add_option("-o,--output", options.output, "File to write; without it, standard output");
    const std::map<std::string, ConversionStream::Policy> policies{
        {"substitute", ConversionStream::Policy::substitute},
        {"stop", ConversionStream::Policy::stop},
        {"escape", ConversionStream::Policy::escape}};
    app.add_option("--invalid", options.policy,
                   "What cannot be converted: substitute (default), stop or escape")
        ->transform(CLI::CheckedTransformer(policies));
    app.add_flag("--list", options.list, "List the encodings");
    app.add_option("files", options.files, "Files to convert; none or -: standard input");
    app.footer(
        "Exit status: 0; 1 something was substituted or escaped; 2 stopped at what cannot be\n"
        "converted; 3 a file could not be read, recognised or written; 4 wrong usage or encoding.\n"
        "From 2 on the output file is untouched.");
    try {
        app.parse(argc, argv);
        if (!options.list && options.to.empty()) throw CLI::RequiredError("--to");
    } catch (const CLI::ParseError& problem) {
        return app.exit(problem) == 0 ? kConverted : kMisused;
    }
    if (options.files.empty()) options.files.emplace_back("-");
    // Without SA_RESTART: a read that waits for more ends, too.
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    sigaction(SIGINT, &action, nullptr);
    return run(options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return start(argc, argv);
    } catch (const Quorvanix::I18N::InvalidCharacterSetException& problem) {
        std::fprintf(stderr, "qxconv: %s\n", problem.what());
        return kMisused;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "qxconv: %s\n", problem.what());
        return kFailed;
    }
}
