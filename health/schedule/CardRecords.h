// Writes the records of a card, and knows by them what it comes to.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

#include "host/Waivers.h"
#include "plan/Plan.h"
#include "readers/Outcome.h"
#include "record/Record.h"
#include "run/Child.h"
#include "run/Verdict.h"
#include "schedule/RunCard.h"

namespace zelhealth {

// Of a test: that it failed, and by no fault of this host.
bool IsFailure(Verdict verdict);

// From any thread.
class CardRecords {
public:
    // The card may tell more of itself later, and lives longer.
    CardRecords(const RunCard& card, Recorder& recorder, const Waivers& waivers)
        : card_(card), recorder_(recorder), waivers_(waivers) {}

    // That the card has so many tests before it, which should take that long.
    void WriteStarted(std::size_t tests, double expectedSeconds);

    void WriteTestStarted(const TestRow& row, double deadlineSeconds);
    void WriteProgress(const TestRow& row, int percent);

    // `round` is which of those that the test is done for.
    void WriteTest(const PlannedTest& test, int round, const Judgement& judgement,
                   const ChildResult& child);

    // Something about the card that is no test's: "mode", the line that people see, and what it means for
    // the run as an exit status. Told once, however often it is said.
    void AddReason(const std::string& reason, const std::string& text, int status);

    // The last record. `modeLeft` is "" for a card that did not tell.
    void WriteFinished(const std::string& modeLeft, double seconds);

private:
    Json About(const char* kind, const TestRow& row) const;

    const RunCard& card_;
    Recorder& recorder_;
    const Waivers& waivers_;

    std::mutex mutex_;  // of what follows
    Json reasons_ = Json::array();
    int judged_ = 0;
    Status worst_ = Status::ok;
};

}  // namespace zelhealth
