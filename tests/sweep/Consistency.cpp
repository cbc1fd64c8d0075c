#include "Consistency.h"

#include <algorithm>
#include <string_view>

#include "Report.h"

namespace sweep {

namespace {

constexpr std::string_view kLostLine = "(a line is missing: out of memory)";

// Neither its groups nor its status pass over a failed test of the card.
bool FollowsOnCard(const Report::Card& card) {
    bool failed = false;
    for (const std::string_view verdict : card.verdicts) {
        const bool ofTest = verdict.starts_with("Test ") && !verdict.starts_with("Test Group ");
        if (!ofTest && failed && !IsFailure(verdict))
            return false;
        failed = failed || IsFailure(verdict);
    }
    return true;
}

// The summary has each card, and none as passed that failed.
bool FollowsInSummary(const Report& report) {
    bool anyFailed = false;
    for (std::size_t card = 0; card < report.cards.size(); ++card) {
        const std::string name = "zel" + std::to_string(card);
        const auto line = std::ranges::find(report.summary, name, &Report::CardInSummary::name);
        if (line == report.summary.end() && Times(report.rest, kLostLine) > 0)
            continue;
        if (line == report.summary.end() || line->result == Report::Result::Unreadable)
            return false;
        const bool failed = line->result == Report::Result::Failed;
        if (!failed && report.cards[card].Failed())
            return false;
        anyFailed = anyFailed || failed;
    }
    return anyFailed == report.listsCardsWithErrors;
}

// The last card decides, unless it, or the library, could not be closed: then all do.
int ExpectedStatus(const Report& report) {
    const bool closed = Times(report.rest, "Failed to close ") == 0;
    const bool lastPassed = !report.cards.back().Failed();
    return (closed && lastPassed) || std::ranges::none_of(report.cards, &Report::Card::Failed) ? 0
                                                                                               : 1;
}

}  // namespace

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

bool Follows(const Outcome& outcome, std::size_t cards) {
    const Report report(outcome.out);
    if (!std::ranges::all_of(report.cards, FollowsOnCard))
        return false;
    if (report.cards.size() < cards || report.cards.empty())
        return outcome.status != 0;
    return outcome.status == ExpectedStatus(report) && FollowsInSummary(report);
}

bool TellsFailure(const Outcome& outcome) {
    const Report report(outcome.out);
    return outcome.status != 0 || std::ranges::any_of(report.cards, &Report::Card::Failed);
}

}  // namespace sweep
