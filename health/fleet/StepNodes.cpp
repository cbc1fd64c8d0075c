#include "fleet/StepNodes.h"

#include <algorithm>
#include <utility>

namespace zelhealth {

namespace {

bool IsIn(const Node& node, const std::string& partition) {
    return std::find(node.partitions.begin(), node.partitions.end(), partition) !=
           node.partitions.end();
}

// Of several with as many nodes the one that comes first, which is Slurm's default. Empty when there is none.
std::string LargestPartition(const std::vector<const Node*>& nodes) {
    std::vector<std::pair<std::string, std::size_t>> counts;
    for (const Node* const node : nodes) {
        for (const std::string& name : node->partitions) {
            auto known = std::find_if(counts.begin(), counts.end(),
                                      [&name](const auto& count) { return count.first == name; });
            if (known == counts.end()) {
                known = counts.insert(known, {name, 0});
            }
            ++known->second;
        }
    }
    const auto most =
        std::max_element(counts.begin(), counts.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == counts.end() ? "" : most->first;
}

std::vector<const Node*> ThoseInStep(const std::vector<Node>& nodes) {
    std::vector<const Node*> asked;
    for (const Node& node : nodes) {
        if (node.inStep) {
            asked.push_back(&node);
        }
    }
    return asked;
}

}  // namespace

std::vector<StepNodes> ByPartition(const std::vector<Node>& nodes) {
    std::vector<const Node*> left = ThoseInStep(nodes);
    std::vector<StepNodes> steps;
    for (std::string partition; !(partition = LargestPartition(left)).empty();) {
        StepNodes step{partition, {}};
        std::erase_if(left, [&](const Node* node) {
            const bool isIn = IsIn(*node, partition);
            if (isIn) {
                step.names.push_back(node->name);
            }
            return isIn;
        });
        steps.push_back(std::move(step));
    }
    return steps;
}

std::vector<StepNodes> InOneStep(const std::vector<Node>& nodes) {
    StepNodes step;
    for (const Node* const node : ThoseInStep(nodes)) {
        step.names.push_back(node->name);
    }
    return step.names.empty() ? std::vector<StepNodes>() : std::vector{step};
}

}  // namespace zelhealth
