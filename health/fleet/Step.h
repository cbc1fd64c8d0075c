// A step on the nodes of a cluster, from its start to its end.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "fleet/Node.h"
#include "fleet/Slurm.h"
#include "run/Stop.h"

namespace zelhealth {

// Asks each node that is `inStep`, shows on `out` how far they are, and adds to nodes what is known of their
// troubles. A wish to stop ends the step, and so does the silence of all nodes that are not done. Gives what went
// wrong with the step as a whole; empty when nothing did.
std::string RunStep(const StepOptions& options, std::vector<Node>& nodes, std::FILE* out,
                    bool quiet, const Stop& stop);

}  // namespace zelhealth
