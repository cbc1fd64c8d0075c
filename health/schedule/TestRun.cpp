#include "schedule/TestRun.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "run/ToolTexts.h"

namespace zelhealth {

namespace {

// " 20% completed - currently at:  1GB    0MB  -> 0x40000000 "
std::optional<int> Percent(std::string_view line) {
    const std::size_t begin = line.find_first_not_of(' ');
    int percent = 0;
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    const char* const end = line.data() + line.size();
    const auto [rest, error] = std::from_chars(line.data() + begin, end, percent);
    const bool form =
        error == std::errc() && std::string_view(rest, end).starts_with("% completed");
    return form && percent >= 0 && percent <= 100 ? std::optional(percent) : std::nullopt;
}

}  // namespace

std::vector<std::string> ToolWords(int card, const PlannedTest& test) {
    std::vector<std::string> words = {"-summary",      "-devicelist",       std::to_string(card),
                                      "-noExitOnFail", test.row->groupWord, "-" + test.row->name};
    words.insert(words.end(), test.options.begin(), test.options.end());
    // The place and the reason of a failure go into the evidence.
    words.emplace_back("-dbgLvl=4");
    return words;
}

TestOutcome RunTest(const std::string& tool, int card, const std::string& pcie,
                    const PlannedTest& test, std::chrono::milliseconds deadline,
                    const std::function<void(int)>& onPercent, const Stop& stop) {
    ChildSpec spec;
    spec.command = {tool};
    const std::vector<std::string> words = ToolWords(card, test);
    spec.command.insert(spec.command.end(), words.begin(), words.end());
    // Standard error then tells what was read; standard output stays the same.
    spec.environment = {"PLYX_DEBUG_LEVEL=diag2"};
    spec.deadline = deadline;
    spec.onLine = [&onPercent](std::string_view line) {
        if (const auto percent = Percent(line)) {
            onPercent(*percent);
        }
    };
    const AskedTest asked{
        card, test.row->groupTitle, test.row->groupSummary, test.row->number, test.row->title,
        pcie, !test.options.empty()};
    TestOutcome outcome;
    outcome.child = RunChild(spec, stop);
    outcome.judgement = Judge(outcome.child, asked);
    return outcome;
}

// Without a word the tool tells its version, and asks for words.
std::string ToolVersion(const std::string& program, const Stop& stop) {
    ChildSpec spec;
    spec.command = {program};
    spec.deadline = std::chrono::seconds(2);
    const ChildResult child = RunChild(spec, stop);
    std::string_view line = std::string_view(child.out).substr(0, child.out.find('\n'));
    if (child.end != ChildEnd::exited || !line.starts_with(tool::kVersion)) {
        return "";
    }
    line.remove_prefix(tool::kVersion.size());
    return std::string(line.substr(std::min(line.find_first_not_of(' '), line.size())));
}

}  // namespace zelhealth
