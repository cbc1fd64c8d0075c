// The manual pages: clean, and neither more nor less than the programs know.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "Pages.h"
#include "Words.h"
#include "fleet/Fleet.h"

namespace {

using testing::Contains;

constexpr char kToolPage[] = "ZelDiag.8";
constexpr char kSimulatorPage[] = "zelsim.1";

std::vector<std::string> Pages() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(PAGE_FOLDER))
        names.push_back(entry.path().filename());
    return names;
}

class ManualPage : public testing::TestWithParam<std::string> {};

TEST_P(ManualPage, IsCleanForMandoc) {
    const Printed printed = RunProgram({"mandoc", "-T", "lint", PageFile(GetParam())});
    // Whether other pages are installed on this machine is no matter of this one.
    static const std::regex ofTheMachine("referenced manual not found|outdated mandoc.db");
    for (const std::string& line : SplitLines(printed.text))
        EXPECT_TRUE(std::regex_search(line, ofTheMachine)) << line;
}

TEST_P(ManualPage, IsCleanForMan) {
    const Printed printed =
        RunProgram({"sh", "-c", "man --warnings -E UTF-8 -l -Tutf8 -Z \"$1\" > /dev/null", "sh",
                    PageFile(GetParam())});
    EXPECT_EQ(printed.text, "");
    EXPECT_EQ(printed.status, 0);
}

INSTANTIATE_TEST_SUITE_P(All, ManualPage, testing::ValuesIn(Pages()), [](const auto& page) {
    return std::regex_replace(page.param, std::regex("[^A-Za-z0-9]"), "_");
});

class ManualOfGroup : public testing::TestWithParam<DocGroup> {};

TEST_P(ManualOfGroup, HasASectionOfItsOwn) {
    const DocGroup& group = GetParam();
    EXPECT_THAT(
        SplitLines(PlainPage(kToolPage)),
        Contains(testing::StartsWith("   " + group.shortName + ", " + group.longName + ": ")));
}

TEST_P(ManualOfGroup, HasAnEntryForEachTestWithBothNames) {
    const auto entries = OptionEntries(kToolPage);
    for (const DocTest& test : GetParam().tests)
        EXPECT_THAT(entries,
                    Contains(testing::UnorderedElementsAre(test.shortName, test.longName)));
}

INSTANTIATE_TEST_SUITE_P(All, ManualOfGroup, testing::ValuesIn(Groups()));

class ManualOfOption : public testing::TestWithParam<DocOption> {};

std::vector<std::string> Lowered(std::vector<std::string> words) {
    std::transform(words.begin(), words.end(), words.begin(), Lower);
    return words;
}

TEST_P(ManualOfOption, HasAnEntryWithEverySpelling) {
    const DocOption& option = GetParam();
    if (option.place == Place::refused) {
        const std::string text = PlainPage(kToolPage);
        for (const std::string& name : option.names)
            EXPECT_TRUE(HoldsWord(text, name)) << name;
        return;
    }
    std::vector<std::vector<std::string>> entries;
    for (const auto& entry : OptionEntries(kToolPage))
        entries.push_back(Lowered(entry));
    EXPECT_THAT(entries, Contains(testing::UnorderedElementsAreArray(Lowered(option.names))));
}

INSTANTIATE_TEST_SUITE_P(All, ManualOfOption, testing::ValuesIn(Options()));

TEST(Manual, DescribesNoOptionThatIsNone) {
    for (const auto& entry : OptionEntries(kToolPage)) {
        for (const std::string& name : entry)
            EXPECT_TRUE(IsKnown(name)) << name;
    }
}

TEST(Manual, NamesEveryDataWidth) {
    const std::string text = PlainPage(kToolPage);
    for (const std::string& width : DataWidths())
        EXPECT_TRUE(HoldsWord(text, width)) << width;
}

