// The rules, and the exceptions from them that are right.
#include "Judge.h"

#include <algorithm>
#include <string_view>

namespace sweep {

namespace {

constexpr int kHighestStatus = 1;

// The reports of the cards, in order, each up to its verdict.
std::vector<std::string_view> CardReports(const std::string& out) {
    constexpr std::string_view kVerdict = "\nDevice Status: ";
    std::vector<std::string_view> reports;
    std::string_view rest = out;
    for (size_t at = rest.find(kVerdict); at != std::string_view::npos; at = rest.find(kVerdict)) {
        const size_t end = rest.find('\n', at + 1);
        reports.push_back(rest.substr(0, end));
        rest.remove_prefix(end);
    }
    return reports;
}

// Without what a DMA worker says that was given up: it runs on beside later tests, and later cards.
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

// More than one card's report differs, or a card has none.
bool SpoilsOtherCards(const Outcome& clean, const Outcome& outcome) {
    const std::string text = WithoutWorkers(outcome.out);
    const auto expected = CardReports(clean.out);
    const auto actual = CardReports(text);
    if (actual.size() != expected.size())
        return true;
    const auto differ = std::ranges::count_if(
        expected, [&, i = size_t{0}](auto report) mutable { return report != actual[i++]; });
    return differ > 1;
}

// The run ended before the first card, with a line that says why.
bool CouldNotStart(const Outcome& outcome) {
    return outcome.status == 1 && CardReports(outcome.out).empty() &&
           !(outcome.out + outcome.err).empty();
}

bool TellsFailure(const Outcome& outcome) {
    return outcome.status != 0 || outcome.out.find("FAILED") != std::string::npos;
}

// What stands in the place of a text, or of a version, that could not be had. The tests are not
// touched by it.
bool TellsLoss(const Outcome& outcome) {
    constexpr std::array kTexts = {
        "can not allocate memory", "Can not allocate buffer for printf",
        "a line is missing",       "Version: NotAvailable",
        "Version=NotAvailable",    "Flash version=NA",
        "SMC Version=NA",          "Failed to close",
    };
    return std::ranges::any_of(
        kTexts, [&](const char* text) { return outcome.out.find(text) != std::string::npos; });
}

// Nothing is missing that a run without a failure does: memory ran out where it could be done without.
bool DidEverything(const Outcome& clean, const Outcome& outcome) {
    return outcome.out == clean.out && outcome.err == clean.err &&
           outcome.CountOf(Kind::Call) == clean.CountOf(Kind::Call) &&
           outcome.CountOf(Kind::Command) == clean.CountOf(Kind::Command) &&
           outcome.CountOf(Kind::Thread) == clean.CountOf(Kind::Thread);
}

// What the tool does on purpose.
struct Exception {
    Fault fault;
    Kind kind;         // Count: any
    const char* what;  // the beginning of what failed
    const char* reason;
    const char* seen = "";  // in what the tool printed
};
constexpr Exception kExceptions[] = {
    {Fault::NextCard, Kind::Call, "ZelInitAdapter", "a card that cannot be opened ends the run"},
    {Fault::NextCard, Kind::Call, "ZelGetZelVersion",
     "a library whose version cannot be read ends the run"},
    {Fault::NextCard, Kind::Count, "",
     "a worker that was given up while it waits for a card keeps its port until the run ends",
     "vorl_bind failed with error 98"},
    {Fault::Passed, Kind::Call, "vorl_connect", "a connection that fails once is tried again"},
    {Fault::Passed, Kind::Call, "vorl_close",
     "an end that reports an error is closed all the same"},
    {Fault::Passed, Kind::Command, "rpm ", "the summary tells the version that was found last"},
    {Fault::Passed, Kind::Status, "rpm ", "what the query printed counts, not how it ended"},
    {Fault::Passed, Kind::Allocation, "1024 bytes",
     "a displayed text for whose lines there is no room is left out"},
    {Fault::NextCard, Kind::Allocation, "472 bytes",
     "a host whose ssh or scp cannot be found ends the run"},
    {Fault::Passed, Kind::Call, "ZelSetUsageMode",
     "a card that cannot be sent back to its ready state is told by a trace record"},
    {Fault::Mode, Kind::Call, "ZelSetUsageMode",
     "a card that cannot be sent back stays where it is"},
};

}  // namespace

std::vector<Fault> Judge(Kind kind, const Outcome& clean, const Outcome& outcome) {
    std::vector<Fault> faults;
    if (outcome.hung)
        return {Fault::Hung};
    if (outcome.signal != 0 || outcome.status > kHighestStatus || outcome.status < 0)
        faults.push_back(Fault::Crashed);
    // A run that ended early leaves what it held to the system, as does one with a worker given up.
    const bool complete = CardReports(outcome.out).size() == CardReports(clean.out).size();
    if (complete && outcome.tidied && outcome.blocks > clean.blocks)
        faults.push_back(Fault::Leaked);
    const bool dispensable = kind == Kind::Allocation || kind == Kind::Silence;
    const bool excusable = dispensable && DidEverything(clean, outcome);
    if (!TellsFailure(outcome) && !TellsLoss(outcome) && !excusable)
        faults.push_back(Fault::Passed);
    if (outcome.modes != clean.modes)
        faults.push_back(Fault::Mode);
    if (!CouldNotStart(outcome) && SpoilsOtherCards(clean, outcome))
        faults.push_back(Fault::NextCard);
    return faults;
}

const char* Reason(Fault fault, Kind kind, const Outcome& outcome) {
    for (const Exception& exception : kExceptions) {
        if (exception.fault == fault && (exception.kind == kind || exception.kind == Kind::Count) &&
            outcome.what.starts_with(exception.what) &&
            outcome.out.find(exception.seen) != std::string::npos)
            return exception.reason;
    }
    return nullptr;
}

}  // namespace sweep
