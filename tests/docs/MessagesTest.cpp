// Every message has a row, and by it an entry in ZelDiag-messages(7): those that the sources hold, and those
// that the end-to-end cases print; and no entry is of a message that nothing prints.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>

#include "Literals.h"
#include "Messages.h"
#include "Pages.h"
#include "Words.h"
#include "explain/Lookup.h"

namespace {

namespace fs = std::filesystem;

// Texts of the sources that no operator meets.
struct NoMessage {
    const char* text;
    const char* reason;
};
constexpr NoMessage kNoMessages[] = {
    {"rpm -qi hosk-daemon | grep Version", "a command that is run"},
    {"Error querying RPM, or RPM not found",
     "caught where it is thrown; the version is NotAvailable"},
    {"a row is missing", "seen by the compiler"},
    {"icache_snoop_off zelpm=etc_on", "parameters of a card"},
    {"Ostrel(R) Vimbra(TM) Software Development Vehicle (formerly known as \"Ember Vale\")",
     "a name that cards tell"},
};

// What any case may print beside the tool: the runner's masks, the simulator, the status of a command.
const char* const kOfAnyCase[] = {
    "<connection lost>|host-based memory testing - time elapsed: <elapsed>",
    "card +generation .*|zel\\d +e[rv]1x .*",
    "status \\d+",
};

std::vector<std::string> SourceFiles() {
    std::vector<std::string> files;
    for (const char* folder : {"src", "card", "platform/settings"}) {
        for (const auto& entry :
             fs::recursive_directory_iterator(PROJECT_FOLDER "/" + std::string(folder))) {
            const std::string extension = entry.path().extension();
            if (extension == ".cpp" || extension == ".h")
                files.push_back(fs::relative(entry.path(), PROJECT_FOLDER));
        }
    }
    files.emplace_back("platform/trace/TraceLevel.cpp");
    files.emplace_back("platform/simulated/access/ZelAccessApi.cpp");
    std::sort(files.begin(), files.end());
    return files;
}

// What help prints: of the tool, of each group and of each test, and of the simulator.
const std::set<std::string>& HelpLines() {
    static const std::set<std::string> lines = [] {
        std::vector<std::vector<std::string>> commands = {
            {"ZelDiag", "-help"}, {"zelsim", "--help"}, {"zelsim", "run", "zelsim", "status"}};
        for (const DocGroup& group : Groups()) {
            commands.push_back({"ZelDiag", group.shortName, "-help"});
            for (const DocTest& test : group.tests)
                commands.push_back({"ZelDiag", group.shortName, test.shortName, "-help"});
        }
        std::set<std::string> all;
        for (const auto& command : commands) {
            for (const std::string& line : SplitLines(RunProgram(command).text))
                all.insert(Trimmed(line));
        }
        return all;
    }();
    return lines;
}

// What tests are called by, in the report and by completion.
const std::set<std::string>& TestTitles() {
    static const std::set<std::string> titles = [] {
        std::set<std::string> all;
        for (const DocGroup& group : Groups()) {
            all.insert(group.title);
            for (const std::string& title : group.testTitles)
                all.insert(Trimmed(title));
            for (const DocTest& test : group.tests)
                all.insert(test.brief);
        }
        return all;
    }();
    return titles;
}

const std::regex& Conversion() {
    static const std::regex conversion(
        "%[-+ #0]*(\\*|\\d+)?(\\.(\\*|\\d+))?(hh|h|ll|l|z)?[a-zA-Z%]");
    return conversion;
}

// A line of a text as a pattern: what is converted may be anything.
std::string PatternOfLine(const std::string& line) {
    std::string pattern;
    auto plain = line.begin();
    for (std::sregex_iterator i(line.begin(), line.end(), Conversion()), end; i != end; ++i) {
        pattern += Escaped(std::string(plain, (*i)[0].first)) + ".+";
        plain = (*i)[0].second;
    }
    return pattern + Escaped(std::string(plain, line.end()));
}

// A message has two words at least; what has fewer is a piece of one, or no text for people.
bool HasTwoWords(const std::string& line) {
    static const std::regex words("[A-Za-z]{2,}.*\\s.*[A-Za-z]{2,}|[A-Za-z]{2,}\\s*:.*%");
    return std::regex_search(std::regex_replace(line, Conversion(), "%"), words);
}

bool IsInSomeMessage(const std::string& line, const std::vector<Message>& messages) {
    const std::regex pattern(PatternOfLine(line));
    return std::any_of(messages.begin(), messages.end(), [&](const Message& message) {
        return std::regex_search(message.text, pattern);
    });
}

bool IsNoMessage(const std::string& line) {
    return std::any_of(std::begin(kNoMessages), std::end(kNoMessages),
                       [&](const NoMessage& row) { return line == row.text; });
}

bool IsInHelp(const std::string& line) {
    const std::regex pattern(PatternOfLine(line));
    return std::any_of(HelpLines().begin(), HelpLines().end(),
                       [&](const std::string& help) { return std::regex_match(help, pattern); });
}

// The simulator puts its help and its headings together out of pieces.
bool IsPieceOfHelp(const std::string& line) {
    return std::any_of(HelpLines().begin(), HelpLines().end(),
                       [&](const std::string& help) { return help.find(line) != help.npos; });
}

std::vector<std::string> LinesOf(const std::string& file) {
    std::vector<std::string> lines;
    for (const std::string& literal : ReadLiterals(ReadProjectFile(file))) {
        for (const std::string& line : SplitLines(literal))
            lines.push_back(Trimmed(line));
    }
    return lines;
}

TEST(Messages, OfTheSourcesHaveAnEntry) {
    for (const std::string& file : SourceFiles()) {
        for (const std::string& line : LinesOf(file)) {
            if (!HasTwoWords(line) || IsNoMessage(line) || TestTitles().contains(line))
                continue;
            EXPECT_TRUE(IsInSomeMessage(line, Messages()) || IsInHelp(line))
                << file << ": \"" << line << "\" has no row in health/catalogue/messages.toml";
        }
    }
}

constexpr std::string_view kSimulatorPrefix = "zelsim: ";

// The rest of its sources writes files: there, only what is thrown or said is a message.
constexpr const char* kSimulatorSources[] = {
    "platform/simulated/fleet/FleetFile.cpp",
    "platform/simulated/zelsim/HostCommands.cpp",
    "platform/simulated/zelsim/Main.cpp",
    "platform/simulated/zelsim/RunCommand.cpp",
};

TEST(Messages, OfTheSimulatorHaveAnEntry) {
    const std::vector<Message> messages = ReadMessages("zelsim.1");
    EXPECT_GT(messages.size(), 30U);
    for (const char* file : kSimulatorSources) {
        for (std::string line : LinesOf(file)) {
            if (line.starts_with(kSimulatorPrefix))
                line.erase(0, kSimulatorPrefix.size());
            EXPECT_TRUE(!HasTwoWords(line) || IsInSomeMessage(line, messages) ||
                        IsPieceOfHelp(line) || line.starts_with("cannot "))
                << file << ": \"" << line << "\" has no entry in zelsim.1";
        }
    }
}

TEST(Messages, ThatTheSimulatorThrowsHaveAnEntry) {
    static const std::regex call(
        R"((?:HostError|Complain)\(\s*(?:std::string\()?((?:"(?:[^"\\]|\\.)*"\s*)+))");
    const std::vector<Message> messages = ReadMessages("zelsim.1");
    int found = 0;
    for (const auto& entry :
         fs::recursive_directory_iterator(PROJECT_FOLDER "/platform/simulated")) {
        if (entry.path().extension() != ".cpp")
            continue;
        const std::string file = fs::relative(entry.path(), PROJECT_FOLDER);
        const std::string source = ReadProjectFile(file);
        for (std::sregex_iterator i(source.begin(), source.end(), call), end; i != end; ++i) {
            const std::string line = ReadLiterals((*i)[1]).front();
            ++found;
            EXPECT_TRUE(line.starts_with("cannot ") || IsInSomeMessage(line, messages))
                << file << ": \"" << line << "\" has no entry in zelsim.1";
        }
    }
    EXPECT_GT(found, 20);
}

const std::map<std::string, std::string> kMarksOfLevels = {
    {"ERROR", "trace"}, {"DIAG1", "trace diag1"}, {"DIAG2", "trace diag2"}, {"TOOLS", "tools"}};

TEST(Messages, ThatAreTracedSayFromWhichLevelOn) {
    static const std::regex call(R"(ZEL_TRACE\(\s*DLVL_(\w+),\s*((?:"(?:[^"\\]|\\.)*"\s*)+))");
    int found = 0;
    for (const std::string& file : SourceFiles()) {
        const std::string source = ReadProjectFile(file);
        for (std::sregex_iterator i(source.begin(), source.end(), call), end; i != end; ++i) {
            const std::string mark = kMarksOfLevels.at((*i)[1]);
            for (const std::string& line : SplitLines(ReadLiterals((*i)[2]).front())) {
                if (!HasTwoWords(Trimmed(line)))
                    continue;
                const std::regex pattern(PatternOfLine(Trimmed(line)));
                ++found;
                EXPECT_TRUE(std::any_of(Messages().begin(), Messages().end(),
                                        [&](const Message& m) {
                                            return m.mark == mark &&
                                                   std::regex_search(m.text, pattern);
                                        }))
                    << file << ": \"" << line << "\" is not marked " << mark;
            }
        }
    }
    EXPECT_GT(found, 50);
}

TEST(Messages, AreManyAndDifferent) {
    EXPECT_GT(Messages().size(), 300U);
    std::set<std::string> seen;
    for (const Message& message : Messages())
        EXPECT_TRUE(seen.insert(message.text + message.mark).second) << message.text;
}

// Texts of other programs, which the page explains where they are met.
bool IsOfOtherPrograms(const std::string& text) {
    return text.starts_with("ssh: ") || text.starts_with("/usr/bin/scp: ") ||
           text == "lost connection" || text.starts_with("Connection ");
}

// Two letters in a row that do not vary: by them a text can be told from others.
bool HasFixedLetters(const std::string& text) {
    static const std::regex letters("[A-Za-z]{2}");
    return std::regex_search(text, letters);
}

TEST(Messages, ThatHaveAnEntryArePrinted) {
    std::vector<std::regex> printed;
    for (const std::string& file : SourceFiles()) {
        for (const std::string& line : LinesOf(file)) {
            if (HasFixedLetters(std::regex_replace(line, Conversion(), "")))
                printed.emplace_back(PatternOfLine(line));
        }
    }
    for (const Message& message : Messages()) {
        static const std::regex varying("<[^>]*>");
        if (!HasFixedLetters(std::regex_replace(message.text, varying, "")) ||
            IsOfOtherPrograms(message.text))
            continue;
        EXPECT_TRUE(std::any_of(
            printed.begin(), printed.end(),
            [&](const std::regex& pattern) { return std::regex_search(message.text, pattern); }))
            << "nothing prints: " << message.text;
    }
}

// What the case's own commands print: a pattern a line in its file own-output.
std::vector<std::regex> OwnOutput(const fs::path& folder) {
    std::vector<std::regex> patterns(std::begin(kOfAnyCase), std::end(kOfAnyCase));
    if (fs::exists(PROJECT_FOLDER / folder / "own-output")) {
        for (const std::string& line : SplitLines(ReadProjectFile(folder / "own-output")))
            patterns.emplace_back(line);
    }
    return patterns;
}

// Each line of the tool that end-to-end cases expect, and one case that does.
std::map<std::string, std::string> ExpectedLines() {
    std::map<std::string, std::string> lines;
    for (const auto& entry : fs::directory_iterator(PROJECT_FOLDER "/tests/e2e/cases")) {
        const std::string name = entry.path().filename();
        // The companion's cases print no text of the tool.
        if (name.starts_with("health-") || name.starts_with("zelcard-"))
            continue;
        const fs::path folder = fs::path("tests/e2e/cases") / name;
        const std::vector<std::regex> own = OwnOutput(folder);
        for (const char* stream : {"stdout", "stderr"}) {
            if (!fs::exists(PROJECT_FOLDER / folder / stream))
                continue;
            for (const std::string& line : SplitLines(ReadProjectFile(folder / stream))) {
                const bool isOwn =
                    std::any_of(own.begin(), own.end(), [&](const std::regex& pattern) {
                        return std::regex_match(Trimmed(line), pattern);
                    });
                if (!isOwn)
                    lines.emplace(Trimmed(line), name);
            }
        }
    }
    return lines;
}

TEST(Messages, OfEndToEndCasesHaveAnEntry) {
    const auto lines = ExpectedLines();
    EXPECT_GT(lines.size(), 500U);
    for (const auto& [line, name] : lines)
        EXPECT_TRUE(HelpLines().contains(line) || IsDocumented(line))
            << name << " prints: " << line;
}

// Whatever the tool prints can be asked for as it is, and is known word for word.
TEST(Messages, OfEndToEndCasesAreExplained) {
    // Cases write N for a number that differs from machine to machine.
    static const std::regex masked("\\bN\\b");
    // The bytes of a uuid mean nothing by themselves.
    static const std::regex bytes("(0x[0-9a-f]+ ?)+");
    int found = 0;
    for (const auto& [line, name] : ExpectedLines()) {
        const std::string printed = std::regex_replace(line, masked, "7");
        if (HelpLines().contains(line) || !HasTwoWords(line) || std::regex_match(line, bytes))
            continue;
        ++found;
        EXPECT_TRUE(zelhealth::LookUp(printed).exact) << name << " prints: " << line;
    }
    EXPECT_GT(found, 400);
}

}  // namespace
