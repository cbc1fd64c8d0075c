// The judge, given made-up runs: right ones, and one wrong in each way.
#include "Judge.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using sweep::Fault;
using sweep::Kind;
using sweep::Outcome;

using Faults = std::vector<Fault>;

// How one of two cards did. Each has one group with two tests.
struct Card {
    std::string host = "3.1.2";
    std::string flash = "2.1";
    std::string test1 = "PASSED";
    std::string test2 = "PASSED";
    std::string group = "PASSED";
    std::string status = "OK";
    std::string summary = "PASSED";
    std::string said = {};  // before the first test's verdict

    static Card Failed() {
        return {.test2 = "FAILED", .group = "FAILED", .status = "FAILED", .summary = "FAILED (1)"};
    }
};

std::string TextOf(const Card& card) {
    return "ZelGetVersion  3.1.2 \nHOSK Version=" + card.host + "; Flash version=" + card.flash +
           "; SMC Version=1.16.42\nTest 1: Get number of threads\n" + card.said +
           "Test 1: " + card.test1 + "\n\nTest 2: Get CPU ID\nTest 2: " + card.test2 +
           "\n\nTest Group [Core Diagnostics]: " + card.group + "\nDevice Status: " + card.status +
           "\n";
}

std::string SummaryOf(const std::array<Card, 2>& cards) {
    std::string text = "\nHOSK Version: 3.1.2\n";
    bool failed = false;
    for (size_t i = 0; i < cards.size(); ++i) {
        text += "zel" + std::to_string(i) + " (0000:02:00.0; Flash=" + cards[i].flash +
                "; SMC=1.16.42): " + cards[i].summary + "\n";
        failed = failed || cards[i].summary != "PASSED";
    }
    return text + (failed ? "ZEL Card Numbers with Errors: 0\n" : "No ZEL Cards with Errors.\n");
}

Outcome RunOf(const Card& first = {}, const Card& second = {}) {
    Outcome outcome;
    outcome.status = second.status == "OK" ? 0 : 1;
    outcome.out = TextOf(first) + TextOf(second) + SummaryOf({first, second});
    outcome.struck = true;
    outcome.tidied = true;
    outcome.blocks = 4;
    outcome.kept = {{96, "libSettings.so", {"Run", "main"}},
                    {64, "libSettings.so", {"Run", "main"}},
                    {20, "libc.so.6", {"cmGetSysTimeStr", "InitUTask", "main"}},
                    {4096, "libc.so.6", {"DISPLINES", "IFSTDISP", "main"}}};
    outcome.descriptors = 1;
    outcome.modes = {0, 0};
    return outcome;
}

// The run ends after the first card, with this text.
Outcome EndedAfterFirst(const std::string& text) {
    Outcome outcome = RunOf();
    outcome.status = 1;
    outcome.out = TextOf({}) + text;
    return outcome;
}

template <typename Change>
Outcome With(Outcome outcome, Change change) {
    change(outcome);
    return outcome;
}

Outcome Struck(Outcome outcome, const char* what, std::vector<std::string> site) {
    outcome.what = what;
    outcome.site = std::move(site);
    return outcome;
}

Faults FaultsOf(const Outcome& outcome) {
    return sweep::Judge(RunOf(), outcome);
}

bool IsWhole(const Outcome& clean) {
    return sweep::WhyNotWhole(clean, 2, 2).empty();
}

bool IsDemanded(Fault fault, Kind kind, const Outcome& outcome, const Outcome& clean = RunOf(),
                const char* part = "core") {
    return sweep::Reason(fault, {part, kind}, clean, outcome) != nullptr;
}

TEST(CleanRun, IsWholeWhenEverythingPassedAndNothingIsLeft) {
    EXPECT_TRUE(IsWhole(RunOf()));
}

