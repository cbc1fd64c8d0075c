// The manual pages: clean, and neither more nor less than the programs know.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "Fleet.h"
#include "Pages.h"
#include "Words.h"

namespace {

using testing::Contains;

constexpr char kToolPage[] = "ZelDiag.8";
constexpr char kSimulatorPage[] = "zelsim.1";

std::vector<std::string> Pages() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(PROJECT_FOLDER "/docs/man"))
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
