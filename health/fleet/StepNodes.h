// Which nodes are asked together: a step of Slurm's has one partition.
#pragma once

#include <string>
#include <vector>

#include "fleet/Node.h"

namespace zelhealth {

struct StepNodes {
    std::string partition;  // empty for Slurm's choice
    std::vector<std::string> names;
};

// Those that are `inStep`, in few steps: each has of the partitions that are left the one with most nodes.
std::vector<StepNodes> ByPartition(const std::vector<Node>& nodes);

// The same nodes in one step, for which Slurm chooses.
std::vector<StepNodes> InOneStep(const std::vector<Node>& nodes);

}  // namespace zelhealth
