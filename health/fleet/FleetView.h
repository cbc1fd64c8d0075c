// What people see while a step goes on: how many nodes are done, failing and silent, and which.
#pragma once

#include <string>
#include <vector>

#include "fleet/Follower.h"

namespace zelhealth {

// No more lines than `rows`, none longer than `columns`.
std::vector<std::string> FleetLines(const std::vector<NodeProgress>& nodes, std::size_t rows,
                                    std::size_t columns, bool colours,
                                    NodeProgress::Clock::time_point began,
                                    NodeProgress::Clock::time_point now);

// A node that has ended, in a line: "n3: failed: zel1 pcie.vlw: Link trained down".
std::string EndedLine(const NodeProgress& node, bool colours);

}  // namespace zelhealth
