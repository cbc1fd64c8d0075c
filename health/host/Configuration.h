// What an operator tells zelhealth about this host: zelhealth.toml in the configuration folder. The command
// line wins over it.
//
//   busy         = 'fuser -s "/dev/$1"'
//   expect_cards = 4
//
//   [run]                             # and [check], with max_age in place of plan
//   plan     = "standard"
//   jobs     = 2
//   deadline = 3600                   # seconds, as all times
//   wait     = 30
//   output   = "/var/lib/zeldiag/last-run.jsonl"
//
//   [deadlines]
//   "pcie.vls" = 30
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace zelhealth {

// What counts where the command line says nothing. Times in seconds.
struct RunDefaults {
    std::optional<std::string> plan;
    std::optional<int> jobs;
    std::optional<double> deadline;
    std::optional<double> wait;
    std::optional<double> maxAge;
    std::optional<std::string> output;
};

// The bounds of these, on the command line too.
constexpr int kMostCards = 256;
constexpr double kLeastDeadline = 0.1;
constexpr double kLongestSeconds = 30.0 * 24 * 3600;

struct Configuration {
    // Shell text that says whether a card is in use (Busy.h); "" when none is told.
    std::string busy;

    std::optional<int> expectedCards;
    RunDefaults run;
    RunDefaults check;

    // Of tests, by "pcie.vls", where the plan has none of its own.
    std::map<std::string, std::chrono::milliseconds> deadlines;

    // Without a file everything is as above. Throws std::runtime_error with file, line and reason.
    static Configuration Load(const std::filesystem::path& file);
};

}  // namespace zelhealth
