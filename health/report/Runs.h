// Tells the runs of streams apart, for outputs.
#pragma once

#include <cstdint>
#include <list>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "report/Output.h"

namespace zelhealth {

class Runs {
public:
    // So many runs may be open at a time. When another begins, the one that was silent for longest has been
    // broken off.
    static constexpr std::size_t kMostOpen = 64;

    explicit Runs(std::vector<Output*> outputs) : outputs_(std::move(outputs)) {}

    // Hands the record to a reader of its run of each output. A record of a run that has ended, as that of a
    // stream that is given twice, is left out. Gives why, empty otherwise.
    std::string_view Read(const Json& record);

    // No more records come: what is open has been broken off.
    void EndAll();

private:
    struct Open {
        RunName name;
        std::vector<std::unique_ptr<RunReader>> readers;
    };

    Open* Find(const std::string& host, const std::string& run);
    void Begin(RunName name);
    void End(const Open& run);

    std::vector<Output*> outputs_;
    std::list<Open> open_;  // the one that was read last is the first
    std::unordered_set<std::uint64_t> ended_;
};

}  // namespace zelhealth
