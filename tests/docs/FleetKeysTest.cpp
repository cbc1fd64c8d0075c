// docs/simulated-platform.md: it has a row for each key that the fleet-file reader knows, and each command
// of zelsim, and no other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "FleetKeys.h"
#include "Pages.h"
#include "fleet/CallNames.h"
#include "fleet/Fleet.h"

static void PrintTo(const FleetTable& table, std::ostream* out) {
    *out << table.name;
}

namespace {

using simulated::ParseFleet;

// Tables inside a table have headings of their own.
const std::set<std::string> kInnerTables = {
    "sbox", "fault", "memory_fault", "address_fault", "dma_fault", "vpu_fault", "cache_fault"};

std::string Section(const std::string& heading) {
    const std::string document = ReadProjectFile("docs/simulated-platform.md");
    const std::size_t begin = document.find(heading + "\n");
    if (begin == document.npos)
        throw std::runtime_error("no section " + heading);
    return document.substr(begin, document.find("\n#", begin + heading.size()) - begin);
}

// Rows such as "| `cores` | 32 bits | `60` |".
std::set<std::string> DocumentedKeys(const std::string& section) {
    static const std::regex row("\\n\\| `([a-z_]+)`[ *]*\\|");
    std::set<std::string> keys;
    for (std::sregex_iterator i(section.begin(), section.end(), row), end; i != end; ++i)
        keys.insert((*i)[1]);
    return keys;
}

// The heading names the table in brackets, perhaps beside another.
std::string HeadingOf(const FleetTable& table) {
    const std::string document = ReadProjectFile("docs/simulated-platform.md");
    for (const std::string& line : SplitLines(document)) {
        if (line.starts_with("### ") && line.find("[" + std::string(table.name) + "]") != line.npos)
            return line;
    }
    throw std::runtime_error(std::string("no heading for ") + table.name);
}

class FleetKeys : public testing::TestWithParam<FleetTable> {};

TEST_P(FleetKeys, OfTheDocumentAreTheReaders) {
    ASSERT_NO_THROW(ParseFleet(GetParam().fleet, "fleet"));
    std::set<std::string> known = ReadersKeys(GetParam().fleet);
    EXPECT_FALSE(known.empty());
    for (const std::string& inner : kInnerTables)
        known.erase(inner);
    EXPECT_EQ(DocumentedKeys(Section(HeadingOf(GetParam()))), known);
}

INSTANTIATE_TEST_SUITE_P(Table, FleetKeys, testing::ValuesIn(kFleetTables));

TEST(FleetFile, InnerTablesHaveSections) {
    const std::set<std::string> known = ReadersKeys("[[card]]\n");
    const std::string document = ReadProjectFile("docs/simulated-platform.md");
    for (const std::string& inner : kInnerTables) {
        EXPECT_TRUE(known.contains(inner)) << inner;
        EXPECT_NE(document.find("card." + inner + "]"), document.npos) << inner;
    }
}

// A default in the document is one that the reader takes, and makes the card that is made without it.
TEST(FleetFile, DocumentedDefaultsAreTheReaders) {
    const std::string section = Section("### `[[card]]`");
    static const std::regex row("\\n\\| `([a-z_]+)` \\|[^\\n]*\\| `([^`\\n]+)` \\|");
    const simulated::Card plain = ParseFleet("[[card]]\n", "fleet").cards[0];
    int found = 0;
    for (std::sregex_iterator i(section.begin(), section.end(), row), end; i != end; ++i, ++found) {
        const std::string fleet = "[[card]]\n" + (*i)[1].str() + " = " + (*i)[2].str() + "\n";
        ASSERT_NO_THROW({
            const simulated::Card card = ParseFleet(fleet, "fleet").cards[0];
            EXPECT_TRUE(card == plain) << fleet;
        }) << fleet;
    }
    EXPECT_GE(found, 15);
}

TEST(FleetFile, TheOperationsThatMayFailAreNamed) {
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
