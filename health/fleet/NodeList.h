// Lists of nodes, as Slurm writes them: "n1,rack[1-2]n[01-16,20]".
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace zelhealth {

// What is wrong with a list, and where.
class NodeListError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The names, in the list's order. Numbers keep the zeros in front of them. Throws NodeListError.
std::vector<std::string> NamesOf(const std::string& list);

}  // namespace zelhealth
