#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

#include <qxut/util/contexts.h>

#include "support/failing_malloc.h"

namespace {

struct Ended {
    int status;  // -1: by a signal
    std::string output;
};

// Runs the program loading.c on the library.
Ended run_loading(const std::string& mode) {
    const std::string command = QXUT_LOADING_PROGRAM " " QXUT_LIBRARY " " + mode + " 2>&1";
    std::FILE* pipe = popen(command.c_str(), "r");
    Ended ended{-1, {}};
    if (pipe == nullptr) return ended;
    std::array<char, 4096> block{};
    while (const size_t length = std::fread(block.data(), 1, block.size(), pipe)) {
        ended.output.append(block.data(), length);
    }
    const int status = pclose(pipe);
    if (WIFEXITED(status)) ended.status = WEXITSTATUS(status);
    return ended;
}

// Runs before main: by then the process default record must be there.
const utBasicContexts* const record_before_main = utGetBasicContexts();

TEST(Startup, DefaultRecordIsThereBeforeMain) {
    ASSERT_NE(record_before_main, nullptr);
    EXPECT_EQ(utGetBasicContexts(), record_before_main);
}

TEST(Startup, LibraryIsLoadedAndUnloadedAgainAndAgain) {
    const Ended ended = run_loading("cycle");
    EXPECT_EQ(ended.status, 0) << ended.output;
}

TEST(Startup, NothingIsAllocatedAtExit) {
#if defined(QXUT_COVERAGE)
    GTEST_SKIP() << "the counts are written at exit";
#endif
    const Ended ended = run_loading("exit");
    EXPECT_EQ(ended.status, 0) << ended.output;
}

TEST(Startup, LoadingWithoutMemoryEndsTheProcess) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP() << "the heap is the sanitizer's";
    for (int k = 0;; ++k) {
        SCOPED_TRACE("allocation " + std::to_string(k) + " fails");
        const Ended ended = run_loading("fail " + std::to_string(k));
        if (ended.status == 0) {
            EXPECT_GT(k, 2);
            break;
        }
        ASSERT_EQ(ended.status, 3) << ended.output;
        EXPECT_NE(ended.output.find("emory"), std::string::npos) << ended.output;
        EXPECT_NE(ended.output.find("Panic with status 3"), std::string::npos) << ended.output;
    }
}

}  // namespace
