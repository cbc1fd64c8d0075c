// What bash and zsh offer, asked of the shells themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <regex>
#include <set>

#include "Pages.h"
#include "Words.h"
#include "catalogue/Catalogue.h"
#include "catalogue/Verdicts.h"
#include "fleet/Fleet.h"
#include "plan/Plan.h"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAreArray;

constexpr char kFolder[] = COMPLETION_FOLDER;
constexpr char kFleets[] = PROJECT_FOLDER "/platform/simulated/fleets/";

class Completion : public testing::TestWithParam<std::string> {
protected:
    // What the shell offers at the end of the line. Values are asked for one by one: the "=" in front of
    // them, which zsh adds later, is no part of a word.
    static std::vector<std::string> Offers(const std::string& line) { return Run({}, line); }

    static std::vector<std::string> OffersOnHost(const std::string& line) {
        return Run({"zelsim", "run"}, line);
    }

    // zsh offers options only to who has typed their beginning.
    static std::string Beginning() { return "-"; }

private:
    static std::vector<std::string> Run(std::vector<std::string> words, const std::string& line) {
        const std::string driver = PROJECT_FOLDER "/tests/docs/complete.";
        const std::string folder = kFolder;
        if (GetParam() == "zsh") {
            words.insert(words.end(), {driver + "zsh", folder, line});
        } else {
            words.push_back(driver + "bash");
            if (GetParam() == "bash_completion")
                words.emplace_back("--bash-completion");
            words.insert(words.end(), {folder + "/ZelDiag.bash", folder + "/zelhealth.bash",
                                       folder + "/zelsim.bash", line});
        }
        std::vector<std::string> offers;
        for (std::string& offer : SplitLines(RunProgram(words).text)) {
            if (offer.ends_with('='))
                offer.pop_back();
            // zsh tells the last component of a path, bash the whole.
            offers.push_back(offer.substr(offer.rfind('/') + 1));
        }
        return offers;
    }
};

std::vector<std::string> NamesOf(const DocGroup& group) {
    std::vector<std::string> names;
    for (const DocTest& test : group.tests)
        names.insert(names.end(), {test.shortName, test.longName});
    return names;
}

