// Children that end, fail, hang, do not want to end, say too much, and leave others behind.
#include "run/Child.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace zelhealth {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Far beyond what anything here takes, however busy the machine is.
constexpr auto kLong = 60s;

ChildSpec Shell(const std::string& script) {
    ChildSpec spec;
    spec.command = {"sh", "-c", script};
    spec.deadline = kLong;
    return spec;
}

ChildResult RunShell(const std::string& script) {
    const Stop never;
    return RunChild(Shell(script), never);
}

// Whether a process has ended. Whoever inherits it need not have reaped it.
bool HasEnded(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(file, stat);
    const std::size_t name = stat.rfind(") ");
    return name == std::string::npos || stat[name + 2] == 'Z';
}

// Waits for the end of a process that is not a child of this one.
bool Ends(pid_t pid) {
    for (std::chrono::milliseconds waited(0); waited < kLong; waited += 10ms) {
        if (HasEnded(pid)) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

class Folder {
public:
    Folder() {
        std::string name = std::filesystem::temp_directory_path() / "zelhealth.XXXXXX";
        path_ = mkdtemp(name.data());
    }
    ~Folder() { std::filesystem::remove_all(path_); }
    std::string Path(const std::string& name) const { return path_ / name; }

    // The number that a child has written there; waits for it.
    pid_t Number(const std::string& name) const {
        pid_t number = 0;
        for (std::chrono::milliseconds waited(0); number == 0 && waited < kLong; waited += 10ms) {
            std::ifstream(Path(name)) >> number;
            std::this_thread::sleep_for(10ms);
        }
        return number;
    }

private:
    std::filesystem::path path_;
};

TEST(Child, TellsStatusAndBothOutputs) {
    const ChildResult result = RunShell("echo said; echo complained >&2; exit 7");
    EXPECT_EQ(result.end, ChildEnd::exited);
    EXPECT_EQ(result.code, 7);
    EXPECT_EQ(result.out, "said\n");
    EXPECT_EQ(result.err, "complained\n");
    EXPECT_FALSE(result.outCut);
    EXPECT_GT(result.pid, 0);
}

TEST(Child, TellsTheSignalThatEndedIt) {
    const ChildResult result = RunShell("kill -SEGV $$");
    EXPECT_EQ(result.end, ChildEnd::signalled);
    EXPECT_EQ(result.code, SIGSEGV);
}

// What a scheduler tells all processes of a job at once is a wish, and no crash.
TEST(Child, HearsTheWishBeforeThisProcess) {
    for (const char* const signal : {"TERM", "INT", "HUP"}) {
        Stop stop;
        std::thread wisher([&stop] {
            std::this_thread::sleep_for(200ms);
            stop.Request();
        });
        const ChildResult result = RunChild(Shell(std::string("kill -") + signal + " $$"), stop);
        wisher.join();
        EXPECT_EQ(result.end, ChildEnd::stopped) << signal;
    }
    EXPECT_EQ(RunShell("kill -TERM $$").end, ChildEnd::signalled);
}

TEST(Child, SaysWhatCannotBeStarted) {
    ChildSpec spec;
    spec.command = {"/does/not/exist"};
    spec.deadline = kLong;
    const Stop never;
    const ChildResult result = RunChild(spec, never);
    EXPECT_EQ(result.end, ChildEnd::notStarted);
    EXPECT_EQ(result.code, ENOENT);
    EXPECT_EQ(result.error, "/does/not/exist: No such file or directory");
}

TEST(Child, HasAnEmptyInputAndNoTerminal) {
    const ChildResult result =
        RunShell("read -r word; echo \"$?\"; (: < /dev/tty) 2> /dev/null; echo $?");
    EXPECT_THAT(result.out, StartsWith("1\n"));
    EXPECT_THAT(result.out, ::testing::Not(HasSubstr("\n0\n")));
}

TEST(Child, InheritsNoDescriptors) {
    const int leak = dup(STDERR_FILENO);
    EXPECT_EQ(RunShell("ls /proc/self/fd | wc -l").out, "4\n");  // the fourth is that folder
    close(leak);
}

TEST(Child, HasItsEnvironmentSetAndUnset) {
    setenv("ZELHEALTH_KEPT", "kept", 1);
    setenv("ZELHEALTH_GONE", "here", 1);
    setenv("SSH_ASKPASS", "/bin/true", 1);
    ChildSpec spec = Shell("echo \"$ZELHEALTH_KEPT-$ZELHEALTH_GONE-$ZELHEALTH_NEW-$SSH_ASKPASS\"");
    spec.environment = {"ZELHEALTH_GONE", "ZELHEALTH_NEW=a=b"};
    const Stop never;
    EXPECT_EQ(RunChild(spec, never).out, "kept--a=b-\n");
}

TEST(Child, GivesEachLineAsItComes) {
    std::vector<std::string> lines;
    ChildSpec spec = Shell("printf 'one\\n\\nthree'");
    spec.onLine = [&lines](std::string_view line) { lines.emplace_back(line); };
    const Stop never;
    RunChild(spec, never);
    EXPECT_THAT(lines, ElementsAre("one", "", "three"));
}

TEST(Child, GivesALongLineInPieces) {
    std::vector<std::size_t> lengths;
    ChildSpec spec = Shell("head -c 10000 /dev/zero | tr '\\0' x; echo; echo y");
    spec.onLine = [&lengths](std::string_view line) { lengths.push_back(line.size()); };
    const Stop never;
    RunChild(spec, never);
    EXPECT_THAT(lengths, ElementsAre(4096, 4096, 1808, 1));
}

TEST(Child, KeepsBeginningAndEndOfWhatIsTooMuch) {
    ChildSpec spec = Shell("echo begin; head -c 50000000 /dev/zero; echo end");
    spec.keepBytes = 1000;
    const Stop never;
    const ChildResult result = RunChild(spec, never);
    EXPECT_EQ(result.end, ChildEnd::exited);
    EXPECT_EQ(result.out.size(), 1000U);
    EXPECT_THAT(result.out, StartsWith("begin\n"));
    EXPECT_THAT(result.out, EndsWith("end\n"));
    EXPECT_TRUE(result.outCut);
}

TEST(Child, IsEndedWhenItsTimeIsOver) {
    ChildSpec spec =
        Shell("echo begun; trap 'echo asked; exit 0' TERM; while :; do sleep 0.05; done");
    spec.deadline = 1s;
    spec.grace = kLong;
    const Stop never;
    const ChildResult result = RunChild(spec, never);
    EXPECT_EQ(result.end, ChildEnd::timedOut);
    EXPECT_EQ(result.out, "begun\nasked\n");
    EXPECT_GE(result.seconds, 1s);
    EXPECT_LT(result.seconds, kLong);
}

TEST(Child, IsKilledWhenItDoesNotWantToEnd) {
    ChildSpec spec = Shell("trap '' TERM; while :; do sleep 0.05; done");
    spec.deadline = 200ms;
    spec.grace = 500ms;
    const Stop never;
    const ChildResult result = RunChild(spec, never);
    EXPECT_EQ(result.end, ChildEnd::timedOut);
    EXPECT_EQ(result.code, SIGKILL);
}

TEST(Child, IsKilledWhenItIsStopped) {
    ChildSpec spec = Shell("kill -STOP $$");
    spec.deadline = 200ms;
    spec.grace = 500ms;
    const Stop never;
    EXPECT_EQ(RunChild(spec, never).end, ChildEnd::timedOut);
}

TEST(Child, IsEndedWhenItSaysNothingButWithoutEnd) {
    ChildSpec spec = Shell("exec cat /dev/zero");
    spec.deadline = 500ms;
    const Stop never;
    const ChildResult result = RunChild(spec, never);
    EXPECT_EQ(result.end, ChildEnd::timedOut);
    EXPECT_TRUE(result.outCut);
    EXPECT_LE(result.out.size(), spec.keepBytes);
}

TEST(Child, IsEndedWhenThatIsWished) {
    Stop stop;
    ChildSpec spec = Shell("trap 'exit 0' TERM; echo begun; while :; do sleep 0.05; done");
    spec.grace = kLong;
    spec.onLine = [&stop](std::string_view /*line*/) { stop.Request(); };
    EXPECT_EQ(RunChild(spec, stop).end, ChildEnd::stopped);
}

TEST(Child, IsKilledAtOnceWhenThatIsWished) {
    Stop now;
    const Stop stop(&now);
    ChildSpec spec = Shell("trap '' TERM; echo begun; while :; do sleep 0.05; done");
    spec.grace = kLong;
    spec.onLine = [&now](std::string_view /*line*/) { now.Request(); };
    const ChildResult result = RunChild(spec, stop);
    EXPECT_EQ(result.end, ChildEnd::stopped);
    EXPECT_EQ(result.code, SIGKILL);
    EXPECT_LT(result.seconds, kLong);
}

// A keeper that does not move stands for a program that cannot be killed: neither ends when told to.
TEST(Child, IsGivenUpWhenItCannotBeKilled) {
    const Folder folder;
    ChildSpec spec = Shell("echo $PPID > " + folder.Path("keeper") +
                           "; kill -STOP $PPID; echo said; sleep 1000");
    spec.deadline = 1s;
    spec.grace = 200ms;
    const Stop never;
    const ChildResult result = RunChild(spec, never);
    EXPECT_EQ(result.end, ChildEnd::givenUp);
    EXPECT_EQ(result.out, "said\n");
    EXPECT_EQ(kill(result.pid, 0), 0);
    EXPECT_LT(result.seconds, kLong);
    const pid_t keeper = folder.Number("keeper");
    kill(keeper, SIGKILL);
    waitpid(keeper, nullptr, 0);
    EXPECT_TRUE(Ends(result.pid));
}

TEST(Child, LeavesNothingBehindThatItHasStarted) {
    const Folder folder;
    // One holds the pipe, one has gone into a session of its own, one does not hear SIGTERM.
    const ChildResult result =
        RunShell("(trap '' TERM; sleep 1000) & setsid sh -c 'trap \"\" TERM HUP; echo $$ > " +
                 folder.Path("other") + "; while :; do sleep 1; done' & " + "while ! [ -s " +
                 folder.Path("other") + " ]; do sleep 0.02; done; echo done");
    EXPECT_EQ(result.end, ChildEnd::exited);
    EXPECT_EQ(result.out, "done\n");
    EXPECT_LT(result.seconds, kLong);
    EXPECT_NE(kill(folder.Number("other"), 0), 0);
}

// A run that is killed takes what it runs along.
TEST(Child, DoesNotOutliveWhoStartedIt) {
    const Folder folder;
    const pid_t starter = fork();
    if (starter == 0) {
        RunShell("trap '' TERM; setsid sh -c 'trap \"\" TERM HUP; echo $$ > " +
                 folder.Path("grandchild") + "; while :; do sleep 1; done' & echo $$ > " +
                 folder.Path("child") + "; while :; do sleep 1; done");
        _exit(0);
    }
    const pid_t child = folder.Number("child");
    const pid_t grandchild = folder.Number("grandchild");
    EXPECT_EQ(kill(child, 0), 0);
    EXPECT_EQ(kill(grandchild, 0), 0);
    kill(starter, SIGKILL);
    waitpid(starter, nullptr, 0);
    EXPECT_TRUE(Ends(child));
    EXPECT_TRUE(Ends(grandchild));
}

TEST(Child, EndsWithItsKeeper) {
    const Folder folder;
    const ChildResult result =
        RunShell("echo $$ > " + folder.Path("child") + "; kill -KILL $PPID; sleep 1000");
    EXPECT_EQ(result.end, ChildEnd::signalled);
    EXPECT_EQ(result.error, "zelkeeper was killed");
    EXPECT_TRUE(Ends(folder.Number("child")));
}

}  // namespace
}  // namespace zelhealth
