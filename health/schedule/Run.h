// A run: the tests of a plan on the cards of this host, side by side, told as records.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/Configuration.h"
#include "host/Folders.h"
#include "host/Waivers.h"
#include "inventory/Inventory.h"
#include "plan/Plan.h"
#include "readers/Outcome.h"
#include "record/Record.h"
#include "run/Stop.h"

namespace zelhealth {

struct RunSettings {
    Plan plan;
    std::string tool;
    std::vector<std::string> cards;  // "zel0" or "0000:02:00.0"; all where none is named
    int jobs = 0;                    // cards at once; 0 for all
    int repeat = 1;
    std::chrono::milliseconds patience{};  // for what others hold
    std::optional<std::chrono::milliseconds> deadline;
    std::vector<std::string> command;  // words, for the record
    Folders folders;
    Configuration configuration;
    Waivers waivers;
    Inventory inventory;
    std::optional<std::size_t> expectedCards;  // so many are to be here

    std::string ToolName() const { return std::filesystem::path(tool).filename(); }
};

// Runs to the end and gives the exit status. Records go to `readers`, of which `outcome` is to be one.
// `stop` is the wish of who sits at the terminal. `streamFailed` is asked in front of the last
// record, which tells the status.
Status RunPlan(const RunSettings& settings, Outcome& outcome,
               const std::vector<RecordReader*>& readers, const Stop& stop,
               const std::function<bool()>& streamFailed);

}  // namespace zelhealth
