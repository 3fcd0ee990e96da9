// termination_test.cpp - how the process ends, and what is said before.
#include <qxut/system/termination.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace Quorvanix::System;
using testing::ExitedWithCode;
using testing::KilledBySignal;

// The parts of a report in their order; the trace names a function of this file.
#define REPORT(reason, text) \
    "--- " reason " ---\n" text "\nStack trace:\n(.*\n)*.*TestBody.*termination_test.cpp:[0-9]+"

TEST(TerminationDeathTest, FatalAbortsWithAReport) {
    EXPECT_EXIT(fatal("all is lost"), KilledBySignal(SIGABRT),
                REPORT("Fatal error", "all is lost"));
    EXPECT_EXIT(fatalsf("%s %d", "lost", 7), KilledBySignal(SIGABRT),
                REPORT("Fatal error", "lost 7"));
    EXPECT_EXIT(fatal(nullptr), KilledBySignal(SIGABRT), "--- Fatal error ---\nStack trace:");
}

TEST(TerminationDeathTest, PanicLeavesWithItsStatus) {
    EXPECT_EXIT(panic(3), ExitedWithCode(3), "--- Panic with status 3 ---\nStack trace:");
    EXPECT_EXIT(panicsf(4, "%s", "no % here"), ExitedWithCode(4),
                REPORT("Panic with status 4", "no % here"));
    EXPECT_EXIT(panicsf(1, "%9000d", 5), ExitedWithCode(1), " \nStack trace:");
}

void leave_text(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "w");
    std::fputs("not flushed yet", file);
    panic(2);
}

TEST(TerminationDeathTest, PanicFlushesTheStreams) {
    const std::string path = testing::TempDir() + "termination_test.txt";
    EXPECT_EXIT(leave_text(path), ExitedWithCode(2), "");
    std::FILE* file = std::fopen(path.c_str(), "r");
    ASSERT_NE(file, nullptr);
    char text[32] = "";
    EXPECT_NE(std::fgets(text, sizeof text, file), nullptr);
    EXPECT_STREQ(text, "not flushed yet");
    std::fclose(file);
    std::remove(path.c_str());
}

#if defined(__SANITIZE_THREAD__)
constexpr bool kDelaysSignals = true;
#else
constexpr bool kDelaysSignals = false;
#endif

// A console thread that waits for input holds the lock of its stream.
[[noreturn]] void panic_while_a_stream_is_held() {
    std::atomic<bool> held{false};
    std::thread holder([&] {
        flockfile(stdout);
        held = true;
        held.notify_one();
        for (;;) std::this_thread::yield();
    });
    held.wait(false);
    panic(6);
}

TEST(TerminationDeathTest, PanicDoesNotWaitForAHeldStream) {
    if (kDelaysSignals)
        GTEST_SKIP() << "the thread sanitizer delivers no signal to a waiting thread";
    EXPECT_EXIT(panic_while_a_stream_is_held(), ExitedWithCode(6), "Panic with status 6");
}

// --- the listener --------------------------------------------------------------------------------

void say(const std::string& text) { std::fputs(text.c_str(), stderr); }

void end_listened(void (*receive)(void*, const ut_report*)) {
    static ut_report_listener listener{};
    listener = {receive, &listener};
    if (utSetReportListener(&listener) != nullptr) say("another listener was installed\n");
    panicsf(3, "the text");
}

void tell(void* data, const ut_report* report) {
    if (static_cast<ut_report_listener*>(data)->receive != tell) say("wrong data\n");
    const bool has_trace = std::string(report->trace).find("TestBody") != std::string::npos;
    say("heard " + std::to_string(report->kind) + "/" + std::to_string(report->status) + "/" +
        report->reason + "/" + report->text + (has_trace ? "/trace\n" : "/no trace\n"));
}

std::atomic<bool> second_thread_runs{false};

TEST(TerminationDeathTest, ListenerHearsTheReportFirst) {
    EXPECT_EXIT(end_listened(tell), ExitedWithCode(3),
                "^heard 1/3/Panic with status 3/the text/trace\n"
                "--- Panic with status 3 ---\nthe text\n");
}

TEST(TerminationDeathTest, ListenerThatFailsDoesNotKeepTheProcess) {
    EXPECT_EXIT(end_listened([](void*, const ut_report*) { throw std::runtime_error("x"); }),
                ExitedWithCode(3), "listener failed.*\n" REPORT("Panic with status 3", "the text"));
    EXPECT_EXIT(end_listened([](void*, const ut_report*) { panicsf(5, "worse"); }),
                ExitedWithCode(5),
                "Panic with status 3 ---\nthe text\n--- Panic with status 5 ---\nworse\n$");
    EXPECT_EXIT(end_listened([](void*, const ut_report*) { fatal("worst"); }),
                KilledBySignal(SIGABRT), "the text\n--- Fatal error ---\nworst\n$");
}

TEST(TerminationDeathTest, FirstOfTwoThreadsEndsTheProcess) {
    EXPECT_EXIT(end_listened([](void*, const ut_report* report) {
                    if (report->status != 3) {
                        second_thread_runs = true;
                        second_thread_runs.notify_one();
                        return;
                    }
                    std::thread([] { panicsf(5, "second"); }).detach();
                    second_thread_runs.wait(false);
                }),
                ExitedWithCode(3), "the text\n");
}

}  // namespace
