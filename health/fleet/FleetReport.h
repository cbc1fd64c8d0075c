// What is to be told of a fleet: which nodes did not answer, which are bad, what differs, what is slow; the worst
// first, and each with the command that would look closer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "fleet/FleetSummary.h"
#include "fleet/Node.h"
#include "report/Summary.h"

namespace zelhealth {

// How the streams came, which says who knows more of a node that is silent.
enum class Reach { slurm, ssh };

struct FleetReport {
    struct Row {
        std::string node;
        std::string_view verdict;  // "failed", "lost", "unknown", "not_asked", "degraded"
        std::string text;          // why
        std::string look;          // a command
    };

    Status status = Status::ok;
    std::size_t nodes = 0;  // that were asked, or from which something came
    std::size_t healthy = 0;
    std::vector<Row> rows;  // of nodes that are not healthy
    std::vector<Divergence> differences;
    std::vector<SlowCard> slow;

    std::size_t Count(std::string_view verdict) const;
};

// `asked` are the nodes from which an answer is expected, and those that could not be asked; empty when only the
// streams say who is there.
FleetReport ReportOf(const FleetSummary& fleet, const std::vector<Node>& asked, Reach reach);

// Commands that look closer. They go by ssh: drained nodes, which are the bad ones, take no steps of Slurm's.
std::string LookAt(const std::string& node, const std::string& words);
std::string LookAtGroup(const Summary& summary, const FailureGroup& group);
std::string LookAtDivergence(const Divergence::Value& value);
std::string LookAtSlow(const SlowCard& card);

}  // namespace zelhealth
