// The rules.
#include "Judge.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <string_view>

#include "Consistency.h"
#include "Report.h"

namespace sweep {

namespace {

constexpr int kHighestStatus = 1;

// The longest that one test waits, in seconds: for an upload, and for a card that does not answer.
constexpr std::uint64_t kLongestSleep = 36 + 60;

// Memory that is kept on purpose until the process ends: who asked for it, for which of the tool's
// functions, and how many blocks that are at most.
struct KeptOnPurpose {
    const char* library;
    const char* caller;  // empty: any
    int most;
    const char* what;
};
constexpr int kAnyNumber = std::numeric_limits<int>::max();
constexpr KeptOnPurpose kKeptOnPurpose[] = {
    {"libSettings.so", "Run", kAnyNumber, "the settings, some blocks for each of their lines"},
    {"libc.so.6", "cmGetSysTimeStr", 3, "the time zone"},
    {"libc.so.6", "DISPLINES", 1, "the buffer of standard output"},
    {"libc.so.6", "OpenWaiting", 2, "the streams of standard output and standard error"},
    {"libvorl.so", "", 2, "the table of endpoints"},
    {"ld-linux-x86-64.so.2", "", 5, "threads' own variables: stacks are kept for later threads"},
};

// The end of the pipe from which the commands read.
constexpr int kKeptDescriptors = 1;

// What workers have that run on as the process ends: the host's half its endpoint, with a descriptor for
// waiting, and the other a command's pipe.
constexpr int kDescriptorsOfWorkers = 3;

// The first block that is not kept on purpose; empty when there is none.
std::string StrangeBlock(const Outcome& clean) {
    std::array<int, std::size(kKeptOnPurpose)> found{};
    for (const Kept& block : clean.kept) {
        const std::string caller = CallerIn(block.callers);
        const auto* const known =
            std::ranges::find_if(kKeptOnPurpose, [&](const KeptOnPurpose& kept) {
                return block.library == kept.library &&
                       (*kept.caller == '\0' || caller == kept.caller);
            });
        const auto row = static_cast<size_t>(known - std::begin(kKeptOnPurpose));
        if (known == std::end(kKeptOnPurpose) || ++found[row] > known->most)
            return std::to_string(block.bytes) + " bytes of " + block.library + " for " + caller;
    }
    return "";
}

// More than one card's report differs, or a card has none.
bool SpoilsOtherCards(const Outcome& clean, const Outcome& outcome) {
    const std::string text = WithoutWorkers(outcome.out);
    const Report expected(clean.out);
    const Report actual(text);
    if (actual.cards.size() != expected.cards.size())
        return true;
    int differ = 0;
    for (size_t card = 0; card < expected.cards.size(); ++card)
        differ += expected.cards[card].text != actual.cards[card].text ? 1 : 0;
    return differ > 1;
}

bool ReportsEveryCard(const Outcome& clean, const Outcome& outcome) {
    return Report(outcome.out).cards.size() == Report(clean.out).cards.size();
}

// A run that ended early leaves memory to the system, as does one with a worker given up.
bool LeavesMemory(const Outcome& clean, const Outcome& outcome) {
    return ReportsEveryCard(clean, outcome) && outcome.tidied && outcome.blocks > clean.blocks;
}

bool LeavesDescriptors(const Outcome& clean, const Outcome& outcome) {
    const int ofWorkers = outcome.tidied ? 0 : kDescriptorsOfWorkers;
    return ReportsEveryCard(clean, outcome) && outcome.descriptors > clean.descriptors + ofWorkers;
}

}  // namespace

std::string WhyNotWhole(const Outcome& clean, size_t cards, size_t tests) {
    if (clean.hung || clean.signal != 0 || clean.status != 0 || !clean.err.empty())
        return "it fails";
    const Report report(clean.out);
    if (report.cards.size() != cards || !Follows(clean, cards))
        return "it does not report every card";
    const auto& verdicts = report.verdicts;
    const auto passed = std::ranges::count_if(verdicts, [](auto verdict) {
        return verdict.ends_with(": PASSED") || verdict == "Device Status: OK";
    });
    constexpr size_t kGroupAndStatus = 2;
    if (verdicts.size() != cards * (tests + kGroupAndStatus) ||
        static_cast<size_t>(passed) != verdicts.size())
        return "it does not pass every test";
    if (Times(clean.out, "; Flash version=") != cards || Times(clean.out, "\nHOSK Version: ") != 1)
        return "it does not tell the versions";
    for (const char* unknown : {"NotAvailable", "=NA;", "=NA\n", "=;"}) {
        if (Times(clean.out, unknown) != 0)
            return "it does not know every version";
    }
    if (!clean.tidied || clean.descriptors != kKeptDescriptors || clean.processes != 0)
        return "it leaves something behind";
    const std::string strange = StrangeBlock(clean);
    return strange.empty() ? "" : "it leaves memory behind: " + strange;
}

std::vector<Fault> Judge(const Outcome& clean, const Outcome& outcome) {
    if (outcome.hung)
        return {Fault::Hung};
    std::vector<Fault> faults;
    if (outcome.slept > clean.slept + kLongestSleep)
        faults.push_back(Fault::Hung);
    if (outcome.signal != 0 || outcome.status > kHighestStatus || outcome.status < 0)
        faults.push_back(Fault::Crashed);
    if (LeavesMemory(clean, outcome) || LeavesDescriptors(clean, outcome) || outcome.processes > 0)
        faults.push_back(Fault::Leaked);
    if (!TellsFailure(outcome) || !Follows(outcome, Report(clean.out).cards.size()))
        faults.push_back(Fault::Passed);
    if (outcome.modes != clean.modes)
        faults.push_back(Fault::Mode);
    if (SpoilsOtherCards(clean, outcome))
        faults.push_back(Fault::NextCard);
    return faults;
}

}  // namespace sweep
