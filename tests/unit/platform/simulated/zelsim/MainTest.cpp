// zelsim's command line, on this machine and on simulated hosts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Zelsim.h"
#include "fleet/Fleet.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

int Lines(const std::string& text) {
    return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

TEST(ZelsimMain, HelpAndVersion) {
    for (const auto& words : std::vector<std::vector<std::string>>{
             {"--help"}, {"-h"}, {"run", "--help"}, {"run", "-h"}}) {
        const Ended ended = RunZelsim(words);
        EXPECT_EQ(ended.status, 0) << words[0];
        EXPECT_THAT(ended.out, StartsWith("usage: zelsim run [--fleet FILE]")) << words[0];
        EXPECT_EQ(ended.err, "");
    }
    EXPECT_THAT(RunZelsim({"status", "--help"}).out,
                StartsWith("usage: zelsim status\n\n  status"));
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
        {{"rnu"}, 1, "zelsim: no command rnu; did you mean \"run\"?\n"},
        {{"frobnicate"}, 1, "zelsim: no command frobnicate; see zelsim --help\n"},
        {{"--hepl"}, 1, "zelsim: no command --hepl; did you mean \"--help\"?\n"},
        {{"--fleet", "x", "true"},
         1,
         "zelsim: --fleet belongs behind run: zelsim run --fleet FILE COMMAND\n"},
        {{""}, 1, "zelsim: no command ; see zelsim --help\n"},
        {{"run"}, 125, "zelsim: run takes a command; see zelsim --help\n"},
        {{"run", "--"}, 125, "zelsim: run takes a command; see zelsim --help\n"},
        {{"run", "--fleet"}, 125, "zelsim: --fleet takes a file\n"},
        {{"run", "--flet", "x"},
         125,
         "zelsim: run has no option --flet; did you mean \"--fleet\"?\n"},
        {{"run", "-core"}, 125, "zelsim: run has no option -core; see zelsim --help\n"},
        {{"run", "--fleet=/no/such.toml", "true"},
         125,
         "zelsim: /no/such.toml: cannot be read: No such file or directory\n"},
        {{"run", "--fleet", "/no/such.toml", "true"},
         125,
         "zelsim: /no/such.toml: cannot be read: No such file or directory\n"},
        {{"check"}, 1, "zelsim: check takes one file; see zelsim --help\n"},
        {{"check", "/"}, 1, "zelsim: /: cannot be read: Is a directory\n"},
        {{"status", "x"}, 1, "zelsim: status takes nothing; see zelsim --help\n"},
        {{"mode", "0"}, 1, "zelsim: mode takes a card and a usage mode; see zelsim --help\n"},
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

struct WrongMode {
    const char* words;
    const char* error;
};

TEST(ZelsimMain, ModeRefusesWhatThereIsNot) {
    const WrongMode mistakes[] = {
        {"2 offline", "this host has no card 2; it has zel0 to zel1"},
        {"zel10 offline", "this host has no card zel10; it has zel0 to zel1"},
        {"00 offline", "this host has no card 00; it has zel0 to zel1"},
        {"ZEL1 offline", "this host has no card ZEL1; did you mean \"zel1\"?"},
        {"zle1 offline", "this host has no card zle1; did you mean \"zel1\"?"},
        {"card offline", "this host has no card card; it has zel0 to zel1"},
        {"0 oflline", "a card has no usage mode oflline; did you mean \"offline\"?"},
        {"0 OFFLINE", "a card has no usage mode OFFLINE; did you mean \"offline\"?"},
        {"0 ready",
         "a card has no usage mode ready; there are normal, maintenance, zombie, memdiag, "
         "normal_restricted, offline, in_transition"},
    };
    for (const WrongMode& mistake : mistakes) {
        const Ended ended = RunShell("zelsim mode " + std::string(mistake.words));
        EXPECT_EQ(ended.status, 1) << mistake.words;
        EXPECT_EQ(ended.err, "zelsim: " + std::string(mistake.error) + "\n");
    }
    const TemporaryFile none("");
    EXPECT_EQ(RunShell("zelsim mode 0 offline", none.Path()).err,
              "zelsim: this host has no card 0; it has none\n");
    const TemporaryFile one("[[card]]\n");
    EXPECT_EQ(RunShell("zelsim mode 1 offline", one.Path()).err,
              "zelsim: this host has no card 1; it has zel0\n");
}

TEST(ZelsimMain, ModeWaitsForACardWhoseChangesTakeTime) {
    const TemporaryFile fleet("[[card]]\nmode_change = \"1s\"\n");
    // Another command sees it on its way, and the card takes connections when the command ends.
    const Ended ended = RunShell(
        "zelsim mode 0 offline; zelsim status | grep zel0; zelsim mode 0 normal & "
        "until zelsim status | grep -o 'in_transition *-'; do :; done; "
        "wait; ssh zel0 echo reached; "
        "zelsim mode 0 in_transition; zelsim mode 0 in_transition; zelsim status | grep -o in_t.*-",
        fleet.Path());
    EXPECT_EQ(ended.out,
              "zel0    er1x        0000:02:00.0    offline            -\n"
              "in_transition      -\nreached\nin_transition      -\n")
        << ended.err;
}

TEST(ZelsimMain, CardIsReachedAsSoonAsItIsSeenInNormalMode) {
    const TemporaryFile fleet("[[card]]\nmode_change = \"300ms\"\nusage_mode = \"offline\"\n");
    const Ended ended = RunShell(
        "zelsim mode 0 normal & until zelsim status | grep -q 'zel0.* normal '; do :; done; "
        "ssh zel0 echo reached; wait",
        fleet.Path());
    EXPECT_EQ(ended.out, "reached\n") << ended.err;
}

TEST(ZelsimMain, CardArrivesAlsoWhenNobodyWaitsForIt) {
    const TemporaryFile fleet("[[card]]\nmode_change = \"1s\"\nusage_mode = \"offline\"\n");
    const Ended ended = RunShell(
        "zelsim mode 0 normal & until zelsim status | grep -q in_transition; do :; done; "
        "kill -9 $!; ssh zel0 true || echo refused; "
        "until ssh zel0 echo reached; do sleep 0.1; done",
        fleet.Path());
    EXPECT_EQ(ended.out, "refused\nreached\n") << ended.err;
}

TEST(ZelsimMain, HelpNamesEveryMode) {
    const std::string help = RunZelsim({"--help"}).out;
    for (const simulated::ModeName& mode : simulated::kModeNames)
        EXPECT_THAT(help, HasSubstr(mode.name));
}

TEST(ZelsimMain, TextThatCannotBeWrittenIsAnError) {
    EXPECT_EQ(RunShell("zelsim status >/dev/full; echo $?").out, "1\n");
    EXPECT_EQ(RunShell("zelsim --help >/dev/full").err,
              "zelsim: cannot write: No space left on device\n");
}

}  // namespace