// The commands of the page's examples, as they are typed.
std::vector<std::string> Examples() {
    const std::string page = PlainPage(kToolPage);
    const std::size_t begin = page.find("\nEXAMPLES\n");
    const std::string section = page.substr(begin, page.find("\nDIAGNOSTICS\n") - begin);
    std::vector<std::string> commands;
    bool continues = false;
    for (const std::string& line : SplitLines(section)) {
        const std::string text = Trimmed(line);
        if (text.starts_with("# "))
            commands.push_back(text.substr(2));
        else if (continues && !text.empty())
            commands.back() += "\n" + text;
        continues = !commands.empty() && (text.starts_with("# ") || continues) && !text.empty();
    }
    return commands;
}

// In a folder of its own, on simulated cards.
Printed RunOnCards(const std::string& fleet, const std::string& command) {
    const std::string script =
        "cd \"$(mktemp -d)\"; trap 'rm -r \"$PWD\"' EXIT\n"
        "printf '" +
        fleet +
        "' > fleet\n"
        "zelsim run --fleet fleet -- sh -c \"$1\"";
    return RunProgram({"sh", "-c", script, "sh", command});
}

constexpr char kHealthy[] = "[[card]]\n";
constexpr char kReady[] = "[[card]]\nusage_mode = \"offline\"\n";
constexpr char kNotReached[] = "[[card]]\nssh = \"down\"\n";

TEST(Examples, PassOnHealthyCards) {
    const std::vector<std::string> commands = Examples();
    EXPECT_GE(commands.size(), 7U);
    for (const std::string& command : commands) {
        if (command.starts_with("zelsim"))
            continue;  // a host within a host there is not
        const char* const card = command.find("-mem ") == command.npos ? kHealthy : kReady;
        const Printed printed = RunOnCards(std::string(card) + card, command);
        EXPECT_EQ(printed.status, 0) << command << "\n" << printed.text;
    }
}

// Its table is filled with placeholders: on a real card the test says nothing.
TEST(Examples, LeaveTheSboxTestOut) {
    for (const std::string& command : Examples()) {
        EXPECT_FALSE(HoldsWord(command, "-vsrdv")) << command;
        EXPECT_TRUE(command.find("-pcie") > command.rfind("-all") ||
                    command.find("-all") == command.npos || command.find("-pcie") == command.npos)
            << command;
    }
}

TEST(Examples, OfAScriptStopsUnlessEveryCardThatMustBeThereHasPassed) {
    const std::vector<std::string> commands = Examples();
    const auto script = std::find_if(commands.begin(), commands.end(), [](const auto& command) {
        return command.find("grep") != command.npos;
    });
    ASSERT_NE(script, commands.end());
    const std::string healthy = kHealthy;
    EXPECT_EQ(RunOnCards(healthy + healthy, *script).status, 0);
    EXPECT_NE(RunOnCards(healthy, *script).status, 0);
    EXPECT_NE(RunOnCards(kNotReached + healthy, *script).status, 0);
    EXPECT_NE(RunOnCards(std::string(kReady) + kReady, *script).status, 0);
    EXPECT_NE(RunOnCards("", *script).status, 0);
}

// zelsim's help is printed from the rows of its commands.
TEST(Manual, DescribesWhatTheSimulatorsHelpNames) {
    const std::string help = RunProgram({"zelsim", "--help"}).text;
    const std::string text = PlainPage(kSimulatorPage);
    static const std::regex command("zelsim ([a-z]+)(?= |\n)");
    static const std::regex option("--[a-z]+");
    int found = 0;
    for (std::sregex_iterator i(help.begin(), help.end(), command), end; i != end; ++i, ++found)
        EXPECT_NE(text.find("zelsim " + (*i)[1].str()), text.npos) << (*i)[1];
    EXPECT_GE(found, 4);
    std::vector<std::string> options;
    for (const auto& entry : OptionEntries(kSimulatorPage))
        options.insert(options.end(), entry.begin(), entry.end());
    for (std::sregex_iterator i(help.begin(), help.end(), option), end; i != end; ++i)
        EXPECT_THAT(options, Contains(i->str()));
    for (const simulated::ModeName& mode : simulated::kModeNames)
        EXPECT_TRUE(HoldsWord(text, mode.name)) << mode.name;
}

}  // namespace
