// Steps on the nodes of a cluster, side by side, from their start to their end.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "fleet/Node.h"
#include "fleet/Slurm.h"
#include "fleet/StepNodes.h"
#include "run/Stop.h"

namespace zelhealth {

// Asks the nodes of the steps, shows on `out` how far they are, and adds to nodes what is known of their troubles. A
// wish to stop ends the steps, and so does the silence of all nodes that are not done. Gives what went wrong with steps
// as a whole; empty when nothing did.
std::string RunSteps(const StepOptions& options, const std::vector<StepNodes>& steps,
                     std::vector<Node>& nodes, std::FILE* out, bool quiet, const Stop& stop);

}  // namespace zelhealth
