// How a command runs on a simulated host, and that nothing remains of either.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>

#include "Zelsim.h"

namespace {

using testing::HasSubstr;

// A number of seconds to sleep that no other process on this machine sleeps.
std::string OwnSleep(int test) {
    return "sleep 8640" + std::to_string(test) + std::to_string(getpid());
}

TEST(ZelsimRun, ExitStatusIsTheCommands) {
    for (const int status : {0, 1, 2, 125, 251, 255})
        EXPECT_EQ(RunShell("exit " + std::to_string(status)).status, status);
}

TEST(ZelsimRun, CommandEndedByASignal) {
    EXPECT_EQ(RunShell("kill -TERM $$").status, 128 + SIGTERM);
    EXPECT_EQ(RunShell("kill -KILL $$").status, 128 + SIGKILL);
    EXPECT_EQ(RunShell("kill -SEGV $$").status, 128 + SIGSEGV);
}

TEST(ZelsimRun, CommandThatIsNotThere) {
    for (const char* command : {"no-such-command", "/no/such/command", "/dev/null/command", ""}) {
        const Ended ended = RunZelsim({"run", command});
        EXPECT_EQ(ended.status, 127) << command;
        EXPECT_THAT(ended.err, HasSubstr("zelsim: " + std::string(command) + ": "));
    }
}

TEST(ZelsimRun, MistypedToolIsRecognised) {
    EXPECT_EQ(RunZelsim({"run", "zeldiag", "-help"}).err,
              "zelsim: zeldiag: No such file or directory; did you mean \"ZelDiag\"?\n");
}

TEST(ZelsimRun, CommandThatCannotRun) {
    const TemporaryFile text("text\n");
    EXPECT_EQ(RunZelsim({"run", text.Path()}).status, 126);
    EXPECT_EQ(RunZelsim({"run", "/"}).status, 126);
}

TEST(ZelsimRun, ArgumentsArriveUntouched) {
    EXPECT_EQ(RunZelsim({"run", "printf", "<%s>", "", "a b", "$x", "\xff", "*"}).out,
              "<><a b><$x><\xff><*>");
}

TEST(ZelsimRun, StandardStreamsAreTheCommands) {
    const Ended ended = RunShell("echo out; echo err >&2");
    EXPECT_EQ(ended.out, "out\n");
    EXPECT_EQ(ended.err, "err\n");
}

TEST(ZelsimRun, OrphansAreReapedAndTheirStatusIsNotTheCommands) {
    const Ended ended = RunShell(
        "(exit 9 & ) ; sh -c '(sleep 0.05; exit 3) &' ; sleep 0.2; "
        "ps -eo stat= | grep -c Z; exit 4");
    EXPECT_EQ(ended.out, "0\n");
    EXPECT_EQ(ended.status, 4);
}

TEST(ZelsimRun, WhatTheCommandLeavesRunningEndsWithIt) {
    const std::string sleep = OwnSleep(1);
    const Ended ended = RunShell("setsid " + sleep + " >/dev/null 2>&1 & exit 5");
    EXPECT_EQ(ended.status, 5);
    EXPECT_FALSE(ProcessStays(sleep));
}

TEST(ZelsimRun, KilledZelsimLeavesNothing) {
    const std::string before = Traces();
    for (const int signal : {SIGKILL, SIGTERM, SIGHUP}) {
        const std::string sleep = OwnSleep(2);
        Zelsim zelsim({"run", "sh", "-c", "echo up; " + sleep});
        zelsim.AwaitOutput("up");
        zelsim.Send(signal);
        EXPECT_EQ(zelsim.Wait().status, 128 + signal);
        EXPECT_FALSE(ProcessStays(sleep)) << "after signal " << signal;
    }
    EXPECT_EQ(Traces(), before);
}

TEST(ZelsimRun, InterruptOfTheTerminalIsTheCommands) {
    Zelsim zelsim(
        {"run", "sh", "-c", "trap 'echo interrupted; exit 3' INT; echo up; sleep 5 & wait"});
    zelsim.AwaitOutput("up");
    // The terminal signals the whole group.
    ASSERT_EQ(kill(-zelsim.Pid(), SIGINT), 0);
    const Ended ended = zelsim.Wait();
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.out, HasSubstr("interrupted"));
}

TEST(ZelsimRun, NoInterruptOfTheTerminalIsLost) {
    for (useconds_t delay = 0; delay < 60'000; delay += 1'000) {
        Zelsim zelsim({"run", "sleep", "100"});
        usleep(delay);
        while (kill(-zelsim.Pid(), SIGINT) != 0)
            usleep(100);  // until it has a process group
        EXPECT_EQ(zelsim.Wait().status, 128 + SIGINT) << "after " << delay << " us";
    }
}

TEST(ZelsimRun, IgnoredSignalsOfTheCallerStayIgnored) {
    const Ended ended =
        RunZelsim({"run", "grep", "SigIgn", "/proc/self/status"}, {"--ignore-signal=INT"});
    const unsigned long ignored =
        std::stoul(ended.out.substr(ended.out.find(':') + 1), nullptr, 16);
    EXPECT_EQ(ignored & 1UL << (SIGINT - 1), 1UL << (SIGINT - 1)) << ended.out;
    EXPECT_EQ(ignored & 1UL << (SIGQUIT - 1), 0UL) << ended.out;
}

TEST(ZelsimRun, CallerThatIgnoresItsChildrenGetsTheStatus) {
    EXPECT_EQ(RunZelsim({"run", "sh", "-c", "exit 7"}, {"--ignore-signal=CHLD"}).status, 7);
}

TEST(ZelsimRun, TwoRunsDoNotMeet) {
    const TemporaryFile fleet("[[card]]\n[[card]]\n[[card]]\n");
    const std::string sleep = OwnSleep(3);
    Zelsim first({"run", "sh", "-c",
                  "echo first >/run/zelsim/mark; zelsim mode 0 offline; echo up; " + sleep});
    first.AwaitOutput("up");
    const Ended second = RunShell(
        "ls /run/zelsim; zelsim status | grep -c normal; ls /proc | "
        "grep -c '^[0-9]'",
        fleet.Path());
    EXPECT_EQ(second.out.find("mark"), std::string::npos) << second.out;
    EXPECT_THAT(second.out, HasSubstr("\n3\n"));
    EXPECT_TRUE(ProcessRuns(sleep)) << "the second run disturbed the first";
}

TEST(ZelsimRun, KilledRunDoesNotDisturbAnother) {
    const std::string sleep = OwnSleep(4);
    Zelsim killed({"run", "sh", "-c", "echo up; " + sleep});
    Zelsim other({"run", "sh", "-c",
                  "echo up; while test ! -e /run/go; do sleep 0.02; done; "
                  "zelsim status | grep -c normal"});
    killed.AwaitOutput("up");
    other.AwaitOutput("up");
    killed.Send(SIGKILL);
    killed.Wait();
    EXPECT_FALSE(ProcessStays(sleep));
    // Its files are seen through one of its processes.
    const std::string touch =
        "nsenter -t $(pgrep -P " + std::to_string(other.Pid()) + ") --mount --root touch /run/go";
    ASSERT_EQ(std::system(touch.c_str()), 0);
    EXPECT_EQ(other.Wait().out, "up\n2\n");
}

TEST(ZelsimRun, FailureLeavesNothing) {
    const std::string before = Traces();
    EXPECT_EQ(RunZelsim({"run", "no-such-command"}).status, 127);
    EXPECT_EQ(RunZelsim({"run", "--fleet", "/no/such.toml", "true"}).status, 125);
    EXPECT_EQ(Traces(), before);
}

}  // namespace
