// What the cards of a run have in common.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "host/Busy.h"
#include "host/CardAccess.h"
#include "host/Configuration.h"
#include "host/Locks.h"
#include "host/ModeKeeper.h"
#include "host/Preflight.h"
#include "host/Waivers.h"
#include "host/Wedged.h"
#include "plan/Plan.h"
#include "record/Record.h"
#include "schedule/Resources.h"
#include "schedule/RunCard.h"

namespace zelhealth {

struct RunHost {
    std::string tool;
    const Plan& plan;
    int repeat;
    std::size_t cards;

    // For locks that others hold, and a tool that somebody else has started.
    std::chrono::milliseconds patience;

    Recorder& recorder;
    const Locks& locks;
    const WedgedNotes& wedged;
    Preflight& preflight;
    const ModeKeeper& modes;
    const CardAccess& access;
    const Waivers& waivers;
    const Configuration& configuration;
    Resources& resources;

    // What keeps every card from its tests; "" for nothing.
    const std::string& inTheWay;

    // A run that is interrupted ends its tests (stop), and restores its cards all the same, unless it is
    // to end at once (now).
    const Stop& stop;
    const Stop& now;

    // How a card differs from the inventory.
    std::function<std::vector<Difference>(const RunCard&)> compare;

    // Why a stop was wished: "interrupted", "the run's deadline is over".
    std::function<std::string()> whyStopped;
};

}  // namespace zelhealth