TEST(CleanRun, IsNotWholeOtherwise) {
    EXPECT_FALSE(IsWhole(RunOf(Card::Failed())));
    EXPECT_FALSE(IsWhole(RunOf({}, Card::Failed())));
    EXPECT_FALSE(IsWhole(RunOf({.host = "NotAvailable"})));
    EXPECT_FALSE(IsWhole(RunOf({.flash = "NA"})));
    EXPECT_FALSE(IsWhole(RunOf({.flash = ""})));
    EXPECT_FALSE(IsWhole(EndedAfterFirst("")));
    EXPECT_FALSE(sweep::WhyNotWhole(RunOf(), 2, 3).empty()) << "a test is missing";
    EXPECT_FALSE(IsWhole(With(RunOf(), [](Outcome& run) { run.status = 1; })));
    EXPECT_FALSE(IsWhole(With(RunOf(), [](Outcome& run) { run.err = "a warning\n"; })));
    EXPECT_FALSE(IsWhole(With(RunOf(), [](Outcome& run) { run.tidied = false; })));
    EXPECT_FALSE(IsWhole(With(RunOf(), [](Outcome& run) { run.descriptors = 2; })));
    EXPECT_FALSE(IsWhole(With(RunOf(), [](Outcome& run) { run.processes = 1; })));
}

TEST(CleanRun, KeepsNoBlockThatHasNoName) {
    const auto isWholeWith = [](const sweep::Kept& block) {
        return IsWhole(With(RunOf(), [&](Outcome& run) { run.kept.push_back(block); }));
    };
    EXPECT_TRUE(isWholeWith({32, "libSettings.so", {"std::string::string", "Run", "main"}}));
    EXPECT_TRUE(isWholeWith({20, "libc.so.6", {"cmGetSysTimeStr", "main"}}));
    EXPECT_FALSE(isWholeWith({1, "ZelDiag", {"main"}}));
    EXPECT_FALSE(isWholeWith({8, "ZelDiag", {"cmGetSysTimeStr", "main"}}));
    EXPECT_FALSE(isWholeWith({8, "libSettings.so", {"TestDeviceId", "main"}}));
    EXPECT_FALSE(isWholeWith({8, "libc.so.6", {"InitUTask", "main"}}));
    EXPECT_FALSE(isWholeWith({8, "libZelAccessSDK.so", {"OpenCard"}}));
    EXPECT_FALSE(isWholeWith({0, "", {}})) << "there were more than can be told";
    EXPECT_FALSE(isWholeWith({4096, "libc.so.6", {"DISPLINES", "main"}})) << "one more than it has";
}

TEST(Judge, AcceptsAFailedTestOnEitherCard) {
    EXPECT_EQ(FaultsOf(RunOf(Card::Failed())), Faults{}) << "the last card passed: status 0";
    EXPECT_EQ(FaultsOf(RunOf({}, Card::Failed())), Faults{});
}

TEST(Judge, CountsCrashes) {
    const Outcome failed = RunOf({}, Card::Failed());
    const auto killed = With(failed, [](Outcome& run) { run.signal = 11; });
    EXPECT_EQ(FaultsOf(killed), Faults{Fault::Crashed});
    const auto strange = With(EndedAfterFirst(""), [](Outcome& run) { run.status = 127; });
    EXPECT_EQ(FaultsOf(strange).front(), Fault::Crashed);
}

TEST(Judge, CountsWhatDoesNotEnd) {
    const Outcome failed = RunOf({}, Card::Failed());
    EXPECT_EQ(FaultsOf(With(failed, [](Outcome& run) { run.hung = true; })), Faults{Fault::Hung});
    EXPECT_EQ(FaultsOf(With(failed, [](Outcome& run) { run.slept = 20UL * 60; })),
              Faults{Fault::Hung});
    EXPECT_EQ(FaultsOf(With(failed, [](Outcome& run) { run.slept = 63; })), Faults{});
}

TEST(Judge, CountsWhatIsLeft) {
    const Outcome failed = RunOf({}, Card::Failed());
    EXPECT_EQ(FaultsOf(With(failed, [](Outcome& run) { ++run.blocks; })), Faults{Fault::Leaked});
    EXPECT_EQ(FaultsOf(With(failed, [](Outcome& run) { ++run.descriptors; })),
              Faults{Fault::Leaked});
    EXPECT_EQ(FaultsOf(With(failed, [](Outcome& run) { ++run.processes; })), Faults{Fault::Leaked});
}

