// All tests of one card, and what becomes of the card. They run one after the other; only a test that waits
// most of its time has others beside it, which only read.
#pragma once

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/CardAccess.h"
#include "host/Tools.h"
#include "schedule/Host.h"
#include "schedule/TestRun.h"

namespace zelhealth {

// A card of the run. One that is not there, or of which nobody knows anything, is judged too.
struct RunCard {
    CardList::Entry entry;  // `card` is its name
    bool present = true;    // the library enumerates it
    std::string wedged;     // by what, when it was found so
};

class CardRun {
public:
    CardRun(RunHost& host, const RunCard& card);

    // To the end, or to the end of the run. Writes the card's records.
    void Run();

private:
    using Clock = std::chrono::steady_clock;

    struct Step {
        PlannedTest test;
        int round = 1;  // of those that the test is done for
    };

    void PlanSteps();
    void WriteStarted();
    void WriteFinished();

    // Whether the tests can begin; what is the matter is told otherwise.
    bool Prepare();
    bool TakeLock();
    void LookAtMode();
    void LookAtModeLeft();
    void AddUntoldFacts();
    void AskWhetherBusy();

    void RunSteps();
    std::optional<std::size_t> NextStep();
    bool MayRunNow(const Step& step) const;
    void Begin(const Step& step);
    void AwaitWaiting();
    void RunStep(const Step& step);
    std::optional<Judgement> WhyNot(const Step& step);
    Judgement RunTool(const Step& step, ChildResult& child);
    bool EnterReadyState();
    void LeaveReadyState();
    void GiveUp(const Step& step, const ChildResult& child);
    void LookForOthers(const Step& step, Judgement& judgement) const;
    void WriteTest(const Step& step, const Judgement& judgement, const ChildResult& child);
    void DropSteps(const std::string& why);

    void AddReason(const std::string& reason, const std::string& text, int status);
    std::string WhyWedged() const;

    // What the card told of itself; empty when it did not.
    std::string Fact(const char* name) const;
    std::uint64_t MemorySize() const;
    std::string Mode() const { return Fact("mode"); }

    RunHost& host_;
    RunCard card_;
    int number_;  // of the card: 1 for zel1
    std::deque<Step> steps_;
    std::optional<Lock> lock_;
    std::string busy_;  // by whom the card is in use
    std::string modeLeft_;
    bool inReadyState_ = false;
    std::string notReady_;         // why the card did not get there
    bool readyIsRefused_ = false;  // by the card, and not by this host
    const Clock::time_point begin_ = Clock::now();
    Clock::time_point until_;
    std::vector<std::thread> waiting_;  // tests that wait, beside which others run

    mutable std::mutex mutex_;  // of what follows
    std::string wedged_;        // by what the card is
    Json reasons_ = Json::array();
    int judged_ = 0;
    int worst_ = 0;
};

}  // namespace zelhealth
