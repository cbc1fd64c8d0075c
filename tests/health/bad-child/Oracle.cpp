#include "Oracle.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

namespace bad {

namespace {

namespace fs = std::filesystem;
using zelhealth::TestRow;

std::string Contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// The first test that a command asks for; null where it asks for none.
const TestRow* FirstTest(const std::string& command) {
    std::istringstream words(command);
    std::string group;
    for (std::string word; words >> word;) {
        const auto& rows = zelhealth::Catalogue::BuiltIn().Tests();
        const auto isGroup = [&](const TestRow& row) { return row.groupWord == word; };
        if (std::any_of(rows.begin(), rows.end(), isGroup))
            group = word.substr(1);
        else if (const TestRow* const row =
                     zelhealth::Catalogue::BuiltIn().Find(group + "." + word.substr(1)))
            return row;
    }
    return nullptr;
}

// Up to the end of the summary: what other programs of the case have printed stands behind it.
std::vector<std::string> OfTheTool(std::vector<std::string> lines) {
    const auto end = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line == "No ZEL Cards with Errors.\n" ||
               line.starts_with("ZEL Card Numbers with Errors: ");
    });
    lines.erase(end == lines.end() ? end : end + 1, lines.end());
    return lines;
}

std::size_t Times(const std::string& text, const std::string& part) {
    std::size_t times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++times;
    return times;
}

// One test of the only card, which passes.
bool Passes(const std::string& out) {
    return Has(out, " on device 1 of 1 (zel0 ") && Times(out, ": PASSED\n") == 3 &&
           Has(out, "\nDevice Status: OK\n") && Has(out, "\nNo ZEL Cards with Errors.\n") &&
           !Has(out, "FAILED") && !Has(out, " *** ");
}

// What is not free text.
std::vector<std::string> Statements(const std::vector<std::string>& lines, const TestRow& row) {
    const std::string test = "Test " + std::to_string(row.number) + ": ";
    std::vector<std::string> statements;
    bool begun = false;
    bool titled = false;
    bool inTest = false;
    for (const std::string& line : lines) {
        begun = begun || line.starts_with("Running Coprocessor Diagnostics on device ");
        inTest = inTest && line != test + "PASSED\n" && !line.ends_with(test + "FAILED\n");
        if (begun && !inTest)
            statements.push_back(line);
        inTest = inTest || (!titled && line == test + row.title + "\n");
        titled = titled || inTest;
    }
    return statements;
}

}  // namespace

zelhealth::AskedTest Recording::Asked() const {
    return {0, row->groupTitle, row->groupSummary, row->number, row->title, ""};
}

std::vector<Recording> ReadRecordings(const fs::path& cases) {
    std::vector<Recording> recordings;
    for (const auto& folder : fs::directory_iterator(cases)) {
        const std::string command = Contents(folder.path() / "command");
        const TestRow* const row = FirstTest(command);
        if (row == nullptr || !Has(command, "-summary"))
            continue;
        const std::string status = Contents(folder.path() / "status");
        Recording recording{{folder.path().filename(), status.empty() ? 0 : std::stoi(status),
                             OfTheTool(Lines(Contents(folder.path() / "stdout"))),
                             Contents(folder.path() / "stderr")},
                            row};
        recording.passes = recording.script.status == 0 && Passes(Text(recording.script.lines));
        recordings.push_back(std::move(recording));
    }
    std::sort(recordings.begin(), recordings.end(),
              [](const Recording& a, const Recording& b) { return a.script.name < b.script.name; });
    return recordings;
}

bool MayPass(const Recording& recording, const Act& act) {
    const Script& script = recording.script;
    const Speech speech = SpeechOf(script, act);
    if (!recording.passes || act.Stalls() || act.fault->kind == Kind::bursts)
        return false;
    int status = script.status;
    if (!speech.after)
        status = act.fault->kind == Kind::ends ? act.number : -1;
    const std::string said = speech.before + speech.after.value_or("");
    // The tool's status where a card cannot be closed and there are others.
    const bool notClosed = status == 1 && Has(said, "Failed to close ");
    if (status != 0 && !notClosed)
        return false;
    const std::vector<std::string> statements = Statements(Lines(said), *recording.row);
    std::vector<std::string> asked = Statements(script.lines, *recording.row);
    if (statements == asked)
        return true;
    // That a card cannot be closed says nothing of its test.
    std::erase_if(asked,
                  [](const std::string& line) { return line.starts_with("Failed to close "); });
    return statements == asked;
}

}  // namespace bad
