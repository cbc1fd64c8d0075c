// The host's clock, and what waits by it.
#include "host/HostClock.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <csignal>

namespace {

std::atomic<time_t> ahead{0};  // seconds that this program's own clock is ahead

}  // namespace

// The program's clock, as a preloaded library gives it one.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's are reserved names
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const int status = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    now->tv_sec += ahead;
    return status;
}

namespace simulated {
namespace {

TEST(HostClock, RunsForward) {
    const U64 first = HostClock();
    const U64 second = HostClock();
    EXPECT_LE(first, second);
    EXPECT_GT(first, 0U);
}

TEST(HostClock, IsNotTheProgramsOwn) {
    const U64 before = HostClock();
    ahead = 1'000'000;
    const U64 after = HostClock();
    timespec own{};
    clock_gettime(CLOCK_MONOTONIC, &own);
    ahead = 0;
    EXPECT_LT(after - before, 1'000'000'000U);
    EXPECT_GE(own.tv_sec, 1'000'000);
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