TEST(Judge, BoundsWhatARunWithAWorkerGivenUpLeaves) {
    const auto leaving = [](int descriptors, int processes) {
        return With(RunOf({}, Card::Failed()), [&](Outcome& run) {
            run.tidied = false;
            run.blocks = 1000;
            run.descriptors = descriptors;
            run.processes = processes;
        });
    };
    EXPECT_EQ(FaultsOf(leaving(3, 0)), Faults{});
    EXPECT_EQ(FaultsOf(leaving(100, 0)), Faults{Fault::Leaked});
    EXPECT_EQ(FaultsOf(leaving(3, 1)), Faults{Fault::Leaked});
}

TEST(Judge, CountsSilence) {
    EXPECT_EQ(FaultsOf(RunOf()), Faults{Fault::Passed});
    EXPECT_EQ(FaultsOf(RunOf({.said = "This part is known to have FAILED before\n"})),
              Faults{Fault::Passed});
}

TEST(Judge, CountsVerdictsThatDoNotFollow) {
    const auto second = [](auto change) {
        Card card = Card::Failed();
        change(card);
        return FaultsOf(RunOf({}, card));
    };
    EXPECT_EQ(second([](Card& card) { card.status = "OK"; }), Faults{Fault::Passed});
    EXPECT_EQ(second([](Card& card) { card.group = "PASSED"; }), Faults{Fault::Passed});
    EXPECT_EQ(second([](Card& card) { card.summary = "PASSED"; }), Faults{Fault::Passed});
    EXPECT_EQ(FaultsOf(With(RunOf({}, Card::Failed()), [](Outcome& run) { run.status = 0; })),
              Faults{Fault::Passed});
    EXPECT_EQ(FaultsOf(With(RunOf(Card::Failed()), [](Outcome& run) { run.status = 1; })),
              Faults{Fault::Passed});
    const auto early = With(EndedAfterFirst(""), [](Outcome& run) { run.status = 0; });
    EXPECT_EQ(FaultsOf(early).front(), Fault::Passed);
}

TEST(Judge, CountsModes) {
    const auto moved = With(RunOf({}, Card::Failed()), [](Outcome& run) { run.modes = {0, 3}; });
    EXPECT_EQ(FaultsOf(moved), Faults{Fault::Mode});
}

TEST(Judge, CountsOtherCards) {
    EXPECT_EQ(FaultsOf(RunOf(Card::Failed(), Card::Failed())), Faults{Fault::NextCard});
    EXPECT_EQ(FaultsOf(EndedAfterFirst("An error has occurred: status 13\n")),
              Faults{Fault::NextCard});
}

TEST(Demand, IsNoVersionWhereItIsToldThatThereIsNone) {
    const auto noFlash = [](const char* function) {
        return Struck(RunOf({.flash = "NA"}), "ZelGetZelVersion",
                      {function, "OpenCard", "InitUTask", "main"});
    };
    EXPECT_TRUE(IsDemanded(Fault::Passed, Kind::Call, noFlash("FlashVersion")));
    EXPECT_FALSE(IsDemanded(Fault::Passed, Kind::Call, noFlash("_ZelAccess::ShowVersion")));
    EXPECT_FALSE(
        IsDemanded(Fault::Passed, Kind::Call, noFlash("FlashVersion"), RunOf({.flash = "NA"})))
        << "it is no news";
    EXPECT_FALSE(IsDemanded(Fault::Passed, Kind::Call,
                            Struck(RunOf(), "ZelGetZelVersion", {"FlashVersion", "OpenCard"})))
        << "it is not told";
    EXPECT_FALSE(IsDemanded(
        Fault::Passed, Kind::Call,
        Struck(RunOf({.flash = "NA", .test2 = "FAILED"}), "ZelGetZelVersion", {"FlashVersion"})))
        << "the verdicts do not follow";
}

TEST(Demand, IsTheEndOfTheRunForTheLibrarysVersionOnly) {
    const Outcome ended = EndedAfterFirst("An error has occurred: status 13\n");
    EXPECT_TRUE(IsDemanded(
        Fault::NextCard, Kind::Call,
        Struck(ended, "ZelGetZelVersion", {"_ZelAccess::ShowVersion", "OpenCard", "InitUTask"})));
    EXPECT_FALSE(IsDemanded(Fault::NextCard, Kind::Call,
                            Struck(ended, "ZelGetZelVersion", {"OpenCard", "InitUTask"})));
}

