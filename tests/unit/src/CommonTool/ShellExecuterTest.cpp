// The shell runner, with real commands of a real shell: output of every kind, statuses, misuse.
#include "CommonTool/ShellExecuter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <string>

#include "CommonException.h"
#include "FakeLinks.h"
#include "Fixture.h"

namespace {

using ::testing::ThrowsMessage;

// The steps of Execute, one by one.
class Stepwise : public ShellExecuter {
public:
    using ShellExecuter::_Close;
    using ShellExecuter::_Open;
    using ShellExecuter::_Read;
    using ShellExecuter::ShellExecuter;
};

class Shell : public fakes::Fixture {
protected:
    static std::string OutputOf(const std::string& command) {
        ShellExecuter shell(command);
        shell.Execute();
        return shell.GetOutput();
    }
    static int StatusOf(const std::string& command) {
        ShellExecuter shell(command);
        shell.Execute();
        return shell.GetReturnCode();
    }
};

TEST_F(Shell, CutsWhiteSpaceAtTheEndOnly) {
    EXPECT_EQ(OutputOf("printf 'abc \\n\\n'"), "abc");
    EXPECT_EQ(OutputOf("printf ' \\t\\n abc  d\\n e \\r\\n\\t'"), " \t\n abc  d\n e");
    EXPECT_EQ(OutputOf("printf ' \\n\\r\\t'"), "");
    EXPECT_EQ(OutputOf("printf 'abc\\v\\f'"), "abc\v\f") << "these are not cut";
    EXPECT_EQ(OutputOf("printf 'no line end'"), "no line end");
}

TEST_F(Shell, PrintsNothingAndEndsWell) {
    ShellExecuter shell("true");
    EXPECT_EQ(shell.GetReturnCode(), 0);
    EXPECT_EQ(shell.GetOutput(), "");
    shell.Execute();
    EXPECT_EQ(shell.GetOutput(), "");
    EXPECT_EQ(shell.GetReturnCode(), 0);
}

TEST_F(Shell, KeepsTheWaitStatusUndecoded) {
    EXPECT_EQ(StatusOf("exit 3"), 3 << 8);
    EXPECT_EQ(StatusOf("exit 255"), 255 << 8);
    EXPECT_EQ(StatusOf("/no/such/program 2>/dev/null"), 127 << 8);
}

TEST_F(Shell, TellsAProgramKilledByASignal) {
    ShellExecuter shell("printf begun; kill -KILL $$");
    shell.Execute();
    EXPECT_TRUE(WIFSIGNALED(shell.GetReturnCode()));
    EXPECT_EQ(WTERMSIG(shell.GetReturnCode()), SIGKILL);
    EXPECT_EQ(shell.GetOutput(), "begun") << "what it printed before is kept";
}

TEST_F(Shell, TakesStandardOutputOnly) {
    EXPECT_EQ(OutputOf("echo out; echo err 2>/dev/null >&2"), "out");
    EXPECT_EQ(OutputOf("(echo out; echo err >&2) 2>&1"), "out\nerr");
}

TEST_F(Shell, KeepsEveryByte) {
    std::string expected;
    std::string format;
    for (int byte = 0; byte <= 255; ++byte) {
        char octal[8];
        std::snprintf(octal, sizeof(octal), "\\%03o", static_cast<unsigned>(byte));
        format += octal;
        expected += static_cast<char>(byte);
    }
    EXPECT_EQ(OutputOf("printf '" + format + "'"), expected);
}

TEST_F(Shell, KeepsNulBytes) {
    EXPECT_EQ(OutputOf("printf 'a\\000b\\n\\000\\000c\\n'"), std::string("a\0b\n\0\0c", 7));
    EXPECT_EQ(OutputOf("printf 'a\\000\\n'"), std::string("a\0", 2)) << "NUL is not white space";
}

TEST_F(Shell, KeepsLinesLongerThanItsBuffer) {
    for (const std::size_t length : {2046, 2047, 2048, 2049, 4096, 10000})
        EXPECT_EQ(OutputOf("head -c " + std::to_string(length) + " /dev/zero | tr '\\000' x"),
                  std::string(length, 'x'))
            << length;
}

TEST_F(Shell, KeepsMegabytes) {
    constexpr std::size_t kMegabytes = 5;
    const std::string output = OutputOf("yes 0123456789abcde | head -c 5242880");
    ASSERT_EQ(output.size(), (kMegabytes << 20) - 1) << "all but the last line end";
    for (std::size_t at = 0; at < output.size(); at += 16)
        ASSERT_EQ(output.compare(at, 15, "0123456789abcde"), 0) << at;
}

TEST_F(Shell, RunsAgainAndAddsTheOutput) {
    ShellExecuter shell("printf 'abc\\n'; exit 1");
    shell.Execute();
    EXPECT_EQ(shell.GetReturnCode(), 1 << 8);
    shell.Execute();
    EXPECT_EQ(shell.GetOutput(), "abc\nabc");
}

TEST_F(Shell, AskingForTheOutputCutsWhatALaterRunAddsTo) {
    ShellExecuter shell("printf 'abc\\n'");
    shell.Execute();
    EXPECT_EQ(shell.GetOutput(), "abc");
    shell.Execute();
    EXPECT_EQ(shell.GetOutput(), "abcabc");
}

TEST_F(Shell, RefusesStepsOutOfOrder) {
    Stepwise shell("echo x");
    EXPECT_THAT([&] { shell._Read(); },
                ThrowsMessage<CommonException>("File descriptor should not be null"));
    EXPECT_THAT([&] { shell._Close(); },
                ThrowsMessage<CommonException>("File descriptor already closed"));
    shell._Open();
    EXPECT_THAT([&] { shell._Open(); }, ThrowsMessage<CommonException>("File descriptor not null"));
    EXPECT_THAT([&] { shell.Execute(); },
                ThrowsMessage<CommonException>("File descriptor not null"));
    shell._Read();
    shell._Close();
    EXPECT_EQ(shell.GetOutput(), "x") << "a refused step leaves the object as it was";
    EXPECT_THAT([&] { shell._Close(); },
                ThrowsMessage<CommonException>("File descriptor already closed"));
}

TEST_F(Shell, TellsTheCommandThatCannotBeStarted) {
    fakes::Shell().Refuse("some command");
    Stepwise shell("some command");
    EXPECT_THAT([&] { shell.Execute(); },
                ThrowsMessage<CommonException>("Could not open file descriptor to some command"));
    EXPECT_EQ(shell.GetOutput(), "");
    EXPECT_THAT([&] { shell._Close(); },
                ThrowsMessage<CommonException>("File descriptor already closed"));
    fakes::Shell().Answer("some command", {"started", 0});
    shell.Execute();
    EXPECT_EQ(shell.GetOutput(), "started");
}

// The scripted shell fails the test over a command that was never closed.
TEST_F(Shell, ClosesWhatWasLeftOpenAndSaysSo) {
    fakes::Shell().Answer("some command");
    fakes::CaptureOutput capture;
    {
        Stepwise shell("some command");
        shell._Open();
    }
    EXPECT_EQ(capture.Out(), "ShellExecuter was not closed\n");
}

TEST_F(Shell, SaysNothingOfWhatWasClosed) {
    fakes::CaptureOutput capture;
    {
        Stepwise shell("true");
        shell._Open();
        shell._Close();
        const Stepwise unused("true");
    }
    EXPECT_EQ(capture.Out(), "");
}

class ApplicationFolder : public fakes::Fixture {
protected:
    ~ApplicationFolder() override {
        fakes::ClearLinks();
        ShellExecuter::SetAppDirAccessPath();
    }

