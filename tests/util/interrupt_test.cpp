// interrupt_test.cpp - requests by a signal, taken once, by whichever thread lets itself.
#include <qxut/util/interrupt.h>

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <csignal>
#include <thread>
#include <vector>

#include "support/contexts.h"

namespace {

void request(int /*signal*/) { utSetInterruptPending(true); }

TEST(Interrupt, SignalIsTakenOnce) {
    const auto before = std::signal(SIGINT, request);
    EXPECT_FALSE(utIsInterruptPending());
    std::raise(SIGINT);
    std::raise(SIGINT);
    EXPECT_TRUE(utIsInterruptPending());
    EXPECT_TRUE(utTakeInterrupt());
    EXPECT_FALSE(utTakeInterrupt());
    std::signal(SIGINT, before);
}

TEST(Interrupt, DisabledThreadLeavesItPending) {
    utSetInterruptPending(true);
    EXPECT_TRUE(utSetInterruptEnabled(false));
    EXPECT_FALSE(utTakeInterrupt());
    EXPECT_TRUE(utIsInterruptPending());
    bool other_took = false;
    std::thread([&] { other_took = utIsInterruptEnabled() && utTakeInterrupt(); }).join();
    EXPECT_TRUE(other_took);
    EXPECT_FALSE(utSetInterruptEnabled(true));
    EXPECT_FALSE(utIsInterruptPending());
}

TEST(Interrupt, OneThreadTakesEachRequest) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::atomic<int> taken{0};
    std::barrier round(kThreads, [&]() noexcept { utSetInterruptPending(true); });
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < kRounds; ++n) {
                round.arrive_and_wait();
                if (utTakeInterrupt()) ++taken;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    // A request that is made again before anybody took the last one is one request.
    EXPECT_EQ(taken, kRounds);
    EXPECT_FALSE(utIsInterruptPending());
}

TEST(Interrupt, PollRaises) {
    qxut_test::Contexts contexts;
    EXPECT_EQ(contexts.run([&] { utPollInterrupt(&contexts.errors); }).code, 0u);
    utSetInterruptPending(true);
    EXPECT_EQ(contexts.run([&] { utPollInterrupt(&contexts.errors); }).code,
              UT_ERR_SIGNAL_INTERRUPT);
    EXPECT_FALSE(utIsInterruptPending());
}

TEST(Interrupt, RestoreKeepsARequestThatArrivedMeanwhile) {
    utSignalState state;
    utSaveSignals(&state);
    utSetInterruptEnabled(false);
    utSetInterruptPending(true);
    utRestoreSignals(&state);
    EXPECT_TRUE(utIsInterruptEnabled());
    EXPECT_TRUE(utSetInterruptPending(false));
}

}  // namespace
