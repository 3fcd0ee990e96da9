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

TEST(Startup, BuiltinMessagesSpeakTwoLanguages) {
    const ut_message_context* messages = utGetMessageContext();
    const struct {
        const char* mnemonic;  // of the first entry
        ut_message_code first;
        uint32_t count;
    } kModules[] = {
        {"ASSERTION_FAULT", 1u << 16 | 1, 7},
        {"OUT_OF_MEMORY", 2u << 16 | 1, 1},
        {"HASH_INVALID_LOWER_LOAD_BOUND", 3u << 16 | 1, 3},
        {"WARN_ALL", 4u << 16 | 1, 3},
        {"FPC_BUFFER_TOO_SMALL", 25u << 16 | 1, 1},
        {"GTABLE_DELETE_GTABLE", 34u << 16 | 1, 1},
        {"ARRAY_INVALID_DATASIZE", 40u << 16 | 1, 1},
    };
    int32_t status = 0;
    ut_change_language(&status, utGetMessageContext(), "ja");
    EXPECT_EQ(status, 0);
    for (const auto& module : kModules) {
        SCOPED_TRACE(module.mnemonic);
        EXPECT_STREQ(ut_get_message_mnemonic(messages, module.first), module.mnemonic);
        EXPECT_EQ(ut_get_message_mnemonic(messages, module.first + module.count), nullptr);
        // The library keeps a reference beside that of the default record's own contexts.
        EXPECT_GE(messages->reference_counts[module.first >> 16], 1u);
        EXPECT_STRNE(ut_get_message(messages, module.first),
                     ut_get_primary_message(messages, module.first));
    }
    ut_change_language(&status, utGetMessageContext(), "English");
    EXPECT_EQ(status, 0);
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
