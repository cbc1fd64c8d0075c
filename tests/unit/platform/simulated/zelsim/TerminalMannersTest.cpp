// What a person at a terminal sees of the built zelsim, and what a file gets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Zelsim.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char kEscape[] = "\033";

Ended StatusOnTerminal(const std::vector<std::string>& environment) {
    return Zelsim({"run", "sh", "-c", "zelsim mode 1 offline; zelsim status"}, environment,
                  Zelsim::Streams::terminal)
        .Wait();
}

TEST(ZelsimTerminal, StatusTellsNormalCardsFromOthers) {
    const Ended ended = StatusOnTerminal({"-u", "NO_COLOR", "TERM=xterm"});
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(ended.out, HasSubstr("\033[1mcard "));
    EXPECT_THAT(ended.out,
                HasSubstr("0000:02:00.0    \033[32mnormal             \033[0m127.66.0.1\n"));
    EXPECT_THAT(ended.out, HasSubstr("0000:03:00.0    \033[33moffline            \033[0m-\n"));
}

TEST(ZelsimTerminal, QuickStartSaysNothing) {
    EXPECT_EQ(StatusOnTerminal({"TERM=xterm"}).err, "");
}

TEST(ZelsimTerminal, ColoursCanBeRefused) {
    EXPECT_THAT(StatusOnTerminal({"TERM=xterm", "NO_COLOR=1"}).out, Not(HasSubstr(kEscape)));
    EXPECT_THAT(StatusOnTerminal({"-u", "NO_COLOR", "TERM=dumb"}).out, Not(HasSubstr(kEscape)));
}

TEST(ZelsimTerminal, ComplaintsCatchTheEye) {
    const Ended ended =
        Zelsim({"rnu"}, {"-u", "NO_COLOR", "TERM=xterm"}, Zelsim::Streams::terminal).Wait();
    EXPECT_EQ(ended.err, "\033[1;31mzelsim:\033[0m no command rnu; did you mean \"run\"?\n");
    const Ended plain =
        Zelsim({"rnu"}, {"TERM=xterm", "NO_COLOR=1"}, Zelsim::Streams::terminal).Wait();
    EXPECT_EQ(plain.err, "zelsim: no command rnu; did you mean \"run\"?\n");
}

TEST(ZelsimTerminal, PipesGetNoColours) {
    const Ended ended = RunZelsim({"run", "zelsim", "status"}, {"-u", "NO_COLOR", "TERM=xterm"});
    EXPECT_THAT(ended.out, HasSubstr("normal"));
    EXPECT_THAT(ended.out, Not(HasSubstr(kEscape)));
    EXPECT_THAT(RunZelsim({"rnu"}, {"-u", "NO_COLOR", "TERM=xterm"}).err, Not(HasSubstr(kEscape)));
}

}  // namespace
