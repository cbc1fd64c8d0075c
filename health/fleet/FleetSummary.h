// What a fleet's runs come to beyond what any runs come to: of each host how its last run ended, what it and its
// cards have, and which cards are slow.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "fleet/Slowness.h"
#include "fleet/Traits.h"
#include "readers/Outcome.h"
#include "report/Output.h"

namespace zelhealth {

// A host's last run.
struct FleetHost {
    std::string name;
    std::string run;
    Status status = Status::unknown;  // 3 at least of a run without an end
    bool finished = false;
    std::string last;               // the time of its last record
    std::uint32_t failedTests = 0;  // whatever is waived is none
    std::string firstFailure;       // "zel1 pcie.vlw: Link trained down", or the first reason
    std::string plan;               // "standard"; may be empty
    std::string firstCard;          // to which that happened; may be empty
    std::vector<Trait> traits;
    std::vector<std::size_t> uuids;  // of the cards, as hashes
};

class FleetSummary : public Output {
public:
    std::unique_ptr<RunReader> Begin(const RunName& name) override;
    void Close() override {}

    const std::vector<FleetHost>& Hosts() const { return hosts_; }
    std::vector<Divergence> Divergences() const;
    std::vector<SlowCard> SlowCards() const { return slowness_.Find(); }

private:
    friend class FleetRun;

    // Beyond these, hosts are counted by the summary alone.
    static constexpr std::size_t kMostHosts = 200000;

    void Add(FleetHost host);

    std::vector<FleetHost> hosts_;
    std::unordered_map<std::string, std::size_t> indices_;
    Traits traits_;
    Slowness slowness_;
};

}  // namespace zelhealth