    static std::string FolderOf(const std::string& executable) {
        fakes::SetLink("/proc/self/exe", executable);
        ShellExecuter::SetAppDirAccessPath();
        return ShellExecuter::GetAppDirAccessPath();
    }
};

TEST_F(ApplicationFolder, EndsWithTheLastSlash) {
    EXPECT_EQ(FolderOf("/opt/tools/zeldiag"), "/opt/tools/");
    EXPECT_EQ(FolderOf("/zeldiag"), "/");
    EXPECT_EQ(FolderOf("/opt/my tools/zeldiag (deleted)"), "/opt/my tools/");
}

TEST_F(ApplicationFolder, MustBeTold) {
    const std::string before = FolderOf("/opt/tools/zeldiag");
    fakes::BreakLink("/proc/self/exe");
    EXPECT_THAT([] { ShellExecuter::SetAppDirAccessPath(); },
                ThrowsMessage<CommonException>("Could not read /proc/self/exe"));
    EXPECT_EQ(ShellExecuter::GetAppDirAccessPath(), before);
}

TEST_F(ApplicationFolder, MayBeDeep) {
    const std::string folder = "/" + std::string(4000, 'd') + "/";
    EXPECT_EQ(FolderOf(folder + "zeldiag"), folder);
}

}  // namespace