TEST(Demand, TellsAllocationsApartByWhoAsks) {
    const auto isDemanded = [](const char* asker, std::vector<std::string> site,
                               const char* said = "", const char* part = "core") {
        return IsDemanded(Fault::Passed, Kind::Allocation,
                          Struck(RunOf({.said = said}), asker, std::move(site)), RunOf(), part);
    };
    EXPECT_TRUE(isDemanded("ZelDiag", {"ssMemAlloc", "ssTextAlloc", "DISPLINES", "main"}));
    EXPECT_TRUE(isDemanded("ZelDiag", {"DISPLINES", "main"}, "less of what is displayed\n"));
    EXPECT_TRUE(isDemanded("libc.so.6", {"DISPLINES", "main"}));
    EXPECT_FALSE(isDemanded("libc.so.6", {"DISPLINES", "main"}, "less of what is displayed\n"));
    EXPECT_FALSE(isDemanded("ZelDiag", {"ssMemAlloc", "setMemDiagUsageMode", "DISPLINES"}));
    EXPECT_TRUE(isDemanded("vorl_connect", {"vorl_connect_dma"}, "", "dma"));
    EXPECT_FALSE(isDemanded("vorl_bind", {"vorl_connect_dma"}, "", "dma"));
    EXPECT_FALSE(isDemanded("vorl_connect", {"vorl_connect_dma"}, "", "core"));
}

TEST(Demand, TellsOperationsOfSimilarNamesApart) {
    const auto struck = [](const char* operation) {
        return Struck(RunOf(), operation, {"_ZelAccess::settoNormalMode"});
    };
    EXPECT_TRUE(IsDemanded(Fault::Passed, Kind::Call, struck("ZelSetUsageMode")));
    EXPECT_FALSE(IsDemanded(Fault::Passed, Kind::Call, struck("ZelSetUsageModeExtn")));
}

TEST(Demand, IsAQueryOfTheHostsVersionThatEndsBadlyWhenNothingIsLost) {
    const char query[] = "rpm -qi hosk-daemon | grep Version";
    EXPECT_TRUE(IsDemanded(Fault::Passed, Kind::Status, Struck(RunOf(), query, {})));
    EXPECT_FALSE(IsDemanded(Fault::Passed, Kind::Status,
                            Struck(RunOf({.host = "NotAvailable"}), query, {})));
    EXPECT_TRUE(IsDemanded(Fault::Passed, Kind::Silence,
                           Struck(RunOf({.host = "NotAvailable"}), query, {})));
    EXPECT_FALSE(
        IsDemanded(Fault::Passed, Kind::Silence, Struck(RunOf(), "/usr/bin/ssh zel0", {})));
}

TEST(Demand, IsALostPortWhereTheHostStillWaitedForACard) {
    const std::string lost = "vorl_bind failed with error 98\n";
    Card second = Card::Failed();
    second.test1 = "FAILED";
    second.said = lost;
    const auto isDemanded = [&](const Card& first, const char* part, Kind kind,
                                const char* function) {
        const Outcome outcome = Struck(RunOf(first, second), "ZelDiag", {function});
        return IsDemanded(Fault::NextCard, kind, outcome, RunOf(), part);
    };
    constexpr char kConnect[] = "Dma_DmaZelToHost";
    EXPECT_TRUE(isDemanded(Card::Failed(), "dma", Kind::Allocation, kConnect));
    EXPECT_FALSE(isDemanded(Card::Failed(), "core", Kind::Allocation, kConnect));
    EXPECT_FALSE(isDemanded(Card::Failed(), "dma", Kind::Call, kConnect));
    EXPECT_FALSE(isDemanded(Card::Failed(), "dma", Kind::Allocation, "OpenCard"));
    EXPECT_FALSE(isDemanded({}, "dma", Kind::Allocation, kConnect)) << "nothing waited";
    Card connected = Card::Failed();
    connected.said = "ZelToHostDMA::VorlAccept Test failed\n";
    EXPECT_FALSE(isDemanded(connected, "dma", Kind::Allocation, kConnect));
}

}  // namespace
