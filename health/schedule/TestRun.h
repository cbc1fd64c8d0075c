// One test of one card: a child that is the tool, and what came of it.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "plan/Plan.h"
#include "run/Child.h"
#include "run/Verdict.h"

namespace zelhealth {

struct TestOutcome {
    Judgement judgement;
    ChildResult child;
};

// `onPercent` is called with what the tool says about how far it is. `card` is the card's number,
// `pcie` its address.
TestOutcome RunTest(const std::string& tool, int card, const std::string& pcie,
                    const PlannedTest& test, std::chrono::milliseconds deadline,
                    const std::function<void(int)>& onPercent, const Stop& stop);

// The tool's words for it, without the tool itself.
std::vector<std::string> ToolWords(int card, const PlannedTest& test);

// What the tool says that it is, "1.0"; empty where it says nothing of the kind.
std::string ToolVersion(const std::string& program, const Stop& stop);

}  // namespace zelhealth
