// zelsim's command line, on this machine and on simulated hosts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Zelsim.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

int Lines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

TEST(ZelsimMain, HelpAndVersion) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"--help"}, {"-h"}, {"run", "--help"}, {"status", "--help"}}) {
        const Ended ended = RunZelsim(words);
        EXPECT_EQ(ended.status, 0) << words[0];
        EXPECT_THAT(ended.out, StartsWith("usage: zelsim run [--fleet FILE]")) << words[0];
        EXPECT_EQ(ended.err, "");
    }
    EXPECT_EQ(RunZelsim({"--version"}).out, "zelsim 1.0\n");
}

TEST(ZelsimMain, HelpOfTheCommandIsTheCommands) {
    EXPECT_EQ(RunZelsim({"run", "printf", "%s", "--help"}).out, "--help");
    EXPECT_EQ(RunZelsim({"run", "--", "printf", "%s", "-h"}).out, "-h");
    EXPECT_EQ(RunZelsim({"run", "--", "echo", "--fleet"}).out, "--fleet\n");
}

struct Mistake {
    std::vector<std::string> words;
    int status;
    const char* error;
};

TEST(ZelsimMain, MistakesAreToldInOneLine) {
    const Mistake mistakes[] = {
        {{"rnu"}, 1, "zelsim: no command rnu; did you mean \"run\"?; see zelsim --help\n"},
        {{""}, 1, "zelsim: no command ; see zelsim --help\n"},
        {{"run"}, 125, "zelsim: run takes a command; see zelsim --help\n"},
        {{"run", "--"}, 125, "zelsim: run takes a command; see zelsim --help\n"},
        {{"run", "--fleet"}, 125, "zelsim: --fleet takes a file\n"},
        {{"run", "--flet", "x"},
         125,
         "zelsim: run has no option --flet; did you mean \"--fleet\"?\n"},
        {{"run", "--fleet", "/no/such.toml", "true"},
         125,
         "zelsim: /no/such.toml: cannot be read: No such file or directory\n"},
        {{"check"}, 1, "zelsim: check takes one file\n"},
        {{"check", "/"}, 1, "zelsim: /: cannot be read: Is a directory\n"},
        {{"status", "x"}, 1, "zelsim: status takes nothing\n"},
        {{"mode", "0"}, 1, "zelsim: mode takes a card and a usage mode\n"},
        {{"status"}, 1, "zelsim: this is no simulated host; start one with zelsim run\n"},
        {{"mode", "0", "offline"},
         1,
         "zelsim: this is no simulated host; start one with zelsim run\n"},
    };
    for (const Mistake& mistake : mistakes) {
        const Ended ended = RunZelsim(mistake.words);
        EXPECT_EQ(ended.status, mistake.status) << mistake.error;
        EXPECT_EQ(ended.err, mistake.error);
        EXPECT_EQ(ended.out, "") << mistake.error;
    }
    const Ended bare = RunZelsim({});
    EXPECT_EQ(bare.status, 1);
    EXPECT_THAT(bare.err, StartsWith("usage: zelsim run"));
}

TEST(ZelsimMain, CheckSaysWhatIsWrong) {
    const TemporaryFile good("[[card]]\n");
    EXPECT_EQ(RunZelsim({"check", good.Path()}).out, good.Path() + ": 1 card\n");
    const TemporaryFile bad("[[card]]\ncoers = 3\n");
    const Ended ended = RunZelsim({"check", bad.Path()});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err,
              "zelsim: " + bad.Path() + ":2: unknown key \"coers\"; did you mean \"cores\"?\n");
}

TEST(ZelsimMain, FleetThatIsWrongStartsNothing) {
    const TemporaryFile bad("[[card]]\ncores = -1\n");
    const Ended ended = RunShell("echo started", bad.Path());
    EXPECT_EQ(ended.status, 125);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.err, "zelsim: " + bad.Path() + ":2: cores takes 0 to 4294967295, this is -1\n");
}

TEST(ZelsimMain, ModeMovesACardAndStatusShowsIt) {
    const Ended ended =
        RunShell("zelsim mode 0 offline && zelsim mode zel1 memdiag && zelsim status");
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_THAT(ended.out, HasSubstr("zel0    er1x        0000:02:00.0    offline"));
    EXPECT_THAT(ended.out, HasSubstr("zel1    ev1x        0000:03:00.0    memdiag"));
    EXPECT_EQ(Lines(ended.out), 3);
}

TEST(ZelsimMain, EveryModeCanBeSet) {
    const Ended ended = RunShell(
        "for m in normal maintenance zombie memdiag normal_restricted offline in_transition; do "
        "zelsim mode 0 $m && zelsim status | grep -c \"zel0 .* $m\"; done");
    EXPECT_EQ(ended.out, "1\n1\n1\n1\n1\n1\n1\n") << ended.err;
}

TEST(ZelsimMain, ModeRefusesWhatThereIsNot) {
    EXPECT_EQ(RunShell("zelsim mode 2 offline").err, "zelsim: this host has no card 2\n");
    EXPECT_EQ(RunShell("zelsim mode zel offline").err, "zelsim: this host has no card zel\n");
    EXPECT_EQ(RunShell("zelsim mode -1 offline").err, "zelsim: this host has no card -1\n");
    EXPECT_EQ(RunShell("zelsim mode 00 offline").err, "zelsim: this host has no card 00\n");
    const Ended ended = RunShell("zelsim mode 0 oflline");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.err, "zelsim: a card has no usage mode oflline; did you mean \"offline\"?\n");
}

TEST(ZelsimMain, TextThatCannotBeWrittenIsAnError) {
    EXPECT_EQ(RunShell("zelsim status >/dev/full; echo $?").out, "1\n");
    EXPECT_EQ(RunShell("zelsim --help >/dev/full").err,
              "zelsim: cannot write: No space left on device\n");
}

}  // namespace
