// What looks wrong and is demanded, or cannot be otherwise: by the part of the sweep, by what failed, and
// by the function of the tool that it failed in.
#include <algorithm>
#include <functional>
#include <span>
#include <string_view>

#include "Consistency.h"
#include "Judge.h"
#include "Report.h"

namespace sweep {

namespace {

// Besides what stands in a Demand.
using Condition = bool (*)(const Outcome& clean, const Outcome& outcome);

// The same was done and said as in a run without the failure.
bool DidEverything(const Outcome& clean, const Outcome& outcome) {
    return outcome.out == clean.out && outcome.err == clean.err &&
           outcome.CountOf(Kind::Call) == clean.CountOf(Kind::Call) &&
           outcome.CountOf(Kind::Command) == clean.CountOf(Kind::Command) &&
           outcome.CountOf(Kind::Thread) == clean.CountOf(Kind::Thread);
}

// Every test was run and passed.
bool PassedAll(const Outcome& clean, const Outcome& outcome) {
    return Report(outcome.out).verdicts == Report(clean.out).verdicts;
}

// One card was left out, and every other passed.
bool SkippedCard(const Outcome& clean, const Outcome& outcome) {
    const Report expected(clean.out);
    const Report actual(outcome.out);
    if (actual.cards.size() != expected.cards.size())
        return false;
    const std::vector<std::string_view> noTest = {"Device Status: OK"};
    size_t skipped = 0;
    for (size_t card = 0; card < actual.cards.size(); ++card) {
        const auto& verdicts = actual.cards[card].verdicts;
        if (verdicts == noTest)
            ++skipped;
        else if (verdicts != expected.cards[card].verdicts)
            return false;
    }
    return skipped == 1;
}

// Every card before the one on which it was met has its report, and no other.
bool EndedRun(const Outcome& clean, const Outcome& outcome) {
    const Report expected(clean.out);
    const Report actual(outcome.out);
    return outcome.status == 1 && actual.cards.size() < expected.cards.size() &&
           std::ranges::equal(actual.cards, std::span(expected.cards).first(actual.cards.size()),
                              std::equal_to<>(), &Report::Card::text, &Report::Card::text);
}

bool DidNotBegin(const Outcome& /*clean*/, const Outcome& outcome) {
    return outcome.status == 1 && Report(outcome.out).cards.empty();
}

bool WithinQuery(const Outcome& outcome) {
    return std::ranges::count(outcome.site, "Utils::GetHOSKVersion") != 0;
}

// The host's version was asked for in vain: it is told as missing, or it was not the last answer.
bool QueriedInVain(const Outcome& clean, const Outcome& outcome) {
    return WithinQuery(outcome) && PassedAll(clean, outcome);
}

bool QueriedAgain(const Outcome& clean, const Outcome& outcome) {
    return WithinQuery(outcome) && outcome.out == clean.out && outcome.err == clean.err;
}

// In the test that has the host wait, or in the worker that brings the card's program to the card.
bool WithinUpload(const Outcome& outcome) {
    return std::ranges::any_of(outcome.site, [](const std::string& function) {
        return function == "Dma_DmaZelToHost" || function == "DmaRunPeer";
    });
}

// The host waited for a card that never connected; the next card's first exchange cannot have the port.
bool LeftPort(const Outcome& clean, const Outcome& outcome) {
    const std::string text = WithoutWorkers(outcome.out);
    const Report actual(text);
    if (actual.cards.size() != 2 || Report(clean.out).cards.size() != 2)
        return false;
    const std::string_view first = actual.cards[0].text;
    const std::string_view second = actual.cards[1].text;
    return WithinUpload(outcome) && Times(first, "\nTest 1: PASSED\n") == 1 &&
           Times(first, "\nTest 2: FAILED\n") == 1 && Times(first, "ZelToHostDMA::") == 0 &&
           Times(second, "\nvorl_bind failed with error 98\nTest 1: FAILED\n") == 1;
}

constexpr char kPort[] =
    "a worker that was given up while it waits for a card keeps its port until the run ends";

constexpr char kNotReturned[] =
    "a card that cannot be sent back to its ready state stays where it is, as a trace record tells";

// Who asked for memory, where it was the tool itself or what it calls in the C library.
constexpr char kTool[] = "ZelDiag";
constexpr char kSystem[] = "libc.so.6";

struct Demand {
    Fault fault;
    const char* part;  // of the sweep; empty: any
    Kind kind;
    const char*
        what;  // that failed, or who asked for the memory; the beginning of a command, up to
               // a blank; empty: any
    const char* caller;  // the tool's function that it failed in; empty: any
    const char* told;    // printed more often than without the failure; null: nothing is
    Condition holds;
    const char* reason;
};

constexpr Demand kDemands[] = {
    // The run ends.
    {Fault::NextCard, "", Kind::Call, "Settings::Load", "", "Could process settings", DidNotBegin,
     "a tool without settings does not begin"},
    {Fault::NextCard, "", Kind::Call, "ZelInitAPI", "", "Error in zelAccess->setAccessHandle",
     DidNotBegin, "a run without a library does not begin"},
    {Fault::NextCard, "", Kind::Call, "ZelInitAdapter", "", "ZelInitAdapter failed", EndedRun,
     "a card that cannot be opened ends the run"},
    {Fault::NextCard, "", Kind::Call, "ZelGetZelVersion", "_ZelAccess::ShowVersion",
     "An error has occurred: ", EndedRun, "a library whose version cannot be read ends the run"},

    // What is not a test.
    {Fault::Passed, "", Kind::Call, "ZelGetZelVersion", "FlashVersion", "; Flash version=NA;",
     PassedAll, "a flash version that cannot be read is told as NA"},
    {Fault::Passed, "", Kind::Call, "ZelGetSMCFWVersion", "SmcVersion", "; SMC Version=NA\n",
     PassedAll, "an SMC version that cannot be read is told as NA"},
    {Fault::Passed, "", Kind::Call, "ZelGetUsageMode", "_ZelAccess::isDeviceinNormalMode",
     ": The Coprocessor is not in normal mode", SkippedCard,
     "a group is skipped on a card that does not tell its mode"},
    {Fault::Passed, "", Kind::Call, "ZelCloseAdapter", "", "\nFailed to close adapter for device: ",
     PassedAll, "a card that does not close has passed its tests"},
    {Fault::Passed, "", Kind::Call, "ZelCloseAPI", "", "\nFailed to close API for device id: ",
     PassedAll, "a library that does not close comes after the last card"},

    // The host's version.
    {Fault::Passed, "", Kind::Command, "rpm ", "", "NotAvailable", PassedAll,
     "a version that cannot be queried is told as NotAvailable"},
    {Fault::Passed, "", Kind::Command, "rpm ", "", nullptr, DidEverything,
     "the summary tells the version that was found last"},
    {Fault::Passed, "", Kind::Silence, "rpm ", "", "NotAvailable", PassedAll,
     "a version that cannot be queried is told as NotAvailable"},
    {Fault::Passed, "", Kind::Silence, "rpm ", "", nullptr, DidEverything,
     "the summary tells the version that was found last"},
    {Fault::Passed, "", Kind::Status, "rpm ", "", nullptr, DidEverything,
     "what the query printed counts, not how it ended"},

    // An upload.
    {Fault::Passed, "", Kind::Silence, "/usr/bin/scp ", "", nullptr, DidEverything,
     "what a copy prints counts only when it fails"},

    // The DMA exchange.
    {Fault::Passed, "dma", Kind::Call, "vorl_connect", "", nullptr, PassedAll,
     "a connection that fails once is tried again"},
    {Fault::Passed, "dma", Kind::Allocation, "vorl_connect", "vorl_connect_dma", nullptr, PassedAll,
     "a connection that fails once is tried again"},
    {Fault::Passed, "dma", Kind::Allocation, "vorl_open", "vorl_connect_dma", nullptr,
     DidEverything, "a library that cannot read its node takes itself for the host's"},
    {Fault::Passed, "dma", Kind::Call, "vorl_close", "", nullptr, DidEverything,
     "an end that reports an error is closed all the same"},
    {Fault::NextCard, "dma", Kind::Command, "/usr/bin/scp ", "", nullptr, LeftPort, kPort},
    {Fault::NextCard, "dma", Kind::Status, "/usr/bin/scp ", "", nullptr, LeftPort, kPort},
    {Fault::NextCard, "dma", Kind::Thread, "pthread_create", "", nullptr, LeftPort, kPort},
    {Fault::NextCard, "dma", Kind::Allocation, "", "", nullptr, LeftPort, kPort},

    // The card's way back from a memory test.
    {Fault::Passed, "", Kind::Call, "ZelSetUsageMode", "ReturnCard", nullptr, PassedAll,
     kNotReturned},
    {Fault::Mode, "", Kind::Call, "ZelSetUsageMode", "ReturnCard", nullptr, PassedAll,
     kNotReturned},
    {Fault::Passed, "", Kind::Call, "ZelSetUsageMode", "_ZelAccess::settoNormalMode", nullptr,
     PassedAll, kNotReturned},
    {Fault::Mode, "", Kind::Call, "ZelSetUsageMode", "_ZelAccess::settoNormalMode", nullptr,
     PassedAll, kNotReturned},

    // Memory.
    {Fault::Passed, "", Kind::Allocation, kTool, "IFSTDISP", "!!ERROR!! can not allocate memory",
     PassedAll, "a text that cannot be displayed is told"},
    {Fault::Passed, "", Kind::Allocation, kTool, "DISPLINES", nullptr, PassedAll,
     "a displayed text for whose lines there is no room is left out"},
    {Fault::Passed, "", Kind::Allocation, kTool, "DPF_PRINT",
     "\n Can not allocate buffer for printf", PassedAll, "a record that cannot be traced is told"},
    {Fault::Passed, "", Kind::Allocation, "", "TE::SummaryLines::Append",
     "(a line is missing: out of memory)", PassedAll, "a lost line of the summary is told"},
    {Fault::Passed, "", Kind::Allocation, "", "", "NotAvailable", QueriedInVain,
     "a version that cannot be queried is told as NotAvailable"},
    {Fault::Passed, "", Kind::Allocation, "", "", nullptr, QueriedAgain,
     "the summary tells the version that was found last"},
    {Fault::Passed, "", Kind::Allocation, "", "", "ShellExecuter was not closed", QueriedInVain,
     "the summary tells the version that was found last"},
    {Fault::Passed, "", Kind::Allocation, "", "ShellExecuter::_Read", nullptr, DidEverything,
     "what a command prints can be read without a buffer"},
    {Fault::Passed, "", Kind::Allocation, "", "cmGetSysTimeStr", nullptr, DidEverything,
     "the time at which the run began is printed nowhere"},
    {Fault::Passed, "", Kind::Allocation, kTool, "ProcessRecord", nullptr, DidEverything,
     "the record of the process is read by nothing"},
    {Fault::Passed, "", Kind::Allocation, "", "ValueOption", nullptr, DidEverything,
     "a word that there is no memory to split has no value"},
    {Fault::Passed, "", Kind::Allocation, "", "LowerCaseCopy", nullptr, DidEverything,
     "a word that cannot be compared with a flag is none"},
    {Fault::Passed, "", Kind::Allocation, kSystem, "DISPLINES", nullptr, DidEverything,
     "standard output can be written without a buffer"},
    {Fault::Passed, "", Kind::Allocation, "", "OpenWaiting", nullptr, DidEverything,
     "an output that always waits for its reader needs no waiting"},
    {Fault::NextCard, "", Kind::Allocation, "", "", "ZelDiag: out of memory\n", DidNotBegin,
     "without memory before the first card no card is tested"},
    {Fault::NextCard, "", Kind::Allocation, "", "Run", "Could process settings", DidNotBegin,
     "a tool without settings does not begin"},
    {Fault::NextCard, "", Kind::Allocation, "", "_ZelAccess::setAccessHandle",
     "Error in zelAccess->setAccessHandle", DidNotBegin, "a run without a library does not begin"},
    {Fault::NextCard, "", Kind::Allocation, kSystem, "Utils::FileExists",
     "An error has occurred: ", EndedRun, "a host whose ssh or scp cannot be found ends the run"},
};

bool Names(const std::string& demanded, const std::string& what) {
    return demanded.empty() || demanded == what ||
           (demanded.ends_with(' ') && what.starts_with(demanded));
}

// Functions that only hand on what others ask for.
bool HandsOn(std::string_view function) {
    return function.starts_with("std::") || function == "ssMemAlloc" || function == "ssTextAlloc" ||
           function == "cmOpenFile";
}

}  // namespace

std::string CallerIn(const std::vector<std::string>& site) {
    const auto caller = std::ranges::find_if_not(site, HandsOn);
    return caller == site.end() ? "" : *caller;
}

const char* Reason(Fault fault, const Failure& failure, const Outcome& clean,
                   const Outcome& outcome) {
    // Verdicts that contradict each other are never right.
    if (fault == Fault::Passed && !Follows(outcome, Report(clean.out).cards.size()))
        return nullptr;
    const std::string caller = CallerIn(outcome);
    const auto applies = [&](const Demand& demand) {
        return demand.fault == fault && demand.kind == failure.kind &&
               (*demand.part == '\0' || failure.part == demand.part) &&
               Names(demand.what, outcome.what) &&
               (*demand.caller == '\0' || caller == demand.caller) &&
               (demand.told == nullptr || Times(outcome.out + outcome.err, demand.told) >
                                              Times(clean.out + clean.err, demand.told)) &&
               demand.holds(clean, outcome);
    };
    const auto* const found = std::ranges::find_if(kDemands, applies);
    return found == std::end(kDemands) ? nullptr : found->reason;
}

}  // namespace sweep
