// All tests of one card, and what becomes of the card. They run one after the other; only a test that waits
// most of its time has others beside it, which only read.
#pragma once

#include <chrono>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "schedule/CardRecords.h"
#include "schedule/CardState.h"
#include "schedule/Host.h"
#include "schedule/RunCard.h"
#include "schedule/TestRun.h"

namespace zelhealth {

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
    void RunSteps();
    std::optional<std::size_t> NextStep();
    bool MayRunNow(const Step& step) const;
    void Begin(Step step, Taken taken);
    void EndTests();      // those that wait
    void AwaitWaiting();  // ends them, and throws what they have thrown
    void RunStep(const Step& step);
    Judgement TryStep(const Step& step, ChildResult& child);
    std::optional<Judgement> WhyNot(const Step& step);
    Judgement RunTool(const Step& step, ChildResult& child);
    bool EnterReadyState();
    void LeaveReadyState();
    void GiveUp(const Step& step, const ChildResult& child);
    void LookForOthers(const Step& step, Judgement& judgement) const;
    void DropSteps(const std::string& why);

    std::string WhyWedged() const;

    RunHost& host_;
    RunCard card_;
    CardRecords records_;
    CardState state_;
    int number_;  // of the card: 1 for zel1
    std::deque<Step> steps_;
    bool inReadyState_ = false;
    std::string notReady_;         // why the card did not get there
    bool readyIsRefused_ = false;  // by the card, and not by this host
    const Clock::time_point begin_ = Clock::now();
    Clock::time_point until_;
    std::vector<std::thread> waiting_;  // tests that wait, beside which others run

    mutable std::mutex mutex_;  // of what follows
    std::string wedged_;        // by what the card is
    std::exception_ptr fault_;  // of a thread
};

}  // namespace zelhealth
