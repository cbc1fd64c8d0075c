// The host's clock, and what waits by it.
#include "HostClock.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <atomic>
#include <csignal>

namespace simulated {
namespace {

TEST(HostClock, RunsForward) {
    const U64 first = HostClock();
    const U64 second = HostClock();
    EXPECT_LE(first, second);
    EXPECT_GT(first, 0U);
}

TEST(HostClock, SleepLastsUntilTheTimeHasCome) {
    const U64 end = HostClock() + 20'000;
    SleepUntil(end);
    EXPECT_GE(HostClock(), end);
}

TEST(HostClock, TimeThatHasPassedIsNotWaitedFor) {
    SleepUntil(0);
    SleepUntil(HostClock());
}

std::atomic<int> ticks;

TEST(HostClock, HandledSignalsDoNotEndASleep) {
    struct sigaction count {};
    count.sa_handler = [](int) { ++ticks; };
    struct sigaction before {};
    ASSERT_EQ(sigaction(SIGALRM, &count, &before), 0);
    const itimerval often{.it_interval = {0, 2000}, .it_value = {0, 2000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
    const U64 end = HostClock() + 50'000;
    SleepUntil(end);
    EXPECT_GE(HostClock(), end);
    EXPECT_GT(ticks, 0);
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before, nullptr);
}

}  // namespace
}  // namespace simulated
