// dot.cpp - see dot.h. Tested by tests/tools/qxre_test.py where dot is installed.
#include "dot.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace qxre {
namespace {

[[noreturn]] void fail(const std::string& what, int reason) {
    throw std::runtime_error(what + ": " + std::strerror(reason));
}

void write_text(const std::string& text, const std::string& path) {
    std::FILE* const file = path.empty() ? stdout : std::fopen(path.c_str(), "wb");
    if (file == nullptr) fail(path, errno);
    const bool wrote = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    const bool closed = path.empty() ? std::fflush(file) == 0 : std::fclose(file) == 0;
    if (!wrote || !closed) fail(path.empty() ? "standard output" : path, errno);
}

// Starts dot with the read end of a pipe as its standard input.
pid_t start_dot(const int (&pipe_ends)[2], const std::string& format, const std::string& path) {
    std::vector<std::string> arguments = {"dot", "-T" + format};
    if (!path.empty()) arguments.push_back("-o" + path);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe_ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipe_ends[0]);
    posix_spawn_file_actions_addclose(&actions, pipe_ends[1]);
    pid_t child = -1;
    const int problem = posix_spawnp(&child, "dot", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (problem != 0) {
        close(pipe_ends[0]);
        close(pipe_ends[1]);
        fail("dot (of Graphviz) cannot be run", problem);
    }
    return child;
}

}  // namespace

void write_graph(const std::string& graph, const std::string& format, const std::string& path) {
    if (format == "dot") return write_text(graph, path);
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) fail("dot (of Graphviz) cannot be run", errno);
    const pid_t child = start_dot(pipe_ends, format, path);
    close(pipe_ends[0]);
    // Should dot end early, its exit status tells.
    std::signal(SIGPIPE, SIG_IGN);
    for (size_t done = 0; done < graph.size();) {
        const ssize_t count = write(pipe_ends[1], graph.data() + done, graph.size() - done);
        if (count < 0 && errno != EINTR) break;
        if (count > 0) done += static_cast<size_t>(count);
    }
    close(pipe_ends[1]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (status != 0) throw std::runtime_error("dot (of Graphviz) failed");
}

}  // namespace qxre
