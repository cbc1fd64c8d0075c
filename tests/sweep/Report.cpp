// Knows the lines of the tool's report that a verdict depends on.
#include "Report.h"

#include <algorithm>
#include <cctype>

namespace sweep {

namespace {

constexpr std::string_view kStatus = "Device Status: ";
constexpr std::string_view kLostLine = "(a line is missing: out of memory)";
constexpr std::string_view kGroup = "Test Group [";

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// "Test 3: PASSED", but not "Test 3: Get CPU ID".
bool IsOfTest(std::string_view line) {
    if (!line.starts_with("Test "))
        return false;
    const size_t number = line.find_first_not_of("0123456789", 5);
    const std::string_view rest = line.substr(std::min(number, line.size()));
    return rest == ": PASSED" || rest == ": FAILED";
}

bool Fails(std::string_view verdict) {
    return verdict.ends_with("FAILED") || verdict.ends_with("ABORTED");
}

// Neither its groups nor its status pass over a failed test of the card.
bool FollowsOnCard(std::string_view report) {
    bool failed = false;
    for (const std::string_view verdict : Verdicts(report)) {
        if (!IsOfTest(verdict) && failed && !Fails(verdict))
            return false;
        failed = failed || Fails(verdict);
    }
    return true;
}

// The summary has each card, and none as passed that failed.
bool FollowsInSummary(std::string_view summary, const std::vector<std::string_view>& reports) {
    const auto lines = Lines(summary);
    bool anyFailed = false;
    for (size_t card = 0; card < reports.size(); ++card) {
        const std::string name = "zel" + std::to_string(card) + " (";
        const auto line =
            std::ranges::find_if(lines, [&](auto text) { return text.starts_with(name); });
        if (line == lines.end() && Times(summary, kLostLine) > 0)
            continue;
        if (line == lines.end())
            return false;
        const bool failed = line->find("): FAILED (") != std::string_view::npos;
        if (!failed && (!line->ends_with("): PASSED") || Fails(reports[card])))
            return false;
        anyFailed = anyFailed || failed;
    }
    return anyFailed == (Times(summary, "\nZEL Card Numbers with Errors: ") == 1);
}

// The last card decides, unless it, or the library, could not be closed: then all do.
int ExpectedStatus(std::string_view rest, const std::vector<std::string_view>& reports) {
    const bool closed = Times(rest, "Failed to close ") == 0;
    const bool lastPassed = !Fails(reports.back());
    return (closed && lastPassed) || std::ranges::none_of(reports, Fails) ? 0 : 1;
}

}  // namespace

std::vector<std::string_view> CardReports(std::string_view out) {
    std::vector<std::string_view> reports;
    const std::string verdict = "\n" + std::string(kStatus);
    for (size_t at = out.find(verdict); at != std::string_view::npos; at = out.find(verdict)) {
        const size_t end = std::min(out.find('\n', at + 1), out.size());
        reports.push_back(out.substr(0, end));
        out.remove_prefix(end);
    }
    return reports;
}

std::vector<std::string_view> Verdicts(std::string_view out) {
    auto lines = Lines(out);
    std::erase_if(lines, [](std::string_view line) {
        return !IsOfTest(line) && !line.starts_with(kGroup) && !line.starts_with(kStatus);
    });
    return lines;
}

size_t Times(std::string_view text, std::string_view part) {
    size_t times = 0;
    for (size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size()))
        ++times;
    return times;
}

std::string WithoutWorkers(std::string text) {
    constexpr std::string_view kBegin = "\nAn error occurred in ";
    constexpr std::string_view kOutput = " :: \n";
    constexpr std::string_view kEnd = "\n\n";
    for (size_t at = text.find(kBegin); at != std::string::npos; at = text.find(kBegin)) {
        const size_t output = text.find(kOutput, at);
        const size_t end =
            output == std::string::npos ? output : text.find(kEnd, output + kOutput.size());
        text.erase(at, end == std::string::npos ? end : end + kEnd.size() - at);
    }
    return text;
}

bool Follows(const Outcome& outcome, size_t cards) {
    const auto reports = CardReports(outcome.out);
    if (!std::ranges::all_of(reports, FollowsOnCard))
        return false;
    if (reports.size() < cards || reports.empty())
        return outcome.status != 0;
    const std::string_view last = reports.back();
    const size_t end = static_cast<size_t>(last.data() - outcome.out.data()) + last.size();
    const std::string_view rest = std::string_view(outcome.out).substr(end);
    return outcome.status == ExpectedStatus(rest, reports) && FollowsInSummary(rest, reports);
}

bool TellsFailure(const Outcome& outcome) {
    return outcome.status != 0 || std::ranges::any_of(CardReports(outcome.out), Fails);
}

}  // namespace sweep
