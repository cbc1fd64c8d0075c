// The cluster, as Slurm's own commands tell it, and the step that asks its nodes.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "fleet/Node.h"
#include "run/Child.h"
#include "run/Stop.h"

namespace zelhealth {

// Slurm does not answer, or not what is needed; the text says what and what to do.
class SlurmError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What of the cluster is meant.
struct NodeChoice {
    std::string nodes;      // "n[1-8],n12"; empty for all of the partition
    std::string partition;  // empty for any
};

// Each node once, with what Slurm says of it. Throws SlurmError, also for a name that is no node's, and
// NodeListError.
std::vector<Node> NodesOf(const NodeChoice& choice, const Stop& stop);

struct StepOptions {
    std::string name;  // of the step, and of those beside it: nobody else's
    std::string partition;
    std::string sharing;  // with jobs: --exclusive, --oversubscribe, or what Slurm makes of neither
    std::string wait;     // seconds for nodes to become free; empty for ever
    std::string timeLimit;                 // as srun takes it; empty for the partition's
    std::vector<std::string> srunOptions;  // as they are
    std::string program;                   // zelhealth, as nodes find it
    std::vector<std::string> words;        // behind "run"
    std::string folder;                    // absolute; gets NODE.jsonl and NODE.log of each node
};

// The command of a step with a task on each of so many nodes, whose names stand in the file.
std::vector<std::string> StepCommand(const StepOptions& options, std::size_t nodes,
                                     const std::string& nodeFile);

// Why Slurm gave no nodes, of what srun said: "no node was free in time". Empty when it says nothing of that.
std::string WhyNoNodes(const std::string& srunSaid);

// Asks the tasks of all steps of that name to end, or kills them. False when there is none yet, or Slurm does not
// answer soon, or the stop is wished.
bool TerminateStep(const std::string& name, const Stop& stop);
bool KillStep(const std::string& name, const Stop& stop);

// What srun said of nodes, one line each: {"n3", "task 2: Killed"}.
void AddTroubles(const std::string& srunSaid, std::vector<Node>& nodes);

}  // namespace zelhealth
