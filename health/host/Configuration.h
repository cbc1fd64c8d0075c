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
//   metrics  = "/var/lib/prometheus/node-exporter/zeldiag.prom"    # and html, junit, csv
//
//   [deadlines]
//   "pcie.vls" = 30
//
//   [history]                         # what every run stores, for zelhealth history
//   store     = true
//   days      = 90
//   megabytes = 256
//
//   [journal]                         # what every run tells the system's journal
//   send = true
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "history/HistoryLimits.h"
#include "host/TomlFile.h"
#include "report/ReportFiles.h"

namespace zelhealth {

// What counts where the command line says nothing. Times in seconds.
struct RunDefaults {
    std::optional<std::string> plan;
    std::optional<int> jobs;
    std::optional<double> deadline;
    std::optional<double> wait;
    std::optional<double> maxAge;
    std::optional<std::string> output;
    ReportFiles reports;
};

// The bounds of these, on the command line too.
constexpr int kMostCards = 256;
constexpr double kLeastDeadline = 0.1;
constexpr double kLongestSeconds = 30.0 * 24 * 3600;

struct Configuration {
    bool storesHistory = true;
    HistoryLimits history;
    bool sendsToJournal = true;

    // Shell text that says whether a card is in use (Busy.h); "" when none is told.
    std::string busy;

    std::optional<int> expectedCards;
    RunDefaults run;
    RunDefaults check;

    // Of tests, by "pcie.vls", where the plan has none of its own.
    std::map<std::string, std::chrono::milliseconds> deadlines;

    // Without a file everything is as above. Throws std::runtime_error with file, line and reason.
    static Configuration Load(const std::filesystem::path& file);

    // Throws TomlError.
    static Configuration Read(const TomlFile& text);
};

}  // namespace zelhealth
