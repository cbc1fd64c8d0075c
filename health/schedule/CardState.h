// What a card is like in front of its tests and behind them, and whether it can be tested at all. What is
// wrong with it, whatever its tests say, becomes a reason in its records.
#pragma once

#include <optional>
#include <string>

#include "host/Locks.h"
#include "schedule/CardRecords.h"
#include "schedule/Host.h"
#include "schedule/RunCard.h"

namespace zelhealth {

class CardState {
public:
    CardState(const RunHost& host, RunCard& card, CardRecords& records)
        : host_(host), card_(card), records_(records), modeLeft_(card.Mode()) {}

    // Looks at the card, and takes its lock. Gives why its tests cannot begin; "" when they can.
    std::string Prepare();

    // By whom the card is in use: then it is only looked at. "" when it is not.
    const std::string& Busy() const { return busy_; }

    // The mode in which the card is left; "" when it did not tell.
    const std::string& ModeLeft() const { return modeLeft_; }
    void SetModeLeft(const std::string& mode) { modeLeft_ = mode; }

    // Behind the last test: looks at the mode again, and gives the lock back.
    void Leave();

private:
    std::string WhyUnreachable();
    void LookAtFacts();
    void LookAtMode();
    void LookAtModeLeft();
    void AskWhetherBusy();
    std::string TakeLock();
    void LookAgain();
    std::string WhatIsWrongWith(const std::string& mode) const;

    const RunHost& host_;
    RunCard& card_;
    CardRecords& records_;
    std::optional<Lock> lock_;
    std::string busy_;
    std::string modeLeft_;
};

}  // namespace zelhealth
