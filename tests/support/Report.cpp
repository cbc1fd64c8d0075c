#include "Report.h"

#include <algorithm>
#include <charconv>

namespace {

using Text = Report::Text;

constexpr Text kStatus = "Device Status: ";
constexpr Text kGroup = "Test Group [";
constexpr Text kIndent = "  ";

std::vector<Text> Lines(Text text) {
    std::vector<Text> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// "Test 3: PASSED", but not "Test 3: Get CPU ID".
bool IsOfTest(Text line) {
    if (!line.starts_with("Test "))
        return false;
    const std::size_t number = line.find_first_not_of("0123456789", 5);
    const Text rest = line.substr(std::min(number, line.size()));
    return rest == ": PASSED" || rest == ": FAILED";
}

std::vector<Text> VerdictsIn(Text text) {
    auto lines = Lines(text);
    std::erase_if(lines, [](Text line) {
        return !IsOfTest(line) && !line.starts_with(kGroup) && !line.starts_with(kStatus);
    });
    return lines;
}

// "zel0 (0000:02:00.0; Flash=2.1; SMC=1.16.42): PASSED", or "...): FAILED (2)"; behind it its errors.
std::vector<Report::CardInSummary> SummaryIn(Text text) {
    std::vector<Report::CardInSummary> cards;
    for (const Text line : Lines(text)) {
        const std::size_t digits = line.find_first_not_of("0123456789", 3);
        if (line.starts_with("zel") && digits > 3 && digits != line.npos &&
            line.substr(digits).starts_with(" (")) {
            const bool failed = line.find("): FAILED (") != line.npos;
            const bool passed = line.ends_with("): PASSED");
            cards.push_back({.name = line.substr(0, digits),
                             .result = failed   ? Report::Result::Failed
                                       : passed ? Report::Result::Passed
                                                : Report::Result::Unreadable,
                             .errors = {}});
        } else if (line.starts_with(kIndent) && !cards.empty()) {
            cards.back().errors.push_back(line.substr(kIndent.size()));
        }
    }
    return cards;
}

// The group whose tests are being reported at this place.
Text GroupBefore(Text text, std::size_t at) {
    const std::size_t end = text.rfind(" : BEGINS", at);
    if (end == text.npos)
        return {};
    const std::size_t begin = text.rfind('\n', end) + 1;
    return text.substr(begin, end - begin);
}

// "Test 2 Failed in file F, line 7 with reason [R]"; a reason may be longer than a line.
std::vector<Report::Failure> FailuresIn(Text text) {
    constexpr Text kFailed = " Failed in file ";
    constexpr Text kReason = " with reason [";
    std::vector<Report::Failure> failures;
    for (std::size_t at = text.find(kFailed); at != text.npos; at = text.find(kFailed, at + 1)) {
        const std::size_t reason = text.find(kReason, at);
        const std::size_t number = text.rfind("Test ", at);
        if (reason == text.npos || number == text.npos)
            continue;
        const std::size_t begin = reason + kReason.size();
        Report::Failure failure{.group = GroupBefore(text, at),
                                .test = 0,
                                .reason = text.substr(begin, text.find("]\n", begin) - begin)};
        std::from_chars(text.data() + number + 5, text.data() + at, failure.test);
        failures.push_back(failure);
    }
    return failures;
}

}  // namespace

std::size_t Times(std::string_view text, std::string_view part) {
    std::size_t times = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size()))
        ++times;
    return times;
}

bool IsFailure(Text verdict) {
    return verdict.ends_with("FAILED") || verdict.ends_with("ABORTED");
}

bool Report::Card::Failed() const {
    return IsFailure(status);
}

Report::Report(Text out) : verdicts(VerdictsIn(out)), failures(FailuresIn(out)), rest(out) {
    for (std::size_t at = rest.find(kStatus); at != rest.npos; at = rest.find(kStatus, at)) {
        if (at == 0 || rest[at - 1] != '\n') {
            ++at;
            continue;
        }
        const std::size_t end = std::min(rest.find('\n', at), rest.size());
        const Text text = rest.substr(0, end);
        cards.push_back({.text = text,
                         .verdicts = VerdictsIn(text),
                         .status = text.substr(at + kStatus.size())});
        rest.remove_prefix(end);
        at = 0;
    }
    summary = SummaryIn(rest);
    listsCardsWithErrors = Times(rest, "\nZEL Card Numbers with Errors: ") == 1;
}
