// main.cpp - options, start and end of the console.
//
//     console [options] [file ...]      statements of -e texts, then of the files; without either,
//                                       of standard input
//
// Exit status: 0, 1 when a statement failed, 2 when the console could not start, 3 when an error
// escaped every try frame.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <qxut/util/interrupt.h>

#include "counting_heap.h"
#include "host.h"
#include "session.h"
#include "terminal.h"

namespace {

struct Options {
    std::vector<std::string> texts;
    std::vector<std::string> files;
    std::vector<std::string> settings;  // statements that options stand for
    size_t memory_limit = 0;
    bool memory_report = false;
};

// The signal handler: safe, since setting the state is all it does. The statement that runs polls.
extern "C" void on_interrupt(int) {
    std::signal(SIGINT, on_interrupt);
    utSetInterruptPending(true);
}

void declare(CLI::App& app, Options& options) {
    const auto setting = [&options](const char* command) {
        return [&options, command](const std::string& value) {
            options.settings.push_back(std::string(command) + " \"" + value + "\"");
        };
    };
    app.add_option("files", options.files, "Files of statements to run");
    app.add_option("-e,--execute", options.texts, "Statements to run")
        ->take_all()
        ->allow_extra_args(false);
    app.add_option_function<std::string>("--language", setting("language"), "English or ja");
    app.add_option_function<std::string>("--warnings", setting("warning"), "on, off or error");
    app.add_option_function<std::string>("--log", setting("transcript"),
                                         "File to copy the output to");
    app.add_flag_callback(
        "--echo", [&options] { options.settings.emplace_back("echo on"); },
        "Print each statement before its result");
    app.add_option("--memory-limit", options.memory_limit, "Bytes that may be allocated, e.g. 64MB")
        ->transform(CLI::AsSizeValue(false));
    app.add_flag("--memory-report", options.memory_report, "Tell the memory used on stderr");
}

int run(const Options& options) {
    console::set_heap_limit(options.memory_limit);
    console::Host host;
    if (!host.open()) return 2;
    const bool from_input = options.texts.empty() && options.files.empty();
    const bool interactive = from_input && isatty(STDIN_FILENO) != 0;
    console::open_terminal(interactive);
    console::Session session;
    const bool opened = session.open();
    if (opened) {
        for (const std::string& text : options.settings) session.run_text(text.c_str(), "option");
        for (const std::string& text : options.texts) session.run_text(text.c_str(), "-e");
        for (const std::string& file : options.files) session.run_file(file.c_str());
        if (from_input) session.run_input(interactive);
    }
    session.clear();
    console::close_terminal();
    host.close();
    if (!opened) return 2;
    return session.has_failed() && !interactive ? 1 : 0;
}

int start(int argc, char** argv) {
    CLI::App app{"A numeric console: statements, one a line; \"help\" lists them."};
    Options options;
    declare(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    std::signal(SIGINT, on_interrupt);
    const int status = run(options);
    if (options.memory_report) {
        const console::HeapUse use = console::heap_use();
        std::fprintf(stderr, "memory: peak %zu bytes, live at exit %zu bytes in %zu blocks\n",
                     use.peak, use.bytes, use.blocks);
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return start(argc, argv);
    } catch (const std::exception& error) {  // from the option parser and its containers
        std::fprintf(stderr, "console: %s\n", error.what());
        return 2;
    }
}
