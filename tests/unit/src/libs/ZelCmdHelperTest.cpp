// The command lines that run a program on a card, and what becomes of its output and status.
#include "libs/ZelCmdHelper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <limits>
#include <string>

#include "CommonException.h"
#include "Fixture.h"

namespace {

class ZelCmd : public fakes::Fixture {
protected:
    ZelCmd() {
        fakes::Shell().SetFile("/usr/bin/ssh", true);
        fakes::Shell().SetFile(kLauncher, false);
    }

    std::string Command(const std::string& path, const std::string& args, short device,
                        const std::string& envVars = "") {
        return ZelCmdHelper().GenerateCommand(path, output_, args, device, envVars);
    }

    // The text of the exception; empty without one.
    std::string Execute(const std::string& path, const std::string& args = "",
                        const std::string& envVars = "") {
        ZelCmdHelper helper;
        try {
            helper.Execute(path, output_, args, 3, envVars);
        } catch (const CommonException& failure) {
            return std::string("thrown: ") + failure.what();
        }
        return "";
    }

    const std::string kLauncher =
        "/opt/ostrel/zel/rux/tools/zelnativeloadex/release/zelnativeloadex";
    std::string output_ = "from before";
};

TEST_F(ZelCmd, NeedsTheSecureShellOnly) {
    EXPECT_NO_THROW(ZelCmdHelper());
    fakes::Shell().SetFile("/usr/bin/ssh", false);
    EXPECT_THAT([] { ZelCmdHelper(); },
                testing::ThrowsMessage<CommonException>("Could not find ZelCmd path"));
}

TEST_F(ZelCmd, BuildsTheCommandLine) {
    EXPECT_EQ(Command("prog", "a b", 3), "/usr/bin/ssh zel3  /prog a b");
    EXPECT_EQ(Command("prog", "a b", 3, "X=1"), "/usr/bin/ssh zel3  X=1 /prog a b");
    EXPECT_EQ(Command("prog", "", 0), "/usr/bin/ssh zel0  /prog ");
    EXPECT_EQ(Command("prog", "", 0, "X=1 Y=2"), "/usr/bin/ssh zel0  X=1 Y=2 /prog ");
    EXPECT_EQ(Command("vorl_accept_dma_zel_er1x", "1 1 0 0 0", 0),
              "/usr/bin/ssh zel0  /vorl_accept_dma_zel_er1x 1 1 0 0 0");
}

TEST_F(ZelCmd, PutsOnlyABareNameInTheRootFolder) {
    EXPECT_EQ(Command("dir/prog", "", 0), "/usr/bin/ssh zel0  dir/prog ");
    EXPECT_EQ(Command("/prog", "", 0), "/usr/bin/ssh zel0  /prog ");
    EXPECT_EQ(Command("prog/", "", 0), "/usr/bin/ssh zel0  prog/ ");
    EXPECT_EQ(Command("", "", 0), "/usr/bin/ssh zel0  / ");
}

TEST_F(ZelCmd, NamesTheCardInDecimal) {
    EXPECT_EQ(Command("p", "", 12), "/usr/bin/ssh zel12  /p ");
    EXPECT_EQ(Command("p", "", 255), "/usr/bin/ssh zel255  /p ");
    EXPECT_EQ(Command("p", "", -1), "/usr/bin/ssh zel-1  /p ");
    EXPECT_EQ(Command("p", "", std::numeric_limits<short>::max()), "/usr/bin/ssh zel32767  /p ");
}

TEST_F(ZelCmd, QuotesNothing) {
    EXPECT_EQ(Command("my prog", "'a  b' $X", 0), "/usr/bin/ssh zel0  /my prog 'a  b' $X");
}

TEST_F(ZelCmd, BuildingEmptiesTheOutput) {
    Command("prog", "", 0);
    EXPECT_EQ(output_, "");
}

TEST_F(ZelCmd, BringsTheOutputBack) {
    fakes::Shell().Answer("/usr/bin/ssh zel3  X=1 /prog a b", {"  line one\nline two \n\n", 0});
    EXPECT_EQ(Execute("prog", "a b", "X=1"), "");
    EXPECT_EQ(output_, "  line one\nline two");
}

TEST_F(ZelCmd, ThrowsTheOutputOfAProgramThatFails) {
    fakes::Shell().Answer("/usr/bin/ssh zel3  /prog ",
                          {"no memory\n", fakes::ShellAnswer::Exit(1)});
    EXPECT_EQ(Execute("prog"), "thrown: no memory");
    EXPECT_EQ(output_, "");
}

TEST_F(ZelCmd, ThrowsAnEmptyTextWhenNothingWasPrinted) {
    fakes::Shell().Answer("/usr/bin/ssh zel3  /prog ", {"", fakes::ShellAnswer::Exit(255)});
    EXPECT_EQ(Execute("prog"), "thrown: ");
    EXPECT_EQ(output_, "");
}

TEST_F(ZelCmd, EveryStatusButZeroIsAFailure) {
    for (const int status : {fakes::ShellAnswer::Signal(9), -1, fakes::ShellAnswer::Exit(127)}) {
        fakes::Shell().Answer("/usr/bin/ssh zel3  /prog ", {"TEST PASSED", status});
        EXPECT_EQ(Execute("prog"), "thrown: TEST PASSED") << status;
    }
}

TEST_F(ZelCmd, ThrowsWhenNoCommandCanBeStarted) {
    fakes::Shell().Refuse("/usr/bin/ssh zel3  /prog ");
    EXPECT_EQ(Execute("prog"),
              "thrown: Could not open file descriptor to /usr/bin/ssh zel3  /prog ");
    EXPECT_EQ(output_, "");
}

TEST_F(ZelCmd, LauncherRouteShowsItsCommandBeforeItRuns) {
    const std::string command = kLauncher + " ./prog -a \"1 2\" -d 3";
    fakes::Shell().Answer(command, {"done \n", 0});
    {
        const fakes::CaptureOutput capture;
        ZelCmdHelper().ExecutewithRUXTool("prog", output_, "1 2", 3);
        EXPECT_THAT(fakes::TheJournal().Lines(),
                    testing::ElementsAre("stdout " + fakes::Quote(command + "\n"),
                                         "shell " + fakes::Quote(command)));
    }
    EXPECT_EQ(output_, "done");
}

// Nothing of it waits in a buffer while the program runs.
TEST_F(ZelCmd, LauncherRouteFlushesItsCommandBeforeItRuns) {
    const int file = memfd_create("standard output", MFD_CLOEXEC);
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(file, STDOUT_FILENO);
    std::setvbuf(stdout, nullptr, _IOFBF, BUFSIZ);
    off_t written = 0;
    fakes::Shell().OnCommand([&](const std::string&) {
        written = lseek(file, 0, SEEK_END);
        return fakes::ShellAnswer{};
    });
    ZelCmdHelper().ExecutewithRUXTool("prog", output_, "1 2", 3);
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    close(file);
    EXPECT_EQ(written, static_cast<off_t>((kLauncher + " ./prog -a \"1 2\" -d 3\n").size()));
}

TEST_F(ZelCmd, LauncherRoutePutsOnlyABareNameInTheCurrentFolder) {
    fakes::Shell().Answer(kLauncher + " dir/prog -a \"\" -d 0", {"x", 0});
    const fakes::CaptureOutput capture;
    ZelCmdHelper().ExecutewithRUXTool("dir/prog", output_, "", 0);
    EXPECT_EQ(output_, "x");
}

TEST_F(ZelCmd, LauncherRouteKeepsTheOutputOfAProgramThatFails) {
    fakes::Shell().Answer(kLauncher + " ./prog -a \"\" -d 0", {"why", fakes::ShellAnswer::Exit(1)});
    const fakes::CaptureOutput capture;
    EXPECT_THAT([&] { ZelCmdHelper().ExecutewithRUXTool("prog", output_, "", 0); },
                testing::ThrowsMessage<CommonException>("Remote binary return code is not 0"));
    EXPECT_EQ(output_, "from before");
}

}  // namespace
