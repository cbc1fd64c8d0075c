// Runs of every test on a card with a fault, and what they found.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Faults.h"

struct Verdict {
    std::string_view text;
    int status = 0;  // with which such a run ends
    bool operator==(const Verdict&) const = default;
};

inline constexpr Verdict kPassed = {"passed", 0};
inline constexpr Verdict kFailed = {"failed", 1};
inline constexpr Verdict kSkipped = {"skipped", 0};
inline constexpr Verdict kEndsEarly = {"ends early", 1};
// Those that timeout(1) has to end, and its status then.
inline constexpr Verdict kDoesNotEnd = {"does not end", 124};
inline constexpr Verdict kEndsByKill = {"ends by SIGKILL alone", 137};

struct Result {
    std::map<std::string, std::string> reasons;  // by the test's short name
    std::vector<Verdict> verdicts;               // of the runs
};

// The short names of all tests.
std::vector<std::string> AllTests();

// All faults, a few at a time. Throws std::runtime_error when a run does not end, or ends with another
// status than its verdict has.
std::vector<Result> RunAll(const std::string& build, const std::vector<Fault>& faults);
