// A node of a cluster: what is asked of it, and what became of that.
#pragma once

#include <string>

namespace zelhealth {

struct Node {
    std::string name;

    // Whether a task is started on it.
    bool inStep = true;

    // Why nothing is expected of it: "drained: bad fan". Empty when an answer is.
    std::string notAsked;

    // What is known beyond that when no answer comes, or only the beginning of one: "Slurm calls it down".
    std::string trouble;
};

}  // namespace zelhealth
