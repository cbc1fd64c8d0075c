// The stand-in for the shell: what it answers, and that it fails a test that goes another way.
#include "FakeShell.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "Fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FakeShellTest : public fakes::Fixture {
protected:
    // What a command prints; its status stands in status_.
    std::string Run(const char* command) {
        FILE* stream = popen(command, "r");
        if (stream == nullptr)
            return "not started";
        std::string output;
        for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream))
            output += static_cast<char>(c);
        status_ = pclose(stream);
        return output;
    }

    int status_ = -2;
};

TEST_F(FakeShellTest, AsksTheRealShellWithoutAScript) {
    EXPECT_EQ(Run("echo real; exit 3"), "real\n");
    EXPECT_EQ(status_, fakes::ShellAnswer::Exit(3));
    EXPECT_THAT(fakes::Shell().Commands(), IsEmpty());
}

TEST_F(FakeShellTest, AnswersInOrder) {
    fakes::Shell().Answer("one", {"first", fakes::ShellAnswer::Exit(2)});
    fakes::Shell().Answer("two");
    fakes::Shell().Refuse("three");
    EXPECT_EQ(Run("one"), "first");
    EXPECT_EQ(status_, 512);
    EXPECT_EQ(Run("two"), "");
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(Run("three"), "not started");
    EXPECT_THAT(fakes::Shell().Commands(), ElementsAre("one", "two", "three"));
    EXPECT_THAT(fakes::TheJournal().LinesWith("shell"),
                ElementsAre("shell \"one\"", "shell \"two\"", "shell \"three\""));
}

TEST_F(FakeShellTest, AsksTheActionForOtherCommands) {
    fakes::Shell().Answer("one", {"first", 0});
    fakes::Shell().OnCommand([](const std::string& command) {
        return fakes::ShellAnswer{"[" + command + "]", fakes::ShellAnswer::Signal(9)};
    });
    EXPECT_EQ(Run("zero"), "[zero]");
    EXPECT_EQ(status_, 9);
    EXPECT_EQ(Run("one"), "first");
    EXPECT_EQ(Run("one"), "[one]");
}

TEST_F(FakeShellTest, FailsOnWhatIsNotScripted) {
    fakes::Shell().Answer("one");
    EXPECT_NONFATAL_FAILURE(Run("another"), "another command was expected");
    EXPECT_NONFATAL_FAILURE(Run("one"), "unexpected command: \"one\"");
}

TEST_F(FakeShellTest, FailsOnWhatNeverCame) {
    fakes::Shell().Answer("one");
    EXPECT_NONFATAL_FAILURE(fakes::Shell().Verify(), "command never run: \"one\"");
    // cppcheck-suppress leakReturnValNotUsed; that is what the stand-in is to notice
    ASSERT_NE(popen("one", "r"), nullptr);
    EXPECT_NONFATAL_FAILURE(fakes::Shell().Verify(), "1 commands were never closed");
    fakes::Shell().Reset();
}

TEST_F(FakeShellTest, FindsTheFilesThatItIsTold) {
    const std::string missing = "/usr/bin/no such program";
    EXPECT_TRUE(std::ifstream("/proc/self/exe").is_open());
    EXPECT_FALSE(std::ifstream(missing).is_open());
    fakes::Shell().SetFile("/proc/self/exe", false);
    fakes::Shell().SetFile(missing, true);
    EXPECT_FALSE(std::ifstream("/proc/self/exe").is_open());
    EXPECT_TRUE(std::ifstream(missing).is_open());
    fakes::Shell().Reset();
    EXPECT_TRUE(std::ifstream("/proc/self/exe").is_open());
}

}  // namespace
