// The help texts: that of the tool, of its groups, and the table in the README.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "Pages.h"
#include "Words.h"

namespace {

// Without its comments, as it is printed.
std::string HelpText() {
    std::string text;
    for (const std::string& line : SplitLines(ReadProjectFile("src/te_doc.t"))) {
        if (!line.starts_with("#"))
            text += line + "\n";
    }
    return text;
}

std::string UsageOf(const DocGroup& group) {
    return RunProgram({"ZelDiag", group.shortName, "-help"}).text;
}

bool HasLineOf(const std::string& help, const std::string& name) {
    return help.find("\n   " + name + " ") != help.npos;
}

class HelpOfGroup : public testing::TestWithParam<DocGroup> {};

TEST_P(HelpOfGroup, IsInTheHelpText) {
    EXPECT_TRUE(HoldsWord(HelpText(), GetParam().shortName));
}

TEST_P(HelpOfGroup, NamesEachTest) {
    const DocGroup& group = GetParam();
    const std::string help = HelpText();
    const std::string usage = UsageOf(group);
    const std::string readme = ReadProjectFile("README.md");
    for (const DocTest& test : group.tests) {
        EXPECT_TRUE(HasLineOf(help, test.shortName) || HasLineOf(help, test.longName))
            << test.shortName;
        EXPECT_NE(usage.find("        " + test.shortName + " or " + test.longName + " : "),
                  usage.npos)
            << test.shortName;
        EXPECT_TRUE(HoldsWord(readme, test.shortName) || HoldsWord(readme, test.longName))
            << test.shortName;
    }
}

INSTANTIATE_TEST_SUITE_P(All, HelpOfGroup, testing::ValuesIn(Groups()));

class HelpOfOption : public testing::TestWithParam<DocOption> {};

TEST_P(HelpOfOption, NamesEverySpelling) {
    const DocOption& option = GetParam();
    std::string help = HelpText();
    for (const DocGroup& group : Groups())
        help += UsageOf(group);
    for (const std::string& name : option.names) {
        // Whoever reads of an option tries it; these would only be refused.
        EXPECT_EQ(HoldsWord(help, name), option.place != Place::refused) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(All, HelpOfOption, testing::ValuesIn(Options()));

TEST(Help, NamesNothingThatIsNone) {
    const std::string help = HelpText();
    static const std::regex word("(^|[\\s(,])(-[A-Za-z][A-Za-z0-9]*)");
    int found = 0;
    for (std::sregex_iterator i(help.begin(), help.end(), word), end; i != end; ++i, ++found)
        EXPECT_TRUE(IsKnown((*i)[2])) << (*i)[2];
    EXPECT_GT(found, 50);
}

TEST(Help, FitsATerminalOf80Columns) {
    for (const std::string& line : SplitLines(ReadProjectFile("src/te_doc.t")))
        EXPECT_LE(line.size(), 80U) << line;
}

// The numbers at the beginning of the section's rows.
std::vector<std::string> StatusesIn(const std::string& text, const std::string& heading,
                                    const std::string& next, const std::string& row) {
    const std::size_t begin = text.find(heading);
    if (begin == text.npos)
        return {"no section " + heading};
    const std::string section = text.substr(begin, text.find(next, begin + heading.size()) - begin);
    const std::regex number("\n" + row);
    std::vector<std::string> statuses;
    for (std::sregex_iterator i(section.begin(), section.end(), number), end; i != end; ++i)
        statuses.push_back((*i)[1]);
    return statuses;
}

// The last one as the shell sees it: that is what the case of another user shows.
TEST(ExitStatuses, AreTheSameInEveryText) {
    const std::vector<std::string> statuses = {"0", "1", "127", "251"};
    EXPECT_EQ(StatusesIn(ReadProjectFile("docs/man/ZelDiag.8"), ".Sh EXIT STATUS\n", "\n.Sh",
                         "\\.It (\\d+)"),
              statuses);
    EXPECT_EQ(StatusesIn(ReadProjectFile("docs/behaviour.md"), "## Exit status\n", "\n## ",
                         "\\| (\\d+) \\|"),
              statuses);
    EXPECT_EQ(StatusesIn(HelpText(), "Exit Status:\n", "\n\n", "   (\\d+) "), statuses);
    EXPECT_TRUE(HoldsWord(ReadProjectFile("tests/e2e/cases/cmdline-not-root/stdout"),
                          "status " + statuses.back()));
}

}  // namespace
