// Which tests a run does on each card. A plan is a TOML file:
//
//   about = "what this is for"        # optional
//   tests = ["pcie.vlw", "core.gec"]  # in this order, each once
//   memory = true                     # it holds memory tests, for which a card leaves normal mode
//   card_deadline = 600               # seconds for a card; without it, as long as its tests may take
//   deadline = 3600                   # seconds for the run
//
//   [[test]]                          # more tests, behind those above
//   test = "mem.wr"
//   options = ["-memSize=0x1000000"]  # words of the tool's that belong behind the test
//   repeat = 3
//   deadline = 100                    # seconds, instead of the catalogue's
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/Catalogue.h"

namespace zelhealth {

struct PlannedTest {
    const TestRow* row = nullptr;  // of the catalogue that is built in
    std::vector<std::string> options;
    int repeat = 1;
    std::optional<std::chrono::milliseconds> deadline;
};

struct Plan {
    std::string name;
    std::string about;
    std::vector<PlannedTest> tests;
    bool memory = false;
    std::optional<std::chrono::milliseconds> cardDeadline;
    std::optional<std::chrono::milliseconds> deadline;

    bool Disturbs() const;
};

// What is wrong with a plan, with the place where it is: "my.toml:3: no test is called pcie.vlx".
class PlanError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A plan that is built in, or else a file. Throws PlanError.
Plan LoadPlan(const std::string& nameOrFile);

// `name` is what errors name as the place.
Plan ReadPlan(const std::string& name, std::string_view text);

std::vector<std::string> BuiltInPlans();

}  // namespace zelhealth
