// docs/simulated-platform.md: it names each operation that may fail, and has a row for each command of
// zelsim, and no other. Its tables of keys are compared by the script fleet-keys.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "Pages.h"
#include "fleet/CallNames.h"

namespace {

std::string Section(const std::string& heading) {
    const std::string document = ReadProjectFile("docs/simulated-platform.md");
    const std::size_t begin = document.find(heading + "\n");
    if (begin == document.npos)
        throw std::runtime_error("no section " + heading);
    return document.substr(begin, document.find("\n#", begin + heading.size()) - begin);
}

TEST(SimulatedPlatform, TheOperationsThatMayFailAreNamed) {
    const std::string section = Section("### `[[fault]]` and `[[card.fault]]`");
    const std::size_t begin = section.find("\nThe operations: ");
    ASSERT_NE(begin, section.npos);
    const std::string list = section.substr(begin, section.find("\n\n", begin) - begin);
    static const std::regex word("`([A-Za-z_]+)`");
    std::vector<std::string> named;
    for (std::sregex_iterator i(list.begin(), list.end(), word), end; i != end; ++i)
        named.push_back((*i)[1]);
    EXPECT_EQ(named, simulated::CallNames());
}

TEST(SimulatedPlatform, HasARowForEachCommand) {
    const std::string help = RunProgram({"zelsim", "--help"}).text;
    const std::string usage = help.substr(0, help.find("\n\n"));
    const std::string section = Section("## Commands and exit statuses");
    static const std::regex command("zelsim ([a-z]+)[ \\n]");
    static const std::regex row("\\n\\| `([a-z]+)` \\|");
    std::set<std::string> known;
    std::set<std::string> documented;
    const std::sregex_iterator end;
    for (std::sregex_iterator i(usage.begin(), usage.end(), command); i != end; ++i)
        known.insert((*i)[1]);
    for (std::sregex_iterator i(section.begin(), section.end(), row); i != end; ++i)
        documented.insert((*i)[1]);
    EXPECT_EQ(documented, known);
}

}  // namespace
