// A node of a cluster: what is asked of it, and what became of that.
#pragma once

#include <string>
#include <vector>

namespace zelhealth {

struct Node {
    std::string name;

    // Whether a task is started on it.
    bool inStep = true;

    // Why nothing is expected of it: "drained: bad fan". Empty when an answer is.
    std::string notAsked;

    // What is known beyond that when no answer comes, or only the beginning of one: "Slurm calls it down".
    std::string trouble;

    // Those that take steps; the first one is Slurm's default where that is among them.
    std::vector<std::string> partitions = {};

    // Whether jobs run on it.
    bool busy = false;
};

}  // namespace zelhealth
