// What zelhealth run and zelhealth check are told, by the command line and by an operator's configuration.
#pragma once

#include <CLI/App.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/Configuration.h"
#include "schedule/Run.h"

namespace zelhealth {

struct RunOptions {
    RunDefaults told;  // what is not told comes from the configuration
    std::vector<std::string> cards;
    std::optional<int> expectedCards;
    int repeat = 1;
    bool quiet = false;
    bool noHistory = false;
    bool ownPlan = false;     // a check with another plan than check
    bool reasonOnly = false;  // a check whose answer is what is wrong alone
    std::string tool;
    std::vector<std::string> words;  // of the command line
};

// Whatever is wrong with the question itself: nothing has been started.
class Unanswerable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Declares what both commands take.
void AddSharedOptions(CLI::App& command, RunOptions& options);

std::chrono::milliseconds Milliseconds(double seconds);

// Checks of words: a number of seconds, and a whole number.
CLI::Validator Seconds(double least);
CLI::Validator Count(int least, int most);

// The operator's files. Throw Unanswerable.
Configuration LoadConfiguration();
RunSettings SettingsOf(const RunOptions& options, const Configuration& configuration);

// What is told, and where nothing is, what stands in the configuration.
RunOptions WithDefaults(RunOptions options, const RunDefaults& defaults);

}  // namespace zelhealth
