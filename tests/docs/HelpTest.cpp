// The help texts: that of the tool and of its groups, and the table of groups in the README.
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

// The names at the beginning of the lines behind the group's, up to the next group.
std::vector<std::string> TestsInHelp(const std::string& group) {
    std::vector<std::string> names;
    bool inside = false;
    static const std::regex row("  ( ?)(-[A-Za-z0-9]+) .*");
    const std::string help = HelpText();
    for (const std::string& line : SplitLines(help.substr(help.find("\nTests (") + 1))) {
        std::smatch parts;
        if (!std::regex_match(line, parts, row))
            continue;
        if (parts[1].length() == 0)
            inside = parts[2] == group;
        else if (inside)
            names.push_back(parts[2]);
    }
    return names;
}

class HelpOfGroup : public testing::TestWithParam<DocGroup> {};

TEST_P(HelpOfGroup, IsInTheReadme) {
    const std::string readme = ReadProjectFile("README.md");
    EXPECT_NE(readme.find("\n| `" + GetParam().shortName + "` | "), readme.npos);
}

// It says that they run in the order of its lists.
TEST_P(HelpOfGroup, ListsItsTestsInTheirOrder) {
    const DocGroup& group = GetParam();
    const std::vector<std::string> names = TestsInHelp(group.shortName);
    ASSERT_EQ(names.size(), group.tests.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_TRUE(names[i] == group.tests[i].shortName || names[i] == group.tests[i].longName)
            << names[i];
}

TEST_P(HelpOfGroup, NamesEachTestInItsUsage) {
    const DocGroup& group = GetParam();
    const std::string usage = UsageOf(group);
    for (const DocTest& test : group.tests) {
        EXPECT_NE(usage.find("        " + test.shortName + " or " + test.longName + " : "),
                  usage.npos)
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
