// Moves a card to a usage mode and waits until it is there. A card may be on its way for a minute, and
// is asked again and again; not every mode is reached from every other.
#pragma once

#include <chrono>
#include <string>

#include "host/CardAccess.h"

namespace zelhealth {

// So long a card may take to arrive: some boot an operating system meanwhile.
constexpr std::chrono::seconds kArrivalSeconds{180};

struct MoveResult {
    bool arrived = false;
    std::string mode;   // the last one that the card told; "" when it told none
    std::string error;  // one line; empty when it has arrived
    CardReply::Kind kind = CardReply::Kind::answered;  // of the last question
};

// The mode in which a card rests: while it is in transition it is waited for. `arrived` says whether it
// rests.
MoveResult AwaitRest(const CardAccess& access, const std::string& card,
                     std::chrono::milliseconds deadline, const Stop& stop);

// Through ready state where the way leads through it: between normal and memory-diagnostic mode.
MoveResult MoveCard(const CardAccess& access, const std::string& card, const std::string& mode,
                    std::chrono::milliseconds deadline, const Stop& stop);

}  // namespace zelhealth