std::vector<std::string> OptionNames(std::initializer_list<Place> places) {
    std::vector<std::string> names;
    for (const DocOption& option : Options()) {
        if (std::find(places.begin(), places.end(), option.place) != places.end())
            names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

std::string Upper(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

std::vector<std::string> Lowered(std::vector<std::string> words) {
    for (std::string& word : words)
        word = Lower(word);
    return words;
}

std::vector<std::string> Together(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<std::string> GroupNames() {
    std::vector<std::string> names;
    for (const DocGroup& group : Groups())
        names.insert(names.end(), {group.shortName, group.longName});
    return names;
}

TEST_P(Completion, InFrontOffersEverythingThatMayStandThere) {
    EXPECT_THAT(Offers("ZelDiag "),
                UnorderedElementsAreArray(
                    Together(GroupNames(), OptionNames({Place::front, Place::flag, Place::help}))));
}

TEST_P(Completion, FrontOptionsStandOnceAndInFront) {
    EXPECT_THAT(Offers("ZelDiag -summary "), Not(Contains("-summary")));
    EXPECT_THAT(Offers("ZelDiag -summary "), Contains("-devicelist"));
    EXPECT_THAT(Offers("ZelDiag -devicelist 0 "), Contains("-summary"));
    EXPECT_THAT(Offers("ZelDiag -quietMode -"), Not(Contains("-summary")));
}

TEST_P(Completion, BehindAGroupOffersItsTestsAndOptions) {
    for (const DocGroup& group : Groups()) {
        for (const std::string& name : {group.shortName, Lower(group.longName)}) {
            std::vector<std::string> expected =
                Together(Together(GroupNames(), NamesOf(group)),
                         OptionNames({Place::flag, Place::help, Place::group}));
            if (group.shortName == "-mem")
                expected = Together(expected, OptionNames({Place::memory}));
            EXPECT_THAT(Lowered(Offers("ZelDiag -summary " + name + " ")),
                        UnorderedElementsAreArray(Lowered(expected)))
                << name;
        }
    }
}

TEST_P(Completion, BehindTwoGroupsOffersTheTestsOfBoth) {
    const auto offers = Offers("ZelDiag -pcie -vls -quietMode -smc -fwv -");
    EXPECT_THAT(offers, IsSupersetOf(NamesOf(Groups()[0])));
    EXPECT_THAT(offers, IsSupersetOf(NamesOf(Groups()[4])));
    EXPECT_THAT(offers, Not(Contains("-gec")));
}

TEST_P(Completion, BehindHelpOffersNothing) {
    EXPECT_THAT(Offers("ZelDiag -core -help "), IsEmpty());
}

TEST_P(Completion, LooksPastLetterCase) {
    EXPECT_THAT(Offers("ZelDiag -core -GETC"), testing::ElementsAre("-GetCPUID"));
}

class BashCompletion : public Completion {};

// bash puts what all offers have in common in place of the word.
TEST_P(BashCompletion, KeepsWhatWasTyped) {
    const std::string line = "ZelDiag -core -gec -mem ";
    std::set<std::string> beginnings;
    for (const std::string& word : Offers(line)) {
        for (const std::size_t length : {2U, 3U, 5U}) {
            beginnings.insert(word.substr(0, length));
            beginnings.insert(Upper(word.substr(0, length)));
        }
    }
    ASSERT_GT(beginnings.size(), 60U);
    for (const std::string& beginning : beginnings) {
        const std::vector<std::string> offers = Offers(line + beginning);
        EXPECT_FALSE(offers.empty()) << beginning;
        for (const std::string& offer : offers) {
            EXPECT_EQ(Lower(offer.substr(0, beginning.size())), Lower(beginning));
            EXPECT_EQ(offer.substr(0, beginning.size()), offers[0].substr(0, beginning.size()))
                << beginning;
        }
    }
}

TEST_P(Completion, OffersTheValuesOfDataWidth) {
    for (const DocOption& option : Options()) {
        if (option.place != Place::memory || option.names.front() != "-datawidth")
            continue;
        for (const std::string& name : option.names)
            EXPECT_THAT(Offers("ZelDiag -mem -wr " + name + "="),
                        UnorderedElementsAreArray(DataWidths()));
    }
    EXPECT_THAT(Offers("ZelDiag -mem -dw=Q"), UnorderedElementsAreArray({"QWORD", "QW"}));
}

TEST_P(Completion, OffersTheDebugLevelsThatDoSomething) {
    EXPECT_THAT(Offers("ZelDiag -core -dbgLvl="), UnorderedElementsAreArray({"4", "8", "12"}));
}

TEST_P(Completion, OffersNoCardOnAHostWithoutAny) {
    ASSERT_FALSE(std::filesystem::exists("/sys/class/zel"));
    EXPECT_THAT(Offers("ZelDiag -devicelist "), IsEmpty());
}

TEST_P(Completion, OffersTheHostsCards) {
    EXPECT_THAT(OffersOnHost("ZelDiag -devicelist "), UnorderedElementsAreArray({"0", "1"}));
    EXPECT_THAT(OffersOnHost("zelsim mode z"), UnorderedElementsAreArray({"zel0", "zel1"}));
    EXPECT_THAT(OffersOnHost("ZelDiag -devicelist 0,"), Contains(testing::EndsWith("1")));
}

TEST_P(Completion, OffersTheSimulatorsCommandsAndOptions) {
    const std::string help = RunProgram({"zelsim", "--help"}).text;
    const std::string commandLines = help.substr(0, help.find("Makes"));
    static const std::regex command("zelsim ([a-z]+)( [^\n]*)?\n");
    static const std::regex option("--[a-z]+");
    std::vector<std::string> commands;
    for (std::sregex_iterator i(commandLines.begin(), commandLines.end(), command), end; i != end;
         ++i) {
        const std::string name = (*i)[1];
        commands.push_back(name);
        const std::string usage = RunProgram({"zelsim", name, "--help"}).text;
        EXPECT_THAT(Offers("zelsim " + name + " -"), Contains("--help"));
        for (std::sregex_iterator j(usage.begin(), usage.end(), option); j != end; ++j)
            EXPECT_THAT(Offers("zelsim " + name + " -"), Contains(j->str()));
    }
    EXPECT_GE(commands.size(), 4U);
    EXPECT_THAT(Offers("zelsim "), IsSupersetOf(commands));
    EXPECT_THAT(Offers("zelsim --"), IsSupersetOf({"--help", "--version"}));
}

// The names of options in the help of a command of zelhealth, and whether each takes a value.
std::map<std::string, bool> OptionsInHelp(const std::string& command) {
    static const std::regex option("\n  (?:-h,)?(--[a-z-]+)( [A-Z])?");
    const std::string help = RunProgram({"zelhealth", command, "--help"}).text;
    std::map<std::string, bool> names;
    for (std::sregex_iterator i(help.begin(), help.end(), option), end; i != end; ++i)
        names[(*i)[1]] = (*i)[2].matched && help.compare(i->position(2) + 1, 8, "Excludes") != 0;
    return names;
}

std::vector<std::string> CompanionCommands() {
    static const std::regex command("\n  ([a-z]+) ");
    const std::string help = RunProgram({"zelhealth", "--help"}).text;
    std::vector<std::string> names;
    for (std::sregex_iterator i(help.begin(), help.end(), command), end; i != end; ++i)
        names.push_back((*i)[1]);
    return names;
}

TEST_P(Completion, OffersTheCompanionsCommandsAndTheirOptions) {
    const std::vector<std::string> commands = CompanionCommands();
    EXPECT_GE(commands.size(), 13U);
    EXPECT_THAT(Offers("zelhealth "), UnorderedElementsAreArray(commands));
    std::set<std::string> seen;
    for (const std::string& command : commands) {
        std::set<std::string> expected;
        for (const auto& [name, takesValue] : OptionsInHelp(command)) {
            expected.insert(name);
            // What takes a value is followed by no option of its command.
            if (takesValue && seen.insert(name).second) {
                EXPECT_THAT(Offers("zelhealth " + command + " " + name + " --h"), IsEmpty())
                    << command << name;
            }
        }
        std::set<std::string> offers;
        for (const std::string& offer : Offers("zelhealth " + command + " -")) {
            if (offer != "-h" && offer != "--")
                offers.insert(offer);
        }
        EXPECT_EQ(offers, expected) << command;
    }
}

TEST_P(Completion, OffersThePlansTestsAndVerdictsOfTheCompanion) {
    for (const std::string line : {"run --plan ", "check --plan=", "fleet --plan ", "plan check "})
        EXPECT_THAT(Offers("zelhealth " + line), IsSupersetOf(zelhealth::BuiltInPlans())) << line;
    std::vector<std::string> tests;
    for (const zelhealth::TestRow& row : zelhealth::Catalogue::BuiltIn().Tests())
        tests.push_back(row.Id());
    EXPECT_THAT(Offers("zelhealth explain "), IsSupersetOf(tests));
    std::set<std::string> verdicts;
    for (const zelhealth::VerdictRow& row : zelhealth::Verdicts::BuiltIn().All())
        verdicts.insert(row.name);
    EXPECT_THAT(Offers("zelhealth explain "), IsSupersetOf(verdicts));
    EXPECT_THAT(Offers("zelhealth history --test "),
                IsSupersetOf(Together(tests, {"pcie", "smc"})));
    EXPECT_THAT(Offers("zelhealth fleet -- --r"), testing::ElementsAre("--repeat"));
    EXPECT_THAT(Offers("zelhealth --v"), testing::ElementsAre("--version"));
    EXPECT_THAT(Offers("zelhealth mode zel0 "),
                UnorderedElementsAreArray({"normal", "offline", "maintenance", "memdiag"}));
}

TEST_P(Completion, OffersTheHostsCardsToTheCompanion) {
    for (const std::string line : {"run --cards ", "mode ", "history --card "})
        EXPECT_THAT(OffersOnHost("zelhealth " + line), UnorderedElementsAreArray({"zel0", "zel1"}))
            << line;
    EXPECT_THAT(OffersOnHost("zelhealth run --cards zel0,"),
                testing::ElementsAre(testing::EndsWith("zel1")));
}

TEST_P(Completion, OffersTheUsageModes) {
    std::vector<std::string> modes;
    for (const simulated::ModeName& mode : simulated::kModeNames)
        modes.emplace_back(mode.name);
    EXPECT_THAT(Offers("zelsim mode zel0 "), UnorderedElementsAreArray(modes));
}

TEST_P(Completion, OffersFleetFiles) {
    std::vector<std::string> fleets;
    for (const auto& entry : std::filesystem::directory_iterator(kFleets))
        fleets.push_back(entry.path().filename());
    for (const std::string line : {"zelsim check ", "zelsim run --fleet ", "zelsim run --fleet="})
        EXPECT_THAT(Offers(line + kFleets), UnorderedElementsAreArray(fleets)) << line;
    EXPECT_THAT(Offers(std::string("zelsim check ") + PROJECT_FOLDER "/Makef"), IsEmpty());
}

TEST_P(Completion, CompletesTheCommandOfASimulatedHostAsItIs) {
    for (const std::string front : {"zelsim run ", "zelsim run -- ", "zelsim run --fleet a.toml ",
                                    "zelsim run --fleet=a.toml -- "}) {
        EXPECT_THAT(Offers(front + "ZelD"), Contains("ZelDiag")) << front;
        EXPECT_THAT(Offers(front + "ZelDiag -core -gn"), testing::ElementsAre("-gnt")) << front;
        EXPECT_THAT(Offers(front + "zelsim mode zel0 of"), testing::ElementsAre("offline"))
            << front;
    }
}

INSTANTIATE_TEST_SUITE_P(Shell, BashCompletion, testing::Values("bash", "bash_completion"),
                         [](const auto& shell) { return shell.param; });
INSTANTIATE_TEST_SUITE_P(Shell, Completion, testing::Values("bash", "bash_completion", "zsh"),
                         [](const auto& shell) { return shell.param; });

}  // namespace
